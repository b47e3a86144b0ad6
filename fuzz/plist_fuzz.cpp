// Any bytes: they are refused with one line that says why, or they are a value that survives saving.
#include "platform/PropertyListFile.h"
#include "platform/PropertyListXmlWriter.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

void require(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "%s\n", what);
    std::abort();
}

bool hasAbsentValue(const marvo::PropertyList& value) {
    if (value.isNone()) return true;
    for (const auto& element : value.elements()) {
        if (hasAbsentValue(element)) return true;
    }
    for (const auto& entry : value.entries()) {
        if (hasAbsentValue(entry.value)) return true;
    }
    return false;
}

// Dates are written in whole seconds of four-digit years.
bool hasDate(const marvo::PropertyList& value) {
    if (value.isDate()) return true;
    for (const auto& element : value.elements()) {
        if (hasDate(element)) return true;
    }
    for (const auto& entry : value.entries()) {
        if (hasDate(entry.value)) return true;
    }
    return false;
}

std::string textOf(const marvo::PropertyList& value, marvo::XmlWriteReport& report) {
    std::string text;
    report = marvo::writePropertyListXml(value, [&](std::string_view piece) {
        text.append(piece);
        return true;
    });
    return text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const marvo::ReadResult read =
        marvo::parsePropertyList({reinterpret_cast<const char*>(bytes), size}, "input");
    if (!read.ok()) {
        require(read.value.isNone(), "an error and a value");
        require(read.error.starts_with("input: "), "an error that does not name the file");
        require(read.error.find('\n') == std::string::npos, "an error of several lines");
        return 0;
    }
    marvo::XmlWriteReport report;
    const std::string once = textOf(read.value, report);
    require(report.complete, "what was read cannot be written");
    const marvo::ReadResult again = marvo::parsePropertyList(once, "saved");
    require(again.ok(), "what was written cannot be read");
    if (report.droppedCharacters != 0 || hasAbsentValue(read.value)) return 0;
    require(textOf(again.value, report) == once, "saving twice is not saving once");
    if (!hasDate(read.value)) require(again.value == read.value, "saving changed the value");
    return 0;
}
