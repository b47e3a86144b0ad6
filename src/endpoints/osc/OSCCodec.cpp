#include "endpoints/osc/OSCCodec.h"

#include <bit>
#include <cstring>

namespace marvo {
namespace {

constexpr int deepestBundle = 16;
constexpr std::string_view bundleMark("#bundle\0", 8);

constexpr std::size_t padded(std::size_t size) {
    return (size + 3) & ~std::size_t{3};
}
// A text ends in one to four zero bytes.
constexpr std::size_t textSize(std::size_t size) {
    return padded(size + 1);
}
// A reader ends a text at its first zero byte; what lay behind it would be read as the next argument.
constexpr std::string_view untilZero(std::string_view text) {
    return text.substr(0, text.find('\0'));
}

std::size_t argumentSize(const OSCValue& value) {
    switch (value.tag()) {
    case 'i':
    case 'f':
    case 'r':
    case 'c':
    case 'm':
        return 4;
    case 'h':
    case 'd':
    case 't':
        return 8;
    case 's':
    case 'S':
        return textSize(untilZero(value.stringValue()).size());
    case 'b':
        return 4 + padded(value.stringValue().size());
    default:
        return 0;
    }
}

// Not zero if one of eight bytes is; the lowest bit that is set lies in the first zero byte of a
// little-endian word, those above it mean nothing.
constexpr std::uint64_t zeroMarks(std::uint64_t eight) {
    return (eight - 0x0101010101010101u) & ~eight & 0x8080808080808080u;
}

// Copies a text and looks for a zero byte in it on the way: a call of memchr and one of memcpy cost more than
// the whole of a short message. False when there is one; `to` then holds any part of the text.
inline bool copyTextWithoutZero(std::byte* to, std::string_view text) {
    const char* const from = text.data();
    const std::size_t size = text.size();
    bool zero = false;
    const auto eight = [&](std::size_t at) {
        std::uint64_t bytes = 0;
        std::memcpy(&bytes, from + at, 8);
        std::memcpy(to + at, &bytes, 8);
        zero |= zeroMarks(bytes) != 0;
    };
    if (size < 8) {
        for (std::size_t i = 0; i < size; ++i) {
            to[i] = static_cast<std::byte>(from[i]);
            zero |= from[i] == 0;
        }
        return !zero;
    }
    for (std::size_t at = 0; at + 8 < size; at += 8) eight(at);
    eight(size - 8);
    return !zero;
}

inline void store(std::byte* at, std::uint32_t value) {
    const std::uint32_t wire = std::endian::native == std::endian::little ? __builtin_bswap32(value) : value;
    std::memcpy(at, &wire, 4);
}

// These return the place behind what they wrote. The caller has made sure of the space: of ample space when
// there is room for texts that are written whole before a zero byte is seen in them.

template <bool ample>
inline std::byte* encodeText(std::string_view text, std::byte* at) {
    if (!ample) text = untilZero(text);
    for (;;) {
        const std::size_t size = textSize(text.size());
        // The last four bytes first: the text overwrites all but the zero bytes behind it.
        std::memset(at + size - 4, 0, 4);
        if (copyTextWithoutZero(at, text)) [[likely]]
            return at + size;
        text = untilZero(text);
    }
}

std::byte* encodeBlob(std::string_view bytes, std::byte* at) {
    const std::size_t size = padded(bytes.size());
    store(at, static_cast<std::uint32_t>(bytes.size()));
    if (size == 0) return at + 4;
    std::memset(at + size, 0, 4);
    std::memcpy(at + 4, bytes.data(), bytes.size());
    return at + 4 + size;
}

template <bool ample>
inline std::byte* encodeArgument(const OSCValue& value, std::byte* at) {
    switch (value.tag()) {
    case 'f':
        store(at, std::bit_cast<std::uint32_t>(value.floatValue()));
        return at + 4;
    case 'i':
    case 'r':
    case 'c':
    case 'm':
        store(at, static_cast<std::uint32_t>(value.intValue()));
        return at + 4;
    case 'h':
    case 't':
    case 'd': {
        const std::uint64_t words = value.tag() == 'd' ? std::bit_cast<std::uint64_t>(value.doubleValue())
                                                       : static_cast<std::uint64_t>(value.intValue());
        store(at, static_cast<std::uint32_t>(words >> 32));
        store(at + 4, static_cast<std::uint32_t>(words));
        return at + 8;
    }
    case 's':
    case 'S':
        return encodeText<ample>(value.stringValue(), at);
    case 'b':
        return encodeBlob(value.stringValue(), at);
    default:
        return at;
    }
}

template <bool ample>
std::size_t encodeWhole(const OSCMessage& message, std::byte* space) {
    const std::span<const OSCValue> values = message.values();
    std::byte* tag = encodeText<ample>(message.address(), space);
    std::byte* at = tag + textSize(values.size() + 1);
    std::memset(at - 4, 0, 4);
    *tag++ = std::byte{','};
    for (const OSCValue& value : values) {
        *tag++ = static_cast<std::byte>(value.tag());
        at = encodeArgument<ample>(value, at);
    }
    return static_cast<std::size_t>(at - space);
}

// A look at the parts of a message that nearly always spares counting its size.
bool isAmple(std::size_t space, const OSCMessage& message) {
    // An argument is a tag and up to eight bytes beside its text: size, zero byte and padding, or the number.
    return message.address().size() + message.textSize() + 9 * message.valueCount() + 12 <= space;
}

// Reads forward in one packet; every step checks what is left.
class Reader {
public:
    explicit Reader(std::span<const std::byte> bytes) : bytes_(bytes) {}
    bool atEnd() const { return at_ == bytes_.size(); }
    // The next eight bytes as they lie in memory, without going on.
    bool peek(std::uint64_t& eight) const {
        if (!has(8)) return false;
        std::memcpy(&eight, bytes_.data() + at_, 8);
        return true;
    }

