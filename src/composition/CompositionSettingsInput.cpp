#include "composition/CompositionSettingsInput.h"

#include <cmath>

namespace marvo {

namespace {

bool noneNegative(const TimeFields& fields) {
    return fields.hours >= 0 && fields.minutes >= 0 && fields.seconds >= 0 && fields.frames >= 0;
}

double startOfFields(const TimeFields& start, double framesPerSecond) {
    return static_cast<double>(start.frames) / framesPerSecond + static_cast<double>(start.seconds) +
           static_cast<double>(start.minutes) * 60.0 + static_cast<double>(start.hours) * 3600.0;
}

} // namespace

std::optional<std::size_t> mtcRateIndex(std::string_view code) {
    for (std::size_t i = 0; i < mtcRates.size(); ++i)
        if (mtcRates[i].code == code) return i;
    return std::nullopt;
}

CompositionSettingsFields shownFields(const CompositionSettings& settings, const TimeFields& startTime) {
    CompositionSettingsFields fields;
    fields.length = splitTime(endFrame(settings.compTime, settings.compFPS), settings.compFPS);
    fields.compFPS = settings.compFPS;
    fields.startTime = startTime;
    fields.mtcRateIndex = mtcRateIndex(settings.mtcOutFPS).value_or(0);
    fields.mtcOutDestination = settings.mtcOutDestination;
    fields.transmitsMMC = settings.transmitsMMC;
    fields.transmitsMTC = settings.transmitsMTC;
    fields.useCompIDWithMMC = settings.useCompIDWithMMC;
    return fields;
}

float lengthOfFields(const TimeFields& length, std::int64_t fps) {
    return static_cast<float>(length.frames) / static_cast<float>(usableFps(fps)) +
           static_cast<float>(length.seconds) + static_cast<float>(length.minutes) * 60.0f +
           static_cast<float>(length.hours) * 3600.0f;
}

CompositionSettingsResult confirmCompositionSettings(const CompositionSettings& present,
                                                     const CompositionSettingsFields& shown,
                                                     const CompositionSettingsFields& entered,
                                                     const MidiLoopbackState& loopback) {
    using Outcome = CompositionSettingsResult::Outcome;
    CompositionSettingsResult result;
    result.settings = present;
    if (entered.transmitsMMC && loopback.listenToMMC && loopback.sourceOfSameNameEnabled) {
        result.outcome = Outcome::loopback;
        return result;
    }

    const float length = lengthOfFields(entered.length, entered.compFPS);
    if (entered.compFPS <= 0 || !noneNegative(entered.length) || !noneNegative(entered.startTime) ||
        entered.mtcRateIndex >= mtcRates.size() || !(length > 0.0f) || length > longestComposition) {
        result.outcome = Outcome::refused;
        return result;
    }

    CompositionSettings wanted = present;
    if (entered.length != shown.length || entered.compFPS != shown.compFPS) {
        wanted.compTime = lengthOfFields(entered.length, entered.compFPS);
        wanted.compFPS = entered.compFPS;
    }
    if (entered.mtcRateIndex != shown.mtcRateIndex)
        wanted.mtcOutFPS = std::string(mtcRates[entered.mtcRateIndex].code);
    if (entered.startTime != shown.startTime || entered.mtcRateIndex != shown.mtcRateIndex)
        wanted.mtcOutStartTime =
            startOfFields(entered.startTime, mtcRates[entered.mtcRateIndex].framesPerSecond);
    wanted.mtcOutDestination = entered.mtcOutDestination;
    wanted.transmitsMMC = entered.transmitsMMC;
    wanted.transmitsMTC = entered.transmitsMTC;
    wanted.useCompIDWithMMC = entered.useCompIDWithMMC;

    result.outcome = wanted == present ? Outcome::unchanged : Outcome::changed;
    result.settings = wanted;
    result.lengthOrFpsChanged = wanted.compTime != present.compTime || wanted.compFPS != present.compFPS;
    return result;
}

float fpsRatio(std::int64_t newFps, std::int64_t oldFps) {
    return static_cast<float>(usableFps(newFps)) / static_cast<float>(usableFps(oldFps));
}

Frame scaledFrame(Frame frame, float ratio) {
    return truncateToFrame(static_cast<float>(frame.value) * ratio);
}

RescaledWorkingArea rescaledWorkingArea(Frame markerTime, Frame inTime, Frame outTime, float ratio,
                                        float newCompTime, std::int64_t newFps) {
    RescaledWorkingArea area{scaledFrame(markerTime, ratio), scaledFrame(inTime, ratio),
                             scaledFrame(outTime, ratio)};
    if (!isInsideComposition(area.outTime, newCompTime, newFps)) area.outTime = endFrame(newCompTime, newFps);
    return area;
}

Frame rescaledPlayhead(Frame oldMarkerTime, float oldCompTime, std::int64_t oldFps, float newCompTime,
                       std::int64_t newFps) {
    const float oldLength = lengthInFrames(oldCompTime, oldFps);
    if (!(oldLength > 0.0f)) return Frame(0);
    const float part = static_cast<float>(oldMarkerTime.value) / oldLength;
    return truncateToFrame(std::round(part * newCompTime * static_cast<float>(usableFps(newFps))));
}

} // namespace marvo
