// Speaks Art-Net: holds the DMX values of all universes, finds nodes, sends and receives.
//
// Values are written by any thread at any time. sendAllDMXData, called each millisecond, captures what
// changed and wakes the thread that sends; it never waits for the network. Starting and settings belong to
// the main thread.
#pragma once

#include "endpoints/artnet/ArtNetDiscovery.h"
#include "endpoints/artnet/ArtNetInput.h"
#include "endpoints/artnet/ArtNetRoutes.h"
#include "endpoints/artnet/ArtNetSender.h"
#include "endpoints/artnet/ArtNetTransport.h"
#include "endpoints/artnet/ArtNetTypes.h"
#include "endpoints/artnet/DMXBuffer.h"
#include "endpoints/artnet/DMXHandOver.h"
#include "endpoints/artnet/RecordingDMX.h"
#include "platform/Clock.h"
#include "platform/Published.h"
#include "platform/RealtimeThread.h"
#include "platform/SendOrigin.h"
#include "platform/WakeUp.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace marvo {

struct ArtNetServerOptions {
    // Off: nothing runs by itself; the owner calls runSender and runReceiver. For tests and rehearsals.
    bool ownThreads = true;
    std::string shortName = "Marvo"; // at most 17 bytes are shown
    std::string longName = "Marvo show control";
};

class ArtNetServer {
public:
    ArtNetServer(ArtNetTransport& transport, const Clock& clock, ArtNetServerOptions options = {});
    ~ArtNetServer();
    ArtNetServer(const ArtNetServer&) = delete;
    ArtNetServer& operator=(const ArtNetServer&) = delete;

    // Null for nobody. When it returns, the former delegate is not called any more.
    void setDelegate(ArtNetServerDelegate* delegate);
    // Told of each byte that is stored. Set it before anything is written.
    void setRecordingDMX(RecordingDMX* recording) { recording_ = recording; }

    // The represented value of an interface: an IPv4 address, with or without a remark behind a blank, or
    // "none" for no Art-Net, which always succeeds. False when the port cannot be had, and for "0" and "1",
    // which are links without an address; then nothing is sent or received. Without input settings nothing is
    // listened to. Replaces what ran; values, sequence numbers and, at the same address, nodes stay.
    bool startManagerWithIPAddress(std::string_view represented,
                                   const std::optional<ArtNetInputSettings>& inputSettings);
    // Why the latest start returned false.
    const std::string& startError() const { return startError_; }
    void startDiscoverDevices();
    // The displayed names of the outputs that no device listens to, once there was time to answer. Any
    // thread.
    std::vector<std::string> outputsWithoutListener() const;
    // Art-Net packets that left and that were given up. Any thread.
    std::uint64_t packetsSent() const { return sender_.packetsSent(); }
    std::uint64_t packetsFailed() const { return sender_.packetsFailed(); }

    // Sorted by address and port. Any thread.
    std::vector<ArtNetNode> listOfNodes() const;
    // Whether any universe that leaves has somebody to go to. Thread-safe, realtime-safe.
    bool hasNodesToProcess() const { return nodesToProcess_.load(std::memory_order_relaxed); }

    // The universes that leave, and no others; one entry a universe.
    void setSentUniverses(std::vector<ArtNetSentUniverse> universes);
    // Whether each burst is closed by an ArtSync, which lets nodes show all universes at one moment.
    void setSync(bool sync);

    // Stores one byte; anything outside the ranges is dropped, a value is limited to 0 to 255. Thread-safe,
    // realtime-safe.
    void setValue(std::int32_t value, std::int32_t channel, std::int32_t universe, const SendOrigin& origin) {
        if (channel < 1 || channel > channelsOfAUniverse || universe < 0 || universe >= universeCount) return;
        const int byte = value < 0 ? 0 : value > 255 ? 255 : value;
        buffer_.store(static_cast<std::uint8_t>(byte), channel, universe);
        if (recording_) recording_->valueStored(universe, channel, byte, origin);
    }
    // The 512 bytes of a universe from 0 to 255, for DMXBuffer::valueAt. Thread-safe, realtime-safe.
    const std::uint8_t* dmx(int universe) const { return buffer_.universe(universe); }

    // Hands what changed to the thread that sends. False when another thread was doing so at that moment and
    // the call should be made again, which the next millisecond does anyway. Thread-safe, realtime-safe.
    bool sendAllDMXData();

    // What the threads do, for an owner who has switched them off. Each returns when it wants to be called
    // again, at the latest. runReceiver handles a bounded number of packets.
    MonotonicTime runSender(MonotonicTime now) { return sender_.run(now); }
    MonotonicTime runReceiver(MonotonicTime now);

private:
    // A device that comes or goes changes the routes; many that do so at once change them together.
    static constexpr Duration routesEvery = Duration::ofMilliseconds(20);
    static constexpr Duration troublesEvery = Duration::ofMilliseconds(500);

    struct Trouble {
        std::string text; // empty while all is well
        void update(const std::string& now, const char* over, std::vector<ArtNetTrouble>& tell);
    };

    void startThreads();
    void receiveAll();
    void sendAll(const RealtimeThread& thread);
    bool handle(const ArtNetReceived& datagram, MonotonicTime now);
    void publishRoutes();
    void lookForTroubles(MonotonicTime now, std::vector<ArtNetTrouble>& tell);

    ArtNetTransport& transport_;
    const Clock& clock_;
    const ArtNetServerOptions options_;
    RecordingDMX* recording_ = nullptr;
    DMXBuffer buffer_;
    DMXHandOver handOver_;
    std::atomic<std::uint64_t> leaving_[UniverseSet::wordCount]{};
    std::atomic<bool> nodesToProcess_{false};
    std::string startError_;

    std::mutex delegateLock_; // held while the delegate is called
    ArtNetServerDelegate* delegate_ = nullptr;

    mutable std::mutex stateLock_; // never held while the delegate is called
    ArtNetDiscovery discovery_;
    ArtNetInput input_;
    std::shared_ptr<ArtNetPort> port_;
    bool routesChanged_ = false;
    MonotonicTime nextRoutes_;
    MonotonicTime nextTroubles_;
    Trouble unheard_;
    Trouble unsent_;

    Published<ArtNetRoutes> routes_; // written under stateLock_
    ArtNetSender sender_;
    WakeUp senderWake_;
    std::atomic<bool> senderSleeps_{false};
    WakeUp receiverWake_;
    std::atomic<bool> stopping_{false};
    std::thread receiver_; // owns the thread that sends
};

} // namespace marvo
