// Registry of OSC commands that act on the sender's thread, inside the composition queue.
#pragma once

#include "controls/OSCArgument.h"

#include <functional>
#include <string>

namespace marvo {

class OSCCommands {
public:
    virtual ~OSCCommands() = default;

    // The handler runs with the composition queue held, on whichever thread brings the message. Main thread.
    // extraInfo: what to send, for those who read the list of addresses ("integer from 1").
    virtual void listen(const void* owner, std::string address, std::string extraInfo,
                        std::function<void(const OSCArgument&)> handler) = 0;
    // When it returns, no handler of the owner runs or will run. Main thread.
    virtual void drop(const void* owner) = 0;
};

} // namespace marvo
