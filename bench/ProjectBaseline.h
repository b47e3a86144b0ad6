// What a program does at the least to go through a project file or to write one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace marvo::bench {

struct XmlCounts {
    std::uint64_t elements = 0;
    std::uint64_t characters = 0; // of text, all of it
};

// A bare Expat pass over the file, counting and nothing else.
XmlCounts countWithExpat(const std::string& path);

// A project of so many tracks and keyframes on each, with values that differ. The engine's own saved form is
// the same to the byte as what it reads back from this and saves, but for the few records beside the tracks.
struct KeyframeText {
    std::size_t tracks;
    std::size_t keyframesEach;

    std::int64_t timeOf(std::size_t keyframe) const { return static_cast<std::int64_t>(keyframe) * 3; }
    float valueOf(std::size_t track, std::size_t keyframe) const;
    const char* curveOf(std::size_t track, std::size_t keyframe) const;
};

// Writes as many bytes by std::fprintf, or by std::to_chars into a buffer of its own; brings them to the disk
// as the engine does. Returns the number of bytes.
std::size_t writeWithPrintf(const KeyframeText& text, const std::string& path);
std::size_t writeWithToChars(const KeyframeText& text, const std::string& path);

} // namespace marvo::bench
