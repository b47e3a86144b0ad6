#include "headless/TraceScript.h"

#include "headless/ScriptWords.h"
#include "platform/Text.h"

#include <algorithm>
#include <charconv>

namespace marvo {
namespace {

// As long as the longest trace that can be asked for.
constexpr std::int64_t longestTime = 1'000'000'000'000;
constexpr int channelsOfAUniverse = 512;

std::string quoted(std::string_view text) {
    return "\"" + escapeForLog(text, 60) + "\"";
}

template <class Number>
bool readWhole(std::string_view text, Number& number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size();
}

// Texts end at a zero byte on the wire, and a trace is UTF-8.
bool isSendable(std::string_view text) {
    return text.find('\0') == std::string_view::npos && isValidUtf8(text);
}

// Each of these gives the reason why the rest of the line is no such thing, empty when it is.
std::string readArgument(ScriptWords& words, ScriptArgument& argument) {
    if (words.beginsWith("s:")) {
        argument.kind = ScriptArgument::Kind::text;
        if (!words.quotable("s:", argument.text)) return words.reason();
        return isSendable(argument.text) ? "" : "a string is UTF-8 without zero bytes";
    }
    const std::string_view word = words.plain();
    if (word == "T" || word == "F") {
        argument.kind = word == "T" ? ScriptArgument::Kind::yes : ScriptArgument::Kind::no;
        return {};
    }
    if (word.starts_with("i:")) {
        if (readWhole(word.substr(2), argument.integer)) return {};
        return quoted(word) + " holds no 32-bit integer";
    }
    if (word.starts_with("f:")) {
        argument.kind = ScriptArgument::Kind::floating;
        if (readWhole(word.substr(2), argument.floating)) return {};
        return quoted(word) + " holds no 32-bit float";
    }
    return quoted(word) + " is no argument (i:INT, f:FLOAT, s:STRING, T or F)";
}

std::string readOSC(ScriptWords& words, ScriptOSC& osc) {
    if (!words.quotable("", osc.address)) return words.reason();
    if (!osc.address.starts_with('/')) return "osc needs an address that begins with a slash";
    if (!isSendable(osc.address)) return "an address is UTF-8 without zero bytes";
    while (!words.atEnd()) {
        const std::string reason = readArgument(words, osc.arguments.emplace_back());
        if (!reason.empty()) return reason;
    }
    return {};
}

std::string readMIDI(ScriptWords& words, ScriptMIDI& midi) {
    if (!words.quotable("", midi.node)) return words.reason();
    if (midi.node.empty() || !isSendable(midi.node)) return "midi needs the name of its source";
    if (words.atEnd()) return "midi needs its bytes";
    while (!words.atEnd()) {
        const std::string_view digits = words.plain();
        for (std::size_t i = 0; i < digits.size(); i += 2) {
            const std::string_view pair = digits.substr(i, 2);
            std::uint8_t byte = 0;
            const auto [end, error] = std::from_chars(pair.data(), pair.data() + pair.size(), byte, 16);
            if (error != std::errc() || pair.size() != 2 || end != pair.data() + 2) {
                return quoted(digits) + " is not made of bytes of two hexadecimal digits";
            }
            midi.bytes.push_back(byte);
        }
    }
    return midi.bytes.front() >= 0x80 ? "" : "the first byte of a midi message is a status, 80 or above";
}

std::string readDMX(ScriptWords& words, ScriptDMX& dmx) {
    if (!readWhole(words.plain(), dmx.channel) || dmx.channel < 1 || dmx.channel > channelsOfAUniverse) {
        return "dmx needs a channel from 1 to 512";
    }
    if (!readWhole(words.plain(), dmx.value) || dmx.value < 0 || dmx.value > 255) {
        return "dmx needs a value from 0 to 255";
    }
    return words.atEnd() ? "" : "dmx takes a channel and a value, nothing more";
}

std::string readLine(std::string_view text, ScriptLine& line) {
    ScriptWords words(text);
    const std::string_view time = words.plain();
    if (!readWhole(time, line.milliseconds) || line.milliseconds < 0 || line.milliseconds > longestTime) {
        return "a line begins with its time in whole milliseconds, not " + quoted(time);
    }
    const std::string_view kind = words.plain();
    if (kind == "osc") return readOSC(words, line.event.emplace<ScriptOSC>());
    if (kind == "midi") return readMIDI(words, line.event.emplace<ScriptMIDI>());
    if (kind == "dmx") return readDMX(words, line.event.emplace<ScriptDMX>());
    return "the time is followed by osc, midi or dmx, not " + quoted(kind);
}

} // namespace

TraceScriptResult parseTraceScript(std::string_view text, const std::string& name) {
    TraceScriptResult result;
    for (std::size_t number = 1; !text.empty(); ++number) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        const std::string_view line = trim(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
        if (line.empty() || line.front() == '#') continue;
        const std::string reason = readLine(line, result.lines.emplace_back());
        if (!reason.empty()) return {{}, name + ": line " + std::to_string(number) + ": " + reason};
    }
    std::stable_sort(result.lines.begin(), result.lines.end(),
                     [](const auto& a, const auto& b) { return a.milliseconds < b.milliseconds; });
    return result;
}

} // namespace marvo
