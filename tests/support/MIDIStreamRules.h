// What holds for the reading of any bytes as a MIDI stream.
#pragma once

#include "endpoints/midi/MIDIBytes.h"
#include "endpoints/midi/MIDIStreamParser.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace marvo {

class MIDIStreamRules {
public:
    static constexpr std::size_t largestSysex = 24;

    // The rule that is broken; empty when all hold. The first byte of the input says how the rest is cut up.
    static std::string broken(std::span<const std::uint8_t> input) {
        if (input.empty()) return {};
        const std::size_t piece = input[0] % 7 + 1;
        const auto stream = input.subspan(1);

        const Reading whole = read({stream});
        std::vector<std::span<const std::uint8_t>> pieces;
        for (std::size_t at = 0; at < stream.size(); at += piece)
            pieces.push_back(stream.subspan(at, std::min(piece, stream.size() - at)));
        const Reading cut = read(pieces);
        if (cut.bytes != whole.bytes || cut.malformed != whole.malformed || cut.cutSysex != whole.cutSysex)
            return "it matters how the stream is cut up";

        if (!whole.fault.empty()) return whole.fault;
        const Reading again = read({whole.bytes});
        if (again.bytes != whole.bytes || again.malformed != 0 || again.cutSysex != 0)
            return "what was understood is not understood when it is sent on";

        const auto isRealtime = [](std::uint8_t byte) {
            return byte >= 0xf8 && midiLength(byte) == 1 && byte != 0xf9 && byte != 0xfd;
        };
        if (std::count_if(stream.begin(), stream.end(), isRealtime) !=
            std::count_if(whole.bytes.begin(), whole.bytes.end(), isRealtime))
            return "a real-time message was lost";
        return {};
    }

private:
    struct Reading final : MIDIStreamParser::Sink {
        std::vector<std::uint8_t> bytes; // with every status written out
        std::uint64_t malformed = 0;
        std::uint64_t cutSysex = 0;
        std::string fault;

        void message(const MIDIMessage& message) override {
            const MIDIBytes one = encodeMIDI(message);
            if (one.size == 0 || decodeMIDI(one.span()) != message) fault = "a message that is none";
            bytes.insert(bytes.end(), one.span().begin(), one.span().end());
        }
        void sysex(std::span<const std::uint8_t> payload) override {
            if (payload.size() > largestSysex) fault = "a system-exclusive message grew";
            for (const std::uint8_t byte : payload)
                if (byte >= 0x80) fault = "a status inside a system-exclusive message";
            bytes.push_back(0xf0);
            bytes.insert(bytes.end(), payload.begin(), payload.end());
            bytes.push_back(0xf7);
        }
    };

    static Reading read(const std::vector<std::span<const std::uint8_t>>& pieces) {
        MIDIStreamParser parser(largestSysex);
        Reading reading;
        for (const auto piece : pieces) parser.feed(piece, reading);
        reading.malformed = parser.malformed();
        reading.cutSysex = parser.cutSysex();
        return reading;
    }
};

} // namespace marvo
