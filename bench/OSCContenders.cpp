#include "OSCContenders.h"

#include <cstdint>
#include <cstring>
#include <lo/lo.h>
#include <oscpack/osc/OscOutboundPacketStream.h>
#include <oscpack/osc/OscReceivedElements.h>

namespace marvo::bench {
namespace {

constexpr std::size_t textSize(std::size_t length) {
    return (length + 4) & ~std::size_t{3};
}

std::uint32_t swapped(std::uint32_t word) {
    return __builtin_bswap32(word);
}

} // namespace

std::size_t encodeByHand(const HandMessage& message, std::span<std::byte> space) {
    const std::size_t addressSize = textSize(message.address.size());
    const std::size_t tagsSize = textSize(message.count + 1);
    if (addressSize + tagsSize > space.size()) return 0;
    std::byte* at = space.data();
    const std::byte* const end = at + space.size();
    std::memset(at + addressSize - 4, 0, 4);
    std::memcpy(at, message.address.data(), message.address.size());
    at += addressSize;
    std::memset(at + tagsSize - 4, 0, 4);
    std::byte* tag = at;
    *tag++ = std::byte{','};
    at += tagsSize;
    for (std::size_t i = 0; i < message.count; ++i) {
        const HandArgument& argument = message.arguments[i];
        *tag++ = static_cast<std::byte>(argument.tag);
        switch (argument.tag) {
        case 'f': {
            if (end - at < 4) return 0;
            const float value = static_cast<float>(argument.real);
            std::uint32_t word = 0;
            std::memcpy(&word, &value, 4);
            word = swapped(word);
            std::memcpy(at, &word, 4);
            at += 4;
            break;
        }
        case 'i':
        case 'r':
        case 'c':
        case 'm': {
            if (end - at < 4) return 0;
            const std::uint32_t word = swapped(static_cast<std::uint32_t>(argument.integer));
            std::memcpy(at, &word, 4);
            at += 4;
            break;
        }
        case 'h':
        case 't':
        case 'd': {
            if (end - at < 8) return 0;
            const std::uint64_t words = __builtin_bswap64(static_cast<std::uint64_t>(argument.integer));
            std::memcpy(at, &words, 8);
            at += 8;
            break;
        }
        case 's':
        case 'S': {
            const std::size_t size = textSize(argument.textSize);
            if (static_cast<std::size_t>(end - at) < size) return 0;
            std::memset(at + size - 4, 0, 4);
            std::memcpy(at, argument.text, argument.textSize);
            at += size;
            break;
        }
        case 'b': {
            const std::size_t size = (argument.textSize + 3) & ~std::size_t{3};
            if (static_cast<std::size_t>(end - at) < size + 4) return 0;
            const std::uint32_t word = swapped(static_cast<std::uint32_t>(argument.textSize));
            std::memcpy(at, &word, 4);
            if (size > 0) std::memset(at + size, 0, 4);
            std::memcpy(at + 4, argument.text, argument.textSize);
            at += size + 4;
            break;
        }
        default:
            break;
        }
    }
    return static_cast<std::size_t>(at - space.data());
}

bool decodeByHand(std::span<const std::byte> packet, HandMessage& message) {
    if (packet.size() < 4 || packet.size() % 4 != 0 || packet[0] != std::byte{'/'}) return false;
    const char* at = reinterpret_cast<const char*>(packet.data());
    const char* const end = at + packet.size();
    const auto left = [&] { return static_cast<std::size_t>(end - at); };
    const auto text = [&](std::string_view& found) {
        const void* const zero = std::memchr(at, 0, left());
        if (!zero) return false;
        found = {at, static_cast<std::size_t>(static_cast<const char*>(zero) - at)};
        if (left() < textSize(found.size())) return false;
        at += textSize(found.size());
        return true;
    };
    if (!text(message.address)) return false;
    message.count = 0;
    std::string_view tags;
    if (left() > 0 && !text(tags)) return false;
    if (!tags.starts_with(',')) return true;
    if (tags.size() > 17) return false;
    for (const char tag : tags.substr(1)) {
        HandArgument& argument = message.arguments[message.count++];
        argument.tag = tag;
        switch (tag) {
        case 'f': {
            if (left() < 4) return false;
            std::uint32_t word = 0;
            std::memcpy(&word, at, 4);
            word = swapped(word);
            float value = 0.0f;
            std::memcpy(&value, &word, 4);
            argument.real = static_cast<double>(value);
            at += 4;
            break;
        }
        case 'i':
        case 'r':
        case 'c':
        case 'm': {
            if (left() < 4) return false;
            std::uint32_t word = 0;
            std::memcpy(&word, at, 4);
            argument.integer = static_cast<std::int32_t>(swapped(word));
            at += 4;
            break;
        }
        case 'h':
        case 't':
        case 'd': {
            if (left() < 8) return false;
            std::uint64_t words = 0;
            std::memcpy(&words, at, 8);
            argument.integer = static_cast<std::int64_t>(__builtin_bswap64(words));
            at += 8;
            break;
        }
        case 's':
        case 'S': {
            std::string_view found;
            if (!text(found)) return false;
            argument.text = found.data();
            argument.textSize = found.size();
            break;
        }
        case 'b': {
            if (left() < 4) return false;
            std::uint32_t word = 0;
            std::memcpy(&word, at, 4);
            word = swapped(word);
            const std::size_t size = (std::size_t{word} + 3) & ~std::size_t{3};
            at += 4;
            if (left() < size) return false;
            argument.text = at;
            argument.textSize = word;
            at += size;
            break;
        }
        case 'T':
        case 'F':
        case 'N':
        case 'I':
            argument.integer = tag == 'T' ? 1 : 0;
            break;
        default:
            return false;
        }
    }
    return true;
}

std::size_t encodeFloatsAlone(std::string_view address, std::span<const float> values,
                              std::span<std::byte> space) {
    const std::size_t addressSize = textSize(address.size());
    const std::size_t tagsSize = textSize(values.size() + 1);
    const std::size_t size = addressSize + tagsSize + 4 * values.size();
    if (size > space.size()) return 0;
    std::byte* at = space.data();
    std::memset(at + addressSize - 4, 0, 4);
    std::memcpy(at, address.data(), address.size());
    at += addressSize;
    std::memset(at + tagsSize - 4, 0, 4);
    *at = std::byte{','};
    std::memset(at + 1, 'f', values.size());
    at += tagsSize;
    for (const float value : values) {
        std::uint32_t word = 0;
        std::memcpy(&word, &value, 4);
        word = swapped(word);
        std::memcpy(at, &word, 4);
        at += 4;
    }
    return size;
}

bool decodeFloatsAlone(std::span<const std::byte> packet, std::string_view& address, ThreeFloats& values) {
    if (packet.size() < 8 || packet.size() % 4 != 0 || packet[0] != std::byte{'/'}) return false;
    const char* const text = reinterpret_cast<const char*>(packet.data());
    const void* const addressEnd = std::memchr(text, 0, packet.size());
    if (!addressEnd) return false;
    address = {text, static_cast<std::size_t>(static_cast<const char*>(addressEnd) - text)};
    std::size_t at = textSize(address.size());
    if (at >= packet.size()) return false;
    const void* const tagsEnd = std::memchr(text + at, 0, packet.size() - at);
    if (!tagsEnd) return false;
    const std::string_view tags(text + at,
                                static_cast<std::size_t>(static_cast<const char*>(tagsEnd) - text) - at);
    if (tags.size() != 4 || tags[0] != ',') return false;
    at += textSize(tags.size());
    for (std::size_t i = 0; i < 3; ++i) {
        if (tags[i + 1] != 'f' || packet.size() - at < 4) return false;
        std::uint32_t word = 0;
        std::memcpy(&word, packet.data() + at, 4);
        word = swapped(word);
        std::memcpy(&values.values[i], &word, 4);
        at += 4;
    }
    return true;
}

std::size_t encodeWithLiblo(const char* address, std::span<const float> values, std::span<std::byte> space) {
    lo_message message = lo_message_new();
    for (const float value : values) lo_message_add_float(message, value);
    std::size_t size = lo_message_length(message, address);
    if (size <= space.size()) {
        lo_message_serialise(message, address, space.data(), &size);
    } else {
        size = 0;
    }
    lo_message_free(message);
    return size;
}

bool decodeWithLiblo(std::span<const std::byte> packet, std::string_view& address, ThreeFloats& values) {
    // It turns the arguments round in place, so it needs its own copy, as its own server gives it.
    std::byte copy[256];
    if (packet.size() > sizeof copy) return false;
    std::memcpy(copy, packet.data(), packet.size());
    int result = 0;
    lo_message message = lo_message_deserialise(copy, packet.size(), &result);
    if (!message) return false;
    address = {reinterpret_cast<const char*>(packet.data())};
    lo_arg** const arguments = lo_message_get_argv(message);
    const char* const types = lo_message_get_types(message);
    const bool fits = lo_message_get_argc(message) == 3 && std::strcmp(types, "fff") == 0;
    for (int i = 0; fits && i < 3; ++i) values.values[i] = arguments[i]->f;
    lo_message_free(message);
    return fits;
}

std::size_t encodeWithOscpack(const char* address, std::span<const float> values,
                              std::span<std::byte> space) {
    osc::OutboundPacketStream stream(reinterpret_cast<char*>(space.data()), space.size());
    stream << osc::BeginMessage(address);
    for (const float value : values) stream << value;
    stream << osc::EndMessage;
    return stream.Size();
}

bool decodeWithOscpack(std::span<const std::byte> packet, std::string_view& address, ThreeFloats& values) {
    try {
        const osc::ReceivedPacket received(reinterpret_cast<const char*>(packet.data()),
                                           static_cast<osc::osc_bundle_element_size_t>(packet.size()));
        if (received.IsBundle()) return false;
        const osc::ReceivedMessage message(received);
        address = message.AddressPattern();
        osc::ReceivedMessageArgumentStream arguments = message.ArgumentStream();
        arguments >> values.values[0] >> values.values[1] >> values.values[2] >> osc::EndMessage;
        return true;
    } catch (const osc::Exception&) {
        return false;
    }
}

} // namespace marvo::bench
