#include "platform/NotificationCore.h"

#include "platform/Invariant.h"

#include <algorithm>
#include <chrono>
#include <thread>

namespace marvo {

// A stay in a callback, listed per thread so that a removal inside the callback does not wait for itself.
struct NotificationObserver::Call {
    explicit Call(NotificationObserver& called) : observer(called), below(innermostCall()) {
        observer.running_.fetch_add(1, std::memory_order_seq_cst);
        innermostCall() = this;
    }
    ~Call() {
        innermostCall() = below;
        observer.running_.fetch_sub(1, std::memory_order_release);
    }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    NotificationObserver& observer;
    Call* const below;
};

NotificationObserver::Call*& NotificationObserver::innermostCall() {
    static thread_local Call* call = nullptr;
    return call;
}

std::uint32_t NotificationObserver::callsOfThisThread() const {
    std::uint32_t count = 0;
    for (const Call* call = innermostCall(); call; call = call->below)
        if (&call->observer == this) ++count;
    return count;
}

void NotificationObserver::call(const void* payload) {
    const Call counted(*this);
    // Counted before the question, as the removal asks after its mark: one of the two always sees the other.
    if (!removed_.load(std::memory_order_seq_cst)) receiver_->receive(payload);
}

void NotificationObserver::shut() {
    removed_.store(true, std::memory_order_seq_cst);
    const std::uint32_t own = callsOfThisThread();
    for (unsigned round = 0; running_.load(std::memory_order_seq_cst) > own; ++round) {
        if (round < 64)
            std::this_thread::yield();
        else
            std::this_thread::sleep_for(std::chrono::microseconds(50));
    }
    if (own == 0) receiver_.reset();
}

NotificationCore::~NotificationCore() {
    for (auto& entry : chunks_) {
        const std::unique_ptr<Chunk> chunk(entry.load());
        if (!chunk) continue;
        for (Slot& each : *chunk) {
            const std::unique_ptr<const Observers> observers(each.observers.load());
            if (!observers) continue;
            for (NotificationObserver* observer : *observers) delete observer;
        }
    }
}

NotificationCore::Slot* NotificationCore::slot(NotificationName name) const {
    if (name.index >= chunkSize * chunkCount) return nullptr;
    Chunk* const chunk = chunks_[name.index / chunkSize].load(std::memory_order_acquire);
    return chunk ? &(*chunk)[name.index % chunkSize] : nullptr;
}

NotificationName NotificationCore::intern(std::string_view text, const void* type, const char* typeName) {
    const std::lock_guard hold(lock_);
    if (const auto found = byText_.find(text); found != byText_.end()) {
        const NotificationName name{found->second};
        const Slot& known = *slot(name);
        if (known.type == type) return name;
        const std::string detail =
            known.text + " carries " + known.typeName + " and was asked for with " + typeName;
        invariantFailed("notification payload type", detail.c_str());
        return {};
    }
    if (count_ == chunkSize * chunkCount) {
        invariantFailed("notification name count", "the table is full");
        return {};
    }
    auto& chunk = chunks_[count_ / chunkSize];
    if (!chunk.load(std::memory_order_relaxed)) chunk.store(new Chunk, std::memory_order_release);
    const NotificationName name{static_cast<std::uint32_t>(count_++)};
    Slot& fresh = *slot(name);
    fresh.text = text;
    fresh.type = type;
    fresh.typeName = typeName;
    byText_.emplace(fresh.text, name.index);
    return name;
}

NotificationName NotificationCore::lookUp(std::string_view text, const void* type) const {
    const std::lock_guard hold(lock_);
    const auto found = byText_.find(text);
    if (found == byText_.end()) return {};
    const NotificationName name{found->second};
    return slot(name)->type == type ? name : NotificationName{};
}

NotificationObserver* NotificationCore::add(NotificationName name,
                                            std::unique_ptr<NotificationReceiver> receiver) {
    Slot* const place = slot(name);
    if (!place) return nullptr;
    auto observer = std::make_unique<NotificationObserver>(name, std::move(receiver));
    NotificationObserver* const added = observer.get();
    std::vector<Retired> garbage; // destroyed after the lock: callables may hold observations of their own
    const std::lock_guard hold(lock_);
    const Observers* const present = place->observers.load(std::memory_order_relaxed);
    auto next = std::make_unique<Observers>();
    next->reserve((present ? present->size() : 0) + 1);
    if (present) *next = *present;
    next->push_back(observer.release());
    publish(*place, std::move(next));
    garbage = takeFree();
    return added;
}

void NotificationCore::remove(NotificationObserver* observer) {
    Slot& place = *slot(observer->name());
    {
        const std::lock_guard hold(lock_);
        const Observers& present = *place.observers.load(std::memory_order_relaxed);
        auto next = std::make_unique<Observers>();
        next->reserve(present.size());
        std::copy_if(present.begin(), present.end(), std::back_inserter(*next),
                     [&](const NotificationObserver* each) { return each != observer; });
        publish(place, next->empty() ? nullptr : std::move(next));
    }
    observer->shut();
    std::vector<Retired> garbage;
    const std::lock_guard hold(lock_);
    retired_.push_back({&place, nullptr, std::unique_ptr<NotificationObserver>(observer)});
    garbage = takeFree();
}

void NotificationCore::publish(Slot& place, std::unique_ptr<const Observers> observers) {
    std::unique_ptr<const Observers> old(
        place.observers.exchange(observers.release(), std::memory_order_seq_cst));
    if (old) retired_.push_back({&place, std::move(old), nullptr});
}

// Everything retired has been unpublished before: a count of zero now means that nobody holds it.
std::vector<NotificationCore::Retired> NotificationCore::takeFree() {
    const auto firstFree = std::partition(retired_.begin(), retired_.end(), [](const Retired& each) {
        return each.slot->posts.load(std::memory_order_seq_cst) != 0;
    });
    std::vector<Retired> garbage(std::make_move_iterator(firstFree), std::make_move_iterator(retired_.end()));
    retired_.erase(firstFree, retired_.end());
    return garbage;
}

void NotificationCore::deliver(NotificationName name, const void* payload) const {
    const Slot* const place = slot(name);
    if (!place || !place->observers.load(std::memory_order_relaxed)) return;
    struct Counted {
        explicit Counted(std::atomic<std::uint32_t>& counter) : posts(counter) {
            posts.fetch_add(1, std::memory_order_seq_cst);
        }
        ~Counted() { posts.fetch_sub(1, std::memory_order_release); }
        std::atomic<std::uint32_t>& posts;
    } const counted(place->posts);
    const Observers* const observers = place->observers.load(std::memory_order_seq_cst);
    if (!observers) return;
    for (NotificationObserver* observer : *observers) observer->call(payload);
}

bool NotificationCore::hasObservers(NotificationName name) const {
    const Slot* const place = slot(name);
    return place && place->observers.load(std::memory_order_acquire);
}

std::string_view NotificationCore::text(NotificationName name) const {
    const Slot* const place = slot(name);
    return place ? std::string_view(place->text) : std::string_view();
}

std::size_t NotificationCore::nameCount() const {
    const std::lock_guard hold(lock_);
    return count_;
}

} // namespace marvo
