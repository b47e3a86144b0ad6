// One lane of a composition: keyframes, and the settings that say where the lane's value goes.
//
// Split behind this name: TrackKeyframes holds and edits the keyframes and hands them to the tick; a
// TrackOutput turns a value into what is sent; TrackRecord reads and writes the saved form; this class holds
// the settings and runs the tick. Tracks of colours and of flags are classes of their own on top of it.
//
// Threads: processAtTime, the composition... events and bangs run with the composition queue held, on any
// thread; settings, names, records and edits belong to the main thread. A change of settings is made ready
// outside the queue and swapped in whole. A note that the track has started ends with whatever ends the
// track's playing.
#pragma once

#include "controls/MarvoButton.h"
#include "platform/NotificationCenter.h"
#include "platform/Relaxed.h"
#include "tracks/ColorOutput.h"
#include "tracks/DMXChannelList.h"
#include "tracks/MIDINoteOutput.h"
#include "tracks/MarvoTimelineTrackProtocol.h"
#include "tracks/TrackComposition.h"
#include "tracks/TrackKeyframes.h"
#include "tracks/TrackOutput.h"
#include "tracks/TrackServices.h"
#include "tracks/TrackSettings.h"
#include "tracks/ValueEvaluation.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace marvo {

class FlagOutput;
class MIDIValueOutput;

// An item of the menu that a bang may open.
struct ShotChoice {
    std::string title;
    std::int64_t choice = 0; // for shotWithChoice
    bool operator==(const ShotChoice&) const = default;
};

class MarvoTimelineTrack : public MarvoTimelineTrackProtocol {
public:
    MarvoTimelineTrack(std::string trackType, TrackComposition& composition, TrackServices& services);
    ~MarvoTimelineTrack() override;

    TrackKind kind() const { return kind_; }
    const std::string& trackType() const override { return trackType_; }
    const std::string& name() const override { return name_; }
    void setName(std::string name) override;
    std::int64_t trackPosition() const override { return trackPosition_; }
    void setTrackPosition(std::int64_t position) override { trackPosition_ = position; }
    bool isEnabled() const override { return isEnabled_; }
    void setEnabled(bool enabled) override;
    void handleMute() override;
    bool isSelected() const override { return isSelected_; }
    void setSelected(bool selected) override { isSelected_ = selected; }
    bool isLocked() const { return isLocked_; }
    // Also takes the selection of the track and of its keyframes back. Runs on the main thread; others wait.
    void lockTrack(bool locks);
    void unlockTrack() { lockTrack(false); }

    // What the factory sets by type. nextMidiCC is an index into the list of controllers, nextChannel DMX
    // channel text.
    void applyCreationDefaults(const std::string& oscAddress, std::int64_t nextMidiCC,
                               const std::string& nextChannel);

    // The tick: computes the value of the frame and sends it. Realtime-safe.
    void processAtTime(Frame frame) override { processAtTime(frame, true); }
    // Only for kinds that do nothing on a frame but send their value: notes end, colours and flags are
    // computed otherwise.
    ValueLane* lane(std::atomic<bool>* news) override;
    // processing false sends the value as it stands, without computing one.
    virtual void processAtTime(Frame frame, bool processing);
    // Of a colour track, when what lies behind its values has changed. Nothing on others.
    virtual void reprocessArtNetAtCurrentTime() {}
    // A jump to where the playhead stands, then its frame: re-sends the state of the track.
    void reprocessAtCurrentTime();
    // Bangs: test values, by hand, so that a receiver can learn the track. Also while the track is muted; any
    // thread, except what speaks of keyframes.
    // Of a controller 64, of OSC the multiplier whatever the type. A track that has to be asked for more does
    // nothing here and has choices instead.
    void shot();
    virtual std::vector<ShotChoice> shotChoices() const;
    virtual void shotWithChoice(std::int64_t choice);
    // Number as text. On and off with velocities 64 and 0, in one go.
    void shotOnNote(std::string_view note);
    // In stored scale. Nothing on tracks of colours and of flags.
    virtual void shotWithValue(float value);
    // As the assign helper asks: number as text of a controller, or of a note where there are no controllers.
    void autoShotOnCC(std::string_view number);
    void autoShotBySender(std::optional<std::int64_t> tag);

    void compositionStarted() override;
    void compositionStopped() override;
    void compositionJumped() override;
    void compositionLooped() override;
    void compositionLoopedByCue() override;

