// The application: it owns what lives as long as the process and advances everything that plays.
//
// Start-up runs in two stages: applicationWillFinishLaunching shuts the render gate,
// applicationDidFinishLaunching builds what is left, opens the gate, and loads the document that was asked
// for. From then on one thread, real or virtual, calls renderTick with the time; nothing in here reads a
// clock.
//
// Threads: the main thread makes, launches and destroys it. renderTick belongs to the render thread;
// receivedOSCMessage to the ports' threads.
#pragma once

#include "app/AppControlHub.h"
#include "app/ArtNetControls.h"
#include "app/CompositionSet.h"
#include "app/InboundRecorder.h"
#include "app/InfoDisplay.h"
#include "app/LinkDispatch.h"
#include "app/MIDIDispatch.h"
#include "app/MarvoPreferencesController.h"
#include "app/MasterTransport.h"
#include "app/OSCDispatch.h"
#include "app/ProjectFile.h"
#include "app/RenderGate.h"
#include "composition/CompositionApplication.h"
#include "endpoints/artnet/MarvoArtNetManager.h"
#include "endpoints/midi/MIDIMessageReceiver.h"
#include "endpoints/midi/MarvoMIDIManager.h"
#include "endpoints/osc/MarvoOSCBundleManager.h"
#include "endpoints/osc/MarvoOSCManager.h"
#include "platform/Clock.h"
#include "platform/MainThread.h"
#include "platform/Notifications.h"
#include "platform/SerialQueue.h"
#include "platform/UndoStack.h"
#include "tracks/MarvoKeyframeHelper.h"

#include <cmath>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace marvo {

class Log;
class PreferenceStore;

// What the process gives the application. Everything outlives it.
struct AppEnvironment {
    MainThread& mainThread;
    OSCTransport& oscTransport;
    MIDITransport& midiTransport;
    ArtNetServer& artNetServer;
    NetworkConfigurationSource& network;
    PreferenceStore& preferences;
    Log* log = nullptr;
};

