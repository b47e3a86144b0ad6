// Text in UTF-8: cleaning, splitting, comparing.
//
// Comparing uses one fixed collation (the root one), not the machine's language, so that every machine sorts
// a project's records alike. Thread-safe; allocates: not realtime-safe.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace marvo {

// Accents fall away ("Über" gives "Uber"), and so does every character without an ASCII form.
std::string lossyAscii(std::string_view text);
std::string lowercase(std::string_view text);
// Blanks only; other white space stays.
std::string removeBlanks(std::string_view text);
// Without white space at both ends.
std::string_view trim(std::string_view text);
// Always at least one piece, which may be empty.
std::vector<std::string_view> split(std::string_view text, char separator);
std::string replaceAll(std::string_view text, std::string_view from, std::string_view to);

// Below, at, or above zero. Text order whatever the case: "10" comes before "2".
int localizedCaseInsensitiveCompare(std::string_view a, std::string_view b);
// The order a person expects: numbers count as numbers, "2" comes before "10".
int localizedStandardCompare(std::string_view a, std::string_view b);
bool caseInsensitiveEqual(std::string_view a, std::string_view b);

bool isValidUtf8(std::string_view text);
std::size_t characterCount(std::string_view text);
// Bytes of the character at that place; 0 when what is there is not UTF-8.
std::size_t utf8LengthAt(std::string_view text, std::size_t at);
// None when the surrogates do not pair.
std::optional<std::string> utf8Of(std::u16string_view text);
// Printable on one line: control characters and bytes that are not UTF-8 as \xNN, cut behind `longest` bytes.
std::string escapeForLog(std::string_view text, std::size_t longest = 200);

} // namespace marvo
