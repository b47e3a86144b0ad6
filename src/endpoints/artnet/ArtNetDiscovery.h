// Asks who is there, answers those who ask, and knows where each universe goes.
//
// Not thread-safe: the server holds a lock. Time is an argument; what is to be sent goes to the port at once.
#pragma once

#include "endpoints/artnet/ArtNetNodes.h"
#include "endpoints/artnet/ArtNetOutputs.h"
#include "endpoints/artnet/ArtNetPacket.h"
#include "endpoints/artnet/ArtNetRoutes.h"
#include "endpoints/artnet/ArtNetTypes.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace marvo {

// A universe that leaves.
struct ArtNetSentUniverse {
    int universe = 0;
    ArtNetSending sending;
    std::string displayedName; // for messages to the user
};

class ArtNetDiscovery {
public:
    static constexpr Duration pollEvery = Duration::ofMilliseconds(2750);
    // Answers are spread over this time, so that not all devices of a network answer at one moment.
    static constexpr Duration longestAnswerDelay = Duration::ofMilliseconds(900);
    static constexpr std::size_t mostAnswersWaiting = 64;
    // More subscribers than this are served by one packet to all.
    static constexpr std::size_t mostUnicasts = 40;
    // Time for devices to answer before it is said that nobody listens.
    static constexpr Duration patience = Duration::ofSeconds(6);

    ArtNetDiscovery(std::string shortName, std::string longName);

    // Begins anew on a port; null ends it. Devices stay known while the network is the same.
    void start(std::shared_ptr<ArtNetPort> port, std::optional<ArtNetInputSettings> input, MonotonicTime now);
    void pollNow() { nextPoll_ = MonotonicTime(); }
    void setSentUniverses(std::vector<ArtNetSentUniverse> universes, MonotonicTime now);
    void setSync(bool sync) { sync_ = sync; }

    // True when the list of nodes has changed.
    bool received(const ArtPollReply& reply, IPv4Address from, MonotonicTime now);
    void received(const ArtPoll& poll, IPv4Address from, MonotonicTime now);

    // Polls, answers and forgets what is due. True when the list of nodes has changed.
    bool keepUp(MonotonicTime now);
    MonotonicTime nextDeadline() const;

    const ArtNetNodes& nodes() const { return nodes_; }
    ArtNetRoutes makeRoutes() const;
    // The universes that leave to somebody.
    static UniverseSet servedOf(const ArtNetRoutes& routes);
    // The displayed names of the outputs that nobody listens to, once there was time to answer; empty while
    // there is no network.
    std::vector<std::string> outputsWithoutListener(MonotonicTime now) const;

private:
    struct Answer {
        IPv4Address to;
        MonotonicTime due;
    };

    void sendPoll();
    void sendReply(IPv4Address to);
    ArtPollReply makeReply() const;
    Duration nextAnswerDelay();

    const std::string shortName_;
    const std::string longName_;
    std::shared_ptr<ArtNetPort> port_;
    std::optional<ArtNetInputSettings> input_;
    bool sync_ = false;
    std::vector<ArtNetSentUniverse> sent_;
    std::vector<MonotonicTime> sentSince_; // of each in sent_: when listening could begin
    ArtNetNodes nodes_;
    MonotonicTime nextPoll_;
    MonotonicTime nextExpiry_;
    std::vector<Answer> answers_;
    std::uint32_t random_ = 1;
    std::uint32_t repliesSent_ = 0;
};

} // namespace marvo
