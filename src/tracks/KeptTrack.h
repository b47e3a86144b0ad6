// A track of a type that this program has no class for: it holds its place in the list and its record, and
// sends nothing.
//
// Name, position and enable state are live; everything else comes back as it was read. Main thread, except
// the tick's calls, which do nothing.
#pragma once

#include "controls/MarvoButton.h"
#include "tracks/MarvoTimelineTrackProtocol.h"
#include "tracks/TrackComposition.h"
#include "tracks/TrackServices.h"

#include <optional>
#include <string>
#include <vector>

namespace marvo {

class KeptTrack final : public MarvoTimelineTrackProtocol {
public:
    KeptTrack(std::string trackType, TrackComposition& composition, TrackServices& services);

    const std::string& trackType() const override { return trackType_; }
    const std::string& name() const override { return name_; }
    void setName(std::string name) override { name_ = std::move(name); }
    std::int64_t trackPosition() const override { return trackPosition_; }
    void setTrackPosition(std::int64_t position) override { trackPosition_ = position; }
    bool isEnabled() const override { return enabledButton_.state(); }
    void setEnabled(bool enabled) override { enabledButton_.setState(enabled); }
    void handleMute() override {}
    bool isSelected() const override { return isSelected_; }
    void setSelected(bool selected) override { isSelected_ = selected; }
    std::size_t keyframeCount() const override;

    void processAtTime(Frame) override {}
    void compositionStarted() override {}
    void compositionStopped() override {}
    void compositionJumped() override {}
    void compositionLooped() override {}
    void compositionLoopedByCue() override {}

    // The times inside the record follow a change of the frame rate; a record that comes back at another rate
    // would play at other moments.
    void refreshKeyFramesWithRatio(float ratio) override;
    void compositionSettingsChanged() override {}
    std::vector<PropertyList> trimKeyframesAfter(float limit) override;
    std::uint64_t addNewKeyFrameWithData(const PropertyList& record) override;
    bool removeKeyFrameWithUID(std::uint64_t) override { return false; }

    void trackSettingsChangedAndShouldReprocess(bool) override {}
    void setOscAddresses() override {}
    void oscOutputsChanged(const std::string*, const std::string*) override {}

    PropertyList backupDataForUndo(bool forUndo) const override;
    void restoreWithData(const PropertyList& record, bool shouldRestoreTrackPosition,
                         LoadReport* report) override;
    void removeResources() override { enabledButton_.removeResources(); }

private:
    const std::string trackType_;
    TrackComposition& composition_;
    MarvoButton enabledButton_;
    std::string name_;
    std::int64_t trackPosition_ = 0;
    bool isSelected_ = false;
    PropertyList record_ = PropertyList::dictionary();
};

} // namespace marvo
