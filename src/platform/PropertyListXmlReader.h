// Reads the XML form of a property list, piece by piece.
//
// Bounded: nesting and the number of values are limited, entity declarations are refused as soon as one is
// met, and memory grows only with what the text really holds. Any thread; one reader has one user.
#pragma once

#include "platform/PropertyList.h"

#include <memory>
#include <string>
#include <string_view>

namespace marvo {

class PropertyListXmlReader {
public:
    // name: stands for the file in errors.
    explicit PropertyListXmlReader(std::string name);
    ~PropertyListXmlReader();

    // False once something was refused; error() then says what and where, in one line:
    // "show.mrv: line 12, column 5: unexpected element <foo>".
    bool feed(std::string_view bytes, bool last);
    const std::string& error() const;
    // The value; to be called once, after a feed with `last` that returned true.
    PropertyList take();

private:
    class Parser;
    std::unique_ptr<Parser> parser_;
};

} // namespace marvo
