// Ends sounding notes when the program dies of a signal (SIGSEGV, SIGABRT, SIGBUS, SIGILL, SIGFPE).
//
// While a guard stands, such a signal first has the transport end all notes, for at most 50 ms, and then goes
// to whoever handled it before, or kills the program as it would have. One guard at a time; make and destroy
// it on the main thread, and destroy it before the transport.
#pragma once

#include "endpoints/midi/MIDITransport.h"

namespace marvo {

class MIDICrashGuard {
public:
    explicit MIDICrashGuard(MIDITransport& transport);
    ~MIDICrashGuard();
    MIDICrashGuard(const MIDICrashGuard&) = delete;
    MIDICrashGuard& operator=(const MIDICrashGuard&) = delete;
};

} // namespace marvo
