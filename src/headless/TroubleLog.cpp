#include "headless/TroubleLog.h"

#include "platform/Log.h"
#include "platform/Text.h"

namespace marvo {
namespace {

void logChange(Log& log, const std::string& key, const std::string& name, bool began,
               const std::string& reason) {
    if (began) {
        log.logOnce(key, name + ": " + reason);
    } else {
        log.forget(key, name + ": back");
    }
}

} // namespace

void logTrouble(Log& log, const OutputTrouble& trouble) {
    const bool tooLarge = trouble.kind == OutputTrouble::Kind::tooLarge;
    logChange(log, (tooLarge ? "too large " : "output ") + trouble.label,
              "OSC output \"" + escapeForLog(trouble.label) + "\"", trouble.began, trouble.reason);
}

void logTrouble(Log& log, const MIDITrouble& trouble) {
    const std::string name =
        trouble.port.empty() ? "MIDI" : "MIDI port \"" + escapeForLog(trouble.port) + "\"";
    logChange(log, "midi " + trouble.port, name, trouble.began, trouble.reason);
}

} // namespace marvo
