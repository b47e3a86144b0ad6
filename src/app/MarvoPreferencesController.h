// The machine-wide settings: each key's default, one change-operation per key, and what follows a change.
//
// Owned by the application; main thread, except playback(), whose words any thread may read. Invariants:
// after loadDefaults every word of PlaybackPreferences is what the store gives for its key; an override of
// the command line goes before the stored value and is never written to the disk. Nothing is written before
// synchronise.
#pragma once

#include "app/MarvoPreferencesObserver.h"
#include "app/PreferenceTable.h"
#include "composition/CompositionServices.h"
#include "endpoints/artnet/MarvoArtNetManager.h"
#include "endpoints/osc/MarvoOSCManager.h"
#include "platform/PreferenceStore.h"
#include "tracks/PlaybackPreferences.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace marvo {

class MarvoPreferencesController final : public OSCFeedbackPreference, public ArtNetInterfacePreference {
public:
    // The store outlives the controller.
    explicit MarvoPreferencesController(PreferenceStore& store) : store_(store) {}

    // Null for nobody. The observer outlives the controller or is taken back.
    void setObserver(MarvoPreferencesObserver* observer) { observer_ = observer; }

    // In the order of the table: writes the default of each key that is absent, ends the modes of the last
    // run, takes keys of older versions over, and writes to the disk. An error text, empty when the disk has
    // it all.
    std::string loadDefaults();
    // Learn mode and address display never outlive a run.
    std::string forgetModesOfTheLastRun();
    // An error text, empty when the disk has it all.
    std::string synchronise() { return store_.synchronise(); }

    // Thread-safe and realtime-safe to read; valid as long as the controller.
    const PlaybackPreferences& playback() const { return playback_; }
    // Thread-safe. Not stored: 1 at the start of every project.
    void setHueRotateForColors(float factor) { playback_.hueRotateForColors = factor; }

    // What a key says; an absent one is false, 0 or empty.
    bool flag(std::string_view key) const;
    std::int64_t number(std::string_view key) const;
    std::string text(std::string_view key) const;

    // Stores the value and does what a change of that key asks for. False, and nothing done, for a key that
    // is not in the table or a value that is not of its type.
    bool change(std::string_view key, const PropertyList& value);
    // The same from text; an error text, empty when it was taken.
    std::string setFromText(std::string_view key, std::string_view text);

    void changeMidiLearn(bool on) { change("midiLearn", std::int64_t{on}); }
    void changeNeedsShowOSC(bool on) { change("needsShowOSC", std::int64_t{on}); }
    // The title as it is, whether or not a curve has that label.
    void changeDefaultInterpolation(std::string_view title) { change("defaultInterpolation", title); }
    void changeProcessCompositions(bool on) { change("processCompositions", on); }
    void changeProcessKeyframes(bool on) { change("processKeyframes", on); }
    // Also selects the update feed; see updateFeedQuery.
    void changeEnableBetaUpdates(bool on) { change("enableBetaUpdates", on); }
    void changeCheckForUpdates(bool on) { change("checkForUpdates", on); }
    void changeReprocessOnUnmute(bool on) { change("reprocessOnUnmute", on); }
    void changeIgnorePlayButtonsOnLoading(bool on) { change("ignorePlayButtonsOnLoading", on); }
    void changeZoomToPlayhead(bool on) { change("zoomToPlayhead", on); }
    void changeRecStopsAtEnd(bool on) { change("recStopsAtEnd", on); }
    void changeRewindOnStop(bool on) { change("rewindOnStop", on); }
    void changeOptimalisedSending(bool on) { change("optimalisedSending", on); }
    void changeBlackoutOnMute(bool on) { change("blackoutOnMute", on); }
    void changeBlackoutWhenSolo(bool on) { change("blackoutWhenSolo", on); }
    // Also sets the session's state and redraws.
    void changeDisplayValueFlow(bool on) { change("displayValueFlow", on); }
    // Also redraws and tells of changed settings.
    void changeProcessFirstKeyframeButton(bool on) { change("processFirstKeyframe", on); }
    void changeProcessLastKeyframeOnUnpause(bool on) { change("processLastKeyframeOnUnpause", on); }
    void changeProcessLastKeyframeOnJump(bool on) { change("processLastKeyframeOnJump", on); }
    void changeNormalisedRecording(bool on) { change("normalisedRecording", on); }
    void changeDisableConfirmOnQuit(bool on) { change("disableConfirmOnQuit", on); }
    void changeQueueFromCurrentComposition(bool on) { change("queueFromCurrentComposition", on); }
    void changeListenToMMC(bool on) { change("listenToMMC", on); }
    // Inverts the key.
    void changeFollowPlayhead();
    // Inverts the session's state and redraws; the key stays.
    void changeDisplayValueFlowCurrentProject();
    // Inverts the state, which is the project's and not a key.
    void changeDisplayTrackOutputs() { setDisplayTrackOutputs(!shouldDisplayOutValue()); }
    // The four settings of a new composition. A length of no minutes and no seconds becomes ten seconds.
    void compDefaultsChanged(std::int64_t minutes, std::int64_t seconds, std::int64_t fps, bool loop);

    // What a new composition starts with. A length or a rate that nothing could play is replaced by the
    // program's own.
    CompositionDefaults compositionDefaults() const;
    // The curve of a new keyframe: the stored title as it is. One that no curve has makes the segment a
    // stepped one.
    std::string defaultInterpolation() const;
    // The entry of the pop-up: the stored title if it is in there, "Linear Interpolation" otherwise.
    std::string selectedInterpolation() const;
    bool ignorePlayButtonsOnLoading() const { return flag("ignorePlayButtonsOnLoading"); }
    bool disableConfirmOnQuit() const { return flag("disableConfirmOnQuit"); }
    // What follows the address of the update feed: nothing, or "?beta=1".
    std::string_view updateFeedQuery() const { return flag("enableBetaUpdates") ? "?beta=1" : ""; }
    bool displayValueFlow() const { return displayValueFlow_; }
    bool shouldDisplayOutValue() const { return playback_.displayTrackOutputs; }
    void setDisplayTrackOutputs(bool on) { playback_.displayTrackOutputs = on; }

    std::string lastArtNetNetworkInterface() const override { return text("lastArtNetNetworkInterface"); }
    void setLastArtNetNetworkInterface(const std::string& title) override {
        change("lastArtNetNetworkInterface", title);
    }
    std::string oscFeedbackTarget() const override;
    void setOSCFeedbackTarget(const std::string& title) override;

private:
    void loadDefault(const PreferenceKey& key);
    void takeOverOlderKeys();
    void refreshPlayback();
    bool isStored(std::string_view key) const { return store_.all().find(key) != nullptr; }

    PreferenceStore& store_;
    PlaybackPreferences playback_;
    MarvoPreferencesObserver* observer_ = nullptr;
    bool displayValueFlow_ = false;
};

} // namespace marvo
