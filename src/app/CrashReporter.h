// Writes a report when the run before did not end by itself. The report stays on this machine.
//
// Main thread; the report itself is written by a thread of its own, so that a show that has to come back does
// not wait for it.
#pragma once

#include "app/Reports.h"
#include "platform/RunMarker.h"

#include <future>
#include <optional>

namespace marvo {

class CrashReporter {
public:
    // All outlive the reporter. stateFolder: Paths::state.
    CrashReporter(std::string stateFolder, const Reports& reports, Log& log, PreferenceStore& preferences)
        : stateFolder_(std::move(stateFolder)), reports_(reports), log_(log), preferences_(preferences) {}
    ~CrashReporter();
    CrashReporter(const CrashReporter&) = delete;
    CrashReporter& operator=(const CrashReporter&) = delete;

    // now: seconds since 2001, the preference "lastRun" from then on. To be called before this run logs its
    // first line, which may begin a new file in place of the one that the report wants.
    void startManager(double now);
    // The program ends by itself.
    void end() { marker_.reset(); }

private:
    void report(const std::string& programName);

    const std::string stateFolder_;
    const Reports& reports_;
    Log& log_;
    PreferenceStore& preferences_;
    std::optional<RunMarker> marker_;
    std::future<void> writing_;
};

} // namespace marvo
