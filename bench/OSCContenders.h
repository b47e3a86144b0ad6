// The same OSC message made and read by the libraries that others use, and by hand.
//
// In a file of its own, so that no contender is melted into the loop that measures it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace marvo::bench {

struct ThreeFloats {
    float values[3];
};

// What a program without a library would keep a message in.
struct HandArgument {
    char tag = 'N';
    union {
        std::int64_t integer = 0;
        double real;
        const char* text;
    };
    std::size_t textSize = 0;
};
struct HandMessage {
    std::string_view address;
    HandArgument arguments[16];
    std::size_t count = 0;

    void addFloat(float value) {
        if (count == 16) return;
        arguments[count].tag = 'f';
        arguments[count++].real = static_cast<double>(value);
    }
};

// One pass that knows every tag, checks space and bounds, and calls nothing but memcpy, memset and memchr.
// 0 when the space does not hold the packet.
std::size_t encodeByHand(const HandMessage& message, std::span<std::byte> space);
// False on anything that is malformed.
bool decodeByHand(std::span<const std::byte> packet, HandMessage& message);

// The same for a program that will never see anything but three floats. Shown beside the others; no bound.
std::size_t encodeFloatsAlone(std::string_view address, std::span<const float> values,
                              std::span<std::byte> space);
bool decodeFloatsAlone(std::span<const std::byte> packet, std::string_view& address, ThreeFloats& values);

std::size_t encodeWithLiblo(const char* address, std::span<const float> values, std::span<std::byte> space);
bool decodeWithLiblo(std::span<const std::byte> packet, std::string_view& address, ThreeFloats& values);

std::size_t encodeWithOscpack(const char* address, std::span<const float> values, std::span<std::byte> space);
bool decodeWithOscpack(std::span<const std::byte> packet, std::string_view& address, ThreeFloats& values);

} // namespace marvo::bench
