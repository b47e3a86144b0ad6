#include "composition/CompositionTimeMath.h"

#include "platform/Saturate.h"

#include <charconv>
#include <cmath>
#include <cstdio>

namespace marvo {

namespace {

float fpsAsFloat(std::int64_t fps) {
    return static_cast<float>(usableFps(fps));
}

void appendTwoDigits(std::string& text, std::int64_t number) {
    char digits[24];
    const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
    if (end - digits < 2) text += '0';
    text.append(digits, end);
}

} // namespace

Frame truncateToFrame(float value) {
    return Frame(truncatedToInt64(value));
}

float frameDuration(std::int64_t fps) {
    return 1.0f / fpsAsFloat(fps);
}

float secondsOfFrame(Frame frame, std::int64_t fps) {
    return frameDuration(fps) * static_cast<float>(frame.value);
}

double wholeSecondsOfFrame(Frame frame, std::int64_t fps) {
    return static_cast<double>(frame.value / usableFps(fps));
}

float lengthInFrames(float compTime, std::int64_t fps) {
    return compTime * fpsAsFloat(fps);
}

Frame endFrame(float compTime, std::int64_t fps) {
    return truncateToFrame(lengthInFrames(compTime, fps));
}

bool isInsideComposition(Frame frame, float compTime, std::int64_t fps) {
    return !(static_cast<float>(frame.value) > lengthInFrames(compTime, fps));
}

Frame clampToComposition(Frame frame, float compTime, std::int64_t fps) {
    const Frame end = endFrame(compTime, fps);
    const Frame capped = frame > end ? end : frame;
    return capped < Frame(0) ? Frame(0) : capped;
}

double advanceProcesstime(double processtime, float bpm, float delta) {
    const float advance = bpm / 120.0f * delta;
    return processtime + static_cast<double>(advance);
}

Frame frameOfProcesstime(double processtime, std::int64_t fps) {
    const float t = static_cast<float>(processtime);
    const float toFiveDecimals = std::round(t / frameDuration(fps) * 100000.0f) / 100000.0f;
    return truncateToFrame(std::round(toFiveDecimals));
}

bool isWaitingForWorkingArea(double processtime, Frame inTime, std::int64_t fps, bool isRunning) {
    return isRunning && secondsOfFrame(inTime, fps) > static_cast<float>(processtime);
}

bool jumpReachesEnd(double processtime, Frame outTime, std::int64_t fps) {
    const double frames = processtime / static_cast<double>(frameDuration(fps));
    return static_cast<float>(outTime.value) <= std::round(static_cast<float>(frames));
}

double loopWrap(double processtime, Frame outTime, Frame inTime, std::int64_t fps) {
    const float end = static_cast<float>(outTime.value) / fpsAsFloat(fps);
    const float start = secondsOfFrame(inTime, fps);
    return (processtime - static_cast<double>(end)) + static_cast<double>(start);
}

double jumpedLoopWrap(double processtime, Frame outTime) {
    if (outTime == Frame(0)) return 0.0;
    return std::fmod(processtime, static_cast<double>(outTime.value));
}

Frame soloEndFrame(Frame inTime, std::int64_t fps) {
    return truncateToFrame(secondsOfFrame(inTime, fps));
}

TimeFields splitTime(Frame frame, std::int64_t fps) {
    const std::int64_t second = usableFps(fps);
    const std::int64_t minute = second * 60;
    TimeFields fields;
    const std::int64_t allMinutes = frame.value / minute;
    fields.hours = allMinutes / 60;
    fields.minutes = allMinutes % 60;
    fields.seconds = frame.value % minute / second;
    fields.frames = frame.value % second;
    return fields;
}

Frame joinTime(const TimeFields& fields, std::int64_t fps) {
    const std::int64_t second = usableFps(fps);
    std::int64_t frames = saturatingMultiply(fields.hours, second * 3600);
    frames = saturatingAdd(frames, saturatingMultiply(fields.minutes, second * 60));
    frames = saturatingAdd(frames, saturatingMultiply(fields.seconds, second));
    return Frame(saturatingAdd(frames, fields.frames));
}

Frame editedPlayhead(const TimeFields& fields, float compTime, std::int64_t fps) {
    const Frame asked = joinTime(fields, fps);
    const Frame end = endFrame(compTime, fps);
    return asked > end ? end : asked;
}

std::string_view playheadTextIn(std::span<char, playheadTextSize> space, Frame frame, std::int64_t fps) {
    const TimeFields fields = splitTime(frame, fps);
    const int size =
        std::snprintf(space.data(), space.size(), "%02lld:%02lld:%02lld:%02lld",
                      static_cast<long long>(fields.hours), static_cast<long long>(fields.minutes),
                      static_cast<long long>(fields.seconds), static_cast<long long>(fields.frames));
    return {space.data(), static_cast<std::size_t>(size)};
}

std::string playheadText(Frame frame, std::int64_t fps) {
    const TimeFields fields = splitTime(frame, fps);
    std::string text;
    appendTwoDigits(text, fields.hours);
    text += ':';
    appendTwoDigits(text, fields.minutes);
    text += ':';
    appendTwoDigits(text, fields.seconds);
    text += ':';
    appendTwoDigits(text, fields.frames);
    return text;
}

std::string compSMPTEText(Frame frame, std::int64_t fps) {
    return playheadText(frame, fps) + ':';
}

std::uint64_t packSmpte(const TimeFields& fields) {
    const auto part = [](std::int64_t value, int shift) {
        return (static_cast<std::uint64_t>(value) & 0xffffu) << shift;
    };
    return part(fields.hours, 0) | part(fields.minutes, 16) | part(fields.seconds, 32) |
           part(fields.frames, 48);
}

TimeFields unpackSmpte(std::uint64_t packed) {
    const auto part = [packed](int shift) { return static_cast<std::int64_t>(packed >> shift & 0xffffu); };
    return TimeFields{part(0), part(16), part(32), part(48)};
}

std::optional<Frame> smpteFrame(std::uint64_t packed, float compTime, std::int64_t fps) {
    const Frame frame = joinTime(unpackSmpte(packed), fps);
    if (!isInsideComposition(frame, compTime, fps)) return std::nullopt;
    return frame;
}

float progress(Frame currentTime, Frame inTime, Frame outTime) {
    return static_cast<float>((currentTime - inTime).value) / static_cast<float>((outTime - inTime).value);
}

} // namespace marvo
