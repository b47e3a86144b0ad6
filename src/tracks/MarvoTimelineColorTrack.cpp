// The tick, its events, and what is asked of the track by hand.
#include "tracks/MarvoTimelineColorTrack.h"

#include "platform/Notifications.h"
#include "platform/Saturate.h"
#include "platform/SerialQueue.h"
#include "tracks/ArtNetColorOutput.h"
#include "tracks/OSCColorOutput.h"

#include <algorithm>

namespace marvo {
namespace {

// A factor above 1 does not turn past the end.
Colour rotated(const Colour& color, float factor) {
    if (factor == 1.0f) return color;
    HSB hsb = color.hsb();
    if (hsb.saturation == 0.0) return color;
    hsb.hue = std::clamp(hsb.hue * static_cast<double>(factor), 0.0, 1.0);
    return Colour::fromHSB(hsb, color.alpha);
}

} // namespace

MarvoTimelineColorTrack::MarvoTimelineColorTrack(std::string trackType, TrackComposition& composition,
                                                 TrackServices& services)
    : MarvoTimelineTrack(std::move(trackType), composition, services) {
    keyframes_.setContentMaker([this](const KeyframeStore& store) -> std::unique_ptr<const PlanContent> {
        auto table = std::make_unique<ColorTable>(store.all(), lengthInFrames());
        shownColors_ = table->sharedGradient();
        return table;
    });
}

std::int64_t MarvoTimelineColorTrack::lengthInFrames() const {
    return truncatedToInt64(
        static_cast<double>(composition().compTime() * static_cast<float>(composition().compFPS())));
}

void MarvoTimelineColorTrack::processAtTime(Frame frame, bool processing) {
    TrackNews::take(lane_->news);
    forgetSteadySegment(run_);
    if (!takesTick(processing)) return;
    if (processing) {
        // Whatever the preferences say: a colour that was skipped is caught up with.
        if (skipsTo(frame)) run_.needsProcessPreviousKeyframe = true;
        calculateCurrentColorAtTime(colorLane_, run_, currentPlan(), keyframes_.states(), rules(), frame);
    }
    sendColor(frame);
}

void MarvoTimelineColorTrack::sendColor(Frame frame) {
    if (!colorLane_.run.colorValue || !output_.colors) return;
    const float factor = services().preferences.hueRotateForColors;
    output_.colors->send(rotated(*colorLane_.run.colorValue, factor), frame, shotChannel_);
}

void MarvoTimelineColorTrack::reprocessArtNetAtCurrentTime() {
    services().compQueue.sync([this] {
        if (!isEnabled() || !composition().compState()) return;
        reprocessAtCurrentTime();
    });
}

void MarvoTimelineColorTrack::outputSwapped() {
    colorLane_.output = output_.colors;
    colorLane_.direct = colorLane_.output ? colorLane_.output->direct() : DirectSend{};
}

void MarvoTimelineColorTrack::fire(const Colour& color, std::optional<ColorComponent> only) {
    services().compQueue.sync([&] {
        colorLane_.run.colorValue = color;
        shotChannel_ = only;
        processAtTime(Frame(0), false);
        shotChannel_.reset();
    });
}

std::vector<ShotChoice> MarvoTimelineColorTrack::shotChoices() const {
    return {{"Red", 0}, {"Green", 1}, {"Blue", 2}, {"Alpha", 3}};
}

void MarvoTimelineColorTrack::shotWithChoice(std::int64_t choice) {
    if (choice >= 0 && choice <= 3) shotWithChannel(static_cast<ColorComponent>(choice));
}

void MarvoTimelineColorTrack::blackOut() {
    fire(Colour::black(), std::nullopt);
}

void MarvoTimelineColorTrack::shotWithChannel(ColorComponent component) {
    fire(Colour::white(), component);
}

void MarvoTimelineColorTrack::shotWithColorValue(const Colour& color) {
    fire(color, std::nullopt);
}

void MarvoTimelineColorTrack::compositionStarted() {
    MarvoTimelineTrack::compositionStarted();
    colorLane_.run.prevTrackColorValue.reset();
}

void MarvoTimelineColorTrack::compositionStopped() {
    MarvoTimelineTrack::compositionStopped();
    colorLane_.run.prevTrackColorValue.reset();
}

void MarvoTimelineColorTrack::compositionJumped() {
    MarvoTimelineTrack::compositionJumped();
    colorLane_.run.prevTrackColorValue.reset();
}

void MarvoTimelineColorTrack::compositionLooped() {
    MarvoTimelineTrack::compositionLooped();
    colorLane_.run.prevTrackColorValue.reset();
}

void MarvoTimelineColorTrack::compositionSettingsChanged() {
    keyframes_.publish();
    MarvoTimelineTrack::compositionSettingsChanged();
}

MarvoTimelineTrack::Output MarvoTimelineColorTrack::makeOutput() const {
    Output made;
    if (kind() == TrackKind::artNetColor) {
        const ArtNetColorSettings settings{
            composition().compName(), name(),         channels(), static_cast<std::int32_t>(artNetUniverse()),
            effectiveColorFormat(),   is16BitArtNet()};
        setOutput(made, std::make_unique<ArtNetColorOutput>(settings, services().dmx), made.colors);
        return made;
    }
    OSCColorSettings settings;
    settings.oscAddress = oscAddress();
    settings.compositionName = composition().compName();
    settings.compositionPosition = composition().compositionIndex() + 1;
    settings.trackName = name();
    settings.trackOSCType = trackOSCType();
    settings.trackMinValue = trackMinValue();
    settings.trackMaxValue = trackMaxValue();
    settings.shouldSendAlpha = shouldSendAlpha_;
    settings.subAddresses = subAddresses_;
    settings.compFPS = composition().compFPS();
    settings.port = services().oscManager.findOutputWithLabel(this->settings().oscOut);
    setOutput(made, std::make_unique<OSCColorOutput>(settings), made.colors);
    return made;
}

void MarvoTimelineColorTrack::setArtNetColorFormat(const std::string& format) {
    artNetColorFormat_ = format;
    trackSettingsChangedAndShouldReprocess(true);
}

void MarvoTimelineColorTrack::setShouldSendAlpha(bool sends) {
    shouldSendAlpha_ = sends;
    trackSettingsChangedAndShouldReprocess(true);
}

void MarvoTimelineColorTrack::setSubAddresses(const std::array<std::string, 4>& addresses) {
    subAddresses_ = addresses;
    trackSettingsChangedAndShouldReprocess(true);
}

void MarvoTimelineColorTrack::setOSCColorPreferences(const OSCPreferences& preferences, bool sendsAlpha,
                                                     const std::array<std::string, 4>& addresses) {
    shouldSendAlpha_ = sendsAlpha;
    subAddresses_ = addresses;
    setOSCPreferences(preferences);
}

// So wide, the last letters lie behind the end of the universe wherever the first one is.
std::string_view MarvoTimelineColorTrack::effectiveColorFormat() const {
    return std::string_view(artNetColorFormat_).substr(0, lastDMXChannel);
}

std::vector<int> MarvoTimelineColorTrack::dmxChannelsInUse() const {
    std::vector<int> inUse;
    const std::int32_t width = channelsOfColorFormat(effectiveColorFormat(), is16BitArtNet());
    for (const DMXChannelEntry& entry : channels().entries()) {
        // Lamps reach far behind the universe when their format is long.
        const int end = std::min(entry.start + entry.count * width, lastDMXChannel + 1);
        for (int channel = entry.start; channel < end; ++channel) inUse.push_back(channel);
    }
    return inUse;
}

void MarvoTimelineColorTrack::collectDMXAddresses() {
    const std::int32_t width = channelsOfColorFormat(effectiveColorFormat(), is16BitArtNet());
    for (const DMXChannelEntry& entry : channels().entries()) {
        services().notifications.post(
            services().names.collectDMXAddressesReply,
            DMXAddresses{static_cast<std::int32_t>(artNetUniverse()), entry.start, entry.count * width});
    }
}

bool MarvoTimelineColorTrack::allows16BitArtNet() const {
    return channels().entries().front().start <= 511 - channelsOfColorFormat(effectiveColorFormat(), true);
}

} // namespace marvo