    TrackKeyframes& keyframes() { return keyframes_; }
    const TrackKeyframes& keyframes() const { return keyframes_; }
    std::size_t keyframeCount() const override { return keyframes_.count(); }
    // Adds at a frame as a click would: value from the neighbours, selected, with undo. Returns the uID.
    std::uint64_t addNewKeyFrameAtTime(Frame time);
    std::uint64_t addNewKeyFrameWithData(const PropertyList& record) override;
    // Paste. Null when the time falls outside the composition.
    std::optional<std::uint64_t> addNewKeyFrameWithDataByCopy(const PropertyList& record, FrameCount padding);
    bool removeKeyFrameWithUID(std::uint64_t uID) override;
    void removeKeyFrameAtTime(Frame time, bool withUndo);
    // Batches with one publication, without undo. The records that were removed bring them back.
    std::vector<std::uint64_t> addNewKeyFramesWithData(const std::vector<PropertyList>& records);
    std::vector<PropertyList> removeKeyFramesWithUIDs(const std::vector<std::uint64_t>& uIDs);
    // Moves all keyframes by the delta; undoable.
    void moveAllKeyFrames(FrameCount delta);
    void refreshKeyFramesWithRatio(float ratio) override;
    void compositionSettingsChanged() override;
    std::vector<PropertyList> trimKeyframesAfter(float limit) override;

    const TrackSettings& settings() const { return settings_; }
    void trackSettingsChangedAndShouldReprocess(bool reprocess) override;
    void setOscAddresses() override;
    void oscOutputsChanged(const std::string* oldLabel, const std::string* newLabel) override;
    void setOscAddress(std::string address);
    const std::string& oscAddress() const { return oscAddress_; }
    void selectOSCOutput(const std::string& label);
    // Titles of the pop-ups: our own ports, then the machine's; the names of the nodes.
    std::vector<std::string> midiOutputTitles() const;
    void selectMIDIOutput(const std::string& title);
    void setMidiChannel(const std::string& title);
    void selectArtNetOutput(const std::string& title);
    // The outputs that there are to choose from have changed.
    void midiOutputsChanged();
    void artNetOutputsChanged();
    void setTrackOSCType(std::int64_t type);
    void setSendsNormalisedValue(bool normalised);
    void setUsing5FractionDigits(bool five);
    void setRange(float minimum, float maximum);
    OSCPreferences oscPreferences() const;
    // All of them take effect together. values: of keyframes that do not keep their height.
    void setOSCPreferences(const OSCPreferences& preferences, std::vector<KeyframePlace> values = {});
    void setMidiCC(const std::string& number);
    void setMidiNotes(const std::string& from, const std::string& to);
    void setArtNetChannel(const std::string& text);
    void midiRangeChanged();
    void toggle14BitMidi();
    void toggle16BitArtNet();
    // False leaves the old name: the new one is empty or taken.
    bool renameTrack(const std::string& name);
    const std::string& oscNamespace() const { return oscNamespace_; }
    std::string stringValueOfDMXChannels() const { return channels_.stringValueOfDMXChannels(); }
    virtual std::vector<int> dmxChannelsInUse() const;
    std::int64_t midiCCNumber() const;
    // First channel of an Art-Net track, 0 for every other kind.
    std::int64_t artNetChannel() const { return isArtNet(kind_) ? channels_.entries().front().start : 0; }
    // Of the node that the track writes to; 0 for every other kind.
    std::int64_t artNetUniverse() const { return artNetUniverse_; }
    bool is14BitMIDI() const { return midiCC14bitButton.state(); }
    bool is16BitArtNet() const { return artNet16bitButton.state(); }
    bool allows14BitMIDI() const { return midiCCNumber() < 32; }
    virtual bool allows16BitArtNet() const;
    bool isGroupedOSCMessage() const { return oscAddress_.find('#') != std::string::npos; }
    float oscFloatMultiplerByDigits() const { return isUsing5FractionDigits_ ? 100000.0f : 100.0f; }
    float trackMinValue() const { return trackMinValue_; }
    float trackMaxValue() const { return trackMaxValue_; }
    std::int64_t trackOSCType() const { return trackOSCType_; }

    MarvoButton enabledButton;
    MarvoButton midiCC14bitButton;
    MarvoButton artNet16bitButton;

    PropertyList backupDataForUndo(bool forUndo) const override;
    void restoreWithData(const PropertyList& record, bool shouldRestoreTrackPosition,
                         LoadReport* report) override;
    void removeResources() override;

    // The value sent last, in stored scale, and infinity before the first; for displays. Thread-safe.
    float shownValue() const { return shownValue_; }
    // Whether displays should show it. Thread-safe.
    bool shouldDisplayOutValue() const { return services_.preferences.displayTrackOutputs; }

protected:
    // Made outside the composition queue, swapped in whole inside it. One of the pointers shows what it is.
    struct Output {
        std::unique_ptr<TrackOutput> owner;
        ValueOutput* values = nullptr;
        MIDIValueOutput* controllers = nullptr; // the same object as values
        MIDINoteOutput* notes = nullptr;
        ColorOutput* colors = nullptr;
        FlagOutput* flags = nullptr;
        ValueKind kind = ValueKind::other;
    };

    template <class Made, class Face>
    static void setOutput(Output& output, std::unique_ptr<Made> made, Face*& face) {
        face = made.get();
        output.owner = std::move(made);
    }

