// A track that points at another composition of the project and stands for it as a block on the timeline.
//
// It marks a place and nothing else: it sends nothing, and the composition that it points at is never
// started, stopped or moved by it. Two compositions may therefore point at each other without harm. The
// source is a choice of the session; neither it nor the start of the block is saved.
//
// Main thread, except processAtTime and the composition... events, which do nothing and are realtime-safe.
#pragma once

#include "composition/CompositionServices.h"
#include "controls/MarvoButton.h"
#include "tracks/MarvoTimelineTrackProtocol.h"
#include "tracks/TrackComposition.h"

#include <cstdint>
#include <string>
#include <vector>

namespace marvo {

class MarvoTimelineCompositionTrack final : public MarvoTimelineTrackProtocol {
public:
    // An entry of the pop-up of sources. One that is not enabled cannot be chosen by hand.
    struct Source {
        std::string title;
        bool isEnabled = true;
        bool operator==(const Source&) const = default;
    };

    MarvoTimelineCompositionTrack(std::string trackType, TrackComposition& composition,
                                  CompositionServices& services);

    const std::string& trackType() const override { return trackType_; }
    const std::string& name() const override { return name_; }
    void setName(std::string name) override { name_ = std::move(name); }
    // False leaves the old name: the new one is empty or taken.
    bool renameTrack(const std::string& name);
    std::int64_t trackPosition() const override { return trackPosition_; }
    void setTrackPosition(std::int64_t position) override { trackPosition_ = position; }
    bool isEnabled() const override { return enabledButton.state(); }
    void setEnabled(bool enabled) override {
        enabledButton.setState(enabled);
        composition_.projectChanged();
    }
    void handleMute() override {}
    bool isSelected() const override { return isSelected_; }
    void setSelected(bool selected) override { isSelected_ = selected; }
    bool isLocked() const { return isLocked_; }
    // Also takes the selection back. Runs on the main thread; others wait.
    void lockTrack(bool locks);
    void unlockTrack() { lockTrack(false); }
    const std::string& oscNamespace() const { return oscNamespace_; }
    float trackMinValue() const { return trackMinValue_; }
    float trackMaxValue() const { return trackMaxValue_; }

    // Fills the pop-up with the names of the project's compositions, sorted, the track's own among them but
    // not enabled. As in any pop-up, the first entry shows where the one shown before is no longer there.
    void buildCompositionsList();
    const std::vector<Source>& compositionSources() const { return sources_; }
    // Nothing for a title that is not there or not enabled.
    void selectCompositionSource(const std::string& title);
    // The entry that shows; empty without entries.
    const std::string& compositionSource() const { return source_; }
    // Whether the entry that shows is a composition that the track can stand for.
    bool hasComposition() const;

    // Frame where the block starts.
    std::int64_t startPosition() const { return startPosition_; }
    void setStartPosition(std::int64_t frame) { startPosition_ = frame; }
    // That frame as minutes, seconds and frames, "02:05:07".
    std::string displayCompStartTime() const;

    void processAtTime(Frame) override {}
    void compositionStarted() override {}
    void compositionStopped() override {}
    void compositionJumped() override {}
    void compositionLooped() override {}
    void compositionLoopedByCue() override {}

    // There are no keyframes.
    std::size_t keyframeCount() const override { return 0; }
    void refreshKeyFramesWithRatio(float) override {}
    void compositionSettingsChanged() override {}
    std::vector<PropertyList> trimKeyframesAfter(float) override { return {}; }
    std::uint64_t addNewKeyFrameWithData(const PropertyList&) override { return 0; }
    bool removeKeyFrameWithUID(std::uint64_t) override { return false; }

    void trackSettingsChangedAndShouldReprocess(bool) override { buildCompositionsList(); }
    void setOscAddresses() override;
    void oscOutputsChanged(const std::string*, const std::string*) override {}

    PropertyList backupDataForUndo(bool forUndo) const override;
    // The position is read whatever is asked for.
    void restoreWithData(const PropertyList& record, bool shouldRestoreTrackPosition,
                         LoadReport* report) override;
    void removeResources() override { enabledButton.removeResources(); }

    MarvoButton enabledButton;

private:
    const std::string trackType_;
    TrackComposition& composition_;
    CompositionServices& services_;
    std::string name_;
    std::string oscNamespace_;
    std::int64_t trackPosition_ = 0;
    std::int64_t startPosition_ = 0;
    float trackMinValue_ = 0.0f;
    float trackMaxValue_ = 1.0f;
    bool isSelected_ = false;
    bool isLocked_ = false;
    std::vector<Source> sources_;
    std::string source_;
    PropertyList keptRecord_;
};

} // namespace marvo
