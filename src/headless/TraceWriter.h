// Writes a trace: one JSON object a line for each message, in order of the calls.
//
//     {"t":17,"kind":"osc","composition":"C","track":"T","frame":1,"port":"P","address":"/a","types":"f","args":[0.5]}
//     {"t":17,"kind":"midi","composition":"C","track":"T","frame":1,"node":"N","bytes":[176,7,64]}
//     {"t":17,"kind":"dmx","composition":"C","track":"T","frame":1,"universe":0,"channel":1,"value":255}
//     {"t":17,"kind":"feedback","address":"/a","types":"f","args":[0.5]}
//
// "t" is virtual time in milliseconds. Names that an origin does not have are left out, and the frame with
// the composition. Used by one thread. Lines are gathered and written in large pieces; an error of the stream
// shows at the end.
#pragma once

#include "endpoints/osc/OSCTransport.h"

#include <cstdint>
#include <ostream>
#include <span>
#include <string>
#include <string_view>

namespace marvo {

class JsonLine;

class TraceWriter {
public:
    // The stream outlives the writer.
    explicit TraceWriter(std::ostream& out) : out_(out) {}

    void osc(std::int64_t t, std::string_view port, const OSCMessage& message, const SendOrigin& origin);
    void midi(std::int64_t t, std::string_view node, std::span<const std::uint8_t> bytes,
              const SendOrigin& origin);
    // channel from 1; one call for each byte that is stored into a universe.
    void dmx(std::int64_t t, int universe, int channel, int value, const SendOrigin& origin);
    void feedback(std::int64_t t, const OSCMessage& message);

    // Writes what is left. False when anything could not be written, now or earlier.
    [[nodiscard]] bool finish();

private:
    void begin(JsonLine& line, std::int64_t t, std::string_view kind, const SendOrigin& origin);
    void addMessage(JsonLine& line, const OSCMessage& message);
    void end(JsonLine& line);
    void flush();

    std::ostream& out_;
    std::string gathered_;
    std::string types_; // reused from line to line
};

} // namespace marvo
