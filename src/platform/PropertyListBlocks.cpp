// The blocks in which arrays and dictionaries keep what they hold.
#include "platform/PropertyList.h"
#include "platform/TextInterner.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstring>
#include <functional>
#include <memory>
#include <new>

namespace marvo {
namespace {

// Below this many entries a walk over the keys is as fast as a table.
constexpr std::uint32_t mostWithoutTable = 16;

std::uint32_t tableSizeFor(std::uint32_t capacity) {
    return capacity <= mostWithoutTable ? 0 : std::bit_ceil(capacity) * 2;
}

std::uint32_t hashOf(std::string_view key) {
    return static_cast<std::uint32_t>(std::hash<std::string_view>()(key));
}

} // namespace

// One allocation: this header, then room for `capacity` elements or entries, then (in a larger dictionary) a
// hash table of entry numbers. Three entries make 88 bytes, which is what keeps large projects small.
struct PropertyList::Block {
    std::atomic<std::uint32_t> references{1}; // in a dying block: its kind
    std::uint32_t size = 0;
    union {
        std::uint32_t capacity;
        Block* nextDying;
    };

    explicit Block(std::uint32_t room) : capacity(room) {}

    PropertyList* elements() { return reinterpret_cast<PropertyList*>(this + 1); }
    Entry* entries() { return reinterpret_cast<Entry*>(this + 1); }
    std::uint32_t* table() { return reinterpret_cast<std::uint32_t*>(entries() + capacity); }

    static Block* make(std::size_t capacity, Kind kind) {
        const auto room = static_cast<std::uint32_t>(capacity);
        const bool pairs = kind == Kind::dictionary;
        const std::size_t tableBytes = pairs ? tableSizeFor(room) * sizeof(std::uint32_t) : 0;
        const std::size_t bytes =
            sizeof(Block) + room * (pairs ? sizeof(Entry) : sizeof(PropertyList)) + tableBytes;
        auto* block = new (::operator new(bytes)) Block(room);
        if (tableBytes != 0) std::memset(block->table(), 0, tableBytes);
        return block;
    }

    std::uint32_t indexOf(std::string_view key) {
        const std::uint32_t tableSize = tableSizeFor(capacity);
        if (tableSize == 0) {
            for (std::uint32_t i = 0; i < size; ++i) {
                if (entries()[i].key.view() == key) return i;
            }
            return size;
        }
        for (std::uint32_t at = hashOf(key) & (tableSize - 1); table()[at] != 0;
             at = (at + 1) & (tableSize - 1)) {
            if (entries()[table()[at] - 1].key.view() == key) return table()[at] - 1;
        }
        return size;
    }

    void append(Entry entry) {
        new (entries() + size) Entry(std::move(entry));
        ++size;
        if (const std::uint32_t tableSize = tableSizeFor(capacity)) place(size - 1, tableSize);
    }

    void rebuildTable() {
        const std::uint32_t tableSize = tableSizeFor(capacity);
        if (tableSize == 0) return;
        std::memset(table(), 0, tableSize * sizeof(std::uint32_t));
        for (std::uint32_t i = 0; i < size; ++i) place(i, tableSize);
    }

private:
    void place(std::uint32_t number, std::uint32_t tableSize) {
        std::uint32_t at = hashOf(entries()[number].key) & (tableSize - 1);
        while (table()[at] != 0) at = (at + 1) & (tableSize - 1);
        table()[at] = number + 1;
    }
};

// Blocks whose last owner has gone. Destroying one may bring more; they queue up here instead of recursing,
// so that the depth of a value never becomes the depth of the stack. One per thread.
struct PropertyList::Dying {
    Block* first = nullptr;
    bool draining = false;

