#include "platform/NotificationCenter.h"

#include "platform/NotificationCore.h"

namespace marvo {

Observation::Observation(std::shared_ptr<NotificationCore> core, NotificationObserver* observer)
    : core_(std::move(core)), observer_(observer) {}

Observation::Observation(Observation&& other) noexcept
    : core_(std::move(other.core_)), observer_(std::exchange(other.observer_, nullptr)) {}

Observation& Observation::operator=(Observation&& other) noexcept {
    if (this == &other) return *this;
    reset();
    core_ = std::move(other.core_);
    observer_ = std::exchange(other.observer_, nullptr);
    return *this;
}

void Observation::reset() {
    // Emptied first: the callable may be what holds this token.
    const std::shared_ptr<NotificationCore> core = std::move(core_);
    if (NotificationObserver* const observer = std::exchange(observer_, nullptr)) core->remove(observer);
}

NotificationCenter::NotificationCenter() : core_(std::make_shared<NotificationCore>()) {}

NotificationCenter::~NotificationCenter() = default;

NotificationName NotificationCenter::intern(std::string_view text, const void* type, const char* typeName) {
    return core_->intern(text, type, typeName);
}

NotificationName NotificationCenter::lookUp(std::string_view text, const void* type) const {
    return core_->lookUp(text, type);
}

Observation NotificationCenter::add(NotificationName name, std::unique_ptr<NotificationReceiver> receiver) {
    NotificationObserver* const observer = core_->add(name, std::move(receiver));
    return observer ? Observation(core_, observer) : Observation();
}

void NotificationCenter::deliver(NotificationName name, const void* payload) const {
    core_->deliver(name, payload);
}

bool NotificationCenter::hasObservers(NotificationName name) const {
    return core_->hasObservers(name);
}

std::string_view NotificationCenter::text(NotificationName name) const {
    return core_->text(name);
}

std::size_t NotificationCenter::nameCount() const {
    return core_->nameCount();
}

} // namespace marvo
