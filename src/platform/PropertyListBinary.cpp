#include "platform/PropertyListBinary.h"

#include "platform/PropertyListBuilder.h"
#include "platform/Text.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <optional>
#include <unordered_map>
#include <vector>

namespace marvo {
namespace {

constexpr std::size_t headerSize = 8;
constexpr std::size_t trailerSize = 32;
// A file that names every container once holds fewer values than bytes, and no more text than three halves of
// its bytes (two bytes of UTF-16 make three of UTF-8). Beyond these bounds something is named over and over.
constexpr std::size_t valuesPerByte = 16;
constexpr std::size_t textPerByte = 2;

// The kind of an object, in the upper half of its first byte.
enum Marker : std::uint8_t {
    simple = 0,
    integer = 1,
    real = 2,
    date = 3,
    data = 4,
    ascii = 5,
    utf16 = 6,
    uid = 8,
    array = 10,
    orderedSet = 11,
    set = 12,
    dictionary = 13,
};

class BinaryReader {
public:
    BinaryReader(std::string_view bytes, const std::string& name)
        : bytes_(bytes), name_(name),
          valuesLeft_(std::min(bytes.size() * valuesPerByte, PropertyListBuilder::maximumValues)),
          textLeft_(bytes.size() * textPerByte) {}

    ReadResult read() {
        if (!readTrailer()) return {{}, error_};
        PropertyList value = object(top_, 0);
        if (error_.empty() && value.isNone()) fail(headerSize, "there is no value in it");
        if (!error_.empty()) return {{}, error_};
        return {std::move(value), {}};
    }

private:
    // An object being read: where it starts, for errors, and what lies behind its first byte.
    struct Place {
        std::size_t start;
        std::size_t at;
        std::uint8_t marker;
        std::uint8_t low;
    };

    PropertyList fail(std::size_t at, const std::string& why) {
        if (error_.empty())
            error_ = escapeForLog(name_, maximumPath) + ": byte " + std::to_string(at) + ": " + why;
        return {};
    }

    bool readTrailer() {
        if (bytes_.size() < headerSize + trailerSize) fail(bytes_.size(), "the file is cut off");
        if (!bytes_.starts_with("bplist0")) fail(6, "this version of the binary form is not known");
        if (!error_.empty()) return false;
        const std::size_t trailer = bytes_.size() - trailerSize;
        offsetSize_ = byteAt(trailer + 6);
        referenceSize_ = byteAt(trailer + 7);
        count_ = unsignedAt(trailer + 8, 8);
        top_ = unsignedAt(trailer + 16, 8);
        end_ = static_cast<std::size_t>(unsignedAt(trailer + 24, 8));
        if (offsetSize_ < 1 || offsetSize_ > 8 || referenceSize_ < 1 || referenceSize_ > 8) {
            fail(trailer + 6, "impossible sizes in the trailer");
        } else if (end_ < headerSize || end_ > trailer || count_ > (trailer - end_) / offsetSize_ ||
                   top_ >= count_) {
            fail(trailer + 8, "the trailer points outside the file");
        } else {
            open_.assign(static_cast<std::size_t>(count_), false);
        }
        return error_.empty();
    }

    std::uint8_t byteAt(std::size_t at) const { return static_cast<std::uint8_t>(bytes_[at]); }
    std::uint64_t unsignedAt(std::size_t at, std::size_t size) const {
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < size; ++i) value = value << 8 | byteAt(at + i);
        return value;
    }
    // Objects lie between the header and the table of their offsets.
    bool has(std::size_t at, std::uint64_t size) const { return at <= end_ && size <= end_ - at; }
    std::uint64_t reference(std::size_t at, std::size_t index) const {
        return unsignedAt(at + index * referenceSize_, referenceSize_);
    }

    PropertyList object(std::uint64_t number, std::size_t depth) {
        if (!error_.empty()) return {};
        if (number >= count_) return fail(end_, "an object is named that is not there");
        const std::size_t slot = end_ + static_cast<std::size_t>(number) * offsetSize_;
        const std::uint64_t offset = unsignedAt(slot, offsetSize_);
        if (offset < headerSize || offset >= end_) return fail(slot, "an object lies outside the file");
        const auto start = static_cast<std::size_t>(offset);
        if (valuesLeft_-- == 0) return fail(start, "it unfolds into too many values");
        const std::uint8_t first = byteAt(start);
        const Place place{start, start + 1, static_cast<std::uint8_t>(first >> 4),
                          static_cast<std::uint8_t>(first & 15)};
        switch (place.marker) {
        case simple:
            if (place.low == 0) return {};
            if (place.low == 8 || place.low == 9) return place.low == 9;
            break;
        case integer:
            return integerAt(place);
        case real:
            return realAt(place);
        case date:
            if (place.low != 3 || !has(place.at, 8)) return fail(start, "a damaged date");
            return PropertyList::date(std::bit_cast<double>(unsignedAt(place.at, 8)));
        case uid:
            return uidAt(place);
        case data:
        case ascii:
        case utf16:
            return textOnce(place);
        case array:
        case orderedSet:
        case set:
        case dictionary:
            return container(place, static_cast<std::size_t>(number), depth);
        default:
            break;
        }
        return fail(start, "an object of unknown kind");
    }

    PropertyList integerAt(const Place& place) {
        const std::size_t size = std::size_t{1} << place.low;
        if (place.low > 4 || !has(place.at, size)) return fail(place.start, "a damaged integer");
        // Up to four bytes are unsigned, eight are signed; sixteen serve what is above the signed range of
        // eight.
        if (size < 8) return unsignedAt(place.at, size);
        const std::uint64_t upper = size == 16 ? unsignedAt(place.at, 8) : 0;
        const std::uint64_t lower = unsignedAt(place.at + size - 8, 8);
        const auto asSigned = static_cast<std::int64_t>(lower);
        if (size == 8 || (upper == ~std::uint64_t{0} && asSigned < 0)) return asSigned;
        if (upper != 0) return fail(place.start, "an integer of more than 64 bits");
        return lower;
    }

