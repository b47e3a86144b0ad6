// Appends one JSON object, on a line of its own, to a text.
//
// Members come out in the order of the calls. Used by one thread at a time; the text outlives the object.
// Every line is valid JSON in UTF-8 whatever it is given: a byte that is no UTF-8 becomes U+FFFD, and the
// numbers that JSON does not know become the strings "inf", "-inf" and "nan".
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace marvo {

class JsonLine {
public:
    // Opens the object.
    explicit JsonLine(std::string& text);
    JsonLine(const JsonLine&) = delete;
    JsonLine& operator=(const JsonLine&) = delete;

    // Begins a member; exactly one value, or an array, follows.
    JsonLine& member(std::string_view name);

    void string(std::string_view value);
    void integer(std::int64_t value);
    // The shortest text that reads back to the same 32-bit value, or 64-bit one.
    void number(float value);
    void number(double value);
    void boolean(bool value);
    void null();
    // Everything until endArray is an element. Arrays do not nest.
    void beginArray();
    void endArray();

    // Closes the object and the line.
    void finish();

private:
    void separate();
    void appendString(std::string_view value);
    void appendNonFinite(double value);

    std::string& text_;
    bool isFirst_ = true;
    bool inArray_ = false;
};

} // namespace marvo
