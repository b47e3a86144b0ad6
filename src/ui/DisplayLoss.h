// The end of the process when its display goes away.
//
// The toolkit warns of it and leaves the process where it stands, out of the loop that waits for events.
// Nothing of the program is taken down and nobody has been told. What runs here instead, inside that warning,
// keeps the work, ends the show, and ends the process at once, so that no static object is destroyed under
// threads that still run. Where a library below the toolkit ends the process without a warning, the same is
// tried as it exits, when some static objects may be gone already. Where a thread of the toolkit notices
// first, it is held until the main thread has done the work. An end that comes from another thread without a
// warning is left as it is: there the show could be in the middle of anything.
//
// An end by main's own return takes the guard down first and is not affected. One in a process. Main thread.
#pragma once

#include <chrono>
#include <functional>

namespace marvo::ui {

class DisplayLoss {
public:
    // Of the process.
    static constexpr int exitStatus = 1;

    // The longest that another thread is held: the main thread may be stuck.
    explicit DisplayLoss(std::chrono::milliseconds longestHold = std::chrono::seconds(20));
    ~DisplayLoss();
    DisplayLoss(const DisplayLoss&) = delete;
    DisplayLoss& operator=(const DisplayLoss&) = delete;

    // The last thing the program does; it must not use the toolkit. Runs once.
    std::function<void()> onLost;
};

} // namespace marvo::ui
