// A show on a virtual clock as a front end sees it; nothing leaves the process.
#pragma once

#include "headless/RunningShow.h"

#include "Show.h"

#include <string>
#include <string_view>
#include <vector>

namespace marvo::testing {

class VirtualShow final : public RunningShow {
public:
    MainThread& mainThread() override { return show.main; }
    AppDelegate& application() override { return show.application; }
    PreferenceStore& preferences() override { return show.preferences; }
    Log& log() override { return log_; }
    const Reports& reports() const override { return reports_; }
    const Clock& clock() const override { return show.clock; }
    const Paths& paths() const override { return paths_; }
    const RunStatistics& statistics() const override { return measured; }
    std::string_view midiKind() const override { return "none"; }
    void endAtOnce() override { end(); }
    void end() override { show.application.applicationWillTerminate(); }

    Show show;
    RunStatistics measured;
    std::vector<std::string> logged;

private:
    class Lines final : public LogSink {
    public:
        explicit Lines(std::vector<std::string>& lines) : lines_(lines) {}
        void write(std::string_view line) override { lines_.emplace_back(line); }
        std::string contents(std::size_t) override { return {}; }

    private:
        std::vector<std::string>& lines_;
    };
    Paths paths_ = Paths::below(show.file("home"));
    Lines lines_{logged};
    Log log_{lines_, show.clock};
    std::unique_ptr<SystemLog> systemLog_ = makeJournal({"no-such-tool"});
    Reports reports_{paths_.state, "nobody", log_, show.preferences, *systemLog_};
};

} // namespace marvo::testing
