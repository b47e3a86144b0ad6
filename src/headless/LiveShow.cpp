#include "headless/LiveShow.h"

#include "headless/HeadlessHost.h"
#include "headless/TroubleLog.h"
#include "platform/Dates.h"

#include <cerrno>

namespace marvo {
std::unique_ptr<LiveShow> LiveShow::make(const LiveShowOptions& options, std::string& error) {
    const Paths paths =
        options.configDir ? Paths::below(*options.configDir) : Paths::fromEnvironment(processEnvironment);
    std::unique_ptr<LiveShow> show(new LiveShow(options, paths));
    error = applyPreferenceOverrides(show->store_, options.preferences);
    if (!error.empty()) return nullptr;
    show->application_ = std::make_unique<AppDelegate>(
        AppEnvironment{show->mainThread_, show->oscTransport_, *show->midi_.transport, show->artNet_,
                       show->network_, show->store_, &show->log_});
    show->connectTroubles();
    return show;
}

LiveShow::LiveShow(const LiveShowOptions& options, const Paths& paths)
    : paths_(paths), logSink_(makeLogFileSink({paths.state, options.logToTerminal, 3600, nullptr})),
      log_(*logSink_, clock_), store_(paths.preferenceFile()), systemLog_(makeJournal()),
      reports_(paths.state, program_invocation_short_name, log_, store_, *systemLog_),
      crashReporter_(paths.state, reports_, log_, store_), oscTransport_(options.bind.value_or("")),
      midi_(makeMIDITransport(midiChoiceNamed(options.midi).value_or(MIDIChoice::automatic), jack_)) {
    crashReporter_.startManager(dateOfNow());
    if (!store_.warning().empty()) log_.log(store_.warning());
    crashGuard_.emplace(*midi_.transport);
}

LiveShow::~LiveShow() {
    render_.reset();
    networkWatch_.reset();
    application_.reset();
}

void LiveShow::connectTroubles() {
    application_->onArtNetTrouble = [this](const ArtNetTrouble& trouble) {
        tell("Art-Net", trouble.began ? trouble.what : std::string());
    };
    oscTransport_.onTrouble([this](const OutputTrouble& trouble) {
        logTrouble(log_, trouble);
        mainThread_.async([this, trouble] { tell(trouble); });
    });
    midi_.transport->onTrouble([this](const MIDITrouble& trouble) {
        logTrouble(log_, trouble);
        mainThread_.async([this, trouble] {
            tell(trouble.port.empty() ? "MIDI" : trouble.port, trouble.began ? trouble.reason : "");
        });
    });
}

ProjectResult LiveShow::launch(const std::optional<std::string>& document) {
    application_->applicationWillFinishLaunching();
    awake_.emplace("rendering");
    if (!awake_->report().sleepReason.empty())
        log_.log("the machine may go to sleep: " + awake_->report().sleepReason);
    LoadReport report;
    ProjectResult loaded = application_->applicationDidFinishLaunching(document, &report);
    if (!loaded.done) return loaded;
    for (const std::string& line : report.lines()) log_.log(line);
    networkWatch_.emplace(mainThread_, [this] {
        application_->notifications().post(application_->names().NetworkConfigurationDidChangeNotification);
    });
    if (!networkWatch_->error().empty()) log_.log("the network is not watched: " + networkWatch_->error());
    render_ = std::make_unique<RenderThread>(*application_);
    return loaded;
}

RealtimeResult LiveShow::startRendering(const RenderOptions& options) {
    return render_->start(options);
}

void LiveShow::end() {
    application_->applicationWillTerminate();
    render_->stop();
    crashReporter_.end();
}

void LiveShow::endAtOnce() {
    end();
    midi_.transport->flushNotesOnCrash();
}

} // namespace marvo