class AppDelegate final : public CompositionApplication,
                          public OSCMessageReceiver,
                          public MIDIMessageReceiver,
                          public MarvoIncomingDMXHandler,
                          public OSCOutputsObserver,
                          public MarvoPreferencesObserver {
public:
    explicit AppDelegate(const AppEnvironment& environment);
    ~AppDelegate() override;
    AppDelegate(const AppDelegate&) = delete;
    AppDelegate& operator=(const AppDelegate&) = delete;

    void applicationWillFinishLaunching();
    // A document given at launch is loaded at the very end; report collects its repairs.
    ProjectResult applicationDidFinishLaunching(const std::optional<std::string>& document,
                                                LoadReport* report);
    // Stops all playback so that what sounds ends; ports close with the object.
    void applicationWillTerminate();

    // One pass of the render loop at `now`. Realtime-safe in a steady state.
    void renderTick(MonotonicTime now);
    // Takes `now` for the moment of the last pass, so that the first delta is that of one pass.
    void startRendering(MonotonicTime now) { lasttime_ = now; }
    void pauseRendering() { gate.shut(); }
    void restartRendering() { gate.open(); }

    // Any thread. Dropped while the gate is shut.
    void receivedOSCMessage(const OSCMessage& message) override;
    void expectOSCMessages(std::span<const std::string_view> addresses) override;
    void receivedMIDI(std::span<const MIDIMessage> messages, const std::string& sourceName,
                      MonotonicTime arrival) override;
    void receivedSysex(std::span<const std::uint8_t> payload, const std::string& sourceName,
                       MonotonicTime arrival) override;
    // Changed channels, from 0, of the input universe.
    void receivedDMX(std::span<const DMXPair> changes) override { links_.receivedDMX(changes); }
    // At least 12 bytes of the machine link.
    void receivedNMCMessage(std::span<const std::uint8_t> data) { links_.receivedNMCMessage(data); }

    // Remote load: no question is asked and nothing is saved. Silently ignores what is not there or not a
    // project.
    void loadProjectWithoutAsking(const std::string& path);
    ProjectResult openProject(const std::string& path, LoadReport* report);
    ProjectResult saveProject();
    // A new project with one composition.
    void newProject();
    void removeCompositionAtIndex(std::int64_t index);
    // Toggles the lock, and locks or unlocks what hangs on it.
    void lockProject();

    // "Marvo - %@ (%@)" with the project's name and total length; with an asterisk after a change.
    const std::string& windowTitle() const { return windowTitle_; }
    void displayProjectName();
    void projectChanged();
    std::string totalLengthText() const;
    // Something was changed since the last load, save or removal. Unlike the asterisk, which a cancelled save
    // panel takes away, this stays until the project is on the disk.
    bool hasUnsavedChanges() const { return unsaved_ && compositions.count() > 0; }
    void projectIsSaved() { unsaved_ = false; }
    // Grows with each change.
    std::uint64_t changeCount() const { return changeCount_; }
    // True when the process may end without a question.
    bool mayQuitWithoutAsking() const;

    // The two global modes of the controls. Main thread.
    void midiLearnToggle();
    void toggleShowOSCNamespace();
    // A factor that is not finite changes nothing.
    void setHueRotateForColors(float factor) {
        if (std::isfinite(factor)) prefs.setHueRotateForColors(factor);
    }

    // Told of a system beep, and of each refresh of the list of compositions (15 times a second at most).
    std::function<void()> onBeep;
    std::function<void()> onUpdateTable;
    // Art-Net has got into trouble, or out of it. Main thread.
    std::function<void(const ArtNetTrouble&)> onArtNetTrouble;
    // Shows a title and a text that the user must see. What came last before there was a handler is shown to
    // the first one. Main thread.
    using AlertHandler = std::function<void(const std::string& title, const std::string& text)>;
    void setAlertHandler(AlertHandler handler);

    MarvoOSCManager& oscManager() { return oscManager_; }
    MarvoMIDIManager& midiManager() { return midiManager_; }
    MarvoArtNetManager& artNetManager() { return artNetManager_; }
    AppControlHub& controlHub() { return hub_; }
    InboundRendezvous& rendezvous() { return rendezvous_; }
    const Notifications& names() const { return names_; }
    CompositionServices& services() { return services_; }
    MainThread& mainThread() { return environment_.mainThread; }
    NotificationCenter& notifications() { return notifications_; }
    OSCListenerTable& listeners() { return listeners_; }
    void logLine(const std::string& line) const;

    RenderGate gate;
    UndoStack undo;
    MarvoPreferencesController prefs;
    // Kept with the project for the window.
    std::string windowFrame = "{{0, 0}, {0, 0}}";

private:
    void alert(const std::string& title, const std::string& text);
    CompositionServices makeServices();
    void startArtNet();

    AppEnvironment environment_;
    NotificationCenter notifications_;
    Notifications names_;
    SerialQueue compQueue_;
    MarvoKeyframeHelper keyframeHelper_;
    MarvoOSCManager oscManager_;
    MarvoOSCBundleManager bundles_;
    MarvoMIDIManager midiManager_;
    MarvoArtNetManager artNetManager_;
    InboundRendezvous rendezvous_;
    OSCListenerTable listeners_;
    AppControlHub hub_;
    CompositionServices services_;

public:
    InboundRecorder recorder;
    CompositionSet compositions;
    MasterTransport master;
    InfoDisplay infoDisplay;
    ArtNetControls artNetControls;
    ProjectFile projectFile;

    // Steps of a load and a removal that belong to the application as a whole; called by ProjectFile.
    void beginLoad();
    void endLoad(bool locked);
    void beginRemove();
    void endRemove();
    void validateMasterControls() { master.validateMasterControls(); }
    void loadOSCPorts(const OSCPortsSnapshot& snapshot, LoadReport* report);
    void loadMIDIPorts(const PropertyList& preferences);

    // CompositionApplication
    void handleSoloMode() override { master.handleSoloMode(); }
    bool isSoloMode() const override { return master.soloModeButton.state(); }
    bool isQueuedMode() const override { return master.queuedModeButton.state(); }
    bool isQueuedLoop() const override { return master.queuedLoopButton.state(); }
    bool isPlayAllOn() const override { return master.togglePlayAllButton.state(); }
    void switchPlayAllOff() override { master.switchPlayAllOff(); }
    MarvoTimelineController* currentQueuedComposition() const override {
        return master.currentQueuedComposition();
    }
    void setCurrentQueuedComposition(MarvoTimelineController* composition) override {
        master.setCurrentQueuedComposition(composition);
    }
    void compositionEnds(MarvoTimelineController& composition) override {
        master.compositionEnds(composition);
    }
    MarvoTimelineController* selectedComposition() const override {
        return compositions.selectedComposition();
    }
    std::int64_t
    compositionIndexOfTimelineController(const MarvoTimelineController& composition) const override {
        return compositions.compositionIndexOfTimelineController(composition);
    }
    bool isAvailableCompName(std::string_view name, bool ignoreCurrent) const override {
        return compositions.isAvailableCompName(name, ignoreCurrent);
    }
    std::vector<std::string> compositionNames() const override { return compositions.compositionNames(); }
    bool isProjectLocked() const override { return compositions.isProjectLocked(); }
    bool shouldIgnoreRendering() const override { return gate.shouldIgnoreRendering(); }
    bool ignorePlayButtonsOnLoading() const override;
    void startRecord(MarvoTimelineController& composition) override;
    void stopRecord() override;
    void forgetRecording(const MarvoTimelineController& composition) override {
        recorder.forget(composition);
    }
    void updateInfoDisplay() override { infoDisplay.updateInfoDisplay(); }
    void beep() override;

    // OSCOutputsObserver
    void outputsChanged(const std::string* oldLabel, const std::string* newLabel) override;
    void outputsChangedManually() override;

    // MarvoPreferencesObserver
    void settingsChanged() override;
    void redrawViews() override;

private:
    void updateTable();
    void logIfAny(const std::string& error) const;
    void setTitle(bool changed);

    OSCDispatch dispatch_;
    MIDIDispatch midiDispatch_;
    LinkDispatch links_;
    MonotonicTime lasttime_;
    MonotonicTime tableDue_;
    Relaxed<bool> readyToUpdateTableView_ = false;
    MainThread::Signal tableSignal_;
    MainThread::Signal changedSignal_;
    Observation projectChangedObservation_;
    std::string windowTitle_;
    bool unsaved_ = false;
    std::uint64_t changeCount_ = 0;
    AlertHandler showAlert_;
    std::optional<std::pair<std::string, std::string>> unseenAlert_; // title and text
};

} // namespace marvo
