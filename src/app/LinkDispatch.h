// What happens to packets of the machine link and to changes on the DMX input universe.
//
// Runs on the threads that bring them.
#pragma once

#include "endpoints/artnet/ArtNetTypes.h"
#include "platform/MainThread.h"

#include <cstdint>
#include <span>

namespace marvo {

class AppDelegate;

class LinkDispatch {
public:
    explicit LinkDispatch(AppDelegate& application);

    // Play, stop and locate of another machine. Shorter than 12 bytes does nothing.
    void receivedNMCMessage(std::span<const std::uint8_t> data);
    void receivedDMX(std::span<const DMXPair> changes);

private:
    AppDelegate& application_;
    MainThread::Signal searchSignal_;
};

} // namespace marvo
