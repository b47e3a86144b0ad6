#include "endpoints/midi/MIDISendQueue.h"

#include "FakeMIDITransport.h"
#include "RealtimeScope.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <thread>

using namespace marvo;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// Takes what is due until it is full.
class Catcher final : public MIDISendQueue::Emitter {
public:
    std::vector<std::string> lines;
    std::uint64_t now = ~0ULL; // later messages are too early
    std::size_t room = SIZE_MAX;
    std::size_t largestMessage = 100'000;
    bool heard = true;
    std::uint64_t freshFrom = 0;
    bool refusing = false; // at the last moment

    std::size_t largest() const override { return largestMessage; }
    bool isHeard() override { return heard; }
    bool isStale(std::uint64_t sentAt) override { return sentAt < freshFrom; }
    std::uint8_t* reserve(std::uint64_t sentAt, std::size_t size) override {
        if (sentAt > now || lines.size() >= room) return nullptr;
        space_.resize(size);
        return space_.data();
    }
    bool commit() override {
        if (!refusing) lines.push_back(hexOf(space_));
        return !refusing;
    }
    std::vector<std::string> take() { return std::exchange(lines, {}); }

private:
    std::vector<std::uint8_t> space_;
};

MIDIMessage on(int key, int channel = 0) {
    return {MIDIMessage::noteOn, static_cast<std::uint8_t>(channel), static_cast<std::uint8_t>(key), 100};
}
MIDIMessage off(int key, int channel = 0) {
    return {MIDIMessage::noteOff, static_cast<std::uint8_t>(channel), static_cast<std::uint8_t>(key), 0};
}
MIDIMessage control(int value) {
    return {MIDIMessage::controlChange, 0, 7, static_cast<std::uint8_t>(value)};
}

class SendQueue : public testing::Test {
protected:
    void push(const MIDIMessage& message, std::uint64_t now = 1) { queue.push({&message, 1}, now); }
    void fill() {
        const std::uint64_t before = queue.counters().dropped;
        for (std::uint32_t i = 0; i < MIDISendQueue::capacity; ++i) push(control(1));
        ASSERT_EQ(queue.counters().dropped, before);
    }
    std::vector<std::string> drained() {
        queue.drain(out);
        return out.take();
    }

    MIDISendQueue queue;
    Catcher out;
};

TEST_F(SendQueue, MessagesLeaveInTheOrderInWhichTheyWereSent) {
    push(on(60));
    push({0xc0, 5, 12, 99});
    push({0xf8, 3, 0, 0});
    push({MIDIMessage::timecodeQuarterFrame, 0, 0x71, 0});
    push(off(60));
    EXPECT_THAT(drained(), ElementsAre("90 3c 64", "c5 0c", "f8", "f1 71", "80 3c 00"));
    EXPECT_THAT(drained(), IsEmpty());
    EXPECT_EQ(queue.counters().sent, 5U);
    EXPECT_EQ(queue.counters().dropped, 0U);
}

TEST_F(SendQueue, ABatchLeavesWhole) {
    std::vector<MIDIMessage> batch;
    std::vector<std::string> expected;
    for (int i = 0; i < 100; ++i) {
        batch.push_back(control(i));
        expected.push_back(hexOf(encodeMIDI(batch.back()).span()));
    }
    queue.push(batch, 1);
    EXPECT_EQ(drained(), expected);
}

TEST_F(SendQueue, WhatIsNoMessageIsDroppedAndCounted) {
    push({0x40, 0, 1, 2});
    push({0xf0, 0, 1, 2});
    push({0xf7, 0, 1, 2});
    push({MIDIMessage::controlChange, 31, 0xff, 0xff}); // cut to what a message can hold
    EXPECT_THAT(drained(), ElementsAre("bf 7f 7f"));
    EXPECT_EQ(queue.counters().dropped, 3U);
}

TEST_F(SendQueue, WhatIsNotDueYetHoldsBackAllBehindIt) {
    push(control(1), 10);
    push(control(2), 30);
    push(control(3), 20);
    out.now = 20;
    EXPECT_THAT(drained(), ElementsAre("b0 07 01"));
    out.now = 30;
    EXPECT_THAT(drained(), ElementsAre("b0 07 02", "b0 07 03"));
}

TEST_F(SendQueue, WhatIsTooLateIsDroppedUnlessItEndsANote) {
    push(on(60), 1);
    drained();
    queue.push(std::vector<MIDIMessage>{control(1), off(60), on(61)}, 10);
    queue.pushSysex(std::vector<std::uint8_t>(100), 10);
    push(control(2), 20);
    out.freshFrom = 20;
    EXPECT_THAT(drained(), ElementsAre("80 3c 00", "b0 07 02"));
    EXPECT_EQ(queue.counters().dropped, 3U);
    EXPECT_EQ(queue.counters().sent, 3U);
    EXPECT_FALSE(queue.owesNoteOffs());
}

