#include "app/OSCListenerTable.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace marvo {
namespace {

// Begins where a line of the cache begins.
template <class T>
struct LineAllocator {
    using value_type = T;
    static constexpr std::align_val_t line{64};

    LineAllocator() = default;
    template <class U>
    explicit LineAllocator(const LineAllocator<U>&) {}
    T* allocate(std::size_t count) { return static_cast<T*>(::operator new(count * sizeof(T), line)); }
    void deallocate(T* memory, std::size_t) { ::operator delete(memory, line); }
    bool operator==(const LineAllocator&) const = default;
};

} // namespace

OSCListenerTable::Listener::Listener(Handler does, Place at, std::string listensOn, std::string information)
    : handler(std::move(does)), size(static_cast<std::uint32_t>(listensOn.size())), place(at),
      address(std::move(listensOn)), extraInfo(std::move(information)) {
    std::memcpy(text, address.data(), std::min(address.size(), room));
}

bool OSCListenerTable::Listener::isAt(std::string_view other) const {
    if (size != other.size()) return false;
    return std::memcmp(size <= room ? text : address.data(), other.data(), size) == 0;
}

void OSCListenerTable::listen(const void* owner, std::string address, std::string extraInfo, Place place,
                              Handler handler) {
    auto listener = std::allocate_shared<Listener>(LineAllocator<Listener>(), std::move(handler), place,
                                                   std::move(address), std::move(extraInfo));
    const std::lock_guard hold(lock_);
    const std::size_t hash = hashOf(listener->address);
    std::size_t at = slotOf(listener->address, hash);
    if (!slots_[at].first && 2 * (used_ + 1) > slots_.size()) {
        grow();
        at = slotOf(listener->address, hash);
    }
    if (!slots_[at].first) {
        slots_[at] = {hash, listener.get()};
        ++used_;
    } else {
        Listener* last = slots_[at].first;
        while (last->next) last = last->next.get();
        last->next = listener;
    }
    byOwner_.emplace(owner, std::move(listener));
}

void OSCListenerTable::drop(const void* owner) {
    std::vector<std::shared_ptr<Listener>> dropped;
    {
        const std::lock_guard hold(lock_);
        const auto [first, last] = byOwner_.equal_range(owner);
        for (auto it = first; it != last; ++it) dropped.push_back(std::move(it->second));
        byOwner_.erase(first, last);
        for (const auto& listener : dropped) takeOut(listener);
    }
    // After this no handler of the owner runs: the main thread is this one, and the queue is entered once.
    compQueue_.sync([&] {
        for (const auto& listener : dropped) listener->wanted = false;
    });
}

void OSCListenerTable::takeOut(const std::shared_ptr<Listener>& listener) {
    const std::string_view address = listener->address;
    const std::size_t at = slotOf(address, hashOf(address));
    if (slots_[at].first == listener.get()) {
        slots_[at].first = listener->next.get();
        if (!slots_[at].first) freeSlot(at);
        return;
    }
    Listener* before = slots_[at].first;
    while (before && before->next != listener) before = before->next.get();
    if (before) before->next = listener->next;
}

void OSCListenerTable::prefetch(std::span<const std::string_view> addresses) const {
    constexpr std::size_t most = 16;
    std::size_t hashes[most];
    const std::size_t count = std::min(addresses.size(), most);
    for (std::size_t i = 0; i < count; ++i) hashes[i] = hashOf(addresses[i]);
    const std::lock_guard hold(lock_);
    const std::size_t mask = slots_.size() - 1;
    for (std::size_t i = 0; i < count; ++i) __builtin_prefetch(&slots_[hashes[i] & mask]);
    for (std::size_t i = 0; i < count; ++i) {
        const Slot& slot = slots_[hashes[i] & mask];
        if (slot.first && slot.hash == hashes[i]) slot.first->prefetch();
    }
}

std::size_t OSCListenerTable::dispatch(std::string_view address, const OSCArgument& argument) {
    const std::size_t hash = hashOf(address);
    // Held on to while they act. Nearly always it is one.
    std::shared_ptr<Listener> first;
    std::vector<std::shared_ptr<Listener>> others;
    {
        const std::lock_guard hold(lock_);
        Listener* const found = slots_[slotOf(address, hash)].first;
        if (!found) return 0;
        first = found->shared_from_this();
        for (const Listener* one = found; one->next; one = one->next.get()) others.push_back(one->next);
    }
    act(first, argument);
    for (const auto& listener : others) act(listener, argument);
    return 1 + others.size();
}

void OSCListenerTable::act(const std::shared_ptr<Listener>& listener, const OSCArgument& argument) {
    if (listener->place == Place::mainThread) {
        rendezvous_.runOnMain([listener, argument] {
            if (listener->wanted) listener->handler(argument);
        });
    } else {
        compQueue_.sync([&] {
            if (listener->wanted) listener->handler(argument);
        });
    }
}

std::vector<OSCListenerTable::Entry> OSCListenerTable::addresses() const {
    std::vector<Entry> result;
    {
        const std::lock_guard hold(lock_);
        result.reserve(used_);
        for (const Slot& slot : slots_) {
            if (slot.first) result.push_back({slot.first->address, slot.first->extraInfo});
        }
    }
    std::sort(result.begin(), result.end(),
              [](const Entry& a, const Entry& b) { return a.address < b.address; });
    return result;
}

std::size_t OSCListenerTable::slotOf(std::string_view address, std::size_t hash) const {
    const std::size_t mask = slots_.size() - 1;
    for (std::size_t at = hash & mask;; at = (at + 1) & mask) {
        const Slot& slot = slots_[at];
        if (!slot.first) return at;
        if (slot.hash != hash) continue;
        // What acts is asked for together with what is compared.
        slot.first->prefetch();
        if (slot.first->isAt(address)) return at;
    }
}

// What stands behind the freed slot moves up, so that a search may end at the first free one.
void OSCListenerTable::freeSlot(std::size_t slot) {
    const std::size_t mask = slots_.size() - 1;
    std::size_t hole = slot;
    for (std::size_t at = (hole + 1) & mask; slots_[at].first; at = (at + 1) & mask) {
        // Stays where its own place lies behind the hole.
        if (((at - slots_[at].hash) & mask) < ((at - hole) & mask)) continue;
        slots_[hole] = slots_[at];
        hole = at;
    }
    slots_[hole] = {};
    --used_;
}

void OSCListenerTable::grow() {
    std::vector<Slot> old(slots_.size() * 2);
    old.swap(slots_);
    const std::size_t mask = slots_.size() - 1;
    for (const Slot& slot : old) {
        if (!slot.first) continue;
        std::size_t at = slot.hash & mask;
        while (slots_[at].first) at = (at + 1) & mask;
        slots_[at] = slot;
    }
}

} // namespace marvo