    // What a class on top gives its keyframes, its output and its record. Main thread.
    virtual Output makeOutput() const;
    // With the composition queue held.
    virtual void outputSwapped() {}
    virtual void prepareNewKeyframe(MarvoTimelineKeyframe& keyframe) const;
    virtual void giveValueAtTime(MarvoTimelineKeyframe& keyframe, Frame time) const;
    // Everything but time and identity.
    virtual void restoreContent(MarvoTimelineKeyframe& keyframe, const PropertyList& record,
                                LoadReport* report) const;
    virtual PropertyList specialSettings() const { return {}; }
    virtual void restoreSpecialSettings(const PropertyList&) {}
    // Tells which DMX channels the track takes.
    virtual void collectDMXAddresses();
    // Sends nothing but zeros. With the composition queue held.
    virtual void blackOut();

    // True when this tick is for this track: it is on, and no recording fills it.
    bool takesTick(bool processing) const {
        return !recordedSession_ && (!processing || (isEnabled_ && composition_.compState()));
    }
    // Notes the frame. True when the tick does not follow on the last one.
    bool skipsTo(Frame frame);
    const KeyframePlan& currentPlan();
    ValueRules rules() const;
    virtual void publishOutput();
    void repair(LoadReport* report, const std::string& text) const;

    TrackComposition& composition() const { return composition_; }
    TrackServices& services() const { return services_; }
    const DMXChannelList& channels() const { return channels_; }

    ValueLanePool::Lease lane_;
    // For changes outside the composition queue.
    TrackNews news_{lane_->news};

    // Guarded by the composition queue.
    TrackKeyframes keyframes_;
    ValueRun& run_ = lane_->run;
    Output output_;

private:
    bool playKeyframesAt(const KeyframePlan& plan, Frame frame);
    void logShot(const char* what, std::int32_t number) const;
    void endNotes();
    // No tick follows on the one that is asked for while the composition stands, so a note that it starts is
    // ended at once.
    void endNotesOfAStandingPlayhead();
    // New bounds of the range: keyframes keep their height, and both take effect on one tick.
    void rangeChanged(float minimum, float maximum, std::vector<KeyframePlace> values = {});
    void putArtNetChannelBack(const std::string& text, bool was16Bit,
                              const std::vector<KeyframePlace>& values);
    void artNetSettingsChanged();
    void midiSettingsChanged();
    void observe();
    void selectFirstOSCOutput();
    void outputTitlesChanged(const std::vector<std::string>& titles, std::string& selected,
                             std::string& lastSelected);
    void addSettings(PropertyList& record) const;
    void addMissingOutputs(PropertyList& record) const;
    void restoreNotes(const PropertyList& record, LoadReport* report);
    void restoreOSC(const PropertyList& record, LoadReport* report);
    void restoreArtNet(const PropertyList& record);
    void restoreSpecials(const PropertyList* special);
    // Selects a saved output where it is there; otherwise the first one stands in for it and its name is
    // returned.
    std::string restoreOutput(const std::string& wanted, const std::vector<std::string>& titles,
                              std::string& selected, LoadReport* report);
    void restoreKeyframes(const PropertyList& record, LoadReport* report);
    // Adds the keyframe of a record at a time, without publishing. Returns its uID.
    std::uint64_t restoreKeyframeFrom(const PropertyList& record, Frame time, LoadReport* report);
    MarvoTimelineKeyframe newKeyframe(std::string_view curve) const;
    void restoreRange(const PropertyList& record, LoadReport* report);
    void restoreName(const PropertyList& record);
    std::string where() const;
    KeyframeTrackKind keyframeKind() const;
    KeyframeRange keyframeRange() const { return {trackMinValue_, trackMaxValue_}; }
    // With the composition queue held.
    void swapOutput(Output& next);

    const std::string trackType_;
    const TrackKind kind_;
    TrackComposition& composition_;
    TrackServices& services_;

    std::string name_;
    std::string oscNamespace_;
    std::int64_t trackPosition_ = 0;
    TrackSettings settings_;
    DMXChannelList channels_;
    std::int32_t artNetUniverse_ = 0;
    std::string oscAddress_;
    std::int64_t trackOSCType_ = 0;
    float trackMinValue_ = 0.0f;
    float trackMaxValue_ = 127.0f;
    bool sendsNormalisedValue_ = false;
    bool isUsing5FractionDigits_ = false;
    bool isSelected_ = false;
    bool isLocked_ = false;
    std::int64_t cachedMuteState_ = 0;
    PropertyList markedForRecord_;
    PropertyList keptRecord_;
    PropertyList keptSpecial_; // keys of "specialSettings" that nobody reads

    Relaxed<bool> isEnabled_ = true;
    Relaxed<bool> recordedSession_ = false;

    Relaxed<float>& shownValue_ = lane_->shownValue;

    std::vector<Observation> observations_;
};

} // namespace marvo
