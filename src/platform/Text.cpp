#include "platform/Text.h"

#include <algorithm>
#include <array>
#include <memory>
#include <unicode/coll.h>
#include <unicode/normalizer2.h>
#include <unicode/unistr.h>
#include <unicode/ustring.h>

namespace marvo {
namespace {

bool isSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

icu::UnicodeString wide(std::string_view text) {
    return icu::UnicodeString::fromUTF8(
        icu::StringPiece(text.data(), static_cast<std::int32_t>(text.size())));
}

std::string narrow(const icu::UnicodeString& text) {
    std::string result;
    text.toUTF8String(result);
    return result;
}

// Letters that have an ASCII form but no decomposition.
std::string_view asciiFormOf(UChar32 c) {
    switch (c) {
    case 0x00DF:
        return "ss";
    case 0x00C6:
        return "AE";
    case 0x00E6:
        return "ae";
    case 0x0152:
        return "OE";
    case 0x0153:
        return "oe";
    case 0x00D8:
        return "O";
    case 0x00F8:
        return "o";
    case 0x0141:
        return "L";
    case 0x0142:
        return "l";
    case 0x0110:
        return "D";
    case 0x0111:
        return "d";
    case 0x2018:
    case 0x2019:
        return "'";
    case 0x201C:
    case 0x201D:
        return "\"";
    case 0x2010:
    case 0x2011:
    case 0x2012:
    case 0x2013:
    case 0x2014:
        return "-";
    case 0x2044:
        return "/"; // in the decompositions of the fractions
    default:
        return {};
    }
}

std::unique_ptr<icu::Collator> makeCollator(bool numeric) {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::Collator> collator(icu::Collator::createInstance(icu::Locale::getRoot(), status));
    if (U_FAILURE(status)) return nullptr;
    collator->setStrength(numeric ? icu::Collator::TERTIARY : icu::Collator::SECONDARY);
    // Blanks and punctuation count, as they do when file names are listed.
    collator->setAttribute(UCOL_ALTERNATE_HANDLING, UCOL_NON_IGNORABLE, status);
    if (numeric) collator->setAttribute(UCOL_NUMERIC_COLLATION, UCOL_ON, status);
    return collator;
}

int compareWith(const icu::Collator* collator, std::string_view a, std::string_view b) {
    if (!collator) return a.compare(b);
    UErrorCode status = U_ZERO_ERROR;
    const auto piece = [](std::string_view text) {
        return icu::StringPiece(text.data(), static_cast<std::int32_t>(text.size()));
    };
    return static_cast<int>(collator->compareUTF8(piece(a), piece(b), status));
}

} // namespace

std::string lossyAscii(std::string_view text) {
    const bool plain =
        std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 128; });
    if (plain) return std::string(text);
    UErrorCode status = U_ZERO_ERROR;
    const icu::Normalizer2* decomposing = icu::Normalizer2::getNFKDInstance(status);
    icu::UnicodeString source = wide(text);
    const icu::UnicodeString decomposed = U_SUCCESS(status) ? decomposing->normalize(source, status) : source;
    std::string result;
    for (std::int32_t i = 0; i < decomposed.length(); i = decomposed.moveIndex32(i, 1)) {
        const UChar32 c = decomposed.char32At(i);
        if (c < 128) {
            result.push_back(static_cast<char>(c));
        } else {
            result.append(asciiFormOf(c));
        }
    }
    return result;
}

std::string lowercase(std::string_view text) {
    return narrow(wide(text).toLower(icu::Locale::getRoot()));
}

std::string removeBlanks(std::string_view text) {
    std::string result(text);
    std::erase(result, ' ');
    return result;
}

std::string_view trim(std::string_view text) {
    while (!text.empty() && isSpace(text.front())) text.remove_prefix(1);
    while (!text.empty() && isSpace(text.back())) text.remove_suffix(1);
    return text;
}

