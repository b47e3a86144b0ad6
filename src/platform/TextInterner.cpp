#include "platform/TextInterner.h"

#include <array>
#include <functional>
#include <utility>

namespace marvo {

SharedText TextInterner::intern(std::string_view text) {
    if (text.size() > longestText) return SharedText(text);
    if (text.empty()) return {};
    if (slots_.empty()) slots_.resize(256);
    const std::size_t hash = std::hash<std::string_view>()(text);
    const std::size_t mask = slots_.size() - 1;
    std::size_t at = hash & mask;
    for (; !slots_[at].text.empty(); at = (at + 1) & mask) {
        if (slots_[at].hash == hash && slots_[at].text.view() == text) return slots_[at].text;
    }
    SharedText fresh(text);
    if (used_ == mostTexts) return fresh;
    slots_[at] = {hash, fresh};
    if (++used_ * 2 > slots_.size()) grow();
    return fresh;
}

void TextInterner::grow() {
    std::vector<Slot> larger(slots_.size() * 2);
    const std::size_t mask = larger.size() - 1;
    for (Slot& slot : slots_) {
        if (slot.text.empty()) continue;
        std::size_t at = slot.hash & mask;
        while (!larger[at].text.empty()) at = (at + 1) & mask;
        larger[at] = std::move(slot);
    }
    slots_ = std::move(larger);
}

SharedText internedKey(std::string_view key) {
    constexpr std::size_t remembered = 256;
    thread_local std::array<SharedText, remembered> keys;
    if (key.size() > TextInterner::longestText) return SharedText(key);
    SharedText& slot = keys[std::hash<std::string_view>()(key) % remembered];
    if (slot.view() != key) slot = SharedText(key);
    return slot;
}

} // namespace marvo
