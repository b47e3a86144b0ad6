// A lane of colours, sent as OSC or to the channels of lamps.
//
// Between keyframes there is a gradient instead of a curve. Its colours stand in a table with one entry a
// frame, made with every edit and handed to the tick together with the keyframes.
//
// Threads are those of MarvoTimelineTrack.
#pragma once

#include "platform/Colour.h"
#include "tracks/ColorEvaluation.h"
#include "tracks/MarvoTimelineTrack.h"

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace marvo {

class MarvoTimelineColorTrack final : public MarvoTimelineTrack {
public:
    MarvoTimelineColorTrack(std::string trackType, TrackComposition& composition, TrackServices& services);

    using MarvoTimelineTrack::processAtTime;
    void processAtTime(Frame frame, bool processing) override;
    ColorLane* colorLane() override { return &colorLane_; }
    void reprocessArtNetAtCurrentTime() override;
    // Red, green, blue and alpha.
    std::vector<ShotChoice> shotChoices() const override;
    void shotWithChoice(std::int64_t choice) override;
    void shotWithValue(float) override {}
    // Fires white on one component: its message alone where components have messages of their own.
    void shotWithChannel(ColorComponent component);
    void shotWithColorValue(const Colour& color);

    void compositionStarted() override;
    void compositionStopped() override;
    void compositionJumped() override;
    void compositionLooped() override;
    void compositionSettingsChanged() override;

    // One undoable step for all of them.
    void setColorOfKeyframes(const std::vector<std::uint64_t>& uIDs, const Colour& color);
    // Each keeps its other components. value: 0 to 1.
    void setComponentOfKeyframes(const std::vector<std::uint64_t>& uIDs, ColorComponent component,
                                 double value);
    // The colour of a frame, as the lane shows it. Main thread; cheap enough to ask for every pixel.
    Colour colorAtFrame(Frame frame) const;

    // A word of channel letters, as in ColorLevels.h. Of one longer than a universe only its first 512
    // letters count; the text stays.
    const std::string& artNetColorFormat() const { return artNetColorFormat_; }
    void setArtNetColorFormat(const std::string& format);
    bool shouldSendAlpha() const { return shouldSendAlpha_; }
    void setShouldSendAlpha(bool sends);
    // addressR, addressG, addressB, addressA.
    const std::array<std::string, 4>& subAddresses() const { return subAddresses_; }
    void setSubAddresses(const std::array<std::string, 4>& addresses);
    // These and the others of an OSC track together.
    void setOSCColorPreferences(const OSCPreferences& preferences, bool sendsAlpha,
                                const std::array<std::string, 4>& addresses);

    // Those of the universe alone.
    std::vector<int> dmxChannelsInUse() const override;
    bool allows16BitArtNet() const override;

protected:
    Output makeOutput() const override;
    void prepareNewKeyframe(MarvoTimelineKeyframe& keyframe) const override;
    void giveValueAtTime(MarvoTimelineKeyframe& keyframe, Frame time) const override;
    void restoreContent(MarvoTimelineKeyframe& keyframe, const PropertyList& record,
                        LoadReport* report) const override;
    PropertyList specialSettings() const override;
    void restoreSpecialSettings(const PropertyList& record) override;
    void collectDMXAddresses() override;
    void blackOut() override;
    void outputSwapped() override;

private:
    struct ColorOfKeyframe {
        std::uint64_t uID;
        MarvoTimelineColorKeyframe color;
    };
    // Each keyframe that is there takes its colour; undoing gives the ones before back.
    void exchangeColors(std::vector<ColorOfKeyframe> colors);
    void sendColor(Frame frame);
    // Sends without computing.
    void fire(const Colour& color, std::optional<ColorComponent> only);
    Colour colorOfPastedValue(float ratio) const;
    std::int64_t lengthInFrames() const;
    std::string_view effectiveColorFormat() const;

    std::string artNetColorFormat_ = "RGB";
    bool shouldSendAlpha_ = false;
    std::array<std::string, 4> subAddresses_{"r", "g", "b", "a"};

    // Main thread: of the keyframes as they were published last. Null before the first time.
    std::shared_ptr<const ColorGradient> shownColors_;

    // Guarded by the composition queue.
    ColorLane colorLane_;
    std::optional<ColorComponent> shotChannel_;
};

} // namespace marvo
