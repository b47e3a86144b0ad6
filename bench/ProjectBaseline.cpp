#include "ProjectBaseline.h"

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <expat.h>
#include <fcntl.h>
#include <string_view>
#include <unistd.h>

namespace marvo::bench {
namespace {

constexpr std::size_t pieceSize = 1 << 16;

[[noreturn]] void give(const char* what) {
    std::perror(what);
    std::exit(2);
}

// The same for both ways of formatting: indentation, element, and what stands before and behind the keyframes
// of a track.
constexpr std::string_view trackHead = "\t\t\t<dict>\n\t\t\t\t<key>keyFrames</key>\n\t\t\t\t<dict>\n";
constexpr std::string_view trackTail = "\t\t\t\t</dict>\n\t\t\t</dict>\n";

} // namespace

float KeyframeText::valueOf(std::size_t track, std::size_t keyframe) const {
    return static_cast<float>((track * 7919 + keyframe * 104'729) % 100'003) / 1000.1f;
}

const char* KeyframeText::curveOf(std::size_t track, std::size_t keyframe) const {
    constexpr const char* curves[] = {"Linear Interpolation", "Linear Interpolation", "Cubic Ease-In-Out",
                                      "No Interpolation"};
    return curves[(track + keyframe) % 4];
}

XmlCounts countWithExpat(const std::string& path) {
    XmlCounts counts;
    const XML_Parser parser = XML_ParserCreate(nullptr);
    XML_SetUserData(parser, &counts);
    XML_SetElementHandler(
        parser,
        [](void* self, const XML_Char*, const XML_Char**) { ++static_cast<XmlCounts*>(self)->elements; },
        [](void*, const XML_Char*) {});
    XML_SetCharacterDataHandler(parser, [](void* self, const XML_Char*, int size) {
        static_cast<XmlCounts*>(self)->characters += static_cast<std::uint64_t>(size);
    });
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) give(path.c_str());
    char piece[pieceSize];
    for (ssize_t got = 1; got > 0;) {
        got = ::read(descriptor, piece, sizeof piece);
        if (got < 0 || XML_Parse(parser, piece, static_cast<int>(got), got == 0) == XML_STATUS_ERROR)
            give("the bare pass");
    }
    ::close(descriptor);
    XML_ParserFree(parser);
    return counts;
}

std::size_t writeWithPrintf(const KeyframeText& text, const std::string& path) {
    std::FILE* const file = std::fopen(path.c_str(), "wb");
    if (!file) give(path.c_str());
    for (std::size_t track = 0; track < text.tracks; ++track) {
        std::fwrite(trackHead.data(), 1, trackHead.size(), file);
        for (std::size_t k = 0; k < text.keyframesEach; ++k) {
            std::fprintf(file,
                         "\t\t\t\t\t<key>%zu</key>\n\t\t\t\t\t<dict>\n"
                         "\t\t\t\t\t\t<key>time</key>\n\t\t\t\t\t\t<integer>%lld</integer>\n"
                         "\t\t\t\t\t\t<key>value</key>\n\t\t\t\t\t\t<real>%.7g</real>\n"
                         "\t\t\t\t\t\t<key>interpolation</key>\n\t\t\t\t\t\t<string>%s</string>\n"
                         "\t\t\t\t\t</dict>\n",
                         k, static_cast<long long>(text.timeOf(k)),
                         static_cast<double>(text.valueOf(track, k)), text.curveOf(track, k));
        }
        std::fwrite(trackTail.data(), 1, trackTail.size(), file);
    }
    const long size = std::ftell(file);
    std::fflush(file);
    ::fsync(::fileno(file));
    std::fclose(file);
    return static_cast<std::size_t>(size);
}

std::size_t writeWithToChars(const KeyframeText& text, const std::string& path) {
    const int descriptor = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (descriptor < 0) give(path.c_str());
    std::string buffer;
    buffer.reserve(2 * pieceSize);
    std::size_t size = 0;
    const auto flush = [&] {
        if (::write(descriptor, buffer.data(), buffer.size()) != static_cast<ssize_t>(buffer.size()))
            give("write");
        size += buffer.size();
        buffer.clear();
    };
    const auto number = [&buffer](auto value) {
        char digits[64];
        buffer.append(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
    };
    for (std::size_t track = 0; track < text.tracks; ++track) {
        buffer.append(trackHead);
        for (std::size_t k = 0; k < text.keyframesEach; ++k) {
            buffer.append("\t\t\t\t\t<key>");
            number(k);
            buffer.append("</key>\n\t\t\t\t\t<dict>\n\t\t\t\t\t\t<key>time</key>\n\t\t\t\t\t\t<integer>");
            number(text.timeOf(k));
            buffer.append("</integer>\n\t\t\t\t\t\t<key>value</key>\n\t\t\t\t\t\t<real>");
            number(text.valueOf(track, k));
            buffer.append("</real>\n\t\t\t\t\t\t<key>interpolation</key>\n\t\t\t\t\t\t<string>");
            buffer.append(text.curveOf(track, k));
            buffer.append("</string>\n\t\t\t\t\t</dict>\n");
            if (buffer.size() >= pieceSize) flush();
        }
        buffer.append(trackTail);
    }
    flush();
    ::fsync(descriptor);
    ::close(descriptor);
    return size;
}

} // namespace marvo::bench
