// MIDI over a JACK server that runs for real, heard by other clients of it.
#include "midi_jack_server.h"
#include "midi_suite.h"

#include <algorithm>
#include <cmath>
#include <csignal>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace marvo::e2e {
namespace {

using testing::ElementsAre;

class JackMIDI : public MIDIWorld {
protected:
    JackMIDI() : MIDIWorld("jack") {
        server.start();
        peer("first"); // returns when the server answers
    }

    JackServer server;
};

TEST_F(JackMIDI, PortsAreSeenUnderTheirNames) {
    launch();
    EXPECT_EQ(transport->kind(), "jack");
    EXPECT_EQ(reason, "");
    const auto one = transport->makeVirtualSender("Marvo Midi Out 1");
    const auto in = transport->makeVirtualReceiver("To Marvo", std::make_shared<Received>());
    const auto desk = peer("desk");
    EXPECT_TRUE(eventually([&] { return desk->marvoPorts().size() == 2; }, bound));
    EXPECT_THAT(desk->marvoPorts(), ElementsAre("Marvo Midi Out 1", "To Marvo"));
}

TEST_F(JackMIDI, EveryMessageArrivesByteForByteAndInOrder) {
    everyMessageArrivesByteForByteAndInOrder();
}

TEST_F(JackMIDI, ABurstArrivesWhole) {
    aBurstArrivesWhole();
}

TEST_F(JackMIDI, ABurstComesInWhole) {
    aBurstComesInWhole();
}

TEST_F(JackMIDI, LongSystemExclusiveMessagesArriveWholeBothWays) {
    longSystemExclusiveMessagesArriveWholeBothWays();
}

TEST_F(JackMIDI, DevicesComeAndGo) {
    devicesComeAndGo();
}

TEST_F(JackMIDI, AHundredPortsComeAndGoWithoutATrace) {
    aHundredPortsComeAndGoWithoutATrace();
}

TEST_F(JackMIDI, NotesEndWhenThePortClosesAndWhenTheProgramEnds) {
    notesEndWhenThePortClosesAndWhenTheProgramEnds();
}

TEST_F(JackMIDI, NotesEndWhenTheProgramCrashes) {
    notesEndWhenTheProgramCrashes();
}

// How far the distances of neighbours in frames lie off those in time, at the median and for three of four. A
// server that misses a cycle makes some distances wrong, and only those.
struct Spread {
    double median = 0;
    double threeOfFour = 0;
};
Spread spreadOf(const std::vector<std::uint64_t>& frames, const std::vector<double>& seconds) {
    std::vector<double> off;
    for (std::size_t i = 1; i < frames.size(); ++i) {
        const double expected = (seconds[i] - seconds[i - 1]) * JackServer::sampleRate;
        off.push_back(std::abs(static_cast<double>(frames[i] - frames[i - 1]) - expected));
    }
    std::sort(off.begin(), off.end());
    const Spread spread{off[off.size() / 2], off[off.size() * 3 / 4]};
    std::printf("frames off: median %.2f, three of four below %.2f\n", spread.median, spread.threeOfFour);
    return spread;
}

// What is left is rounding, and the server's own filter over its cycles. Events that all stood at the
// beginning of their period would be 48 frames off at the median, where they are a millisecond apart.
constexpr double medianBound = 2.0;
constexpr double threeOfFourBound = 8.0;

TEST_F(JackMIDI, DistancesAreKeptToTheFrame) {
    launch();
    const auto desk = peer("desk");
    const auto output = heardSender(*desk);
    std::vector<double> sentAt;
    auto next = std::chrono::steady_clock::now();
    for (int i = 0; i < 2000; ++i) {
        next += milliseconds(1);
        std::this_thread::sleep_until(next);
        sentAt.push_back(
            std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count());
        send(*output, {MIDIMessage::controlChange, 0, static_cast<std::uint8_t>(i & 127), 1});
    }
    std::vector<std::uint64_t> frames;
    for (const PeerEvent& event : collect(*desk, sentAt.size())) frames.push_back(event.frame);
    ASSERT_EQ(frames.size(), sentAt.size());
    const Spread spread = spreadOf(frames, sentAt);
    EXPECT_LT(spread.median, medianBound);
    EXPECT_LT(spread.threeOfFour, threeOfFourBound);
}

TEST_F(JackMIDI, WhatComesInIsTimedToTheFrame) {
    launch();
    const auto desk = peer("desk");
    const auto received = std::make_shared<Received>();
    const auto input = playedReceiver(*desk, received);
    std::mt19937 random(3);
    std::vector<PeerEvent> events;
    std::uint64_t frame = 0;
    for (int i = 0; i < 2000; ++i) {
        frame += 1 + random() % 90;
        events.push_back(
            {frame, {0xb0, static_cast<std::uint8_t>(i >> 7), static_cast<std::uint8_t>(i & 127)}});
    }
    desk->play(events);
    ASSERT_TRUE(eventually([&] { return received->all().size() >= events.size(); }, bound));
    const auto all = received->all();
    std::vector<std::uint64_t> frames;
    std::vector<double> seconds;
    for (std::size_t i = 0; i < all.size(); ++i) {
        ASSERT_EQ(all[i].bytes, events[i].bytes);
        frames.push_back(events[i].frame);
        seconds.push_back(static_cast<double>(all[i].arrival.nanoseconds) * 1e-9);
    }
    const Spread spread = spreadOf(frames, seconds);
    EXPECT_LT(spread.median, medianBound);
    EXPECT_LT(spread.threeOfFour, threeOfFourBound);
}

TEST_F(JackMIDI, TwoOfTheSameNameStayApart) {
    const auto one = peer("pad");
    const auto two = peer("pad");
    ASSERT_NE(one->name(), two->name());
    launch();
    EXPECT_EQ(transport->endpoints().destinations.size(), 2U);
    for (Peer* each : {one.get(), two.get()}) {
        const MIDIEndpoints all = transport->endpoints();
        ASSERT_TRUE(find(all.destinations, each->name()));
        const auto output = transport->openDestination(*find(all.destinations, each->name()));
        send(*output, on(60));
        EXPECT_TRUE(hears(*each, onBytes));
        collected.clear();
    }
    settle(*one);
    settle(*two);
}

TEST_F(JackMIDI, AfterEveryRestartOfTheServerItPlaysOnWithinTwoSeconds) {
    launch();
    auto desk = peer("desk");
    const auto output = heardSender(*desk);
    const auto received = std::make_shared<Received>();
    const auto input = playedReceiver(*desk, received);
    for (int time = 1; time <= 10; ++time) {
        send(*output, on(60));
        ASSERT_TRUE(hears(*desk, onBytes));
        server.stop(time % 2 == 0 ? SIGTERM : SIGKILL);
        ASSERT_TRUE(eventually([&] { return transport->kind() == "away"; }, bound));
        send(*output, on(70)); // there is nobody
        desk.reset();
        server.start();
        desk = peer("desk");
        const auto back = std::chrono::steady_clock::now();
        ASSERT_TRUE(eventually([&] { return desk->hearFrom("Marvo Midi Out 1"); }, bound));
        ASSERT_TRUE(eventually([&] { return desk->playTo("To Marvo"); }, bound));
        collected.clear();
        EXPECT_TRUE(hears(*desk, offBytes)) << time;
        EXPECT_LT(std::chrono::steady_clock::now() - back, std::chrono::seconds(2)) << time;
        EXPECT_EQ(collected.front().bytes, offBytes) << "what was sent meanwhile came late";
        collected.clear();
        ASSERT_TRUE(eventually([&] { return desk->isHeardByAnybody(); }, bound));
        desk->play(Bytes{0xb0, 7, 1});
        EXPECT_TRUE(
            eventually([&] { return received->all().size() == static_cast<std::size_t>(time); }, bound));
    }
    EXPECT_TRUE(eventually([&] { return troubleCount() == 20; }, bound));
    const std::lock_guard hold(lock);
    for (std::size_t i = 0; i < troubles.size(); ++i)
        EXPECT_EQ(troubles[i].find(" no more") != std::string::npos, i % 2 == 1) << troubles[i];
}

TEST_F(JackMIDI, AServerThatComesLaterIsFound) {
    server.stop(SIGTERM);
    launch();
    EXPECT_EQ(transport->kind(), "away");
    EXPECT_EQ(reason, "no JACK server answers");
    const auto output = transport->makeVirtualSender("Marvo Midi Out 1");
    server.start();
    const auto desk = peer("desk");
    const auto there = std::chrono::steady_clock::now();
    EXPECT_TRUE(eventually([&] { return desk->marvoPorts().size() == 1; }, bound));
    EXPECT_LT(std::chrono::steady_clock::now() - there, std::chrono::seconds(2));
    EXPECT_TRUE(eventually([&] { return troubleCount() == 2; }, bound));
}

TEST_F(JackMIDI, AServerThatStandsStillIsNoticedAndHoldsUpNobody) {
    launch();
    const auto desk = peer("desk");
    const auto output = heardSender(*desk);
    server.freeze();
    const auto frozen = std::chrono::steady_clock::now();
    EXPECT_TRUE(eventually([&] { return transport->kind() == "away"; }, bound));
    EXPECT_LT(std::chrono::steady_clock::now() - frozen, std::chrono::seconds(2));
    const auto before = std::chrono::steady_clock::now();
    for (int i = 0; i < 1000; ++i) send(*output, on(60));
    (void)transport->makeVirtualSender("Another");
    EXPECT_LT(std::chrono::steady_clock::now() - before, milliseconds(200));
    server.thaw();
    const auto thawed = std::chrono::steady_clock::now();
    EXPECT_TRUE(eventually([&] { return desk->hearFrom("Marvo Midi Out 1"); }, bound));
    EXPECT_LT(std::chrono::steady_clock::now() - thawed, std::chrono::seconds(3));
}

TEST_F(JackMIDI, NothingIsWrittenToTheTerminal) {
    char path[] = "/dev/shm/marvo-said-XXXXXX";
    const int file = mkstemp(path);
    const int before = dup(2);
    dup2(file, 2);
    launch();
    {
        const auto desk = peer("desk");
        const auto output = heardSender(*desk);
        server.stop(SIGKILL);
        EXPECT_TRUE(eventually([&] { return transport->kind() == "away"; }, bound));
    }
    server.start();
    EXPECT_TRUE(eventually([&] { return transport->kind() == "jack"; }, bound));
    transport.reset();
    dup2(before, 2);
    close(before);
    EXPECT_EQ(lseek(file, 0, SEEK_END), 0);
    close(file);
    unlink(path);
}

TEST_F(JackMIDI, AToolOfOthersHearsTheSame) {
    launch();
    int output[2];
    ASSERT_EQ(pipe2(output, 0), 0);
    const pid_t tool = fork();
    if (tool == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        dup2(output[1], 1);
        execlp("jack_midi_dump", "jack_midi_dump", "-a", "dump", nullptr);
        _exit(127);
    }
    close(output[1]);
    ASSERT_TRUE(eventually([&] { return find(transport->endpoints().destinations, "dump"); }, bound));
    const auto way = transport->openDestination(*find(transport->endpoints().destinations, "dump"));
    send(*way, {MIDIMessage::controlChange, 2, 20, 111});
    // It keeps its lines back until there are enough of them.
    std::string text;
    fcntl(output[0], F_SETFL, O_NONBLOCK);
    EXPECT_TRUE(eventually(
        [&] {
            send(*way, {MIDIMessage::controlChange, 2, 21, 112});
            std::this_thread::sleep_for(milliseconds(1));
            char space[4096];
            const ssize_t size = read(output[0], space, sizeof space);
            if (size > 0) text.append(space, static_cast<std::size_t>(size));
            return text.find("b2 15 70") != std::string::npos;
        },
        bound))
        << text;
    EXPECT_NE(text.find("b2 14 6f"), std::string::npos) << text;
    kill(tool, SIGKILL);
    waitpid(tool, nullptr, 0);
    close(output[0]);
}

} // namespace
} // namespace marvo::e2e
