// A show that plays in this process: the application and everything real around it (clock, log, preferences,
// sockets, sound system, network, render thread), started in the order in which they need each other.
//
// Main thread. What a front end adds is how it waits for the end and what it shows.
#pragma once

#include "app/CrashReporter.h"
#include "endpoints/artnet/UdpArtNetTransport.h"
#include "endpoints/midi/MIDICrashGuard.h"
#include "endpoints/midi/MIDITransportChoice.h"
#include "endpoints/osc/UdpOSCTransport.h"
#include "headless/CommandLine.h"
#include "headless/RenderThread.h"
#include "headless/RunningShow.h"
#include "platform/ActivityAssertion.h"
#include "platform/JackAdmission.h"
#include "platform/NetworkInterfaces.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace marvo {

struct LiveShowOptions {
    std::optional<std::string> configDir;
    std::vector<PreferenceOverride> preferences;
    std::optional<std::string> bind;
    std::string midi = "auto";
    bool logToTerminal = true;
};

class LiveShow final : public RunningShow {
public:
    // Does not return a half-made one: an error text in place of it.
    static std::unique_ptr<LiveShow> make(const LiveShowOptions& options, std::string& error);
    ~LiveShow() override;

    // Opens the ports and, when one is given, the document; its repairs go to the log.
    ProjectResult launch(const std::optional<std::string>& document);
    RealtimeResult startRendering(const RenderOptions& options);
    void end() override;
    void endAtOnce() override;

    MainThread& mainThread() override { return mainThread_; }
    AppDelegate& application() override { return *application_; }
    const RenderThread& render() const { return *render_; }
    PreferenceStore& preferences() override { return store_; }
    Log& log() override { return log_; }
    const Reports& reports() const override { return reports_; }
    const MonotonicClock& clock() const override { return clock_; }
    const Paths& paths() const override { return paths_; }
    const RunStatistics& statistics() const override { return render_->statistics(); }
    std::string_view midiKind() const override { return midi_.transport->kind(); }

private:
    LiveShow(const LiveShowOptions& options, const Paths& paths);
    void connectTroubles();

    const Paths paths_;
    MonotonicClock clock_;
    std::unique_ptr<LogSink> logSink_;
    Log log_;
    PreferenceStore store_;
    std::unique_ptr<SystemLog> systemLog_;
    Reports reports_;
    CrashReporter crashReporter_;
    MainThread mainThread_{clock_};
    UdpOSCTransport oscTransport_;
    JackAdmission jack_;
    MIDITransportResult midi_;
    std::optional<MIDICrashGuard> crashGuard_;
    UdpArtNetTransport artNetTransport_;
    ArtNetServer artNet_{artNetTransport_, clock_};
    SystemNetworkConfiguration network_;
    std::unique_ptr<AppDelegate> application_;
    std::optional<ActivityAssertion> awake_;
    std::optional<NetworkConfigurationWatch> networkWatch_;
    std::unique_ptr<RenderThread> render_;
};

} // namespace marvo
