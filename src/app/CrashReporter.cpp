#include "app/CrashReporter.h"

namespace marvo {

CrashReporter::~CrashReporter() {
    if (writing_.valid()) writing_.wait();
}

void CrashReporter::startManager(double now) {
    if (!preferences_.has("lastRun")) preferences_.set("lastRun", PropertyList::date(now));
    marker_.emplace(stateFolder_);
    if (marker_->earlierRunDied()) {
        writing_ = std::async(std::launch::async, [this, material = reports_.crashMaterial()] {
            const Reports::Written written = reports_.writeCrashReport(material);
            const std::string how = "the run before this one did not end by itself; ";
            log_.log(written.error.empty() ? how + "a report is in " + written.file + ", nothing was sent"
                                           : how + "no report: " + written.error);
        });
    }
    preferences_.set("lastRun", PropertyList::date(now));
}

} // namespace marvo
