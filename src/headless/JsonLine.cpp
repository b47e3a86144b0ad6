#include "headless/JsonLine.h"

#include "platform/Numbers.h"
#include "platform/Text.h"

#include <cmath>

namespace marvo {
namespace {

constexpr std::string_view replacementCharacter = "\xEF\xBF\xBD"; // U+FFFD
constexpr char hexDigits[] = "0123456789abcdef";

} // namespace

JsonLine::JsonLine(std::string& text) : text_(text) {
    text_.push_back('{');
}

void JsonLine::separate() {
    if (!isFirst_) text_.push_back(',');
    isFirst_ = false;
}

JsonLine& JsonLine::member(std::string_view name) {
    separate();
    appendString(name);
    text_.push_back(':');
    return *this;
}

void JsonLine::string(std::string_view value) {
    if (inArray_) separate();
    appendString(value);
}

void JsonLine::appendString(std::string_view value) {
    text_.push_back('"');
    for (std::size_t at = 0; at < value.size();) {
        const char c = value[at];
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x80) {
            const std::size_t length = utf8LengthAt(value, at);
            text_.append(length == 0 ? replacementCharacter : value.substr(at, length));
            at += length == 0 ? 1 : length;
            continue;
        }
        if (c == '"' || c == '\\') {
            text_.push_back('\\');
            text_.push_back(c);
        } else if (c == '\n') {
            text_.append("\\n");
        } else if (c == '\r') {
            text_.append("\\r");
        } else if (c == '\t') {
            text_.append("\\t");
        } else if (byte < 0x20) {
            text_.append("\\u00");
            text_.push_back(hexDigits[byte >> 4]);
            text_.push_back(hexDigits[byte & 15]);
        } else {
            text_.push_back(c);
        }
        ++at;
    }
    text_.push_back('"');
}

void JsonLine::integer(std::int64_t value) {
    if (inArray_) separate();
    text_.append(formatInteger(value).view());
}

void JsonLine::number(float value) {
    if (inArray_) separate();
    if (!std::isfinite(value)) return appendNonFinite(static_cast<double>(value));
    text_.append(shortestFloat(value).view());
}

void JsonLine::number(double value) {
    if (inArray_) separate();
    if (!std::isfinite(value)) return appendNonFinite(value);
    text_.append(shortestReal(value).view());
}

void JsonLine::appendNonFinite(double value) {
    // The sign of a not-a-number differs between machines and means nothing.
    appendString(std::isnan(value) ? "nan" : value > 0.0 ? "inf" : "-inf");
}

void JsonLine::boolean(bool value) {
    if (inArray_) separate();
    text_.append(value ? "true" : "false");
}

void JsonLine::null() {
    if (inArray_) separate();
    text_.append("null");
}

void JsonLine::beginArray() {
    text_.push_back('[');
    isFirst_ = true;
    inArray_ = true;
}

void JsonLine::endArray() {
    text_.push_back(']');
    isFirst_ = false;
    inArray_ = false;
}

void JsonLine::finish() {
    text_.append("}\n");
}

} // namespace marvo
