#include "headless/TroubleLog.h"

#include "platform/Log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace marvo {
namespace {

using ::testing::ElementsAre;
using ::testing::StartsWith;

class KeptLines final : public LogSink {
public:
    std::vector<std::string> all;
    void write(std::string_view line) override { all.emplace_back(line); }
    std::string contents(std::size_t) override { return {}; }
};

class TroubleLog : public ::testing::Test {
protected:
    KeptLines lines;
    VirtualClock clock;
    Log log{lines, clock};
    const OutputTrouble tooLarge{"Desk", "a message of 70000 bytes is too large for UDP", true,
                                 OutputTrouble::Kind::tooLarge};
};

TEST_F(TroubleLog, AMessageThatIsTooLargeDoesNotHideALostNetwork) {
    logTrouble(log, tooLarge);
    logTrouble(log, OutputTrouble{"Desk", "cannot send: Network is unreachable"});
    logTrouble(log, OutputTrouble{"Desk", "", false});
    EXPECT_THAT(lines.all, ElementsAre("OSC output \"Desk\": a message of 70000 bytes is too large for UDP",
                                       "OSC output \"Desk\": cannot send: Network is unreachable",
                                       StartsWith("OSC output \"Desk\": back")));
}

TEST_F(TroubleLog, ALostNetworkDoesNotHideAMessageThatIsTooLarge) {
    logTrouble(log, OutputTrouble{"Desk", "cannot send: Network is unreachable"});
    logTrouble(log, tooLarge);
    EXPECT_EQ(lines.all.size(), 2U);
}

TEST_F(TroubleLog, ATroubleThatGoesOnIsOneLine) {
    for (int i = 0; i < 3; ++i) logTrouble(log, tooLarge);
    for (int i = 0; i < 3; ++i) logTrouble(log, MIDITrouble{"Desk", "gone"});
    for (int i = 0; i < 3; ++i) logTrouble(log, MIDITrouble{"", "no sound system"});
    EXPECT_THAT(lines.all, ElementsAre("OSC output \"Desk\": a message of 70000 bytes is too large for UDP",
                                       "MIDI port \"Desk\": gone", "MIDI: no sound system"));
}

} // namespace
} // namespace marvo