    void add(Block* block, Kind kind) {
        block->references.store(static_cast<std::uint32_t>(kind), std::memory_order_relaxed);
        block->nextDying = std::exchange(first, block);
        if (std::exchange(draining, true)) return;
        while (first) destroy(std::exchange(first, first->nextDying));
        draining = false;
    }

private:
    static void destroy(Block* block) {
        if (static_cast<Kind>(block->references.load(std::memory_order_relaxed)) == Kind::dictionary) {
            std::destroy_n(block->entries(), block->size);
        } else {
            std::destroy_n(block->elements(), block->size);
        }
        block->~Block();
        ::operator delete(block);
    }
};

PropertyList PropertyList::array() {
    PropertyList result;
    result.kind_ = Kind::array;
    result.payload_.block = nullptr;
    return result;
}

PropertyList PropertyList::dictionary() {
    PropertyList result;
    result.kind_ = Kind::dictionary;
    result.payload_.block = nullptr;
    return result;
}

PropertyList PropertyList::dictionaryOf(std::span<Entry> entries) {
    PropertyList result = dictionary();
    if (entries.empty()) return result;
    Block* block = Block::make(entries.size(), Kind::dictionary);
    result.payload_.block = block;
    for (Entry& entry : entries) {
        const std::uint32_t at = block->indexOf(entry.key);
        if (at < block->size) {
            block->entries()[at].value = std::move(entry.value);
        } else {
            block->append(std::move(entry));
        }
    }
    return result;
}

PropertyList PropertyList::arrayOf(std::span<PropertyList> elements) {
    PropertyList result = array();
    if (elements.empty()) return result;
    Block* block = Block::make(elements.size(), Kind::array);
    result.payload_.block = block;
    std::uninitialized_move(elements.begin(), elements.end(), block->elements());
    block->size = block->capacity;
    return result;
}

void PropertyList::retain() const noexcept {
    switch (kind_) {
    case Kind::string:
    case Kind::data:
        SharedText::retain(payload_.text);
        break;
    case Kind::array:
    case Kind::dictionary:
        if (payload_.block) payload_.block->references.fetch_add(1, std::memory_order_relaxed);
        break;
    default:
        break;
    }
}

void PropertyList::release() noexcept {
    const Kind kind = std::exchange(kind_, Kind::none);
    if (kind == Kind::string || kind == Kind::data) {
        SharedText::release(payload_.text);
    } else if (kind >= Kind::array && payload_.block) {
        if (payload_.block->references.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
        thread_local constinit Dying dying;
        dying.add(payload_.block, kind);
    }
}

// A block that this value alone holds, with room for at least `wanted`.
PropertyList::Block* PropertyList::owned(std::size_t wanted) {
    Block* old = payload_.block;
    const std::size_t room = old ? old->capacity : 0;
    const bool shared = old && old->references.load(std::memory_order_acquire) > 1;
    if (old && !shared && room >= wanted) return old;

    Block* fresh = Block::make(wanted > room ? std::max({wanted, room * 2, std::size_t{4}}) : wanted, kind_);
    PropertyList holder;
    holder.kind_ = kind_;
    holder.payload_.block = fresh;
    for (std::uint32_t i = 0; old && i < old->size; ++i) {
        if (kind_ == Kind::dictionary) {
            fresh->append(shared ? Entry(old->entries()[i]) : std::move(old->entries()[i]));
        } else {
            PropertyList& element = old->elements()[i];
            new (fresh->elements() + fresh->size++)
                PropertyList(shared ? PropertyList(element) : std::move(element));
        }
    }
    *this = std::move(holder);
    return fresh;
}

std::size_t PropertyList::size() const {
    return kind_ >= Kind::array && payload_.block ? payload_.block->size : 0;
}

const PropertyList* PropertyList::find(std::string_view key) const {
    if (kind_ != Kind::dictionary || !payload_.block) return nullptr;
    const std::uint32_t at = payload_.block->indexOf(key);
    return at < payload_.block->size ? &payload_.block->entries()[at].value : nullptr;
}

std::span<const PropertyList::Entry> PropertyList::entries() const& {
    if (kind_ != Kind::dictionary || !payload_.block) return {};
    return {payload_.block->entries(), payload_.block->size};
}

void PropertyList::set(std::string_view key, PropertyList value) {
    if (kind_ != Kind::dictionary) *this = dictionary();
    const std::size_t count = size();
    const std::uint32_t at = payload_.block ? payload_.block->indexOf(key) : 0;
    if (at < count) {
        owned(count)->entries()[at].value = std::move(value);
    } else {
        // The key may lie in this very dictionary, whose block is about to go.
        SharedText shared = internedKey(key);
        owned(count + 1)->append({std::move(shared), std::move(value)});
    }
}

void PropertyList::remove(std::string_view key) {
    if (!find(key)) return;
    const std::uint32_t at = payload_.block->indexOf(key);
    Block* block = owned(size());
    Entry* all = block->entries();
    std::move(all + at + 1, all + block->size, all + at);
    std::destroy_at(all + --block->size);
    block->rebuildTable();
}

const PropertyList* PropertyList::at(std::size_t index) const {
    return kind_ == Kind::array && index < size() ? payload_.block->elements() + index : nullptr;
}

std::span<const PropertyList> PropertyList::elements() const& {
    if (kind_ != Kind::array || !payload_.block) return {};
    return {payload_.block->elements(), payload_.block->size};
}

void PropertyList::push_back(PropertyList value) {
    if (kind_ != Kind::array) *this = array();
    Block* block = owned(size() + 1);
    new (block->elements() + block->size) PropertyList(std::move(value));
    ++block->size;
}

} // namespace marvo
