// An immutable text (or run of bytes) that many values share: made once, counted, freed with its last owner.
//
// 8 bytes; an empty text owns nothing. At most 4 GiB - 1 bytes; a longer one is cut.
//
// Thread-safe: distinct owners of the same text are; one owner has one user at a time. Copying is
// realtime-safe, making and letting go are not.
#pragma once

#include <atomic>
#include <cstdint>
#include <string_view>
#include <utility>

namespace marvo {

class SharedText {
public:
    // What the owners share; the characters follow in the same allocation. Values that keep a text in a word
    // of their own hold one of these.
    struct Block {
        std::atomic<std::uint32_t> references;
        std::uint32_t size;

        char* characters() { return reinterpret_cast<char*>(this + 1); }
        const char* characters() const { return reinterpret_cast<const char*>(this + 1); }
    };

    SharedText() noexcept = default;
    explicit SharedText(std::string_view text);
    SharedText(const SharedText& other) noexcept : block_(other.block_) { retain(block_); }
    SharedText(SharedText&& other) noexcept : block_(std::exchange(other.block_, nullptr)) {}
    SharedText& operator=(SharedText other) noexcept {
        std::swap(block_, other.block_);
        return *this;
    }
    ~SharedText() { release(block_); }

    std::string_view view() const noexcept { return viewOf(block_); }
    operator std::string_view() const noexcept { return view(); }
    bool empty() const noexcept { return block_ == nullptr; }
    bool sameBlock(const SharedText& other) const noexcept { return block_ == other.block_; }

    // Gives the share away; whoever takes it calls release() or adopt() once.
    Block* detach() noexcept { return std::exchange(block_, nullptr); }
    static SharedText adopt(Block* share) noexcept {
        SharedText text;
        text.block_ = share;
        return text;
    }

    static std::string_view viewOf(const Block* block) noexcept {
        return block ? std::string_view(block->characters(), block->size) : std::string_view("", 0);
    }
    static void retain(Block* block) noexcept {
        if (block) block->references.fetch_add(1, std::memory_order_relaxed);
    }
    static void release(Block* block) noexcept {
        if (block && block->references.fetch_sub(1, std::memory_order_acq_rel) == 1) destroy(block);
    }

private:
    static void destroy(Block* block) noexcept;

    Block* block_ = nullptr;
};

} // namespace marvo