    // Texts fill whole words of four bytes, and so does the packet.
    bool text(std::string_view& text) {
        const char* const start = reinterpret_cast<const char*>(bytes_.data()) + at_;
        const std::size_t left = bytes_.size() - at_;
        std::size_t length = 0;
        std::uint64_t zeros = 0;
        for (; length + 8 <= left; length += 8) {
            std::uint64_t eight = 0;
            std::memcpy(&eight, start + length, 8);
            zeros = zeroMarks(eight);
            if (zeros != 0) break;
        }
        if (zeros != 0 && std::endian::native == std::endian::little) {
            length += static_cast<std::size_t>(std::countr_zero(zeros)) / 8;
        } else {
            length += untilZero({start + length, left - length}).size();
            if (length == left) return false;
        }
        text = {start, length};
        at_ += textSize(length);
        return true;
    }
    bool word(std::uint32_t& value) {
        if (!has(4)) return false;
        std::memcpy(&value, bytes_.data() + at_, 4);
        if (std::endian::native == std::endian::little) value = __builtin_bswap32(value);
        at_ += 4;
        return true;
    }
    bool twoWords(std::uint64_t& value) {
        std::uint32_t high = 0;
        std::uint32_t low = 0;
        if (!word(high) || !word(low)) return false;
        value = std::uint64_t{high} << 32 | low;
        return true;
    }
    bool bytes(std::size_t size, std::span<const std::byte>& bytes) {
        if (!has(size)) return false;
        bytes = bytes_.subspan(at_, size);
        at_ += size;
        return true;
    }

private:
    bool has(std::size_t size) const { return size <= bytes_.size() - at_; }

