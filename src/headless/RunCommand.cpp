#include "headless/RunCommand.h"

#include "headless/HeadlessHost.h"
#include "headless/LiveShow.h"
#include "headless/StatusFeed.h"

#include <csignal>
#include <cstdio>
#include <memory>
#include <pthread.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace marvo {
namespace {

constexpr int statusUnusable = 1;
constexpr int statusNoRealtime = 3;

// The signals that end the run, as a descriptor the main thread watches.
class EndSignals {
public:
    EndSignals() {
        sigset_t set;
        sigemptyset(&set);
        sigaddset(&set, SIGINT);
        sigaddset(&set, SIGTERM);
        // The terminal is closed; a run that was told not to mind has it ignored.
        struct sigaction hangUp {};
        sigaction(SIGHUP, nullptr, &hangUp);
        if (hangUp.sa_handler != SIG_IGN) sigaddset(&set, SIGHUP);
        pthread_sigmask(SIG_BLOCK, &set, nullptr);
        std::signal(SIGPIPE, SIG_IGN);
        descriptor_ = ::signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK);
    }
    ~EndSignals() {
        if (descriptor_ >= 0) ::close(descriptor_);
    }
    EndSignals(const EndSignals&) = delete;
    EndSignals& operator=(const EndSignals&) = delete;
    int descriptor() const { return descriptor_; }

private:
    int descriptor_ = -1;
};

int unusable(const std::string& reason) {
    std::fprintf(stderr, "%s\n", reason.c_str());
    return statusUnusable;
}

int refuseWithoutRealtime(const std::string& systemError) {
    std::fprintf(
        stderr,
        "thread_policy_set: %s\n"
        "Real-time scheduling is needed: install and start rtkit, or give the user an rtprio limit in "
        "/etc/security/limits.conf, or run with --best-effort.\n",
        systemError.c_str());
    return statusNoRealtime;
}

std::string readyLine(AppDelegate& application) {
    std::string line = "ready osc-in=";
    bool first = true;
    for (const int port : application.oscManager().inputPorts()) {
        line += (first ? "" : ",") + std::to_string(port);
        first = false;
    }
    return line + " compositions=" + std::to_string(application.compositions.count());
}

} // namespace

int runShow(const RunOptions& options) {
    const EndSignals signals;
    std::string error;
    const std::unique_ptr<LiveShow> show = LiveShow::make(
        {options.configDir, options.preferences, options.bind, options.midi, !options.status}, error);
    if (!show) return unusable(error);
    AppDelegate& application = show->application();
    MainThread& mainThread = show->mainThread();
    const ProjectResult loaded = show->launch(options.project);
    if (!loaded.done) return unusable(loaded.error);
    const RealtimeResult granted = show->startRendering({options.bestEffort, options.precise});
    if (!granted.runs()) return refuseWithoutRealtime(granted.error);
    if (granted.grant == RealtimeGrant::bestEffort) {
        std::fprintf(stderr, "Warning: no real-time scheduling (%s); ticks may come late.\n",
                     granted.error.c_str());
    }
    if (options.play) pressPlayAll(application);
    std::printf("%s\n", readyLine(application).c_str());
    std::fflush(stdout);

    mainThread.watchDescriptor(signals.descriptor(), [&] { mainThread.quit(); });
    if (options.forSeconds) {
        const auto nanoseconds = static_cast<std::int64_t>(*options.forSeconds * 1e9);
        mainThread.asyncAfter(Duration(nanoseconds), [&] { mainThread.quit(); });
    }
    {
        std::optional<StatusFeed> status;
        if (options.status) status.emplace(*show, granted);
        mainThread.run();
    }
    show->end();
    if (options.stats) std::fputs(show->render().statisticsText(application).c_str(), stdout);
    return 0;
}

} // namespace marvo
