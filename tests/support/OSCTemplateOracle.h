// The template language done the slow way: replace every placeholder in the whole text, then cut the result
// apart. Shares no code with the compiled form, so that the two can be compared on any text.
#pragma once

#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "tracks/OSCTemplate.h"

namespace marvo::testing {

struct TemplateArgument {
    char tag = 0; // s, f, i or B
    std::string text;
    float floating = 0.0F;
    std::int32_t integer = 0;

    bool operator==(const TemplateArgument& other) const {
        const bool sameFloat = (std::isnan(floating) && std::isnan(other.floating)) ||
                               std::memcmp(&floating, &other.floating, sizeof floating) == 0;
        return tag == other.tag && text == other.text && sameFloat && integer == other.integer;
    }
};

struct TemplateMessage {
    int begins = 0;
    std::string address;
    std::vector<TemplateArgument> arguments;

    bool operator==(const TemplateMessage&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, const TemplateArgument& argument) {
    out << argument.tag << ':';
    if (argument.tag == 's') return out << '"' << argument.text << '"';
    if (argument.tag == 'f') return out << argument.floating;
    return out << argument.integer;
}

inline std::ostream& operator<<(std::ostream& out, const TemplateMessage& message) {
    out << message.begins << " \"" << message.address << '"';
    for (const TemplateArgument& argument : message.arguments) out << ' ' << argument;
    return out;
}

// Keeps what a template sends.
class RecordingTemplateSink : public TemplateSink {
public:
    TemplateMessage message;

    void begin(std::string_view address) override {
        ++message.begins;
        message.address = address;
    }
    void addString(std::string_view text) override { add({'s', std::string(text), 0.0F, 0}); }
    void addFloat(float value) override { add({'f', {}, value, 0}); }
    void addInt(std::int32_t value) override { add({'i', {}, 0.0F, value}); }
    void addBOOL(bool value) override { add({'B', {}, 0.0F, value ? 1 : 0}); }

private:
    void add(TemplateArgument argument) { message.arguments.push_back(std::move(argument)); }
};

class OSCTemplateOracle {
public:
    static TemplateMessage run(const std::string& oscAddress, const TemplateNames& names,
                               const TemplateInput& in) {
        std::string text = trim(oscAddress);
        text = replace(text, "$COMPINDEX", std::to_string(names.compositionIndex));
        text = replace(text, "$COMP", std::string(names.composition));
        text = replace(text, "$TRACK", std::string(names.track));

        bool automatic = true;
        for (const std::string& piece : split(text)) {
            const std::size_t dollar = piece.find('$');
            if (dollar == std::string::npos) continue;
            const std::string tail = piece.substr(dollar);
            if (tail.find('>') == std::string::npos) continue;
            if (trim(tail) != "$F>" && trim(tail) != "$S>") automatic = false;
        }

        const float seconds = static_cast<float>(in.frame) / static_cast<float>(in.compFPS);
        text = replace(text, "<$F>", "<" + std::to_string(in.frame) + ">");
        text = replace(text, "<$S>", "<" + fixed6(seconds) + ">");
        text = replace(text, "$", valueText(in));

        TemplateMessage message;
        message.begins = 1;
        const std::size_t first = text.find('<');
        if (first == std::string::npos) {
            message.address = text;
        } else {
            message.address = withoutLastCharacter(text.substr(0, first));
            for (const std::string& token : split(text.substr(first + 1))) addArgument(token, message);
        }
        if (automatic) addAutomatic(in, message);
        return message;
    }

private:
    static bool blank(char c) { return c != '\0' && std::strchr(" \t\n\v\f\r", c) != nullptr; }

    static std::string trim(std::string text) {
        while (!text.empty() && blank(text.back())) text.pop_back();
        std::size_t front = 0;
        while (front < text.size() && blank(text[front])) ++front;
        return text.substr(front);
    }

    static std::string replace(const std::string& text, const std::string& what, const std::string& by) {
        std::string result;
        for (std::size_t i = 0; i < text.size();) {
            if (text.compare(i, what.size(), what) == 0) {
                result += by;
                i += what.size();
            } else {
                result += text[i++];
            }
        }
        return result;
    }

    static std::vector<std::string> split(const std::string& text) {
        std::vector<std::string> parts(1);
        for (const char c : text) {
            if (c == '<')
                parts.emplace_back();
            else
                parts.back() += c;
        }
        return parts;
    }

    static std::string fixed6(float value) {
        if (std::isnan(value)) return "nan";
        char buffer[128];
        std::snprintf(buffer, sizeof buffer, "%f", static_cast<double>(value));
        return buffer;
    }

    static std::int32_t rounded(float value) {
        const double r = std::round(static_cast<double>(value));
        if (std::isnan(r)) return 0;
        if (r > INT_MAX) return INT_MAX;
        if (r < INT_MIN) return INT_MIN;
        return static_cast<std::int32_t>(r);
    }

