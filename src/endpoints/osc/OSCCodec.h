// OSC 1.0 packets to messages and back. Never touches a socket; realtime-safe but for the growth of the
// message that is decoded into.
#pragma once

#include "endpoints/osc/OSCMessage.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <type_traits>

namespace marvo {

enum class OSCDecodeError : std::uint8_t {
    none,
    empty,
    notAligned,       // the size is no multiple of four
    noAddress,        // neither "/" nor "#bundle" at the beginning
    unterminatedText, // a text without its zero byte
    unknownTag,
    truncated, // an argument or element reaches past the end
    bundleTooDeep,
};
std::string_view textOf(OSCDecodeError error);

// The size of the packet in bytes; always a multiple of four.
std::size_t encodedSize(const OSCMessage& message);
// Writes the packet and returns its size, or 0 when the space does not hold it. Allocates nothing.
std::size_t encodeOSC(const OSCMessage& message, std::span<std::byte> space);

// Whatever can be called with a message. It points to the callable and does not keep it: for arguments only.
class OSCMessageVisitor {
public:
    template <class Callable>
    requires(!std::is_same_v<std::remove_cvref_t<Callable>, OSCMessageVisitor>)
        OSCMessageVisitor(Callable&& callable)
        : callable_(std::addressof(callable)), call_([](const void* known, const OSCMessage& message) {
              using Known = std::remove_reference_t<Callable>;
              (*const_cast<Known*>(static_cast<const Known*>(known)))(message);
          }) {}
    void operator()(const OSCMessage& message) const { call_(callable_, message); }

private:
    const void* callable_;
    void (*call_)(const void*, const OSCMessage&);
};

// Decodes a message, or a bundle and what is in it, and hands over each message in turn; `scratch` is reused
// for all. What came before an error was handed over. A message without a type tag text has no arguments;
// array brackets are read over.
OSCDecodeError decodeOSC(std::span<const std::byte> packet, OSCMessage& scratch, OSCMessageVisitor receive);

} // namespace marvo
