// The timed input of a trace: a text of one event a line, read into plain structs.
//
//     TIME_MS osc ADDRESS [i:INT | f:FLOAT | s:STRING | T | F]...
//     TIME_MS midi NODE HEXBYTES
//     TIME_MS dmx CHANNEL VALUE
//
// Words are separated by blanks or tabs. ADDRESS, NODE and STRING may stand in double quotes, with \" and
// \\ as escapes; a quote in the middle of a word is an ordinary character. Lines without words and lines that
// begin with # are skipped; a line that is anything else is an error with its number. The text is not
// trusted: reading it needs memory in proportion to its size. Thread-safe.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace marvo {

struct ScriptArgument {
    enum class Kind : std::uint8_t { integer, floating, text, yes, no };
    Kind kind = Kind::integer;
    std::int32_t integer = 0;
    float floating = 0.0F; // also infinities and not-a-number: a receiver may be sent them
    std::string text;      // UTF-8 without zero bytes

    bool operator==(const ScriptArgument&) const = default;
};

struct ScriptOSC {
    std::string address; // begins with a slash
    std::vector<ScriptArgument> arguments;

    bool operator==(const ScriptOSC&) const = default;
};

struct ScriptMIDI {
    std::string node;                // name of the source that the message seems to come from; not empty
    std::vector<std::uint8_t> bytes; // at least one, the first a status byte

    bool operator==(const ScriptMIDI&) const = default;
};

struct ScriptDMX {
    int channel = 1; // 1 to 512
    int value = 0;   // 0 to 255

    bool operator==(const ScriptDMX&) const = default;
};

struct ScriptLine {
    std::int64_t milliseconds = 0; // 0 to 1e12
    std::variant<ScriptOSC, ScriptMIDI, ScriptDMX> event;

    bool operator==(const ScriptLine&) const = default;
};

struct TraceScriptResult {
    std::vector<ScriptLine> lines; // by time; those of one time in their order. Empty after an error.
    std::string error;             // one line, "name: line N: reason"; empty when all was read
};

// name: how errors call the text, usually its path.
TraceScriptResult parseTraceScript(std::string_view text, const std::string& name);

} // namespace marvo
