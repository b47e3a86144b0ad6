// The untyped inside of NotificationCenter; nobody else includes it.
#pragma once

#include "platform/NotificationCenter.h"

#include <array>
#include <atomic>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

namespace marvo {

// One registered callback. It stays in memory until no post of its name can hold it any more; the callable
// itself goes with the removal, unless the removal happens inside it.
class NotificationObserver {
public:
    NotificationObserver(NotificationName name, std::unique_ptr<NotificationReceiver> receiver)
        : name_(name), receiver_(std::move(receiver)) {}

    NotificationName name() const { return name_; }
    void call(const void* payload);

    // Returns when no other thread is inside the callback; afterwards nobody enters it.
    void shut();

private:
    struct Call;
    static Call*& innermostCall();
    std::uint32_t callsOfThisThread() const;

    const NotificationName name_;
    std::unique_ptr<NotificationReceiver> receiver_;
    std::atomic<std::uint32_t> running_{0};
    std::atomic<bool> removed_{false};
};

// The name table and, per name, an immutable array of observers behind one atomic pointer. A post counts
// itself in at the name, reads the pointer once and walks the array; it never waits. Whoever changes the
// observers publishes a new array and keeps the old one until a moment at which the name's count is zero.
class NotificationCore {
public:
    NotificationCore() = default;
    ~NotificationCore();
    NotificationCore(const NotificationCore&) = delete;
    NotificationCore& operator=(const NotificationCore&) = delete;

    NotificationName intern(std::string_view text, const void* type, const char* typeName);
    NotificationName lookUp(std::string_view text, const void* type) const;
    NotificationObserver* add(NotificationName name, std::unique_ptr<NotificationReceiver> receiver);
    void remove(NotificationObserver* observer);
    void deliver(NotificationName name, const void* payload) const;
    bool hasObservers(NotificationName name) const;
    std::string_view text(NotificationName name) const;
    std::size_t nameCount() const;

private:
    using Observers = std::vector<NotificationObserver*>;

    struct Slot {
        std::atomic<const Observers*> observers{nullptr}; // null when there are none
        mutable std::atomic<std::uint32_t> posts{0};      // posts that may hold an array of this name
        std::string text;
        const void* type = nullptr;
        const char* typeName = "";
    };

    struct Retired {
        const Slot* slot;
        std::unique_ptr<const Observers> observers;
        std::unique_ptr<NotificationObserver> observer;
    };

    // Chunks never move, so that a post reads the table without a lock while it grows.
    static constexpr std::size_t chunkSize = 256;
    static constexpr std::size_t chunkCount = 4096;
    using Chunk = std::array<Slot, chunkSize>;

    Slot* slot(NotificationName name) const;
    void publish(Slot& slot, std::unique_ptr<const Observers> observers);
    std::vector<Retired> takeFree();

    mutable std::mutex lock_; // guards all but the slots' atomics
    std::array<std::atomic<Chunk*>, chunkCount> chunks_{};
    std::size_t count_ = 0;
    std::unordered_map<std::string_view, std::uint32_t> byText_; // keys live in the slots
    std::vector<Retired> retired_;
};

} // namespace marvo
