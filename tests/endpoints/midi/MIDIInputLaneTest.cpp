#include "endpoints/midi/MIDIInputLane.h"
#include "endpoints/midi/MIDIWakeup.h"

#include "Eventually.h"
#include "FakeMIDITransport.h"
#include "RealtimeScope.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <condition_variable>
#include <thread>

using namespace marvo;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class Lines final : public MIDIInputReceiver {
public:
    void receivedMIDI(std::span<const MIDIMessage> messages, MonotonicTime arrival) override {
        std::unique_lock hold(lock_);
        free_.wait(hold, [this] { return !held_; });
        for (const MIDIMessage& message : messages)
            lines_.push_back(std::to_string(arrival.nanoseconds) + ": " + hexOf(encodeMIDI(message).span()));
    }
    void receivedSysex(std::span<const std::uint8_t> payload, MonotonicTime arrival) override {
        const std::lock_guard hold(lock_);
        lines_.push_back(std::to_string(arrival.nanoseconds) + ": sysex " + hexOf(payload));
    }
    std::vector<std::string> waitFor(std::size_t count) {
        eventually([&] { return all().size() >= count; });
        return all();
    }
    std::vector<std::string> all() {
        const std::lock_guard hold(lock_);
        return lines_;
    }
    // Deliveries do not end while it is held.
    void hold(bool held) {
        const std::lock_guard hold(lock_);
        held_ = held;
        free_.notify_all();
    }

private:
    std::mutex lock_;
    std::condition_variable free_;
    bool held_ = false;
    std::vector<std::string> lines_;
};

class InputLane : public testing::Test {
protected:
    InputLane() {
        lane.add(port);
        lane.add(other);
    }
    void write(std::uint32_t number, std::uint64_t arrival, std::vector<std::uint8_t> bytes) {
        lane.write(number, arrival, bytes);
    }

    MIDIInputLane lane;
    const std::shared_ptr<Lines> lines = std::make_shared<Lines>();
    const std::shared_ptr<MIDIInPort> port = std::make_shared<MIDIInPort>("In", "", 1, lines);
    const std::shared_ptr<MIDIInPort> other = std::make_shared<MIDIInPort>("Other", "", 2, lines);
};

TEST_F(InputLane, WhatArrivesIsDeliveredInOrderWithItsMoment) {
    write(1, 10, {0x90, 60, 100, 0x80, 60, 0});
    write(2, 20, {0xf8});
    write(1, 30, {0xb0, 7, 1});
    lane.wake();
    EXPECT_THAT(lines->waitFor(4), ElementsAre("10: 90 3c 64", "10: 80 3c 00", "20: f8", "30: b0 07 01"));
}

TEST_F(InputLane, PiecesOfOneSourceAreJoinedWhateverTheOthersSend) {
    write(1, 10, {0xf0, 1, 2});
    write(2, 20, {0x90, 60, 100});
    write(1, 30, {3, 0xf7});
    write(2, 40, {61, 101});
    lane.wake();
    EXPECT_THAT(lines->waitFor(3), ElementsAre("20: 90 3c 64", "30: sysex 01 02 03", "40: 90 3d 65"));
}

TEST_F(InputLane, APortThatHasGoneDeliversNothing) {
    write(1, 10, {0xf8});
    lane.remove(*port);
    write(1, 20, {0xf8});
    other->held.store(false);
    write(2, 30, {0xf8});
    lane.wake();
    const auto last = std::make_shared<MIDIInPort>("Last", "", 3, lines);
    lane.add(last);
    write(3, 40, {0xfa});
    lane.wake();
    EXPECT_THAT(lines->waitFor(1), ElementsAre("40: fa"));
}

TEST_F(InputLane, AFloodIsCutAndCountedAndWhatFollowsArrives) {
    lines->hold(true);
    const std::vector<std::uint8_t> bytes{0xb0, 7, 1};
    std::size_t written = 0;
    for (; lane.dropped() == 0; ++written) {
        lane.write(1, written, bytes);
        lane.wake();
    }
    EXPECT_GT(written, 20'000U);
    lines->hold(false);
    EXPECT_EQ(lines->waitFor(written - 1).size(), written - 1);
    // Many times around, so that records lie across the end.
    std::size_t more = written - 1;
    for (int round = 0; round < 5; ++round) {
        for (int i = 0; i < 10'000; ++i) write(1, 1, {0xb0, 7, 2});
        lane.wake();
        more += 10'000;
        ASSERT_EQ(lines->waitFor(more).size(), more);
    }
    EXPECT_EQ(lines->all().back(), "1: b0 07 02");
    EXPECT_EQ(lane.dropped(), 1U);
}

TEST_F(InputLane, WritingIsFitForARealtimeThread) {
    const std::vector<std::uint8_t> bytes{0xb0, 7, 1};
    RealtimeScope scope;
    for (int i = 0; i < 1000; ++i) {
        lane.write(1, 1, bytes);
        lane.wake();
    }
    EXPECT_EQ(scope.violations(), 0U) << scope.report();
}

TEST(MIDIWakeup, WhoIsAboutToSleepMissesNothing) {
    MIDIWakeup wakeup;
    std::atomic<int> rounds{0};
    std::atomic<bool> done{false};
    std::thread sleeper([&] {
        while (!done.load()) {
            wakeup.announce();
            ++rounds;
            if (!done.load()) wakeup.sleep(std::chrono::milliseconds(60'000));
        }
    });
    for (int i = 1; i <= 1000; ++i) {
        ASSERT_TRUE(eventually([&] { return rounds.load() == i; }));
        RealtimeScope scope;
        wakeup.wake();
        EXPECT_EQ(scope.violations(), 0U) << scope.report();
    }
    ASSERT_TRUE(eventually([&] { return rounds.load() == 1001; }));
    done = true;
    wakeup.wake();
    sleeper.join();
}

} // namespace
