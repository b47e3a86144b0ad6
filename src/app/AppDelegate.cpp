#include "app/AppDelegate.h"

#include "app/TimeText.h"
#include "platform/Log.h"
#include "platform/PreferenceStore.h"

#include <sys/stat.h>

namespace marvo {
namespace {

// 15 times a second.
constexpr Duration tableRefreshDelay{66'666'670};

bool isProjectFileThatExists(const std::string& path) {
    constexpr std::string_view extension = ".mrv";
    if (path.size() <= extension.size() || !path.ends_with(extension)) return false;
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0;
}

} // namespace

AppDelegate::AppDelegate(const AppEnvironment& environment)
    : prefs(environment.preferences), environment_(environment), names_(notifications_),
      compQueue_("com.selkar.compositions", QueueRank::compositions),
      oscManager_(environment.oscTransport, prefs, environment.log),
      midiManager_(environment.midiTransport, environment.mainThread, notifications_, names_,
                   environment.log),
      artNetManager_({environment.artNetServer, environment.network, prefs, notifications_, names_,
                      environment.mainThread, environment.log}),
      rendezvous_(environment.mainThread), listeners_(rendezvous_, compQueue_),
      hub_(listeners_, rendezvous_, environment.mainThread, compQueue_, oscManager_, midiManager_),
      services_(makeServices()),
      recorder(compQueue_, [this](MidiAssignment assignment) { return hub_.isAssignedMIDI(assignment); }),
      compositions(
          services_, [this] { return prefs.compositionDefaults(); },
          [this] {
              validateMasterControls(); // an undo changes the number of compositions, too
              projectChanged();
          }),
      master(compositions, services_), infoDisplay(compositions),
      artNetControls(hub_, artNetManager_, oscManager_), projectFile(*this), dispatch_(*this),
      midiDispatch_(*this), links_(*this), tableSignal_(environment.mainThread, [this] { updateTable(); }),
      changedSignal_(environment.mainThread, [this] { projectChanged(); }) {}

AppDelegate::~AppDelegate() {
    gate.shut();
    const InboundRendezvous::Release release(rendezvous_);
    oscManager_.setDelegate(nullptr);
    oscManager_.deleteAllInputs();
    midiManager_.setDelegate(nullptr);
    artNetManager_.setIncomingDMXHandler(nullptr);
    compositions.removeAll();
}

CompositionServices AppDelegate::makeServices() {
    TrackServices shared{compQueue_,
                         environment_.mainThread,
                         notifications_,
                         names_,
                         prefs.playback(),
                         keyframeHelper_,
                         oscManager_,
                         bundles_,
                         midiManager_,
                         artNetManager_,
                         hub_,
                         environment_.log,
                         [this] { return prefs.defaultInterpolation(); },
                         [this] { return gate.shouldIgnoreRendering(); }};
    return CompositionServices(shared, *this, undo, listeners_);
}

void AppDelegate::applicationWillFinishLaunching() {
    gate.shut();
    logLine("::: Marvo starting");
}

ProjectResult AppDelegate::applicationDidFinishLaunching(const std::optional<std::string>& document,
                                                         LoadReport* report) {
    prefs.setObserver(this);
    logIfAny(prefs.loadDefaults());
    displayProjectName();
    projectChangedObservation_ = notifications_.observe(names_.ProjectChanged, [this](const NoPayload&) {
        if (gate.shouldIgnoreRendering()) return;
        projectChanged();
    });
    readyToUpdateTableView_ = true;
    bundles_.setOSCManager(&oscManager_);
    oscManager_.setOutputsObserver(this);
    oscManager_.initWithDefaults();
    oscManager_.setDelegate(this);
    midiManager_.onBeep = [this] { beep(); };
    midiManager_.start();
    midiManager_.setDelegate(this);
    startArtNet();
    hub_.onShowOSC = [this](std::string_view text) { infoDisplay.showOSCOnInfoDisplay(text); };
    hub_.onAssigned = [this] { notifications_.post(names_.ProjectChanged); };
    master.setOSCAddresses();
    gate.open();
    logIfAny(prefs.forgetModesOfTheLastRun());
    notifications_.post(names_.stopShowOSC);
    notifications_.post(names_.MidiLearnStopped);
    ProjectResult result{true, {}};
    artNetManager_.discoverNodes();
    if (document) result = projectFile.loadProject(*document, report);
    validateMasterControls();
    return result;
}

void AppDelegate::startArtNet() {
    ArtNetUserInterface& user = artNetManager_.userInterface;
    user.beep = [this] { beep(); };
    user.alert = [this](const std::string& title, const std::string& text) { alert(title, text); };
    user.trouble = [this](const ArtNetTrouble& trouble) {
        logLine("Art-Net: " + trouble.what);
        if (onArtNetTrouble) onArtNetTrouble(trouble);
    };
    artNetManager_.refreshNetworkInterfaceList();
    // Only the title follows: a fader moves often.
    artNetControls.onChanged = [this] { projectChanged(); };
    artNetControls.setOSCAddresses();
    artNetManager_.setIncomingDMXHandler(this);
    master.doBlackout = [this] { artNetManager_.doBlackout(); };
}

void AppDelegate::alert(const std::string& title, const std::string& text) {
    logLine(title + ": " + text);
    if (showAlert_)
        showAlert_(title, text);
    else
        unseenAlert_.emplace(title, text);
}

void AppDelegate::setAlertHandler(AlertHandler handler) {
    showAlert_ = std::move(handler);
    if (!showAlert_ || !unseenAlert_) return;
    const auto [title, text] = *std::exchange(unseenAlert_, std::nullopt);
    showAlert_(title, text);
}

void AppDelegate::applicationWillTerminate() {
    gate.shut();
    master.stopCompositions();
    logIfAny(prefs.synchronise());
}

void AppDelegate::renderTick(MonotonicTime now) {
    if (!gate.shouldIgnoreRendering()) {
        compQueue_.sync([&] {
            const auto elapsed = static_cast<float>((now - lasttime_).nanoseconds);
            environment_.oscTransport.beginTick();
            compositions.processAtTime(static_cast<float>(static_cast<double>(elapsed) / 1e9));
            environment_.oscTransport.flush();
        });
    }
    // Also while the gate is shut, so that a pause does not become one huge step afterwards.
    lasttime_ = now;
    if (gate.shouldIgnoreRendering()) return;
    artNetManager_.sendAllDMXData();
    if (readyToUpdateTableView_) {
        readyToUpdateTableView_ = false;
        tableSignal_.postAfter(tableRefreshDelay);
    }
}

void AppDelegate::updateTable() {
    // Whoever shows the list lowers the flags of the cells it has drawn: while a name is typed it draws none.
    if (onUpdateTable) {
        onUpdateTable();
    } else {
        for (const auto& element : compositions.all()) {
            CompositionState& state = element->timelineController().state;
            state.shouldUpdateProgress = false;
            state.shouldUpdateCompstate = false;
            state.shouldUpdatePlaystate = false;
        }
    }
    readyToUpdateTableView_ = true;
}

void AppDelegate::receivedOSCMessage(const OSCMessage& message) {
    dispatch_.receivedOSCMessage(message);
}

void AppDelegate::expectOSCMessages(std::span<const std::string_view> addresses) {
    listeners_.prefetch(addresses);
}

void AppDelegate::receivedMIDI(std::span<const MIDIMessage> messages, const std::string& sourceName,
                               MonotonicTime) {
    midiDispatch_.receivedMIDI(messages, sourceName);
}

void AppDelegate::receivedSysex(std::span<const std::uint8_t> payload, const std::string& sourceName,
                                MonotonicTime) {
    midiDispatch_.receivedSysex(payload, sourceName);
}

void AppDelegate::midiLearnToggle() {
    const bool on = !hub_.midiLearn();
    hub_.setMidiLearn(on);
    notifications_.post(on ? names_.MidiLearnStarted : names_.MidiLearnStopped);
    prefs.changeMidiLearn(on);
}

void AppDelegate::toggleShowOSCNamespace() {
    const bool on = !hub_.needsShowOSC();
    prefs.changeNeedsShowOSC(on);
    hub_.setNeedsShowOSC(on);
    notifications_.post(on ? names_.startShowOSC : names_.stopShowOSC);
    if (on) {
        infoDisplay.startShowOSC();
    } else {
        infoDisplay.stopShowOSC();
    }
}

void AppDelegate::loadProjectWithoutAsking(const std::string& path) {
    logLine("loadProjectWithoutAsking: " + path);
    if (!isProjectFileThatExists(path)) return;
    environment_.mainThread.async([this, path] {
        LoadReport report;
        const ProjectResult result = projectFile.replaceProject(path, &report);
        if (!result.done) logLine(result.error);
        for (const std::string& line : report.lines()) logLine(line);
    });
}

ProjectResult AppDelegate::openProject(const std::string& path, LoadReport* report) {
    return projectFile.replaceProject(path, report);
}

ProjectResult AppDelegate::saveProject() {
    const auto& path = projectFile.projectURL();
    if (!path) return {false, "the project has no file yet"};
    return projectFile.processSaveWithURL(*path);
}

void AppDelegate::newProject() {
    projectFile.removeProject();
    compositions.createComposition();
    compositions.clearLock();
    validateMasterControls();
    projectIsSaved();
    displayProjectName();
}

void AppDelegate::removeCompositionAtIndex(std::int64_t index) {
    if (!compositions.removeCompositionAtIndex(index)) return;
    // They name rows, which are others now.
    undo.removeAllActionsWithTarget(undoTargetOf(&compositions));
    validateMasterControls();
}

void AppDelegate::lockProject() {
    compositions.lockProject();
    master.addCompositionButton.setEnabled(!compositions.isProjectLocked());
    notifications_.post(names_.ProjectChanged);
}

void AppDelegate::beginLoad() {
    gate.shut();
    undo.disableUndoRegistration();
}

void AppDelegate::endLoad(bool locked) {
    undo.enableUndoRegistration();
    validateMasterControls();
    if (locked) lockProject();
    gate.open();
    notifications_.post(names_.redrawTracksNeeded);
    validateMasterControls();
}

void AppDelegate::beginRemove() {
    gate.shut();
    if (compositions.isProjectLocked()) lockProject();
    keyframeHelper_.resetCounter();
    compQueue_.sync([this] { bundles_.reset(); });
    recorder.stopRecord();
    artNetManager_.clearProject();
    artNetControls.softPatchEnableButton.removeMidi();
    undo.removeAllActions();
}

void AppDelegate::endRemove() {
    displayProjectName();
    updateInfoDisplay();
    gate.open();
    // What was heard belongs to the project that it was heard for.
    recorder.oscFilters.clear();
    recorder.midiFilters.clear();
    recorder.artNetFilters.clear();
    setHueRotateForColors(1.0f);
    validateMasterControls();
}

void AppDelegate::loadOSCPorts(const OSCPortsSnapshot& snapshot, LoadReport* report) {
    {
        // Ports are closed and their threads joined: no input thread may wait for this one meanwhile.
        const InboundRendezvous::Release release(rendezvous_);
        oscManager_.loadSnapshot(&snapshot);
    }
    if (!report) return;
    for (const auto& input : snapshot.inputs) {
        if (!oscManager_.hasInputOnPort(static_cast<int>(input.port))) {
            report->add("OSC input on port " + std::to_string(input.port) +
                        " cannot be opened; it is left out");
        }
    }
}

void AppDelegate::loadMIDIPorts(const PropertyList& preferences) {
    const InboundRendezvous::Release release(rendezvous_);
    midiManager_.load(preferences);
}

bool AppDelegate::ignorePlayButtonsOnLoading() const {
    return prefs.ignorePlayButtonsOnLoading();
}

void AppDelegate::startRecord(MarvoTimelineController& composition) {
    recorder.setRecordDelegate(composition);
    recorder.startRecord();
}

void AppDelegate::stopRecord() {
    recorder.stopRecord();
}

void AppDelegate::beep() {
    if (onBeep) onBeep();
}

void AppDelegate::outputsChanged(const std::string* oldLabel, const std::string* newLabel) {
    const auto tell = [this](const std::string* from, const std::string* to) {
        for (const auto& element : compositions.all())
            element->timelineController().tracks.oscOutputsChanged(from, to);
    };
    if (environment_.mainThread.isCurrent()) {
        tell(oldLabel, newLabel);
        return;
    }
    const std::optional<std::string> from = oldLabel ? std::optional(*oldLabel) : std::nullopt;
    const std::optional<std::string> to = newLabel ? std::optional(*newLabel) : std::nullopt;
    environment_.mainThread.async([tell, from, to] { tell(from ? &*from : nullptr, to ? &*to : nullptr); });
}

void AppDelegate::outputsChangedManually() {
    notifications_.post(names_.OSCOutputsChangedManually);
    outputsChanged(nullptr, nullptr);
}

std::string AppDelegate::totalLengthText() const {
    std::vector<float> lengths;
    for (const auto& element : compositions.all())
        lengths.push_back(element->timelineController().state.compTime);
    return totalLength(lengths);
}

void AppDelegate::setTitle(bool changed) {
    windowTitle_ =
        "Marvo - " + projectFile.projectName() + (changed ? "*" : "") + " (" + totalLengthText() + ")";
}

void AppDelegate::displayProjectName() {
    setTitle(false);
}

void AppDelegate::projectChanged() {
    if (environment_.mainThread.isCurrent()) {
        if (gate.shouldIgnoreRendering()) return;
        unsaved_ = true;
        ++changeCount_;
        setTitle(true);
        return;
    }
    changedSignal_.post();
}

bool AppDelegate::mayQuitWithoutAsking() const {
    return prefs.disableConfirmOnQuit() || compositions.count() == 0;
}

void AppDelegate::settingsChanged() {
    notifications_.post(names_.SettingsChanged);
}

void AppDelegate::redrawViews() {
    notifications_.post(names_.RedrawViews);
}

void AppDelegate::logIfAny(const std::string& error) const {
    if (!error.empty()) logLine(error);
}

void AppDelegate::logLine(const std::string& line) const {
    if (environment_.log) environment_.log->log(line);
}

} // namespace marvo
