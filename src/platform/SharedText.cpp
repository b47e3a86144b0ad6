#include "platform/SharedText.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

namespace marvo {

SharedText::SharedText(std::string_view text) {
    if (text.empty()) return;
    const auto size = std::min<std::size_t>(text.size(), std::numeric_limits<std::uint32_t>::max());
    block_ = new (::operator new(sizeof(Block) + size)) Block{{1}, static_cast<std::uint32_t>(size)};
    std::memcpy(block_->characters(), text.data(), size);
}

void SharedText::destroy(Block* block) noexcept {
    block->~Block();
    ::operator delete(block);
}

} // namespace marvo
