// Who listens on which OSC address.
//
// A listener acts on the main thread, with the sender waiting (controls), or on the sender's thread inside
// the composition queue (playhead and cue commands, which must not be late because a window is busy). Several
// may share an address; they act in order of registration. Removing one never waits for a message that is
// being handled: a listener checks that it is still wanted on the thread, and under the exclusion, on which
// it acts.
//
// With thousands of addresses it is the memory that costs: an address is found in a small flat table, and
// what a message needs of its listener lies in two lines of the cache that are fetched at once. Those who
// share an address form a list.
//
// listen and drop belong to the main thread; dispatch may be called by any input thread that holds no queue.
#pragma once

#include "app/InboundRendezvous.h"
#include "composition/OSCCommands.h"
#include "platform/Relaxed.h"
#include "platform/SerialQueue.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace marvo {

class OSCListenerTable final : public OSCCommands {
public:
    enum class Place { mainThread, compositionQueue };
    using Handler = std::function<void(const OSCArgument&)>;

    OSCListenerTable(InboundRendezvous& rendezvous, SerialQueue& compQueue)
        : rendezvous_(rendezvous), compQueue_(compQueue) {}

    // owner: what drop() is given; any address that is unique to the listener.
    void listen(const void* owner, std::string address, std::string extraInfo, Place place, Handler handler);
    void listen(const void* owner, std::string address, std::string extraInfo, Handler handler) override {
        listen(owner, std::move(address), std::move(extraInfo), Place::compositionQueue, std::move(handler));
    }
    void drop(const void* owner) override;

    // Fetches what messages to these addresses will need, together rather than one after the other.
    void prefetch(std::span<const std::string_view> addresses) const;
    // Returns how many listeners the address has.
    std::size_t dispatch(std::string_view address, const OSCArgument& argument);

    struct Entry {
        std::string address;
        std::string extraInfo;
    };
    // In order of the addresses; one entry for those that share one.
    std::vector<Entry> addresses() const;

private:
    // With the counter of those who hold it, what a message touches is two lines of the cache.
    struct Listener : std::enable_shared_from_this<Listener> {
        static constexpr std::size_t room = 40;

        Listener(Handler does, Place at, std::string listensOn, std::string information);
        bool isAt(std::string_view other) const;
        void prefetch() const {
            __builtin_prefetch(&handler, 1);
            __builtin_prefetch(text, 1);
        }

        Handler handler;
        std::shared_ptr<Listener> next; // who shares the address and came later; guarded by the lock
        std::uint32_t size;             // of the address
        Place place;
        Relaxed<bool> wanted = true;
        char text[room]; // the address, where it is no longer than that
        // Third line
        std::string address;
        std::string extraInfo;
    };
    // Open addressing: who came first to an address stands at its hash or in the first free slot behind it.
    struct Slot {
        std::size_t hash = 0;
        Listener* first = nullptr; // null: the slot is free
    };

    void act(const std::shared_ptr<Listener>& listener, const OSCArgument& argument);
    static std::size_t hashOf(std::string_view address) { return std::hash<std::string_view>()(address); }
    // With the lock held.
    std::size_t slotOf(std::string_view address, std::size_t hash) const;
    void takeOut(const std::shared_ptr<Listener>& listener);
    void freeSlot(std::size_t slot);
    void grow();

    InboundRendezvous& rendezvous_;
    SerialQueue& compQueue_;
    mutable std::mutex lock_;
    std::vector<Slot> slots_ = std::vector<Slot>(64); // a power of two, at most half full
    std::size_t used_ = 0;
    std::unordered_multimap<const void*, std::shared_ptr<Listener>> byOwner_;
};

} // namespace marvo
