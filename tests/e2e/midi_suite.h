// What every sound system has to carry, and what tests of one of them need.
#pragma once

#include "midi_peer.h"

#include "Eventually.h"
#include "endpoints/midi/MIDIBytes.h"
#include "endpoints/midi/MIDITransportChoice.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <vector>

namespace marvo::e2e {

using Bytes = std::vector<std::uint8_t>;
using std::chrono::milliseconds;

constexpr milliseconds bound{15'000}; // after which something that has to happen counts as missing

inline const Bytes onBytes{0x90, 60, 100};
inline const Bytes offBytes{0x80, 60, 0};
inline MIDIMessage on(int key) {
    return {MIDIMessage::noteOn, 0, static_cast<std::uint8_t>(key), 100};
}
Bytes wire(const MIDIMessage& message);
Bytes wireSysex(const Bytes& payload);
MIDIMessage randomMessage(std::mt19937& random);
Bytes randomSysex(std::mt19937& random, std::size_t size);
std::vector<Bytes> bytesOf(const std::vector<PeerEvent>& events);

// What a receiver of Marvo got.
class Received final : public MIDIInputReceiver {
public:
    struct One {
        Bytes bytes;
        MonotonicTime arrival;
    };
    void receivedMIDI(std::span<const MIDIMessage> messages, MonotonicTime arrival) override;
    void receivedSysex(std::span<const std::uint8_t> payload, MonotonicTime arrival) override;
    std::vector<One> all();
    std::vector<Bytes> bytes();

private:
    std::mutex lock_;
    std::vector<One> all_;
};

class MIDIWorld : public testing::Test {
protected:
    explicit MIDIWorld(std::string system) : system_(std::move(system)) {}

    void launch();
    std::size_t troubleCount();
    std::unique_ptr<Peer> peer(const std::string& name) const {
        return std::make_unique<Peer>(system_, name);
    }
    // A virtual sender that the peer hears.
    std::unique_ptr<MIDIOutput> heardSender(Peer& peer, const std::string& name = "Marvo Midi Out 1");
    // A virtual receiver that the peer plays to.
    std::unique_ptr<MIDIInput> playedReceiver(Peer& peer, std::shared_ptr<Received> received);
    // Until nothing arrives any more.
    static void settle(Peer& peer);
    static void send(MIDIOutput& output, const MIDIMessage& message) { output.send({&message, 1}, {}); }
    // Whether these bytes come; all that came is in `collected`.
    bool hears(Peer& peer, const Bytes& bytes);
    static std::vector<PeerEvent> collect(Peer& peer, std::size_t count);
    const MIDIEndpoint* find(const std::vector<MIDIEndpoint>& list, const std::string& name) const;

    void everyMessageArrivesByteForByteAndInOrder();
    void aBurstArrivesWhole();
    void longSystemExclusiveMessagesArriveWholeBothWays();
    void aBurstComesInWhole();
    void devicesComeAndGo();
    void aHundredPortsComeAndGoWithoutATrace();
    void notesEndWhenThePortClosesAndWhenTheProgramEnds();
    void notesEndWhenTheProgramCrashes();

    const std::string system_;
    std::unique_ptr<MIDITransport> transport;
    std::string reason;
    std::mutex lock;
    std::vector<std::string> troubles;
    std::atomic<int> setupChanges{0};
    std::vector<PeerEvent> collected;
};

} // namespace marvo::e2e
