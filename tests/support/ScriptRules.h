// What must hold for a trace script whatever its text is. Shared by the fuzzer and the replay of its corpus.
#pragma once

#include "headless/TraceScript.h"
#include "platform/Numbers.h"
#include "platform/Text.h"

#include <algorithm>
#include <string>
#include <string_view>

namespace marvo::testing {

inline std::string quotedWord(std::string_view text) {
    std::string word = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') word.push_back('\\');
        word.push_back(c);
    }
    return word + "\"";
}

// The line that a script would have to hold to be read as this event.
inline std::string scriptText(const ScriptLine& line) {
    std::string text = std::to_string(line.milliseconds);
    if (const auto* osc = std::get_if<ScriptOSC>(&line.event)) {
        text += " osc " + quotedWord(osc->address);
        for (const ScriptArgument& argument : osc->arguments) {
            switch (argument.kind) {
            case ScriptArgument::Kind::integer:
                text += " i:" + std::to_string(argument.integer);
                break;
            case ScriptArgument::Kind::floating:
                text += " f:" + std::string(shortestFloat(argument.floating).view());
                break;
            case ScriptArgument::Kind::text:
                text += " s:" + quotedWord(argument.text);
                break;
            case ScriptArgument::Kind::yes:
                text += " T";
                break;
            case ScriptArgument::Kind::no:
                text += " F";
                break;
            }
        }
    } else if (const auto* midi = std::get_if<ScriptMIDI>(&line.event)) {
        text += " midi " + quotedWord(midi->node) + " ";
        for (const std::uint8_t byte : midi->bytes) {
            constexpr std::string_view digits = "0123456789ABCDEF";
            text += digits[byte >> 4];
            text += digits[byte & 15];
        }
    } else {
        const ScriptDMX& dmx = std::get<ScriptDMX>(line.event);
        text += " dmx " + std::to_string(dmx.channel) + " " + std::to_string(dmx.value);
    }
    return text;
}

inline std::string scriptText(const std::vector<ScriptLine>& lines) {
    std::string text;
    for (const ScriptLine& line : lines) text += scriptText(line) + "\n";
    return text;
}

// What is wrong with the reading of that text; empty when nothing is.
inline std::string brokenScriptRule(std::string_view text) {
    const TraceScriptResult read = parseTraceScript(text, "script");
    if (!read.error.empty()) {
        if (!read.lines.empty()) return "an error leaves events";
        if (!read.error.starts_with("script: line ")) return "an error has no place: " + read.error;
        if (read.error.find_first_of("\r\n") != std::string::npos)
            return "an error is not one line: " + read.error;
        if (!isValidUtf8(read.error)) return "an error is no UTF-8";
        return {};
    }
    const auto isLater = [](const ScriptLine& a, const ScriptLine& b) {
        return a.milliseconds > b.milliseconds;
    };
    if (std::adjacent_find(read.lines.begin(), read.lines.end(), isLater) != read.lines.end())
        return "out of order";
    // Compared as text, in which a not-a-number equals itself.
    const std::string written = scriptText(read.lines);
    const TraceScriptResult again = parseTraceScript(written, "again");
    if (!again.error.empty()) return "refused when written out: " + again.error;
    if (scriptText(again.lines) != written) return "read differently when written out";
    return {};
}

} // namespace marvo::testing
