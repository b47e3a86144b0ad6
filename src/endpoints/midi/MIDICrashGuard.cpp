#include "endpoints/midi/MIDICrashGuard.h"

#include <array>
#include <atomic>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace marvo {

namespace {

constexpr std::array<int, 5> deadlySignals = {SIGSEGV, SIGABRT, SIGBUS, SIGILL, SIGFPE};
constexpr std::size_t stackSize = 64 * 1024;

// A signal handler has no other way to its data.
std::atomic<MIDITransport*> guarded{nullptr};
std::array<struct sigaction, deadlySignals.size()> before;

void onDeadlySignal(int number, siginfo_t*, void*) {
    MIDITransport* const transport = guarded.exchange(nullptr);
    if (transport) transport->flushNotesOnCrash();
    for (std::size_t i = 0; i < deadlySignals.size(); ++i) {
        if (deadlySignals[i] == number) sigaction(number, &before[i], nullptr);
    }
    // A fault happens again when this returns; what was sent by kill or abort does not.
    raise(number);
}

// For a stack that has overflown, on the thread that made the guard.
std::unique_ptr<std::uint8_t[]>& spareStack() {
    static std::unique_ptr<std::uint8_t[]> stack;
    return stack;
}

} // namespace

MIDICrashGuard::MIDICrashGuard(MIDITransport& transport) {
    guarded.store(&transport);
    stack_t present{};
    if (sigaltstack(nullptr, &present) == 0 && (present.ss_flags & SS_DISABLE) != 0) {
        if (!spareStack()) spareStack() = std::make_unique<std::uint8_t[]>(stackSize);
        stack_t spare{};
        spare.ss_sp = spareStack().get();
        spare.ss_size = stackSize;
        sigaltstack(&spare, nullptr);
    }
    struct sigaction action {};
    action.sa_sigaction = &onDeadlySignal;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    sigemptyset(&action.sa_mask);
    for (std::size_t i = 0; i < deadlySignals.size(); ++i) sigaction(deadlySignals[i], &action, &before[i]);
}

MIDICrashGuard::~MIDICrashGuard() {
    for (std::size_t i = 0; i < deadlySignals.size(); ++i) sigaction(deadlySignals[i], &before[i], nullptr);
    guarded.store(nullptr);
}

} // namespace marvo
