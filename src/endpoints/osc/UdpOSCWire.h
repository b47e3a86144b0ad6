// One output over UDP.
//
// Inside a tick a message is encoded into the batch of the wire, which leaves when the tick ends or when it
// is full; any other thread encodes into memory of its own and sends at once. Without an address a message is
// only counted. The keeper thread connects, and connects again behind the same descriptor, so that a sender
// never meets a closed one.
#pragma once

#include "endpoints/osc/OSCTransport.h"
#include "endpoints/osc/TickCollector.h"
#include "platform/DatagramBatch.h"
#include "platform/UdpSocket.h"

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>

namespace marvo {

class OutputKeeper;

class UdpOSCWire final : public OSCWire {
public:
    static constexpr std::size_t largestDatagram = 65507;

    // collector: of the transport; it outlives the wire.
    UdpOSCWire(std::string label, std::string address, int port, TickCollector& collector);

    void send(const OSCMessage& message, const SendOrigin& origin) override;
    OutputCounters counters() const override;
    void setTarget(const std::string& address, int port) override;
    void setLabel(const std::string& label) override;

    // A numeric address connects at once, so that the first message of a show is not lost. Main thread.
    void connectIfNumeric();
    // One round of care. Keeper thread.
    void look(OutputKeeper& keeper);
    // Sends what the tick has left. Called on its thread, by the collector.
    void flush();

private:
    friend class TickCollector; // for the list of wires to flush

    struct Target {
        std::string label;
        std::string address;
        int port = 0;
    };

    void sendAtOnce(const OSCMessage& message);
    void keep(const OSCMessage& message);
    void sendKept();
    void count(const DatagramTally& tally);
    void connectTo(const SocketAddress& address);
    void setTrouble(OutputKeeper& keeper, const std::string& label, const std::string& reason);
    // False while a look-up runs.
    bool care(OutputKeeper& keeper, const Target& target);

    // What the sender needs; written by whoever connects.
    UdpSocket socket_;
    std::atomic<int> descriptor_{-1};
    std::atomic<std::uint64_t> sent_{0};
    std::atomic<std::uint64_t> dropped_{0};
    std::atomic<std::uint64_t> bytes_{0};
    std::atomic<int> sendError_{0};          // errno of the last send; 0 after one that worked
    std::atomic<std::uint64_t> tooLarge_{0}; // size of a message that no datagram holds
    std::atomic<bool> segments_{false};      // the present route takes rows of datagrams

    // Thread of the tick, between its beginning and its end.
    TickCollector& collector_;
    DatagramBatch batch_;
    bool isNoted_ = false;
    UdpOSCWire* nextToFlush_ = nullptr;

    std::mutex lock_; // target and socket replacement; never taken by send
    Target target_;
    bool targetChanged_ = true; // since the keeper looked
    bool connected_ = false;
    int connectError_ = 0; // errno

    // Keeper thread.
    std::string trouble_;
    bool toldTooLarge_ = false;
    int roundsToWait_ = 0;
    int waitRounds_ = 1;
};

} // namespace marvo