    PropertyList realAt(const Place& place) {
        if (place.low == 2 && has(place.at, 4)) {
            const auto bits = static_cast<std::uint32_t>(unsignedAt(place.at, 4));
            // As a double, so that it keeps its exact value when it is written as text.
            return static_cast<double>(std::bit_cast<float>(bits));
        }
        if (place.low == 3 && has(place.at, 8)) return std::bit_cast<double>(unsignedAt(place.at, 8));
        return fail(place.start, "a damaged real");
    }

    PropertyList uidAt(const Place& place) {
        const std::size_t size = place.low + 1u;
        if (size > 8 || !has(place.at, size)) return fail(place.start, "a damaged UID");
        PropertyList result = PropertyList::dictionary();
        result.set("CF$UID", unsignedAt(place.at, size));
        return result;
    }

    // In the first byte, or in an integer behind it, over which the place is moved.
    std::optional<std::uint64_t> countOf(Place& place) {
        if (place.low != 15) return place.low;
        if (!has(place.at, 1)) return std::nullopt;
        const std::size_t size = std::size_t{1} << (byteAt(place.at) & 15);
        if (byteAt(place.at) >> 4 != integer || size > 8 || !has(place.at + 1, size)) return std::nullopt;
        const std::uint64_t count = unsignedAt(place.at + 1, size);
        place.at += 1 + size;
        return count;
    }

    // However often a text is named, it is held once.
    PropertyList textOnce(const Place& place) {
        const auto known = texts_.find(place.start);
        if (known != texts_.end()) return known->second;
        PropertyList value = text(place);
        if (error_.empty()) texts_.emplace(place.start, value);
        return value;
    }

    PropertyList text(Place place) {
        const std::optional<std::uint64_t> count = countOf(place);
        const std::size_t unit = place.marker == utf16 ? 2 : 1;
        if (!count || *count > bytes_.size() || !has(place.at, *count * unit))
            return fail(place.start, "a damaged text");
        const std::string_view bytes = bytes_.substr(place.at, static_cast<std::size_t>(*count) * unit);
        if (bytes.size() > textLeft_) return fail(place.start, "it unfolds into too much text");
        textLeft_ -= bytes.size();
        if (place.marker == data) return PropertyList::data(std::as_bytes(std::span(bytes)));
        if (place.marker == utf16) return wide(place, bytes);
        if (!isValidUtf8(bytes)) return fail(place.start, "a text that is not ASCII");
        return bytes;
    }

    PropertyList wide(const Place& place, std::string_view bytes) {
        std::u16string units(bytes.size() / 2, u'\0');
        for (std::size_t i = 0; i < units.size(); ++i) {
            units[i] = static_cast<char16_t>(unsignedAt(place.at + 2 * i, 2));
        }
        const std::optional<std::string> converted = utf8Of(units);
        if (!converted) return fail(place.start, "a text that is not UTF-16");
        return *converted;
    }

    PropertyList container(Place place, std::size_t number, std::size_t depth) {
        if (depth == PropertyListBuilder::maximumDepth)
            return fail(place.start, "nested deeper than 512 levels");
        if (open_[number]) return fail(place.start, "a container holds itself");
        const std::optional<std::uint64_t> counted = countOf(place);
        const bool pairs = place.marker == dictionary;
        if (!counted || *counted > bytes_.size() ||
            !has(place.at, *counted * referenceSize_ * (pairs ? 2 : 1))) {
            return fail(place.start, "a damaged container");
        }
        const auto count = static_cast<std::size_t>(*counted);
        open_[number] = true;
        PropertyList value = pairs ? dictionaryAt(place.at, count, depth) : arrayAt(place.at, count, depth);
        open_[number] = false;
        return value;
    }

    PropertyList arrayAt(std::size_t at, std::size_t count, std::size_t depth) {
        std::vector<PropertyList> elements;
        for (std::size_t i = 0; i < count && error_.empty(); ++i) {
            elements.push_back(object(reference(at, i), depth + 1));
        }
        return PropertyList::arrayOf(elements);
    }

    PropertyList dictionaryAt(std::size_t at, std::size_t count, std::size_t depth) {
        std::vector<PropertyList::Entry> entries;
        for (std::size_t i = 0; i < count && error_.empty(); ++i) {
            const PropertyList key = object(reference(at, i), depth + 1);
            if (!key.isString()) return fail(at, "a key that is not a text");
            entries.push_back({key.sharedString(), object(reference(at, count + i), depth + 1)});
        }
        return PropertyList::dictionaryOf(entries);
    }

    static constexpr std::size_t maximumPath = 4096;

    const std::string_view bytes_;
    const std::string& name_;
    std::string error_;
    std::vector<bool> open_;                              // by object number: is being read
    std::unordered_map<std::size_t, PropertyList> texts_; // by offset
    std::size_t valuesLeft_;
    std::size_t textLeft_;
    std::size_t offsetSize_ = 0;
    std::size_t referenceSize_ = 0;
    std::size_t end_ = 0; // of the objects; the offset table begins there
    std::uint64_t count_ = 0;
    std::uint64_t top_ = 0;
};

} // namespace

ReadResult parsePropertyListBinary(std::string_view bytes, const std::string& name) {
    return BinaryReader(bytes, name).read();
}

} // namespace marvo
