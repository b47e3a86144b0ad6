// Catches what a real-time thread must not do.
#pragma once

#include <cstddef>
#include <string>

namespace marvo {

// While one stands, the thread that made it is watched: allocating and freeing, waiting for a lock, and every
// system call that may block are counted, with the place they came from. Other threads are not affected.
//
// Works by symbols of the test program that stand before the C library's, so that code of all linked
// libraries is seen; calls inside the C library itself are not. Under AddressSanitizer and ThreadSanitizer,
// which need the same symbols, nothing is watched and active() says so.
//
// A write to a descriptor that is in non-blocking mode, a send with MSG_DONTWAIT, and taking a lock that is
// free are allowed. Scopes of one thread nest; violations count for the innermost.
class RealtimeScope {
public:
    enum class Reaction { count, abort };

    explicit RealtimeScope(Reaction reaction = Reaction::count);
    ~RealtimeScope();
    RealtimeScope(const RealtimeScope&) = delete;
    RealtimeScope& operator=(const RealtimeScope&) = delete;

    std::size_t violations() const { return count_; }

    // A line per violation and its call stack, for the first few. Not to be called inside the scope's watched
    // work: it suspends the watch while it builds the text.
    std::string report() const;

    // False where the build does not watch.
    static bool active();

    // Called by the watching symbols.
    static void note(const char* what);

private:
    static constexpr std::size_t keptViolations = 8;
    static constexpr int keptFrames = 16;

    struct Violation {
        const char* what;
        void* frames[keptFrames];
        int frameCount;
    };

    const Reaction reaction_;
    RealtimeScope* const outer_;
    std::size_t count_ = 0;
    Violation kept_[keptViolations];
};

} // namespace marvo
