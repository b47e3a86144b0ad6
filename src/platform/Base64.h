// Base64, as property lists hold binary data. Thread-safe; allocates.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace marvo {

std::string encodeBase64(std::span<const std::byte> bytes);
// White space is skipped. None when any other character, or a wrong length, is met.
std::optional<std::vector<std::byte>> decodeBase64(std::string_view text);

} // namespace marvo
