#include "app/CrashReporter.h"

#include <system_error>

namespace marvo {

CrashReporter::~CrashReporter() {
    if (writing_.valid()) writing_.wait();
}

void CrashReporter::startManager(double now) {
    if (!preferences_.has("lastRun")) preferences_.set("lastRun", PropertyList::date(now));
    marker_.emplace(stateFolder_, reports_.programName());
    if (const std::optional<std::string>& dead = marker_->deadProgram()) report(*dead);
    preferences_.set("lastRun", PropertyList::date(now));
}

void CrashReporter::report(const std::string& programName) {
    const std::string how = "the run before this one did not end by itself; ";
    try {
        writing_ =
            std::async(std::launch::async, [this, how, material = reports_.crashMaterial(programName)] {
                const Reports::Written written = reports_.writeCrashReport(material);
                log_.log(written.error.empty() ? how + "a report is in " + written.file + ", nothing was sent"
                                               : how + "no report: " + written.error);
            });
    } catch (const std::system_error& error) {
        log_.log(how + "no report: " + error.what());
    }
}

} // namespace marvo