    std::span<const std::byte> bytes_;
    std::size_t at_ = 0;
};

OSCDecodeError decodeArgument(char tag, Reader& reader, OSCMessage& message) {
    std::uint32_t word = 0;
    std::uint64_t two = 0;
    std::string_view text;
    switch (tag) {
    case 'i':
        if (!reader.word(word)) return OSCDecodeError::truncated;
        message.addInt(static_cast<std::int32_t>(word));
        return OSCDecodeError::none;
    case 'f':
        if (!reader.word(word)) return OSCDecodeError::truncated;
        message.addFloat(std::bit_cast<float>(word));
        return OSCDecodeError::none;
    case 'r':
        if (!reader.word(word)) return OSCDecodeError::truncated;
        message.addColor(word);
        return OSCDecodeError::none;
    case 'c':
    case 'm':
        if (!reader.word(word)) return OSCDecodeError::truncated;
        message.addValue(OSCValue::createWithTag(tag == 'c' ? OSCValue::typeChar : OSCValue::typeMidi, tag,
                                                 static_cast<std::int64_t>(word)));
        return OSCDecodeError::none;
    case 'h':
        if (!reader.twoWords(two)) return OSCDecodeError::truncated;
        message.addValue(OSCValue::createWithInt64(static_cast<std::int64_t>(two)));
        return OSCDecodeError::none;
    case 't':
        if (!reader.twoWords(two)) return OSCDecodeError::truncated;
        message.addValue(OSCValue::createWithTag(OSCValue::typeTimeTag, 't', static_cast<std::int64_t>(two)));
        return OSCDecodeError::none;
    case 'd':
        if (!reader.twoWords(two)) return OSCDecodeError::truncated;
        message.addValue(OSCValue::createWithDouble(std::bit_cast<double>(two)));
        return OSCDecodeError::none;
    case 's':
    case 'S':
        if (!reader.text(text)) return OSCDecodeError::unterminatedText;
        message.addString(text);
        return OSCDecodeError::none;
    case 'b': {
        std::span<const std::byte> blob;
        if (!reader.word(word) || !reader.bytes(word, blob)) return OSCDecodeError::truncated;
        std::span<const std::byte> padding;
        if (!reader.bytes(padded(word) - word, padding)) return OSCDecodeError::truncated;
        message.addValue(OSCValue::createWithBlob({reinterpret_cast<const char*>(blob.data()), blob.size()}));
        return OSCDecodeError::none;
    }
    case 'T':
    case 'F':
        message.addBOOL(tag == 'T');
        return OSCDecodeError::none;
    case 'N':
        message.addValue(OSCValue::createWithTag(OSCValue::typeNil, 'N', 0));
        return OSCDecodeError::none;
    case 'I':
        message.addValue(OSCValue::createWithTag(OSCValue::typeInfinity, 'I', 0));
        return OSCDecodeError::none;
    case '[':
    case ']':
        return OSCDecodeError::none;
    default:
        return OSCDecodeError::unknownTag;
    }
}

// Nearly every message that comes in is one to six floats: their tags and the zero behind them fit eight
// bytes, which are looked at as one. False, with nothing read, for every other message.
inline bool decodeFewFloats(Reader& reader, OSCMessage& message) {
    std::uint64_t eight = 0;
    if (std::endian::native != std::endian::little || !reader.peek(eight)) return false;
    if ((eight & 0xff) != ',') return false;
    const std::uint64_t others = (eight >> 8) ^ 0x0066666666666666u;
    const std::size_t count = others == 0 ? 7 : static_cast<std::size_t>(std::countr_zero(others)) / 8;
    if (count == 7 || (eight >> (8 * (count + 1)) & 0xff) != 0) return false;
    std::span<const std::byte> words;
    Reader ahead = reader;
    if (!ahead.bytes(textSize(count + 1), words) || !ahead.bytes(4 * count, words)) return false;
    message.addFloats(count, [words](std::size_t i) {
        std::uint32_t word = 0;
        std::memcpy(&word, words.data() + 4 * i, 4);
        return std::bit_cast<float>(__builtin_bswap32(word));
    });
    return true;
}

// Out of line, so that the way that nearly every message takes stays short.
[[gnu::noinline]] OSCDecodeError decodeArguments(Reader reader, OSCMessage& message) {
    std::string_view tags;
    if (!reader.atEnd() && !reader.text(tags)) return OSCDecodeError::unterminatedText;
    if (!tags.starts_with(',')) return OSCDecodeError::none;
    for (const char tag : tags.substr(1)) {
        const OSCDecodeError error = decodeArgument(tag, reader, message);
        if (error != OSCDecodeError::none) return error;
    }
    return OSCDecodeError::none;
}

OSCDecodeError decodeMessage(std::span<const std::byte> packet, OSCMessage& scratch,
                             OSCMessageVisitor receive) {
    Reader reader(packet);
    std::string_view address;
    if (!reader.text(address)) return OSCDecodeError::unterminatedText;
    scratch.resetWithAddress(address);
    if (!decodeFewFloats(reader, scratch)) {
        const OSCDecodeError error = decodeArguments(reader, scratch);
        if (error != OSCDecodeError::none) return error;
    }
    receive(scratch);
    return OSCDecodeError::none;
}

OSCDecodeError decodeBundle(std::span<const std::byte> packet, OSCMessage& scratch, OSCMessageVisitor receive,
                            int depth);

inline OSCDecodeError decodeElement(std::span<const std::byte> packet, OSCMessage& scratch,
                                    OSCMessageVisitor receive, int depth) {
    if (packet.empty()) return OSCDecodeError::empty;
    if (packet.size() % 4 != 0) return OSCDecodeError::notAligned;
    if (packet[0] == std::byte{'/'}) [[likely]]
        return decodeMessage(packet, scratch, receive);
    return decodeBundle(packet, scratch, receive, depth);
}

OSCDecodeError decodeBundle(std::span<const std::byte> packet, OSCMessage& scratch, OSCMessageVisitor receive,
                            int depth) {
    const bool isBundle =
        packet.size() >= 16 && std::memcmp(packet.data(), bundleMark.data(), bundleMark.size()) == 0;
    if (!isBundle) return OSCDecodeError::noAddress;
    if (depth == deepestBundle) return OSCDecodeError::bundleTooDeep;
    Reader reader(packet.subspan(16));
    while (!reader.atEnd()) {
        std::uint32_t size = 0;
        std::span<const std::byte> element;
        if (!reader.word(size) || !reader.bytes(size, element)) return OSCDecodeError::truncated;
        const OSCDecodeError error = decodeElement(element, scratch, receive, depth + 1);
        if (error != OSCDecodeError::none) return error;
    }
    return OSCDecodeError::none;
}

} // namespace

std::string_view textOf(OSCDecodeError error) {
    switch (error) {
    case OSCDecodeError::none:
        return "none";
    case OSCDecodeError::empty:
        return "empty packet";
    case OSCDecodeError::notAligned:
        return "size is no multiple of four";
    case OSCDecodeError::noAddress:
        return "neither an address nor a bundle";
    case OSCDecodeError::unterminatedText:
        return "text without its end";
    case OSCDecodeError::unknownTag:
        return "unknown type tag";
    case OSCDecodeError::truncated:
        return "cut off";
    case OSCDecodeError::bundleTooDeep:
        return "bundles nested too deep";
    }
    return "";
}

std::size_t encodedSize(const OSCMessage& message) {
    std::size_t size = textSize(untilZero(message.address()).size()) + textSize(message.valueCount() + 1);
    for (const OSCValue& value : message.values()) size += argumentSize(value);
    return size;
}

std::size_t encodeOSC(const OSCMessage& message, std::span<std::byte> space) {
    if (isAmple(space.size(), message)) return encodeWhole<true>(message, space.data());
    return encodedSize(message) <= space.size() ? encodeWhole<false>(message, space.data()) : 0;
}

OSCDecodeError decodeOSC(std::span<const std::byte> packet, OSCMessage& scratch, OSCMessageVisitor receive) {
    return decodeElement(packet, scratch, receive, 0);
}

} // namespace marvo
