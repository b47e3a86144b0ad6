#include "midi_crash.h"

#include "endpoints/midi/MIDICrashGuard.h"
#include "endpoints/midi/MIDITransportChoice.h"

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <thread>
#include <unistd.h>

namespace marvo::e2e {

int playUntilCrash(const std::string& system, const std::string& signal) {
    const int number = std::stoi(signal);
    std::signal(number, SIG_DFL); // a sanitizer has its own
    const MIDITransportResult result =
        makeMIDITransport(system == "jack" ? MIDIChoice::jack : MIDIChoice::alsa, JackAdmission());
    const MIDICrashGuard guard(*result.transport);
    const auto output = result.transport->makeVirtualSender("Marvo Midi Out 1");
    const MIDIMessage note{MIDIMessage::noteOn, 0, 60, 100};
    fcntl(0, F_SETFL, O_NONBLOCK);
    char byte = 0;
    // Struck again and again: the first ones are heard by nobody.
    while (read(0, &byte, 1) != 0) {
        output->send({&note, 1}, {});
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    raise(number);
    return 0;
}

} // namespace marvo::e2e