std::vector<std::string_view> split(std::string_view text, char separator) {
    std::vector<std::string_view> pieces;
    for (;;) {
        const std::size_t at = text.find(separator);
        pieces.push_back(text.substr(0, at));
        if (at == std::string_view::npos) return pieces;
        text.remove_prefix(at + 1);
    }
}

std::string replaceAll(std::string_view text, std::string_view from, std::string_view to) {
    if (from.empty()) return std::string(text);
    std::string result;
    for (;;) {
        const std::size_t at = text.find(from);
        result.append(text.substr(0, at));
        if (at == std::string_view::npos) return result;
        result.append(to);
        text.remove_prefix(at + from.size());
    }
}

int localizedCaseInsensitiveCompare(std::string_view a, std::string_view b) {
    thread_local const std::unique_ptr<icu::Collator> collator = makeCollator(false);
    return compareWith(collator.get(), a, b);
}

int localizedStandardCompare(std::string_view a, std::string_view b) {
    thread_local const std::unique_ptr<icu::Collator> collator = makeCollator(true);
    return compareWith(collator.get(), a, b);
}

bool caseInsensitiveEqual(std::string_view a, std::string_view b) {
    return wide(a).foldCase() == wide(b).foldCase();
}

std::size_t utf8LengthAt(std::string_view text, std::size_t at) {
    const auto byte = [&](std::size_t index) {
        return at + index < text.size() ? static_cast<unsigned char>(text[at + index])
                                        : static_cast<unsigned char>(0);
    };
    const auto follows = [&](std::size_t index, unsigned char low = 0x80, unsigned char high = 0xBF) {
        return byte(index) >= low && byte(index) <= high;
    };
    const unsigned char first = byte(0);
    if (at >= text.size()) return 0;
    if (first < 0x80) return 1;
    if (first < 0xC2 || first > 0xF4) return 0; // a continuation, an overlong form, or beyond U+10FFFF
    if (first < 0xE0) return follows(1) ? 2 : 0;
    if (first < 0xF0) {
        // Neither overlong nor a surrogate.
        const bool second = follows(1, first == 0xE0 ? 0xA0 : 0x80, first == 0xED ? 0x9F : 0xBF);
        return second && follows(2) ? 3 : 0;
    }
    const bool second = follows(1, first == 0xF0 ? 0x90 : 0x80, first == 0xF4 ? 0x8F : 0xBF);
    return second && follows(2) && follows(3) ? 4 : 0;
}

std::size_t characterCount(std::string_view text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char byte) {
        return (static_cast<unsigned char>(byte) & 0xc0u) != 0x80u;
    }));
}

bool isValidUtf8(std::string_view text) {
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = utf8LengthAt(text, at);
        if (length == 0) return false;
        at += length;
    }
    return true;
}

std::optional<std::string> utf8Of(std::u16string_view text) {
    UErrorCode status = U_ZERO_ERROR;
    std::int32_t size = 0;
    u_strToUTF8(nullptr, 0, &size, text.data(), static_cast<std::int32_t>(text.size()), &status);
    if (status != U_BUFFER_OVERFLOW_ERROR && U_FAILURE(status)) return std::nullopt;
    std::string result(static_cast<std::size_t>(size), '\0');
    status = U_ZERO_ERROR;
    u_strToUTF8(result.data(), size, &size, text.data(), static_cast<std::int32_t>(text.size()), &status);
    return result;
}

std::string escapeForLog(std::string_view text, std::size_t longest) {
    static constexpr char hex[] = "0123456789abcdef";
    std::string result;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = utf8LengthAt(text, at);
        if (at + std::max<std::size_t>(length, 1) > longest) return result.append("...");
        const auto byte = static_cast<unsigned char>(text[at]);
        if (length == 0 || byte < 0x20 || byte == 0x7f) {
            result.append("\\x").append(1, hex[byte >> 4]).append(1, hex[byte & 15]);
            ++at;
        } else {
            result.append(text.substr(at, length));
            at += length;
        }
    }
    return result;
}

} // namespace marvo
