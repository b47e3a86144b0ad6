#include "RealtimeScope.h"

#include <cstdio>
#include <cstdlib>
#include <execinfo.h>

namespace marvo {

namespace {

// Plain thread-local words, without constructors: they are read inside malloc.
thread_local RealtimeScope* innermost = nullptr;
thread_local bool suspended = false;

// Lets the watch itself allocate.
class Suspension {
public:
    Suspension() : before_(suspended) { suspended = true; }
    ~Suspension() { suspended = before_; }
    Suspension(const Suspension&) = delete;
    Suspension& operator=(const Suspension&) = delete;

private:
    const bool before_;
};

} // namespace

RealtimeScope::RealtimeScope(Reaction reaction) : reaction_(reaction), outer_(innermost) {
    // Asked here so that the watching symbols are linked in with every use. The first call of backtrace loads
    // a library.
    if (!active()) return;
    void* frame = nullptr;
    backtrace(&frame, 1);
    innermost = this;
}

RealtimeScope::~RealtimeScope() {
    innermost = outer_;
}

void RealtimeScope::note(const char* what) {
    RealtimeScope* const scope = innermost;
    if (!scope || suspended) return;
    const Suspension quiet;
    if (scope->count_ < keptViolations) {
        Violation& violation = scope->kept_[scope->count_];
        violation.what = what;
        violation.frameCount = backtrace(violation.frames, keptFrames);
    }
    ++scope->count_;
    if (scope->reaction_ == Reaction::count) return;
    std::fprintf(stderr, "forbidden in a real-time scope: %s\n%s", what, scope->report().c_str());
    std::abort();
}

std::string RealtimeScope::report() const {
    const Suspension quiet;
    std::string text;
    for (std::size_t index = 0; index < count_ && index < keptViolations; ++index) {
        const Violation& violation = kept_[index];
        text += std::string(violation.what) + "\n";
        char** const names = backtrace_symbols(violation.frames, violation.frameCount);
        for (int frame = 1; names && frame < violation.frameCount; ++frame)
            text += std::string("    ") + names[frame] + "\n";
        std::free(names);
    }
    if (count_ > keptViolations) text += "and " + std::to_string(count_ - keptViolations) + " more\n";
    return text;
}

} // namespace marvo