TEST_F(SendQueue, AFullOutputGoesOnWhereItStopped) {
    const std::vector<MIDIMessage> batch{control(1), control(2), control(3)};
    queue.push(batch, 1);
    push(control(4));
    out.room = 2;
    EXPECT_THAT(drained(), ElementsAre("b0 07 01", "b0 07 02"));
    EXPECT_THAT(drained(), ElementsAre("b0 07 03", "b0 07 04"));
}

TEST_F(SendQueue, WhatCouldNotBePassedOnIsOfferedAgain) {
    push(on(60));
    out.refusing = true;
    EXPECT_THAT(drained(), IsEmpty());
    EXPECT_EQ(queue.counters().sent, 0U);
    EXPECT_FALSE(queue.owesNoteOffs());
    out.refusing = false;
    EXPECT_THAT(drained(), ElementsAre("90 3c 64"));
}

TEST_F(SendQueue, SystemExclusiveMessagesOfEverySizeArriveByteForByte) {
    for (const std::size_t size : {0U, 1U, 14U, 15U, 16U, 17U, 31U, 32U, 1000U, 16'384U}) {
        std::vector<std::uint8_t> payload(size);
        for (std::size_t i = 0; i < size; ++i) payload[i] = static_cast<std::uint8_t>(i * 7 % 128);
        queue.pushSysex(payload, 1);
        const std::string inside = hexOf(payload);
        EXPECT_THAT(drained(), ElementsAre("f0 " + (inside.empty() ? "" : inside + " ") + "f7"));
    }
    EXPECT_EQ(queue.counters().sent, 10U);
}

TEST_F(SendQueue, ASystemExclusiveMessageThatIsTooLargeOrNoneIsDropped) {
    queue.pushSysex(std::vector<std::uint8_t>(MIDISendQueue::largestSysex + 1), 1);
    queue.pushSysex(std::vector<std::uint8_t>{1, 0x80}, 1);
    EXPECT_EQ(queue.counters().dropped, 2U);
    out.largestMessage = 10;
    queue.pushSysex(std::vector<std::uint8_t>(9), 1); // larger than the output takes
    push(control(1));
    EXPECT_THAT(drained(), ElementsAre("b0 07 01"));
    EXPECT_EQ(queue.counters().dropped, 3U);
}

TEST_F(SendQueue, WhatDoesNotFitIsDroppedAndCounted) {
    fill();
    push(control(2));
    queue.push(std::vector<MIDIMessage>{control(2), control(3)}, 1);
    queue.pushSysex(std::vector<std::uint8_t>(3), 1);
    EXPECT_EQ(queue.counters().dropped, 4U);
    EXPECT_EQ(drained().size(), MIDISendQueue::capacity);
    fill(); // all room is there again
    EXPECT_EQ(drained().size(), MIDISendQueue::capacity);
}

TEST_F(SendQueue, ANoteOffIsNeverDropped) {
    push(on(60));
    push(on(61, 15));
    EXPECT_EQ(drained().size(), 2U);
    fill();
    push(off(60));
    queue.push(std::vector<MIDIMessage>{{MIDIMessage::noteOn, 15, 61, 0}, control(5)}, 1);
    EXPECT_EQ(queue.counters().dropped, 1U);
    const auto lines = drained();
    ASSERT_EQ(lines.size(), MIDISendQueue::capacity + 2);
    EXPECT_EQ(lines[lines.size() - 2], "80 3c 00");
    EXPECT_EQ(lines.back(), "8f 3d 00");
    EXPECT_FALSE(queue.owesNoteOffs());
}

TEST_F(SendQueue, AKeyWhoseNoteOffWaitsForRoomCannotBeStruckAgain) {
    for (std::uint32_t i = 0; i + 1 < MIDISendQueue::capacity; ++i) push(control(1));
    push(on(60)); // the last room
    push(off(60));
    out.room = 10;
    drained(); // takes the mark, and makes room
    out.room = SIZE_MAX;
    push(on(60)); // behind the mark
    const auto lines = drained();
    EXPECT_EQ(lines.size(), MIDISendQueue::capacity - 10 + 2);
    const auto struck = std::find(lines.begin(), lines.end(), "90 3c 64");
    EXPECT_EQ(*(struck + 1), "80 3c 00");
    EXPECT_EQ(*(struck + 2), "90 3c 64");

    fill();
    push(off(61));
    out.room = 10;
    drained(); // takes the mark, which leaves behind all that waits
    for (int i = 0; i < 10; ++i) push(control(1));
    push(off(60)); // marks again
    out.room = 5;
    drained();
    push(on(60)); // there is room, but its end is on its way
    EXPECT_EQ(queue.counters().dropped, 1U);
    push(on(62));
    EXPECT_EQ(queue.counters().dropped, 1U);
    out.room = SIZE_MAX;
    drained();
    const auto rest = drained();
    EXPECT_EQ(rest.back(), "80 3c 00");
    push(on(60));
    EXPECT_THAT(drained(), ElementsAre("90 3c 64"));
}

TEST_F(SendQueue, SilenceEndsWhatSoundsBehindWhatWasSent) {
    push(on(60));
    push(on(60));
    push(on(64, 3));
    push(on(65));
    push(off(65));
    queue.pushSilence(1);
    push(on(70));
    EXPECT_THAT(drained(), ElementsAre("90 3c 64", "90 3c 64", "93 40 64", "90 41 64", "80 41 00", "80 3c 00",
                                       "80 3c 00", "83 40 00", "90 46 64"));
    EXPECT_TRUE(queue.owesNoteOffs());
    queue.pushSilence(1);
    EXPECT_THAT(drained(), ElementsAre("80 46 00"));
    queue.pushSilence(1);
    EXPECT_THAT(drained(), IsEmpty());
}

TEST_F(SendQueue, SilenceFindsItsWayThroughAFullQueue) {
    push(on(60));
    drained();
    fill();
    queue.pushSilence(1);
    const auto lines = drained();
    ASSERT_EQ(lines.size(), MIDISendQueue::capacity + 1);
    EXPECT_EQ(lines.back(), "80 3c 00");
}

TEST_F(SendQueue, SilenceGoesOnWhereAFullOutputStoppedIt) {
    for (int key = 0; key < 100; ++key) push(on(key));
    drained();
    queue.pushSilence(1);
    out.room = 60;
    EXPECT_EQ(drained().size(), 60U);
    EXPECT_EQ(drained().size(), 40U);
    EXPECT_FALSE(queue.owesNoteOffs());
}

TEST_F(SendQueue, NothingIsTakenWhileThePortIsAway) {
    queue.setAccepting(false);
    push(on(60));
    queue.pushSysex(std::vector<std::uint8_t>(1), 1);
    EXPECT_EQ(queue.counters().dropped, 2U);
    queue.setAccepting(true);
    EXPECT_THAT(drained(), IsEmpty());
}

TEST_F(SendQueue, WhatSoundedWhenThePortWasLostIsEndedWhenItIsHeardAgain) {
    push(on(60));
    push(on(62));
    drained();
    push(on(64)); // never left
    queue.setAccepting(false);
    queue.portLost();
    EXPECT_EQ(queue.counters().dropped, 1U);
    EXPECT_TRUE(queue.owesNoteOffs());
    push(off(60)); // lost on the way
    queue.setAccepting(true);
    push(on(72));
    out.heard = false;
    EXPECT_THAT(drained(), ElementsAre("90 48 64"));
    EXPECT_TRUE(queue.owesNoteOffs());
    push(on(60));
    out.heard = true;
    EXPECT_THAT(drained(), ElementsAre("80 3c 00", "80 3e 00", "90 3c 64"));
    queue.pushSilence(1);
    EXPECT_THAT(drained(), ElementsAre("80 3c 00", "80 48 00"));
    EXPECT_FALSE(queue.owesNoteOffs());
}

TEST_F(SendQueue, ClosingEndsAllNotesAndSaysWhenTheyHaveLeft) {
    push(on(60));
    drained();
    push(on(61));
    queue.beginClosing(1);
    push(on(62));
    EXPECT_FALSE(queue.isFlushed());
    EXPECT_THAT(drained(), ElementsAre("90 3d 64", "80 3c 00", "80 3d 00"));
    EXPECT_FALSE(queue.isFlushed()); // another round says that this one has passed
    drained();
    EXPECT_TRUE(queue.isFlushed());
}

TEST_F(SendQueue, InACrashOnlyNoteOffsLeave) {
    push(on(60));
    drained();
    push(on(61));
    EXPECT_TRUE(queue.drainLast(out));
    EXPECT_THAT(out.take(), ElementsAre("80 3c 00"));
    EXPECT_EQ(queue.counters().dropped, 1U);
    push(on(62));
    EXPECT_EQ(queue.counters().dropped, 2U);
    out.room = 0;
    EXPECT_TRUE(queue.drainLast(out));
}

TEST_F(SendQueue, SendingAndTakingAreFitForARealtimeThread) {
    class Nothing final : public MIDISendQueue::Emitter {
        std::uint8_t space_[MIDISendQueue::largestSysex + 2];
        std::size_t largest() const override { return sizeof space_; }
        bool isHeard() override { return true; }
        bool isStale(std::uint64_t) override { return false; }
        std::uint8_t* reserve(std::uint64_t, std::size_t) override { return space_; }
        bool commit() override { return true; }
    };
    const auto nothing = std::make_unique<Nothing>();
    const std::vector<std::uint8_t> payload(1000, 1);
    const MIDIMessage note = on(60);
    RealtimeScope scope;
    for (int round = 0; round < 3; ++round) {
        for (std::uint32_t i = 0; i < MIDISendQueue::capacity + 10; ++i) queue.push({&note, 1}, 1);
        queue.pushSysex(payload, 1);
        queue.pushSilence(1);
        queue.drain(*nothing);
        queue.portLost();
    }
    EXPECT_EQ(scope.violations(), 0U) << scope.report();
}

TEST_F(SendQueue, ManySendersAtOnceLoseNothingAndKeepTheirOrder) {
    static constexpr int senders = 4;
    static constexpr int rounds = 20'000;
    std::vector<std::thread> threads;
    std::atomic<int> running{senders};
    for (int sender = 0; sender < senders; ++sender) {
        threads.emplace_back([&, sender] {
            for (int i = 0; i < rounds; ++i) {
                // Three that must stay together, the number in two of them.
                const auto channel = static_cast<std::uint8_t>(sender);
                const MIDIMessage batch[] = {{0xb0, channel, 1, static_cast<std::uint8_t>(i & 127)},
                                             {0xb0, channel, 2, static_cast<std::uint8_t>(i >> 7 & 127)},
                                             {0xb0, channel, 3, static_cast<std::uint8_t>(i >> 14)}};
                queue.push(batch, 1);
            }
            --running;
        });
    }
    std::vector<std::string> lines;
    while (running.load() > 0) {
        queue.drain(out);
        const auto some = out.take();
        lines.insert(lines.end(), some.begin(), some.end());
    }
    for (auto& thread : threads) thread.join();
    queue.drain(out);
    const auto rest = out.take();
    lines.insert(lines.end(), rest.begin(), rest.end());

    EXPECT_EQ(lines.size() + queue.counters().dropped, static_cast<std::size_t>(senders * rounds * 3));
    std::map<char, long> last;
    ASSERT_EQ(lines.size() % 3, 0U);
    for (std::size_t i = 0; i < lines.size(); i += 3) {
        const auto value = [&](std::size_t at) { return std::stol(lines[i + at].substr(6), nullptr, 16); };
        const char channel = lines[i][1];
        ASSERT_EQ(lines[i].substr(0, 5), std::string("b") + channel + " 01");
        ASSERT_EQ(lines[i + 1].substr(0, 5), std::string("b") + channel + " 02");
        ASSERT_EQ(lines[i + 2].substr(0, 5), std::string("b") + channel + " 03");
        const long number = value(0) + (value(1) << 7) + (value(2) << 14) + 1;
        ASSERT_GT(number, last[channel]);
        last[channel] = number;
    }
}

TEST_F(SendQueue, NoNoteSoundsForEverHoweverFullItIs) {
    std::atomic<bool> done{false};
    std::vector<std::thread> threads;
    for (int sender = 0; sender < 3; ++sender) {
        threads.emplace_back([&, sender] {
            for (int i = 0; i < 30'000; ++i) {
                const MIDIMessage note = on(i % 5, sender);
                const MIDIMessage end = off(i % 5, sender);
                queue.push({&note, 1}, 1);
                queue.push({&end, 1}, 1);
            }
        });
    }
    std::vector<std::string> lines;
    std::thread slow([&] {
        // Takes little at a time, so that the queue is full most of the time.
        while (!done.load()) {
            out.room = out.lines.size() + 50;
            queue.drain(out);
            std::this_thread::yield();
        }
    });
    for (auto& thread : threads) thread.join();
    done = true;
    slow.join();
    out.room = SIZE_MAX;
    queue.drain(out);
    queue.drain(out);
    std::map<std::string, bool> sounds;
    for (const std::string& line : out.lines) {
        const std::string key = line.substr(1, 4);
        sounds[key] = line[0] == '9';
    }
    for (const auto& [key, does] : sounds) EXPECT_FALSE(does) << key;
    EXPECT_GT(queue.counters().dropped, 0U) << "it was never full";
}

} // namespace
