// Writes the XML form of a property list, as a stream of pieces. Any thread; the sink is called on the
// caller's.
#pragma once

#include "platform/PropertyList.h"

#include <cstddef>
#include <functional>
#include <string_view>

namespace marvo {

struct XmlWriteReport {
    bool complete = true;              // false when the sink refused, or for the reason below
    const char* refusal = nullptr;     // why the value has no such form
    std::size_t droppedCharacters = 0; // characters that XML cannot hold, and bytes that are not UTF-8
};

// Hands the text to the sink in pieces of some 64 KiB; the sink returns false to stop.
//
// What could not be read back is not written: a value nested deeper than the reader accepts is refused,
// control characters and broken UTF-8 are left out and counted. An absent value (Kind::none) has no form: its
// entry is left out of a dictionary, in an array an empty string keeps its place.
XmlWriteReport writePropertyListXml(const PropertyList& value,
                                    const std::function<bool(std::string_view)>& sink);

} // namespace marvo