    static std::string valueText(const TemplateInput& in) {
        if (in.textType == 0) return fixed6(in.value / in.multiplier);
        if (in.textType == 1 || in.textType == 2) return std::to_string(rounded(in.value));
        return {};
    }

    // Takes one whole UTF-8 character off the end, or one byte where the bytes are not UTF-8.
    static std::string withoutLastCharacter(std::string text) {
        const std::size_t size = text.size();
        for (std::size_t length = 4; length >= 2; --length) {
            if (size < length) continue;
            const auto lead = static_cast<unsigned>(static_cast<unsigned char>(text[size - length]));
            const unsigned wanted = length == 4 ? 0x1EU : length == 3 ? 0xEU : 0x6U;
            bool whole = lead >> (7 - length) == wanted;
            for (std::size_t i = size - length + 1; i < size; ++i) {
                whole = whole && static_cast<unsigned char>(text[i]) >> 6U == 2U;
            }
            if (whole) return text.substr(0, size - length);
        }
        if (size > 0) text.pop_back();
        return text;
    }

    static float toFloat(const std::string& text) {
        std::string number;
        std::size_t i = 0;
        std::size_t digits = 0;
        const auto digit = [&] { return i < text.size() && text[i] >= '0' && text[i] <= '9'; };
        if (i < text.size() && (text[i] == '+' || text[i] == '-')) number += text[i++];
        for (; digit(); ++digits) number += text[i++];
        if (i < text.size() && text[i] == '.') {
            number += text[i++];
            for (; digit(); ++digits) number += text[i++];
        }
        if (digits == 0) return 0.0F;
        if (i < text.size() && (text[i] == 'e' || text[i] == 'E')) number += text.substr(i);
        // Runs in the C locale; what is no exponent is left over.
        return std::strtof(number.c_str(), nullptr);
    }

    static void addArgument(const std::string& token, TemplateMessage& message) {
        const std::string bare = trim(replace(token, ">", ""));
        if (bare.empty()) return;
        TemplateArgument argument;
        if (bare[0] == '"') {
            argument.tag = 's';
            argument.text = replace(bare, "\"", "");
        } else if (bare.find('.') != std::string::npos) {
            argument.tag = 'f';
            argument.floating = toFloat(bare);
        } else {
            argument.tag = 'i';
            const long long value = std::strtoll(bare.c_str(), nullptr, 10);
            argument.integer = static_cast<std::int32_t>(value > INT_MAX   ? INT_MAX
                                                         : value < INT_MIN ? INT_MIN
                                                                           : value);
        }
        message.arguments.push_back(argument);
    }

    static void addAutomatic(const TemplateInput& in, TemplateMessage& message) {
        TemplateArgument argument;
        if (in.sendType == 2) {
            argument.tag = 'B';
            argument.integer = static_cast<char>(rounded(in.value)) != 0 ? 1 : 0;
        } else if (in.sendType == 1) {
            argument.tag = 'i';
            argument.integer = rounded(in.value);
        } else if (in.sendType == 0) {
            argument.tag = 'f';
            argument.floating = in.value / in.multiplier;
        } else {
            return;
        }
        message.arguments.push_back(argument);
    }
};

// One case from any bytes: a header of one byte for the types and eight for value and frame, then the
// composition's name, the track's name and the address, each but the last ended by a zero byte.
struct TemplateCase {
    std::string address;
    std::string composition;
    std::string track;
    TemplateInput input;

    static TemplateCase fromBytes(const std::uint8_t* data, std::size_t size) {
        TemplateCase result;
        std::uint8_t header[9] = {};
        const std::size_t used = size < sizeof header ? size : sizeof header;
        if (used > 0) std::memcpy(header, data, used);
        result.input.textType = header[0] & 3;
        result.input.sendType = (header[0] >> 2) & 3;
        result.input.multiplier = (header[0] & 16) != 0 ? 100000.0F : 100.0F;
        static constexpr std::int64_t rates[] = {0, 24, 25, 30, 50, 60, 100, 1000};
        result.input.compFPS = rates[header[0] >> 5];
        std::memcpy(&result.input.value, header + 1, 4);
        std::int32_t frame = 0;
        std::memcpy(&frame, header + 5, 4);
        result.input.frame = frame;
        std::string rest;
        if (size > used) rest.assign(reinterpret_cast<const char*>(data) + used, size - used);
        for (std::string* name : {&result.composition, &result.track}) {
            const std::size_t end = rest.find('\0');
            if (end == std::string::npos) break;
            *name = rest.substr(0, end);
            rest.erase(0, end + 1);
        }
        result.address = rest;
        return result;
    }

    TemplateNames names() const { return {7, composition, track}; }
    TemplateMessage expected() const { return OSCTemplateOracle::run(address, names(), input); }
    TemplateMessage compiled() const {
        OSCTemplate compiledTemplate = OSCTemplate::compile(address, names());
        RecordingTemplateSink first;
        compiledTemplate.run({}, first); // leaves other text in the scratch memory
        RecordingTemplateSink sink;
        compiledTemplate.run(input, sink);
        return sink.message;
    }
};

} // namespace marvo::testing
