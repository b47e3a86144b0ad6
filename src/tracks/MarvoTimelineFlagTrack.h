// A lane of one-shot OSC messages. A flag fires once each time the playhead passes it.
//
// Threads are those of MarvoTimelineTrack.
#pragma once

#include "tracks/FlagMessages.h"
#include "tracks/MarvoTimelineTrack.h"

#include <cstdint>
#include <string>
#include <vector>

namespace marvo {

class MarvoTimelineFlagTrack final : public MarvoTimelineTrack {
public:
    MarvoTimelineFlagTrack(std::string trackType, TrackComposition& composition, TrackServices& services);

    using MarvoTimelineTrack::processAtTime;
    // Without processing there is nothing to send: a flag has no value.
    void processAtTime(Frame frame, bool processing) override;
    // The flags in order of time; one item that stands for nothing when there are none. Main thread.
    std::vector<ShotChoice> shotChoices() const override;
    // The choice is the uID of a keyframe.
    void shotWithChoice(std::int64_t choice) override;
    void shotWithValue(float) override {}
    // Sends the message of a keyframe and leaves it as it is in this run.
    void shotOnKeyframe(std::uint64_t uID);

    void compositionStarted() override;
    void compositionStopped() override;
    void compositionSettingsChanged() override;
    void removeResources() override;

    // What is written beside a flag: its message with names, frame, seconds and running number filled in.
    // Main thread.
    std::string flagDisplayAddress(const MarvoTimelineKeyframe& keyframe) const;
    // Of the keyframe whose fields the header shows; null when there is none. Main thread, until the next
    // edit.
    const std::string* activeFlagAddress() const;

    // For all selected keyframes, when one is active; a text without a "/" gets one in front. Undoable.
    void setFlagAddress(const std::string& text);
    // As it stands, for those of the keyframes that are there. Undoable in one step.
    void setFlagAddressOfKeyframes(const std::vector<std::uint64_t>& uIDs, const std::string& address);

protected:
    Output makeOutput() const override;
    void publishOutput() override;
    void prepareNewKeyframe(MarvoTimelineKeyframe& keyframe) const override;
    void giveValueAtTime(MarvoTimelineKeyframe& keyframe, Frame time) const override;
    void restoreContent(MarvoTimelineKeyframe& keyframe, const PropertyList& record,
                        LoadReport* report) const override;

private:
    // Places in the plan, the second one excluded.
    struct Flags {
        std::size_t first = 0;
        std::size_t end = 0;
        bool empty() const { return first == end; }
    };
    struct AddressOfKeyframe {
        std::uint64_t uID;
        std::string address;
    };

    static Flags flagsFrom(const KeyframePlan& plan, std::size_t first);
    Flags nextFlags(const KeyframePlan& plan, Flags here) const;
    Flags passedFlags(const KeyframePlan& plan, Flags here) const;
    bool mayFire() const;
    OSCMessage messageOf(const MarvoTimelineKeyframe& keyframe) const;
    // Each keyframe that is there takes its address; undoing gives the ones before back.
    void exchangeAddresses(std::vector<AddressOfKeyframe> addresses);

    // Guarded by the composition queue.
    bool needsProcessNextKeyframe_ = false;

    Observation settingsObservation_;
};

} // namespace marvo
