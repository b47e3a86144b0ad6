#include "headless/TerminalText.h"

#include "platform/Text.h"

#include <algorithm>
#include <cstdint>

namespace marvo {
namespace {

struct Range {
    char32_t first;
    char32_t last;
};

// Combining marks, joiners and variation selectors.
constexpr Range narrowest[] = {{0x300, 0x36f},   {0x483, 0x489},   {0x591, 0x5bd},   {0x610, 0x61a},
                               {0x64b, 0x65f},   {0x1ab0, 0x1aff}, {0x1dc0, 0x1dff}, {0x200b, 0x200f},
                               {0x20d0, 0x20ff}, {0xfe00, 0xfe0f}, {0xfe20, 0xfe2f}, {0xe0100, 0xe01ef}};
constexpr Range wide[] = {{0x1100, 0x115f},   {0x231a, 0x231b},   {0x2e80, 0x303e},   {0x3041, 0x4dbf},
                          {0x4e00, 0xa4cf},   {0xac00, 0xd7a3},   {0xf900, 0xfaff},   {0xfe30, 0xfe6f},
                          {0xff00, 0xff60},   {0xffe0, 0xffe6},   {0x1f300, 0x1f64f}, {0x1f680, 0x1f6ff},
                          {0x1f900, 0x1f9ff}, {0x1fa70, 0x1faff}, {0x20000, 0x3fffd}};
// Marks that turn the direction of the line, and the line and paragraph separators.
constexpr Range unruly[] = {{0x00, 0x1f}, {0x7f, 0x9f}, {0x2028, 0x202e}, {0x2066, 0x2069}};

template <std::size_t count>
bool isIn(const Range (&ranges)[count], char32_t character) {
    return std::any_of(std::begin(ranges), std::end(ranges), [character](const Range& range) {
        return character >= range.first && character <= range.last;
    });
}

char32_t decode(std::string_view bytes) {
    auto character = static_cast<unsigned char>(bytes.front());
    if (bytes.size() == 1) return character;
    char32_t value = character & (0x7f >> bytes.size());
    for (const char c : bytes.substr(1)) value = value << 6 | (static_cast<unsigned char>(c) & 0x3f);
    return value;
}

// One character of a text, as it is shown.
struct Glyph {
    std::string_view bytes;
    int width;
};

// Walks the text and hands over each glyph; stops when `take` returns false.
template <class Take>
void forEachGlyph(std::string_view text, Take take) {
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = utf8LengthAt(text, at);
        const std::string_view bytes = text.substr(at, std::max<std::size_t>(length, 1));
        at += bytes.size();
        Glyph glyph{"?", 1};
        if (length != 0) {
            const char32_t character = decode(bytes);
            if (!isIn(unruly, character)) {
                glyph = {bytes, isIn(narrowest, character) ? 0 : isIn(wide, character) ? 2 : 1};
            }
        }
        if (!take(glyph)) return;
    }
}

} // namespace

int terminalWidth(std::string_view text) {
    int width = 0;
    forEachGlyph(text, [&](const Glyph& glyph) {
        width += glyph.width;
        return true;
    });
    return width;
}

std::string cutForTerminal(std::string_view text, int columns) {
    std::string whole;
    std::string shortened; // what is shown when an ellipsis follows
    int width = 0;
    bool fits = true;
    forEachGlyph(text, [&](const Glyph& glyph) {
        width += glyph.width;
        if (width < columns) shortened.append(glyph.bytes);
        if (width <= columns) whole.append(glyph.bytes);
        fits = width <= columns;
        return fits;
    });
    if (fits) return whole;
    return columns > 0 ? shortened + "…" : std::string();
}

std::string padForTerminal(std::string_view text, int columns) {
    std::string cut = cutForTerminal(text, columns);
    cut.append(static_cast<std::size_t>(std::max(columns - terminalWidth(cut), 0)), ' ');
    return cut;
}

} // namespace marvo
