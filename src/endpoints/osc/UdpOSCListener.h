// One input over UDP: a thread that receives, decodes and delivers.
//
// Malformed packets are counted and dropped. A flood is taken in pieces, so that the end of the port is never
// far away.
#pragma once

#include "endpoints/osc/OSCIntake.h"
#include "endpoints/osc/OSCTransport.h"
#include "platform/UdpSocket.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>

namespace marvo {

class UdpOSCListener final : public OSCListener {
public:
    // Null when the port cannot be bound. bindAddress: numeric; empty for all addresses.
    static std::unique_ptr<UdpOSCListener> open(const std::string& bindAddress, int port,
                                                OSCMessageReceiver& receiver);
    ~UdpOSCListener() override; // waits for the message that is being delivered

    int port() const override { return port_; }
    std::uint64_t malformed() const { return intake_.malformed(); }

private:
    UdpOSCListener(UdpSocket socket, int port, OSCMessageReceiver& receiver);
    void run();

    UdpSocket socket_;
    const int port_;
    OSCIntake intake_;
    int wake_ = -1;
    std::atomic<bool> stopping_{false};
    std::thread thread_;
};

} // namespace marvo
