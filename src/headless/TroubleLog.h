// Troubles of outputs and MIDI ports as lines of the log: one when a trouble begins and one when it ends.
//
// Thread-safe, as the log is.
#pragma once

#include "endpoints/midi/MIDITransport.h"
#include "endpoints/osc/OSCTransport.h"

namespace marvo {

class Log;

// A message that is too large and a network that fails are two troubles of one output: neither hides the
// other.
void logTrouble(Log& log, const OutputTrouble& trouble);
void logTrouble(Log& log, const MIDITrouble& trouble);

} // namespace marvo
