// One argument of an OSC message.
//
// Texts and blobs point into the message that holds them. Thread-safe: a plain value. Realtime-safe.
#pragma once

#include "platform/Saturate.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>

namespace marvo {

class OSCValue {
public:
    // As `type` reports them. Receivers treat 1 and 5 as integers, 2 and 6 as floats.
    static constexpr int typeInt = 1;       // i
    static constexpr int typeFloat = 2;     // f
    static constexpr int typeString = 3;    // s, and symbols (S)
    static constexpr int typeTimeTag = 4;   // t
    static constexpr int typeInt64 = 5;     // h
    static constexpr int typeDouble = 6;    // d
    static constexpr int typeChar = 7;      // c
    static constexpr int typeColor = 8;     // r, 0xrrggbbaa
    static constexpr int typeMidi = 9;      // m, four bytes
    static constexpr int typeBool = 10;     // T, F
    static constexpr int typeNil = 11;      // N
    static constexpr int typeInfinity = 12; // I
    static constexpr int typeBlob = 13;     // b

    OSCValue() = default;
    static OSCValue createWithInt(std::int32_t value) { return OSCValue(typeInt, 'i', std::int64_t{value}); }
    static OSCValue createWithInt64(std::int64_t value) { return OSCValue(typeInt64, 'h', value); }
    static OSCValue createWithFloat(float value) {
        return OSCValue(typeFloat, 'f', std::int64_t{std::bit_cast<std::uint32_t>(value)});
    }
    static OSCValue createWithDouble(double value) { return OSCValue(typeDouble, 'd', value); }
    static OSCValue createWithBool(bool value) {
        return OSCValue(typeBool, value ? 'T' : 'F', std::int64_t{value});
    }
    static OSCValue createWithColor(std::uint32_t rgba) {
        return OSCValue(typeColor, 'r', std::int64_t{rgba});
    }
    static OSCValue createWithString(std::string_view text) { return OSCValue(typeString, 's', text); }
    static OSCValue createWithBlob(std::string_view bytes) { return OSCValue(typeBlob, 'b', bytes); }
    // For tags that carry a number or nothing: t, c, m, N, I.
    static OSCValue createWithTag(int type, char tag, std::int64_t value) {
        return OSCValue(type, tag, value);
    }

    int type() const { return type_; }
    char tag() const { return tag_; }
    // A float is cut; what holds no number is 0.
    std::int64_t intValue() const {
        if (type_ == typeFloat || type_ == typeDouble) return truncatedToInt64(doubleValue());
        return isText() ? 0 : bits_;
    }
    double doubleValue() const {
        if (type_ == typeFloat) return static_cast<double>(floatValue());
        if (type_ == typeDouble) return std::bit_cast<double>(bits_);
        return isText() ? 0.0 : static_cast<double>(bits_);
    }
    float floatValue() const {
        return type_ == typeFloat ? std::bit_cast<float>(static_cast<std::uint32_t>(bits_))
                                  : static_cast<float>(doubleValue());
    }
    bool boolValue() const { return doubleValue() != 0.0; }
    std::uint32_t colorValue() const { return static_cast<std::uint32_t>(isText() ? 0 : bits_); }
    // Of strings and blobs; empty for everything else.
    std::string_view stringValue() const {
        return isText() ? std::string_view(text(), textSize_) : std::string_view();
    }

    bool operator==(const OSCValue& other) const {
        if (type_ != other.type_ || tag_ != other.tag_) return false;
        if (type_ == typeFloat || type_ == typeDouble) return doubleValue() == other.doubleValue();
        return isText() ? stringValue() == other.stringValue() : bits_ == other.bits_;
    }

private:
    friend class OSCMessage;
    static constexpr std::size_t longestText = std::numeric_limits<std::uint32_t>::max();

    OSCValue(int type, char tag, std::int64_t value)
        : bits_(value), type_(static_cast<std::uint8_t>(type)), tag_(tag) {}
    OSCValue(int type, char tag, double value) : OSCValue(type, tag, std::bit_cast<std::int64_t>(value)) {}
    OSCValue(int type, char tag, std::string_view text)
        : bits_(std::bit_cast<std::int64_t>(text.data())),
          textSize_(static_cast<std::uint32_t>(std::min<std::size_t>(text.size(), longestText))),
          type_(static_cast<std::uint8_t>(type)), tag_(tag) {}

    bool isText() const { return type_ == typeString || type_ == typeBlob; }
    const char* text() const { return std::bit_cast<const char*>(bits_); }
    void moveText(const char* to) { bits_ = std::bit_cast<std::int64_t>(to); }

    // Sixteen bytes, and whole words of them: a value is made in registers and stored at once.
    std::int64_t bits_ = 0; // the number, the bits of a float or double, or the place of the text
    std::uint32_t textSize_ = 0;
    std::uint8_t type_ = typeNil;
    char tag_ = 'N';
    [[maybe_unused]] std::uint16_t unused_ = 0;
};

static_assert(sizeof(OSCValue) == 16);

} // namespace marvo
