// Arithmetic of one composition's transport: how seconds, tempo and frames turn into one another.
//
// Units: processtime is seconds at tempo 120 (double), a Frame counts frames of the composition, fps is
// frames per second. Everything said to be single precision is computed step by step in 32-bit floats, so
// that every machine lands on the same frame.
//
// A frame rate below 1 can only come from a damaged file; all functions here read it as 1, and one above
// `largestFps` as that, so that no division traps and no product overflows. Values that do not fit a frame
// number saturate, and not-a-number becomes frame 0.
//
// Thread-safe: pure functions. Realtime-safe: all but the two that build text.
#pragma once

#include "platform/TimelineTime.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace marvo {

inline constexpr std::int64_t largestFps = 1'000'000'000;

// fps brought into 1 ... largestFps.
constexpr std::int64_t usableFps(std::int64_t fps) {
    return fps < 1 ? 1 : (fps > largestFps ? largestFps : fps);
}

// Seconds; thirty years. A longer one can only come from a damaged file or a slip of the hand.
constexpr float longestComposition = 1.0e9f;

// Towards zero; out of range saturates, not-a-number gives 0.
Frame truncateToFrame(float value);

// 1 / fps in single precision.
float frameDuration(std::int64_t fps);
// Frame duration times frame, in single precision.
float secondsOfFrame(Frame frame, std::int64_t fps);
// frame / fps as integers, the position a stop or a recording falls back to.
double wholeSecondsOfFrame(Frame frame, std::int64_t fps);
// compTime * fps in single precision, the length against which positions are compared.
float lengthInFrames(float compTime, std::int64_t fps);
// The same, truncated: the last frame a composition has.
Frame endFrame(float compTime, std::int64_t fps);
// A playhead target counts as inside up to and including the (fractional) length.
bool isInsideComposition(Frame frame, float compTime, std::int64_t fps);
// Brings a frame into 0 ... endFrame.
Frame clampToComposition(Frame frame, float compTime, std::int64_t fps);

// processtime after `delta` seconds of real time at tempo bpm; the factor is single precision.
double advanceProcesstime(double processtime, float bpm, float delta);
// Nearest frame: rounded to five decimals first, then to the integer, so that 0.499996 of a frame is a half
// already.
Frame frameOfProcesstime(double processtime, std::int64_t fps);
// True while a running composition must stay silent because time has not reached the working area.
bool isWaitingForWorkingArea(double processtime, Frame inTime, std::int64_t fps, bool isRunning);
// After a jump by sync: does the position reach the end of the working area?
bool jumpReachesEnd(double processtime, Frame outTime, std::int64_t fps);

// processtime after a loop wrap; the overshoot past outTime is kept, so that looping does not drift.
double loopWrap(double processtime, Frame outTime, Frame inTime, std::int64_t fps);
// The wrap after a jump by sync: the remainder of seconds by frames, exactly so. A working area that ends at
// 0 gives 0, since the remainder would be not-a-number and the playhead would never move again.
double jumpedLoopWrap(double processtime, Frame outTime);
// Where the global solo mode leaves the playhead at the end: the seconds of inTime, taken as a frame number.
Frame soloEndFrame(Frame inTime, std::int64_t fps);

struct TimeFields {
    std::int64_t hours = 0;
    std::int64_t minutes = 0;
    std::int64_t seconds = 0;
    std::int64_t frames = 0;
    bool operator==(const TimeFields&) const = default;
};

// No drop-frame counting.
TimeFields splitTime(Frame frame, std::int64_t fps);
// The inverse of splitTime; fields may be of any size.
Frame joinTime(const TimeFields& fields, std::int64_t fps);
// What the four playhead fields ask for, capped at the end of the composition.
Frame editedPlayhead(const TimeFields& fields, float compTime, std::int64_t fps);
// "HH:MM:SS:FF".
std::string playheadText(Frame frame, std::int64_t fps);
// The same in the caller's space. Realtime-safe.
inline constexpr std::size_t playheadTextSize = 96;
std::string_view playheadTextIn(std::span<char, playheadTextSize> space, Frame frame, std::int64_t fps);
// "HH:MM:SS:FF:", with the colon at the end that the machine control link wants.
std::string compSMPTEText(Frame frame, std::int64_t fps);

// Hours, minutes, seconds, frames in 16 bits each, hours lowest.
std::uint64_t packSmpte(const TimeFields& fields);
TimeFields unpackSmpte(std::uint64_t packed);
// The frame a packed time names; nothing when it lies past the end of the composition.
std::optional<Frame> smpteFrame(std::uint64_t packed, float compTime, std::int64_t fps);

// How far the playhead is through the working area; 0 at inTime, 1 at outTime. A working area without length
// gives an infinity or not-a-number: whoever draws it decides.
float progress(Frame currentTime, Frame inTime, Frame outTime);

} // namespace marvo
