#include "platform/Base64.h"

#include <array>
#include <cstdint>

namespace marvo {
namespace {

constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr std::array<std::int8_t, 256> makeValues() {
    std::array<std::int8_t, 256> values{};
    for (auto& value : values) value = -1;
    for (std::size_t i = 0; i < alphabet.size(); ++i) {
        values[static_cast<unsigned char>(alphabet[i])] = static_cast<std::int8_t>(i);
    }
    return values;
}
constexpr std::array<std::int8_t, 256> values = makeValues();

} // namespace

std::string encodeBase64(std::span<const std::byte> bytes) {
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::size_t left = std::min<std::size_t>(3, bytes.size() - i);
        std::uint32_t group = 0;
        for (std::size_t k = 0; k < 3; ++k)
            group = group << 8 | (k < left ? std::to_integer<std::uint32_t>(bytes[i + k]) : 0);
        for (std::size_t k = 0; k < 4; ++k) {
            text.push_back(k <= left ? alphabet[group >> (18 - 6 * k) & 63] : '=');
        }
    }
    return text;
}

std::optional<std::vector<std::byte>> decodeBase64(std::string_view text) {
    std::vector<std::byte> bytes;
    bytes.reserve(text.size() / 4 * 3);
    std::uint32_t group = 0;
    int digits = 0;
    int padding = 0;
    for (const char c : text) {
        if (c == ' ' || (c >= '\t' && c <= '\r')) continue;
        if (c == '=') {
            if (++padding > 2) return std::nullopt;
            continue;
        }
        const std::int8_t value = values[static_cast<unsigned char>(c)];
        if (value < 0 || padding > 0) return std::nullopt;
        group = group << 6 | static_cast<std::uint32_t>(value);
        if (++digits % 4 == 0) {
            for (int shift = 16; shift >= 0; shift -= 8)
                bytes.push_back(static_cast<std::byte>(group >> shift & 255));
            group = 0;
        }
    }
    const int rest = digits % 4;
    if (rest == 1 || (padding > 0 && rest + padding != 4)) return std::nullopt;
    if (rest == 2) bytes.push_back(static_cast<std::byte>(group >> 4 & 255));
    if (rest == 3) {
        bytes.push_back(static_cast<std::byte>(group >> 10 & 255));
        bytes.push_back(static_cast<std::byte>(group >> 2 & 255));
    }
    return bytes;
}

} // namespace marvo
