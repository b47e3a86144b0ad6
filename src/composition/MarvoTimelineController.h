// The composition: one timeline with its frame rate, length, tempo, playhead, working area, tracks and cues.
//
// This class holds the parts together and answers what tracks, cues and the marker ask of their composition.
// What each part does is told in its own header: CompositionTransport (time), CompositionTracks (the list of
// lanes), CompositionControls (buttons and their addresses), CompositionFeedback (what is reported),
// CompositionRecord (what is saved), CompositionSettings (length and rate).
//
// Threads: construction, records, names and settings belong to the main thread; the transport to any thread.
#pragma once

#include "composition/CompositionControls.h"
#include "composition/CompositionFeedback.h"
#include "composition/CompositionServices.h"
#include "composition/CompositionSettings.h"
#include "composition/CompositionState.h"
#include "composition/CompositionSurface.h"
#include "composition/CompositionSync.h"
#include "composition/CompositionTracks.h"
#include "composition/CompositionTransport.h"
#include "composition/CueComposition.h"
#include "composition/CueControls.h"
#include "composition/CueEdits.h"
#include "composition/CueGroupEdits.h"
#include "composition/KeyframeEdits.h"
#include "composition/KeyframeMoves.h"
#include "composition/KeyframeSelection.h"
#include "composition/KeyframeStretch.h"
#include "composition/MarkerComposition.h"
#include "composition/MarvoCueController.h"
#include "composition/MarvoTimelineMarkerController.h"
#include "composition/PlayheadCommands.h"
#include "composition/RecordingTarget.h"
#include "composition/TrackEdits.h"
#include "endpoints/osc/OSCOutPort.h"
#include "platform/NotificationCenter.h"
#include "tracks/TrackComposition.h"

#include <functional>
#include <memory>
#include <string>

namespace marvo {

class MarvoTimelineController final : public TrackComposition,
                                      public MarkerComposition,
                                      public CueComposition,
                                      public ControlComposition {
public:
    // identifier is unique for the process: it names the tick notification of this composition.
    MarvoTimelineController(CompositionServices& services, const CompositionDefaults& defaults,
                            std::string identifier);
    ~MarvoTimelineController() override;

    CompositionState state;
    CompositionSync sync;
    MarvoTimelineMarkerController markerController;
    MarvoCueController cueController;
    CompositionTracks tracks;
    CompositionTransport transport;
    CompositionFeedback feedback;
    CompositionControls controls;
    CueControls cueControls;
    CompositionSettingsChanges settings;
    // The undoable edits. Those of single cues want the composition queue held, all others do not.
    CueEdits cueEdits;
    CueGroupEdits cueGroupEdits;
    KeyframeEdits keyframeEdits;
    KeyframeMoves keyframeMoves;
    KeyframeStretch keyframeStretch;
    KeyframeSelection keyframeSelection;
    TrackEdits trackEdits;

    // Loop and record are the states of their buttons.
    bool loops() const { return controls.loopButton.state(); }
    bool records() const { return controls.recButton.state(); }

    const std::string& identifier() const { return identifier_; }
    Notification<Frame> processTracksNotification() const { return processTracks_; }
    void setCompName(std::string name);
    // Rebuilds the OSC path and every address that hangs on it. After a rename, a load and a reorder.
    void setOSCAddresses();
    bool isCurrentComposition() const;
    void changeCompState();
    void changeCompState(bool enabled);
    // The tempo field: its text is what is saved, its number is the tempo.
    void changeCompSpeed();

    // A click on the record button, on the main thread. Any thread; returns at once.
    void toggleRec();
    // Takes what comes in while this composition records; null takes nothing. With the composition queue
    // held.
    RecordingTarget* recordingTarget = nullptr;
    // Shows this composition, where a window does; null otherwise. It attaches and detaches itself. Main
    // thread.
    CompositionSurface* surface = nullptr;
    // Where it was shown last. Main thread.
    SurfacePlace surfacePlace;

    std::string lastOSCTrackAddress = "/example";
    std::string lastOSCFlagAddress = "/example";
    // Keys of the record that no part of this version reads.
    PropertyList keptRecord;
    // Likewise of the cue controller's record.
    PropertyList keptCueRecord;

    // Who sends, for a message of the composition as a whole. Realtime-safe.
    SendOrigin origin(Frame frame) const;
    // The play button follows at once; what hangs on it (feedback, drawing) follows on the main thread.
    void showPlaystate();
    void refreshComposition();
    // Tell the surface; nothing without one.
    void updateCompositionWidth();
    void updateTrackPositionsWithAnimation(bool animated);
    void playheadMovedDuringPlayback();
    void playheadJumped();
    // Edits that begin in a view are refused then. Main thread.
    bool isProjectLocked() const { return services_.application.isProjectLocked(); }
    // Wraps a main-thread job so that it does nothing once the composition is gone.
    std::function<void()> whileAlive(std::function<void()> job) const;

    void removeResources();

    // TrackComposition, MarkerComposition, CueComposition
    std::int64_t compFPS() const override { return state.compFPS; }
    float compTime() const override { return state.compTime; }
    Frame currentTime() const override { return state.currentTime; }
    Frame inTime() const override { return markerController.inTime(); }
    Frame outTime() const override { return markerController.outTime(); }
    bool compState() const override { return state.compState; }
    bool isRunning() const override { return state.isRunning; }
    bool jumpedToCue() const override { return cueController.jumpedToCue(); }
    const std::string& compName() const override { return compName_; }
    const std::string& oscNamespace() const override { return oscNamespace_; }
    std::int64_t compositionIndex() const override;
    bool isAvailableTrackName(std::string_view name, bool ignoreCurrent,
                              const MarvoTimelineTrackProtocol* current) const override;
    void registerUndoOfAddedKeyframe(std::uint64_t uID, std::int64_t trackPosition) override;
    void registerUndoOfRemovedKeyframe(PropertyList keyframe, std::int64_t trackPosition) override;
    void registerUndoOfMovedKeyframes(FrameCount delta, std::int64_t trackPosition) override;
    void registerUndoOfTrackChange(const std::string& actionName, std::int64_t trackPosition,
                                   std::function<void(MarvoTimelineTrackProtocol&)> inverse) override;
    void undoRenameOnTrack(std::int64_t trackPosition, const std::string& name) override;
    void projectChanged() override;
    void beep() override;
    void markerDraggedToTime(Frame target) override { transport.markerDraggedToTime(target); }
    void stopByCue() override { transport.stopByCue(); }
    void processOSCFeedbackByCue(const MarvoCue& cue) override { feedback.processOSCFeedbackByCue(cue); }
    void updateMarkerDuringPlaybackIfNeeded() override { transport.updateMarkerDuringPlaybackIfNeeded(); }
    void markerDraggedToTimeByCue(Frame target) override { transport.markerDraggedToTimeByCue(target); }
    void sendMMCRewind() override;
    void updateCompositionPosition() override { state.shouldUpdateProgress = true; }
    void redrawMarker() override;
    void registerUndo(const std::string& actionName, std::function<void()> inverse) override;
    void togglePlay() override { transport.togglePlay(); }
    void redrawCues() override { cuesSignal_.post(); }
    bool isSelectedComposition() const override { return isCurrentComposition(); }

private:
    CompositionServices& services_;
    std::string identifier_;
    std::string compName_;
    std::string oscNamespace_;
    Notification<Frame> processTracks_;
    PlayheadCommands commands_;
    MainThread::Signal playstateSignal_;
    MainThread::Signal cuesSignal_;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

} // namespace marvo
