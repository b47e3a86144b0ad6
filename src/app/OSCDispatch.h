// What happens to an OSC message that came in: it is noted, recorded, obeyed, answered, or routed to whoever
// listens on its address.
//
// Runs on the thread of the port. Of one port messages are handled one after the other; the message of
// another port may come between.
#pragma once

#include "app/OSCReplies.h"
#include "endpoints/osc/OSCMessage.h"
#include "platform/MainThread.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace marvo {

class AppDelegate;

// The commands and questions that no listener stands for, with what to send.
struct FixedOSCAddress {
    std::string_view address;
    std::string_view extraInfo;
};
std::span<const FixedOSCAddress> fixedOSCAddresses();

class OSCDispatch {
public:
    explicit OSCDispatch(AppDelegate& application);

    void receivedOSCMessage(const OSCMessage& message);

private:
    void noteAddress(std::string_view address);
    // The address with the path of the selected composition for "/marvo/current/", which begins at `current`.
    // False, and nothing, without a selected composition.
    bool putSelectedInto(std::string& path, std::string_view address, std::size_t current) const;
    bool runFixedCommand(std::string_view address, const OSCValue* value);
    void awaitSelection();
    void selectComposition(std::int64_t position);
    void selectComposition(std::string name);
    // all: where "/marvo/all/" begins in the address, npos without it.
    void route(std::string_view address, std::size_t all, const OSCValue* value);

    AppDelegate& application_;
    OSCReplies replies_;
    MainThread::Signal searchSignal_;
};

} // namespace marvo
