// Bytes as they come over a wire to whole messages.
//
// Understands running status, and real-time messages anywhere, also inside others. The memory for
// system-exclusive messages is made once: of a longer one the beginning is delivered. Never touches a port.
// One user at a time; realtime-safe after it was made.
#pragma once

#include "endpoints/midi/MIDIMessage.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace marvo {

class MIDIStreamParser {
public:
    static constexpr std::size_t defaultLargestSysex = 16'384;

    class Sink {
    public:
        virtual ~Sink() = default;
        virtual void message(const MIDIMessage& message) = 0;
        // The payload without the bytes 240 and 247 around it; valid for the length of the call.
        virtual void sysex(std::span<const std::uint8_t> payload) = 0;
    };

    explicit MIDIStreamParser(std::size_t largestSysex = defaultLargestSysex) : largestSysex_(largestSysex) {
        sysex_.reserve(largestSysex);
    }

    void feed(std::span<const std::uint8_t> bytes, Sink& sink);
    // Forgets what is begun; for a wire that was broken.
    void reset();

    std::uint64_t cutSysex() const { return cutSysex_; }
    std::uint64_t malformed() const { return malformed_; } // bytes and pieces that belong to no message

private:
    void status(std::uint8_t byte, Sink& sink);
    void data(std::uint8_t byte, Sink& sink);

    const std::size_t largestSysex_;
    std::vector<std::uint8_t> sysex_;
    bool inSysex_ = false;
    bool cut_ = false;          // the system-exclusive message that is being read
    std::uint8_t status_ = 0;   // 0: data bytes belong to nothing
    std::uint8_t data_[2] = {}; // of the message that is being read
    std::uint8_t dataSize_ = 0;
    std::uint64_t cutSysex_ = 0;
    std::uint64_t malformed_ = 0;
};

} // namespace marvo
