#include "endpoints/midi/MIDITransportChoice.h"

#include <gtest/gtest.h>

namespace marvo {
namespace {

TEST(MIDITransportChoice, NamesAreThoseOfTheCommandLine) {
    EXPECT_EQ(midiChoiceNamed("auto"), MIDIChoice::automatic);
    EXPECT_EQ(midiChoiceNamed("alsa"), MIDIChoice::alsa);
    EXPECT_EQ(midiChoiceNamed("jack"), MIDIChoice::jack);
    EXPECT_EQ(midiChoiceNamed("none"), MIDIChoice::none);
    EXPECT_FALSE(midiChoiceNamed("something else"));
}

TEST(MIDITransportChoice, NoneHasPortsThatLeadNowhere) {
    const MIDITransportResult result = makeMIDITransport(MIDIChoice::none, JackAdmission());
    EXPECT_EQ(result.transport->kind(), "none");
    EXPECT_EQ(result.reason, "");
    const auto output = result.transport->makeVirtualSender("Out");
    const MIDIMessage note{MIDIMessage::noteOn, 0, 60, 100};
    output->send({&note, 1}, {});
    EXPECT_EQ(output->counters().dropped, 1U);
    EXPECT_TRUE(result.transport->makeVirtualReceiver("In", nullptr));
}

} // namespace
} // namespace marvo
