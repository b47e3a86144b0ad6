// Keeps the machine awake while a show may play.
#pragma once

#include "platform/Clock.h"

#include <memory>
#include <string>

namespace marvo {

class BusConnection;

// What was obtained. A reason is empty where its hold is in place.
struct ActivityReport {
    bool sleepHeld = false;
    std::string sleepReason;
    bool screenHeld = false;
    std::string screenReason;
};

// Holds off sleep and idling through the login service of the system bus, and the screen saver through the
// session bus where there is one. Neither is needed for anything else: without them a show plays, on a
// machine that may doze.
//
// The holds end with this object, or with the process. Main thread; making one waits at most `timeout` in
// all.
class ActivityAssertion {
public:
    explicit ActivityAssertion(const std::string& reason, Duration timeout = Duration::ofSeconds(1));
    ~ActivityAssertion();
    ActivityAssertion(const ActivityAssertion&) = delete;
    ActivityAssertion& operator=(const ActivityAssertion&) = delete;

    const ActivityReport& report() const { return report_; }

private:
    void holdSleep(const std::string& reason, Duration timeout);
    void holdScreen(const std::string& reason, Duration timeout);

    ActivityReport report_;
    int sleepHold_ = -1;                     // the login service holds as long as this descriptor is open
    std::unique_ptr<BusConnection> session_; // the screen saver service as long as this connection is
};

} // namespace marvo
