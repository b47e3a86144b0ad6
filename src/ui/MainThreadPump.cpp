#include "ui/MainThreadPump.h"

#include <algorithm>

namespace marvo::ui {

MainThreadPump::MainThreadPump(MainThread& mainThread, const Clock& clock)
    : mainThread_(mainThread), clock_(clock), notifier_(mainThread.wakeDescriptor(), QSocketNotifier::Read) {
    connect(&notifier_, &QSocketNotifier::activated, this, [this] { pump(); });
    timer_.setSingleShot(true);
    timer_.setTimerType(Qt::PreciseTimer);
    connect(&timer_, &QTimer::timeout, this, [this] { pump(); });
    QTimer::singleShot(0, this, [this] { pump(); });
}

void MainThreadPump::pump() {
    // Bounded, so that a flood of posted work leaves the window its turn.
    constexpr std::size_t atOnce = 2'000;
    const bool more = mainThread_.pump(atOnce) == atOnce;
    if (onPumped) onPumped();
    if (more) {
        timer_.start(0);
        return;
    }
    if (const auto deadline = mainThread_.nextDeadline()) {
        const std::int64_t left = (*deadline - clock_.now()).nanoseconds;
        timer_.start(static_cast<int>(std::clamp<std::int64_t>((left + 999'999) / 1'000'000, 0, 60'000)));
    } else {
        timer_.stop();
    }
}

} // namespace marvo::ui
