#include "composition/MarvoTimelineController.h"

#include "composition/CompositionApplication.h"
#include "composition/CompositionTimeMath.h"
#include "platform/Notifications.h"
#include "platform/Numbers.h"
#include "platform/SerialQueue.h"
#include "platform/Text.h"
#include "platform/UndoStack.h"
#include "tracks/MarvoTimelineTrack.h"

namespace marvo {
namespace {

// "/marvo/" and the name without accents, capitals and blanks; nothing else is cleaned.
std::string oscNamespaceOf(const std::string& compName) {
    const std::string path = "/marvo/" + removeBlanks(lowercase(lossyAscii(compName)));
    return path == "/marvo/current/" ? "/marvo/current1/" : path;
}

} // namespace

MarvoTimelineController::MarvoTimelineController(CompositionServices& services,
                                                 const CompositionDefaults& defaults, std::string identifier)
    : markerController(*this), cueController(*this), tracks(*this, services), transport(*this, services),
      feedback(*this, services), controls(*this, services), cueControls(*this, services),
      settings(*this, services), cueEdits(cueController, *this), cueGroupEdits(*this, services),
      keyframeEdits(*this, services), keyframeMoves(*this, services), keyframeStretch(*this, services),
      keyframeSelection(*this, services), trackEdits(*this, services), services_(services),
      identifier_(std::move(identifier)),
      processTracks_(services.notifications.name<Frame>("processTracksAtTime-" + identifier_)),
      commands_(*this, services),
      playstateSignal_(services.mainThread, [this] { controls.playButton.setState(state.isRunning); }),
      cuesSignal_(services.mainThread, [this] {
          if (surface) surface->redrawCues();
      }) {
    state.compFPS = defaults.compFPS;
    state.compTime = static_cast<float>(defaults.durationMinutes * 60 + defaults.durationSeconds);
    sync.transmitsMTC = true;
    const std::vector<std::string> ports = services.midi.midiOutNodeNames();
    if (!ports.empty()) sync.mtcOutDestination = ports.front();
    controls.compSpeed.setTitle("120");
    markerController.addMarkerAndThrottler();
}

MarvoTimelineController::~MarvoTimelineController() {
    *alive_ = false;
}

void MarvoTimelineController::setCompName(std::string name) {
    services_.compQueue.sync([&] { compName_.swap(name); });
}

void MarvoTimelineController::setOSCAddresses() {
    std::string path = oscNamespaceOf(compName_);
    services_.compQueue.sync([&] {
        oscNamespace_.swap(path);
        feedback.setOSCAddresses(oscNamespace_);
    });
    controls.setOSCAddresses(oscNamespace_);
    commands_.setOSCAddresses(oscNamespace_);
    tracks.setOscAddresses();
    cueControls.setOSCAddresses(oscNamespace_);
}

bool MarvoTimelineController::isCurrentComposition() const {
    return services_.application.selectedComposition() == this;
}

void MarvoTimelineController::changeCompState() {
    const bool enabled = !state.compState;
    state.compState = enabled;
    controls.compStateButton.setState(enabled);
    tracks.handleMute();
    projectChanged();
}

void MarvoTimelineController::changeCompState(bool enabled) {
    state.compState = enabled;
    state.shouldUpdateCompstate = true;
    tracks.handleMute();
    projectChanged();
}

void MarvoTimelineController::changeCompSpeed() {
    const float tempo = static_cast<float>(parseLeadingFloat(controls.compSpeed.title()));
    if (state.compBPM.get() == tempo) return; // a fader sends it many times
    state.compBPM = tempo;
    projectChanged();
}

void MarvoTimelineController::toggleRec() {
    services_.mainThread.async(whileAlive([this] { controls.recButton.performClick(); }));
}

void MarvoTimelineController::refreshComposition() {
    tracks.compositionSettingsChanged();
    if (surface) surface->refreshComposition();
    projectChanged();
}

void MarvoTimelineController::updateCompositionWidth() {
    if (surface) surface->updateCompositionWidth();
}

void MarvoTimelineController::updateTrackPositionsWithAnimation(bool animated) {
    if (surface) surface->updateTrackPositionsWithAnimation(animated);
}

void MarvoTimelineController::playheadMovedDuringPlayback() {
    redrawMarker();
    if (surface) surface->playheadMovedDuringPlayback();
}

void MarvoTimelineController::playheadJumped() {
    redrawMarker();
    if (surface) surface->playheadJumped();
}

SendOrigin MarvoTimelineController::origin(Frame frame) const {
    return SendOrigin{&compName_, nullptr, frame.value, false};
}

void MarvoTimelineController::showPlaystate() {
    controls.playButton.setStateSilently(state.isRunning);
    state.shouldUpdateProgress = true;
    state.shouldUpdatePlaystate = true;
    playstateSignal_.post();
}

std::function<void()> MarvoTimelineController::whileAlive(std::function<void()> job) const {
    return [alive = alive_, job = std::move(job)] {
        if (*alive) job();
    };
}

void MarvoTimelineController::removeResources() {
    state.isRunning = false;
    commands_.removeResources();
    controls.removeResources();
    cueControls.removeResources();
    services_.application.forgetRecording(*this);
    tracks.removeResources();
    services_.undo.removeAllActionsWithTarget(undoTargetOf(this));
}

std::int64_t MarvoTimelineController::compositionIndex() const {
    return services_.application.compositionIndexOfTimelineController(*this);
}

bool MarvoTimelineController::isAvailableTrackName(std::string_view name, bool ignoreCurrent,
                                                   const MarvoTimelineTrackProtocol* current) const {
    return tracks.isAvailableTrackName(name, ignoreCurrent, current);
}

void MarvoTimelineController::registerUndoOfAddedKeyframe(std::uint64_t uID, std::int64_t trackPosition) {
    registerUndo("Add Keyframe",
                 [this, uID, trackPosition] { keyframeEdits.undoRemoveKeyFrameWithUID(uID, trackPosition); });
}

void MarvoTimelineController::registerUndoOfRemovedKeyframe(PropertyList keyframe,
                                                            std::int64_t trackPosition) {
    registerUndo("Remove Keyframe", [this, keyframe = std::move(keyframe), trackPosition] {
        keyframeEdits.addNewKeyFrameOnTrack(trackPosition, keyframe);
    });
}

void MarvoTimelineController::registerUndoOfMovedKeyframes(FrameCount delta, std::int64_t trackPosition) {
    registerUndo("Move Keyframe", [this, delta, trackPosition] {
        keyframeMoves.moveAllKeyFramesOnTrack(trackPosition, delta, 0.0f);
    });
}

void MarvoTimelineController::registerUndoOfTrackChange(
    const std::string& actionName, std::int64_t trackPosition,
    std::function<void(MarvoTimelineTrackProtocol&)> inverse) {
    registerUndo(actionName, [this, trackPosition, inverse = std::move(inverse)] {
        if (auto* track = tracks.trackAtPosition(trackPosition)) inverse(*track);
    });
}

void MarvoTimelineController::undoRenameOnTrack(std::int64_t trackPosition, const std::string& name) {
    trackEdits.undoRenameOnTrack(trackPosition, name);
}

void MarvoTimelineController::projectChanged() {
    services_.notifications.post(services_.names.ProjectChanged);
}

void MarvoTimelineController::beep() {
    services_.application.beep();
}

void MarvoTimelineController::sendMMCRewind() {}

void MarvoTimelineController::redrawMarker() {
    state.shouldUpdateProgress = true;
    if (surface) surface->redrawMarker();
}

void MarvoTimelineController::registerUndo(const std::string& actionName, std::function<void()> inverse) {
    // What was changed with the composition queue held is changed back with it held: the tick reads cues.
    if (services_.compQueue.isCurrent()) {
        inverse = [&queue = services_.compQueue, undone = std::move(inverse)] { queue.sync(undone); };
    }
    services_.undo.registerUndo(undoTargetOf(this), std::move(inverse));
    // Taking a step back and bringing it again leave it the name that the operator knows it by.
    if (!services_.undo.isUndoing() && !services_.undo.isRedoing()) services_.undo.setActionName(actionName);
}

} // namespace marvo
