#include "platform/ActivityAssertion.h"

#include "platform/BusConnection.h"

#include <unistd.h>

namespace marvo {

namespace {

constexpr const char* program = "Marvo";

// Each of the four waits (two buses, a greeting and a request each) gets the same share.
Duration share(Duration timeout) {
    return Duration(timeout.nanoseconds / 4);
}

} // namespace

ActivityAssertion::ActivityAssertion(const std::string& reason, Duration timeout) {
    holdSleep(reason, share(timeout));
    holdScreen(reason, share(timeout));
}

ActivityAssertion::~ActivityAssertion() {
    if (sleepHold_ >= 0) close(sleepHold_);
}

void ActivityAssertion::holdSleep(const std::string& reason, Duration timeout) {
    const auto bus = BusConnection::open(BusKind::system, timeout, report_.sleepReason);
    if (!bus) return;
    const BusReply reply =
        bus->call({"org.freedesktop.login1",
                   "/org/freedesktop/login1",
                   "org.freedesktop.login1.Manager",
                   "Inhibit",
                   {std::string("idle:sleep"), std::string(program), reason, std::string("block")}},
                  timeout);
    report_.sleepReason = reply.error;
    if (!reply.succeeded) return;
    const BusDescriptor* const hold =
        reply.values.empty() ? nullptr : std::get_if<BusDescriptor>(&reply.values.front());
    if (!hold) {
        report_.sleepReason = "the login service gave no hold";
        return;
    }
    sleepHold_ = hold->descriptor;
    report_.sleepHeld = true;
}

void ActivityAssertion::holdScreen(const std::string& reason, Duration timeout) {
    auto bus = BusConnection::open(BusKind::session, timeout, report_.screenReason);
    if (!bus) return;
    const BusReply reply = bus->call({"org.freedesktop.ScreenSaver",
                                      "/org/freedesktop/ScreenSaver",
                                      "org.freedesktop.ScreenSaver",
                                      "Inhibit",
                                      {std::string(program), reason}},
                                     timeout);
    report_.screenReason = reply.error;
    if (!reply.succeeded) return;
    report_.screenHeld = true;
    session_ = std::move(bus);
}

} // namespace marvo
