// Named notifications between parts that do not know each other.
#pragma once

#include "platform/NotificationName.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string_view>
#include <type_traits>
#include <typeinfo>
#include <utility>

namespace marvo {

class NotificationCore;
class NotificationObserver;

// Base of the observers' callables, so that a post needs neither strings nor allocation.
class NotificationReceiver {
public:
    virtual ~NotificationReceiver() = default;
    virtual void receive(const void* payload) = 0;
};

// Keeps one observer in place. When its removal returns, the callback is not running on another thread and is
// never called again; removal inside the callback itself is allowed. Do not remove while holding a queue that
// the callback enters, and not on the tick. May outlive the centre. One thread at a time.
class Observation {
public:
    Observation() = default;
    Observation(std::shared_ptr<NotificationCore> core, NotificationObserver* observer); // made by the centre
    Observation(Observation&& other) noexcept;
    Observation& operator=(Observation&& other) noexcept;
    ~Observation() { reset(); }

    void reset(); // removes the observer; nothing to do for an empty token
    explicit operator bool() const { return observer_ != nullptr; }

private:
    std::shared_ptr<NotificationCore> core_;
    NotificationObserver* observer_ = nullptr;
};

// Observers run synchronously on the posting thread, in the order of their registration. Those that are added
// during a post are not called by it; those that are removed during it are not called any more.
//
// A name is bound to the payload type with which it was interned first; asking for another type reports
// "notification payload type" through invariantFailed and gives an invalid name, which nobody hears.
//
// Owner: the application; all operations are thread-safe.
class NotificationCenter {
public:
    NotificationCenter();
    ~NotificationCenter();
    NotificationCenter(const NotificationCenter&) = delete;
    NotificationCenter& operator=(const NotificationCenter&) = delete;

    // Interns the text. Takes a lock and may allocate: not for the tick. Names stay for the centre's life.
    template <class Payload>
    Notification<Payload> name(std::string_view text) {
        return {intern(text, &typeMark<Payload>, typeid(Payload).name())};
    }

    // The name if somebody has interned it; for text from outside, which must not fill the table. Takes a
    // lock.
    template <class Payload>
    std::optional<Notification<Payload>> find(std::string_view text) const {
        const NotificationName found = lookUp(text, &typeMark<Payload>);
        if (!found.isValid()) return std::nullopt;
        return Notification<Payload>{found};
    }

    // Takes a lock and allocates: not for the tick. An invalid name gives an empty token.
    template <class Payload, class Callback>
    [[nodiscard]] Observation observe(Notification<Payload> key, Callback&& callback) {
        using Receiver = TypedReceiver<Payload, std::decay_t<Callback>>;
        return add(key.name, std::make_unique<Receiver>(std::forward<Callback>(callback)));
    }

    // Realtime-safe as far as the observers are: no lock, no allocation, no retry, no string.
    template <class Payload>
    void post(Notification<Payload> key, const Payload& payload) const {
        deliver(key.name, &payload);
    }
    void post(Notification<NoPayload> key) const {
        const NoPayload nothing{};
        deliver(key.name, &nothing);
    }

    // Realtime-safe.
    bool hasObservers(NotificationName name) const;
    template <class Payload>
    bool hasObservers(Notification<Payload> key) const {
        return hasObservers(key.name);
    }

    // The interned text, for messages to the user. Empty for an invalid name. Realtime-safe.
    std::string_view text(NotificationName name) const;

    std::size_t nameCount() const;

private:
    template <class Payload>
    static inline char typeMark = 0; // its address stands for the type

    template <class Payload, class Callback>
    class TypedReceiver final : public NotificationReceiver {
    public:
        template <class Argument>
        explicit TypedReceiver(Argument&& callback) : callback_(std::forward<Argument>(callback)) {}

        void receive(const void* payload) override {
            if constexpr (std::is_invocable_v<Callback&, const Payload&>)
                callback_(*static_cast<const Payload*>(payload));
            else
                callback_();
        }

    private:
        Callback callback_;
    };

    NotificationName intern(std::string_view text, const void* type, const char* typeName);
    NotificationName lookUp(std::string_view text, const void* type) const;
    Observation add(NotificationName name, std::unique_ptr<NotificationReceiver> receiver);
    void deliver(NotificationName name, const void* payload) const;

    std::shared_ptr<NotificationCore> core_;
};

} // namespace marvo
