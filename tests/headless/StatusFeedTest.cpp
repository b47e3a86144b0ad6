#include "headless/StatusFeed.h"

#include "VirtualShow.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace marvo::testing {
namespace {

using ::testing::Contains;
using ::testing::Field;

const RealtimeResult granted{RealtimeGrant::fifo, 70, "", "", ""};

OutputTrouble troubleOf(const std::string& label, OutputTrouble::Kind kind, bool began) {
    OutputTrouble one;
    one.label = label;
    one.reason = kind == OutputTrouble::Kind::tooLarge ? "too large" : "Network is unreachable";
    one.kind = kind;
    one.began = began;
    return one;
}

struct StatusFeedTest : ::testing::Test {
    StatusFeedTest() { running.show.load(projectOf({compositionOf("C", 25, 8.0f, {})})); }

    StatusOutput output(const std::string& label) {
        for (const StatusOutput& one : feed.snapshot().outputs) {
            if (one.label == label) return one;
        }
        ADD_FAILURE() << label << " is not shown";
        return {};
    }
    bool shows(const std::string& label) {
        const auto outputs = feed.snapshot().outputs;
        return ::testing::Value(outputs, Contains(Field(&StatusOutput::label, label)));
    }

    VirtualShow running;
    StatusFeed feed{running, granted};
};

TEST_F(StatusFeedTest, EveryKindOfOutputHasItsLine) {
    EXPECT_EQ(output("Out").target, "127.0.0.1:8000");
    EXPECT_EQ(output("MIDI").target, "no sound system");
    EXPECT_EQ(output("Art-Net").target, "0 nodes answer");
    for (const StatusOutput& one : feed.snapshot().outputs) EXPECT_EQ(one.trouble, "") << one.label;
}

TEST_F(StatusFeedTest, TroubleFromBeforeAnybodyLookedIsShown) {
    running.tell("Art-Net", "the port is taken");
    running.tell(troubleOf("Out", OutputTrouble::Kind::network, true));
    StatusFeed late(running, granted);
    EXPECT_THAT(late.snapshot().outputs,
                Contains(Field(&StatusOutput::trouble, "the port is taken")).Times(1));
    EXPECT_THAT(late.snapshot().outputs,
                Contains(Field(&StatusOutput::trouble, "Network is unreachable")).Times(1));
}

TEST_F(StatusFeedTest, AMIDIPortInTroubleHasALineUntilItIsOver) {
    EXPECT_FALSE(shows("Desk"));
    running.tell("Desk", "it is unplugged");
    EXPECT_EQ(output("Desk").trouble, "it is unplugged");
    EXPECT_EQ(output("Desk").unit, "");
    running.tell("Desk", "");
    EXPECT_FALSE(shows("Desk"));
}

TEST_F(StatusFeedTest, ANetworkThatFailsHidesAMessageThatWasTooLarge) {
    running.tell(troubleOf("Out", OutputTrouble::Kind::tooLarge, true));
    EXPECT_EQ(output("Out").trouble, "too large");
    running.tell(troubleOf("Out", OutputTrouble::Kind::network, true));
    EXPECT_EQ(output("Out").trouble, "Network is unreachable");
    running.tell(troubleOf("Out", OutputTrouble::Kind::network, false));
    EXPECT_EQ(output("Out").trouble, "too large");
}

} // namespace
} // namespace marvo::testing
