// An OSC message: an address and its arguments, made to be filled again and again.
//
// resetWithAddress keeps the memory, so a message that is reused allocates nothing once it has grown to its
// size. Views that it hands out are valid until the next change. One user at a time. A copy owns its address,
// wherever the original has its own.
#pragma once

#include "endpoints/osc/OSCValueList.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace marvo {

class OSCMessage {
public:
    OSCMessage() = default;
    OSCMessage(const OSCMessage& other) { *this = other; }
    OSCMessage& operator=(const OSCMessage& other) {
        if (this == &other) return *this;
        resetWithAddress(other.address());
        for (const OSCValue& value : other.values()) addValue(value);
        return *this;
    }
    static OSCMessage createWithAddress(std::string_view address) {
        OSCMessage message;
        message.resetWithAddress(address);
        return message;
    }

    void resetWithAddress(std::string_view address) {
        ownAddress_.assign(address.begin(), address.end());
        address_ = {ownAddress_.data(), ownAddress_.size()};
        values_.clear();
        texts_.clear();
    }
    // So that up to so much needs no memory later. Bytes, arguments, bytes of all texts. Only while it is
    // empty.
    void makeRoom(std::size_t addressSize, std::size_t valueCount, std::size_t textSize) {
        ownAddress_.reserve(addressSize);
        values_.makeRoomFor(valueCount);
        texts_.reserve(textSize);
    }
    // For a message that holds one number and is to hold another, under an address that stays where it is
    // until the message is reset or rewritten.
    void rewrite(std::string_view borrowedAddress, const OSCValue& number) {
        address_ = borrowedAddress;
        values_.all()[0] = number;
    }
    void addInt(std::int32_t value) { values_.add(OSCValue::createWithInt(value)); }
    void addFloat(float value) { values_.add(OSCValue::createWithFloat(value)); }
    // As many at once: floatAt gives each by its index.
    template <class FloatAt>
    void addFloats(std::size_t count, FloatAt&& floatAt) {
        OSCValue* const values = values_.grownBy(count);
        for (std::size_t i = 0; i < count; ++i) values[i] = OSCValue::createWithFloat(floatAt(i));
    }
    void addBOOL(bool value) { values_.add(OSCValue::createWithBool(value)); }
    void addColor(std::uint32_t rgba) { values_.add(OSCValue::createWithColor(rgba)); }
    void addString(std::string_view text) { addText(OSCValue::createWithString(text)); }
    void addValue(const OSCValue& value) {
        if (value.type() == OSCValue::typeString || value.type() == OSCValue::typeBlob) {
            addText(value);
        } else {
            values_.add(value);
        }
    }

    std::string_view address() const { return address_; }
    std::size_t valueCount() const { return values_.size(); }
    // The first argument, or null.
    const OSCValue* value() const { return values_.empty() ? nullptr : &values_.front(); }
    // All arguments, but only when there is more than one: gatherers tell a single value from a list by that.
    const OSCValueList* valueArray() const { return values_.size() > 1 ? &values_ : nullptr; }
    const OSCValue& valueAtIndex(std::size_t index) const { return values_[index]; }
    // Bytes of all texts and blobs.
    std::size_t textSize() const { return texts_.size(); }
    std::span<const OSCValue> values() const { return values_.all(); }

private:
    // Texts live behind one another in one string; growing it moves them, so the values are set again.
    void addText(OSCValue value) {
        const char* before = texts_.data();
        texts_.append(value.stringValue());
        if (texts_.data() != before) {
            for (OSCValue& other : values_.all()) {
                if (other.isText()) other.moveText(texts_.data() + (other.text() - before));
            }
        }
        value.moveText(texts_.data() + (texts_.size() - value.textSize_));
        values_.add(value);
    }

    std::string_view address_;
    std::vector<char> ownAddress_;
    OSCValueList values_;
    std::string texts_;
};

} // namespace marvo
