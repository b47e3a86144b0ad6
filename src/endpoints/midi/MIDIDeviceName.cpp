#include "endpoints/midi/MIDIDeviceName.h"

#include "platform/Text.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <vector>

namespace marvo {

namespace {

// Clients that stand between JACK and the devices; their own names say nothing.
constexpr std::array<std::string_view, 5> bridges = {"system", "a2j", "a2j_bridge", "Midi-Bridge",
                                                     "alsa_pcm"};

bool isOneOf(std::string_view word, std::span<const std::string_view> words) {
    return std::any_of(words.begin(), words.end(),
                       [word](std::string_view each) { return caseInsensitiveEqual(word, each); });
}

bool tellsDirection(std::string_view word) {
    static constexpr std::array<std::string_view, 6> words = {"capture", "playback", "in",
                                                              "out",     "input",    "output"};
    return isOneOf(word, words);
}

bool isNumber(std::string_view word) {
    return !word.empty() &&
           std::all_of(word.begin(), word.end(), [](unsigned char c) { return std::isdigit(c); });
}

// "(capture)", "(playback_0)", "[20]": bridges put direction and passing numbers in brackets.
std::string withoutGroups(std::string_view text) {
    std::string out;
    while (!text.empty()) {
        const char open = text.front();
        const std::size_t end = open == '(' ? text.find(')') : open == '[' ? text.find(']') : text.npos;
        if (end != text.npos) {
            const std::string_view inside = text.substr(1, end - 1);
            const std::string_view word = inside.substr(0, inside.find('_'));
            if (isNumber(inside) || tellsDirection(word)) {
                text.remove_prefix(end + 1);
                continue;
            }
        }
        out += open;
        text.remove_prefix(1);
    }
    return out;
}

std::string withoutDirection(std::string_view text) {
    std::string out;
    for (const std::string_view spaced : split(text, ' ')) {
        for (const std::string_view word : split(spaced, '_')) {
            if (word.empty() || tellsDirection(word)) continue;
            if (!out.empty()) out += ' ';
            out += word;
        }
    }
    return out;
}

// "midi", "midi 3" and the like: there is nothing in it but what every port is.
bool saysNothing(std::string_view name) {
    const auto words = split(name, ' ');
    return std::all_of(words.begin(), words.end(), [](std::string_view word) {
        return word.empty() || isNumber(word) || caseInsensitiveEqual(word, "midi");
    });
}

std::string numberIn(std::string_view name) {
    for (const std::string_view word : split(name, ' ')) {
        if (isNumber(word)) return std::string(word);
    }
    return {};
}

// Without direction; "Pad: Pad MIDI 1", which is a device and then its port that says the device again, is
// the port alone.
std::string bareName(std::string_view port) {
    const std::string grouped = withoutGroups(port);
    std::string_view rest = trim(grouped);
    const std::size_t inner = rest.find(':');
    if (inner != rest.npos) {
        const std::string_view device = trim(rest.substr(0, inner));
        const std::string_view own = trim(rest.substr(inner + 1));
        if (own.starts_with(device)) rest = own;
    }
    return std::string(trim(withoutDirection(rest)));
}

// "Pad/midi_capture_1", or "in-hw-1-0-0-Pad-MIDI-1" with card, device and part first.
std::string aliasedName(std::string_view alias) {
    alias.remove_prefix(alias.find(':') + 1); // nothing where there is none
    alias = alias.substr(0, alias.find('/'));
    for (const std::string_view prefix : {"in-hw-", "out-hw-"}) {
        if (!alias.starts_with(prefix)) continue;
        alias.remove_prefix(prefix.size());
        for (int i = 0; i < 3 && isNumber(alias.substr(0, alias.find('-'))); ++i)
            alias.remove_prefix(std::min(alias.find('-'), alias.size() - 1) + 1);
    }
    return std::string(trim(withoutDirection(withoutGroups(alias))));
}

} // namespace

std::string midiDeviceName(std::string_view client, std::string_view port) {
    const std::string name = bareName(port);
    if (!saysNothing(name)) {
        return name.starts_with(client) ? name : std::string(client) + " " + name;
    }
    const std::string number = numberIn(name);
    return std::string(client) + (number.empty() ? "" : " " + number);
}

std::string jackDeviceName(std::string_view portName, std::span<const std::string> aliases) {
    const std::size_t colon = portName.find(':');
    const std::string_view client = portName.substr(0, colon);
    const std::string_view port = colon == portName.npos ? std::string_view() : portName.substr(colon + 1);
    if (isOneOf(client, bridges)) {
        if (!aliases.empty()) {
            const std::string name = aliasedName(aliases.front());
            if (!saysNothing(name)) return name;
        }
        const std::string name = bareName(port);
        if (!saysNothing(name)) return name;
    }
    return midiDeviceName(client, port);
}

} // namespace marvo
