#include "midi_suite.h"

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace marvo::e2e {

using testing::ElementsAre;

Bytes wire(const MIDIMessage& message) {
    const MIDIBytes bytes = encodeMIDI(message);
    return {bytes.span().begin(), bytes.span().end()};
}

Bytes wireSysex(const Bytes& payload) {
    Bytes bytes{0xf0};
    bytes.insert(bytes.end(), payload.begin(), payload.end());
    bytes.push_back(0xf7);
    return bytes;
}

MIDIMessage randomMessage(std::mt19937& random) {
    static constexpr std::uint8_t types[] = {0x80, 0x90, 0xa0, 0xb0, 0xc0, 0xd0, 0xe0, 0xf1,
                                             0xf2, 0xf3, 0xf6, 0xf8, 0xfa, 0xfb, 0xfc};
    const auto byte = [&](unsigned mask) { return static_cast<std::uint8_t>(random() & mask); };
    return {types[random() % std::size(types)], byte(15), byte(127), byte(127)};
}

Bytes randomSysex(std::mt19937& random, std::size_t size) {
    Bytes payload(size);
    for (std::uint8_t& byte : payload) byte = static_cast<std::uint8_t>(random() & 127);
    return payload;
}

std::vector<Bytes> bytesOf(const std::vector<PeerEvent>& events) {
    std::vector<Bytes> bytes;
    for (const PeerEvent& event : events) bytes.push_back(event.bytes);
    return bytes;
}

void Received::receivedMIDI(std::span<const MIDIMessage> messages, MonotonicTime arrival) {
    const std::lock_guard hold(lock_);
    for (const MIDIMessage& message : messages) all_.push_back({wire(message), arrival});
}

void Received::receivedSysex(std::span<const std::uint8_t> payload, MonotonicTime arrival) {
    const std::lock_guard hold(lock_);
    all_.push_back({wireSysex({payload.begin(), payload.end()}), arrival});
}

std::vector<Received::One> Received::all() {
    const std::lock_guard hold(lock_);
    return all_;
}

std::vector<Bytes> Received::bytes() {
    std::vector<Bytes> bytes;
    for (One& one : all()) bytes.push_back(std::move(one.bytes));
    return bytes;
}

void MIDIWorld::launch() {
    auto result = makeMIDITransport(system_ == "jack" ? MIDIChoice::jack : MIDIChoice::alsa, JackAdmission());
    reason = result.reason;
    transport = std::move(result.transport);
    transport->onTrouble([this](const MIDITrouble& trouble) {
        const std::lock_guard hold(lock);
        troubles.push_back(trouble.port + ":" + trouble.reason + (trouble.began ? "" : " no more"));
    });
    transport->onSetupChanged([this] { ++setupChanges; });
}

std::size_t MIDIWorld::troubleCount() {
    const std::lock_guard hold(lock);
    return troubles.size();
}

std::unique_ptr<MIDIOutput> MIDIWorld::heardSender(Peer& peer, const std::string& name) {
    auto output = transport->makeVirtualSender(name);
    EXPECT_TRUE(eventually([&] { return peer.hearFrom(name); }, bound));
    // A connection may hold only from the next round of the sound system on.
    EXPECT_TRUE(eventually(
        [&] {
            send(*output, {0xfe, 0, 0, 0});
            return !peer.takeHeard().empty();
        },
        bound));
    settle(peer);
    return output;
}

std::unique_ptr<MIDIInput> MIDIWorld::playedReceiver(Peer& peer, std::shared_ptr<Received> received) {
    auto input = transport->makeVirtualReceiver("To Marvo", std::move(received));
    EXPECT_TRUE(eventually([&] { return peer.playTo("To Marvo"); }, bound));
    EXPECT_TRUE(eventually([&] { return peer.isHeardByAnybody(); }, bound));
    return input;
}

void MIDIWorld::settle(Peer& peer) {
    do {
        std::this_thread::sleep_for(milliseconds(50));
    } while (!peer.takeHeard().empty());
}

bool MIDIWorld::hears(Peer& peer, const Bytes& bytes) {
    return eventually(
        [&] {
            for (PeerEvent& event : peer.takeHeard()) collected.push_back(std::move(event));
            return std::any_of(collected.begin(), collected.end(),
                               [&](const PeerEvent& event) { return event.bytes == bytes; });
        },
        bound);
}

std::vector<PeerEvent> MIDIWorld::collect(Peer& peer, std::size_t count) {
    std::vector<PeerEvent> all;
    eventually(
        [&] {
            for (PeerEvent& event : peer.takeHeard()) all.push_back(std::move(event));
            return all.size() >= count;
        },
        bound);
    return all;
}

const MIDIEndpoint* MIDIWorld::find(const std::vector<MIDIEndpoint>& list, const std::string& name) const {
    const auto found =
        std::find_if(list.begin(), list.end(), [&](const MIDIEndpoint& each) { return each.name == name; });
    return found == list.end() ? nullptr : &*found;
}

void MIDIWorld::everyMessageArrivesByteForByteAndInOrder() {
    launch();
    const auto desk = peer("desk");
    const auto output = heardSender(*desk);
    std::mt19937 random(1);
    std::vector<Bytes> expected;
    for (int i = 0; i < 5000; ++i) {
        const MIDIMessage message = randomMessage(random);
        send(*output, message);
        expected.push_back(wire(message));
        if (i % 100 != 0) continue;
        const Bytes payload = randomSysex(random, random() % 600);
        output->sendSysex(payload, {});
        expected.push_back(wireSysex(payload));
        std::this_thread::sleep_for(milliseconds(1));
    }
    EXPECT_TRUE(bytesOf(collect(*desk, expected.size())) == expected);
    EXPECT_EQ(output->counters().dropped, 0U);
}

void MIDIWorld::aBurstArrivesWhole() {
    launch();
    const auto desk = peer("desk");
    const auto output = heardSender(*desk);
    std::vector<MIDIMessage> burst;
    std::vector<Bytes> expected;
    for (int i = 0; i < 4000; ++i) {
        burst.push_back({MIDIMessage::controlChange, static_cast<std::uint8_t>(i >> 7 & 15),
                         static_cast<std::uint8_t>(i & 127), static_cast<std::uint8_t>(i >> 5 & 127)});
        expected.push_back(wire(burst.back()));
    }
    output->send(burst, {});
    EXPECT_TRUE(bytesOf(collect(*desk, expected.size())) == expected);
    EXPECT_EQ(output->counters().dropped, 0U);
}

void MIDIWorld::longSystemExclusiveMessagesArriveWholeBothWays() {
    launch();
    const auto desk = peer("desk");
    const auto output = heardSender(*desk);
    const auto received = std::make_shared<Received>();
    const auto input = playedReceiver(*desk, received);
    std::mt19937 random(2);
    std::vector<Bytes> expected;
    std::vector<PeerEvent> back;
    for (const std::size_t size : {0U, 1U, 100U, 1000U, 5000U, 16'384U}) {
        const Bytes payload = randomSysex(random, size);
        output->sendSysex(payload, {});
        expected.push_back(wireSysex(payload));
        back.push_back({0, expected.back()});
    }
    EXPECT_TRUE(bytesOf(collect(*desk, expected.size())) == expected);
    desk->play(back);
    EXPECT_TRUE(eventually([&] { return received->bytes() == expected; }, bound));
}

void MIDIWorld::aBurstComesInWhole() {
    launch();
    const auto desk = peer("desk");
    const auto received = std::make_shared<Received>();
    const auto input = playedReceiver(*desk, received);
    std::mt19937 random(4);
    std::vector<Bytes> expected;
    std::vector<PeerEvent> burst;
    for (int i = 0; i < 2000; ++i) {
        expected.push_back(wire(randomMessage(random)));
        burst.push_back({0, expected.back()});
    }
    desk->play(burst);
    EXPECT_TRUE(eventually([&] { return received->bytes() == expected; }, bound));
}

void MIDIWorld::devicesComeAndGo() {
    launch();
    const auto received = std::make_shared<Received>();
    const std::size_t others = transport->endpoints().destinations.size();
    std::unique_ptr<MIDIOutput> output;
    std::unique_ptr<MIDIInput> input;
    for (int time = 1; time <= 5; ++time) {
        auto desk = peer("desk");
        ASSERT_TRUE(
            eventually([&] { return find(transport->endpoints().sources, "desk") != nullptr; }, bound));
        const MIDIEndpoints all = transport->endpoints();
        ASSERT_TRUE(find(all.destinations, "desk"));
        EXPECT_EQ(all.destinations.size(), others + 1);
        output = transport->openDestination(*find(all.destinations, "desk"));
        input = transport->openSource(*find(all.sources, "desk"), received);
        send(*output, on(60)); // the first message opens the way, and is not lost on it
        collected.clear();
        ASSERT_TRUE(hears(*desk, onBytes)) << time;
        EXPECT_EQ(collected.front().bytes, time > 1 ? offBytes : onBytes)
            << "what sounded before was not ended";
        ASSERT_TRUE(eventually([&] { return desk->isHeardByAnybody(); }, bound));
        desk->play(Bytes{0xb0, 7, 1});
        EXPECT_TRUE(
            eventually([&] { return received->all().size() == static_cast<std::size_t>(time); }, bound));
        desk.reset();
        ASSERT_TRUE(eventually([&] { return transport->endpoints().destinations.size() == others; }, bound));
        output.reset();
        input.reset();
    }
    EXPECT_GE(setupChanges, 10);
}

void MIDIWorld::aHundredPortsComeAndGoWithoutATrace() {
    launch();
    const auto desk = peer("desk");
    for (int time = 0; time < 3; ++time) {
        std::vector<std::unique_ptr<MIDIOutput>> outputs;
        for (int i = 0; i < 100; ++i) {
            outputs.push_back(transport->makeVirtualSender("Out " + std::to_string(i)));
            send(*outputs.back(), on(60));
        }
        EXPECT_TRUE(eventually([&] { return desk->marvoPorts().size() == 100; }, bound));
        outputs.clear();
        EXPECT_TRUE(eventually([&] { return desk->marvoPorts().empty(); }, bound));
    }
    EXPECT_EQ(troubleCount(), 0U);
}

void MIDIWorld::notesEndWhenThePortClosesAndWhenTheProgramEnds() {
    launch();
    const auto desk = peer("desk");
    auto first = heardSender(*desk, "First");
    auto second = heardSender(*desk, "Second");
    for (int time = 0; time < 2; ++time) send(*first, on(60));
    send(*second, on(61));
    EXPECT_EQ(collect(*desk, 3).size(), 3U);
    first.reset();
    EXPECT_THAT(bytesOf(collect(*desk, 2)), ElementsAre(offBytes, offBytes));
    transport.reset();
    EXPECT_TRUE(hears(*desk, {0x80, 61, 0}));
    EXPECT_TRUE(desk->marvoPorts().empty());
}

void MIDIWorld::notesEndWhenTheProgramCrashes() {
    for (const int number : {SIGSEGV, SIGABRT}) {
        const auto desk = peer("desk");
        int ready[2];
        ASSERT_EQ(pipe2(ready, O_CLOEXEC), 0);
        const pid_t child = spawnSelf({"--crash", system_, std::to_string(number)}, ready[0], 1);
        close(ready[0]);
        EXPECT_TRUE(eventually([&] { return desk->hearFrom("Marvo Midi Out 1"); }, bound));
        collected.clear();
        EXPECT_TRUE(hears(*desk, onBytes));
        close(ready[1]);
        EXPECT_TRUE(hears(*desk, offBytes));
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == number);
        std::size_t struck = 0;
        std::size_t ended = 0;
        eventually(
            [&] {
                for (PeerEvent& event : desk->takeHeard()) collected.push_back(std::move(event));
                const auto bytes = bytesOf(collected);
                struck = static_cast<std::size_t>(std::count(bytes.begin(), bytes.end(), onBytes));
                ended = static_cast<std::size_t>(std::count(bytes.begin(), bytes.end(), offBytes));
                return ended >= struck;
            },
            bound);
        EXPECT_GE(ended, struck);
        EXPECT_EQ(collected.back().bytes, offBytes);
    }
}

} // namespace marvo::e2e
