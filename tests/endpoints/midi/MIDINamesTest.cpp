#include "endpoints/midi/MIDIDeviceName.h"
#include "endpoints/midi/MIDIEndpointNames.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace marvo;
using testing::ElementsAre;

namespace {

TEST(MIDIDeviceNames, IdenticalDevicesStayApartAndTheirKeysTellWhichIsFirst) {
    MIDIEndpointNames names;
    EXPECT_THAT(names.assign({{{"usb 10", "Pad"}, {"usb 2", "Pad"}, {"usb 3", "Keys"}}}),
                ElementsAre("Pad 2", "Pad", "Keys"));
    MIDIEndpointNames again;
    EXPECT_THAT(again.assign({{{"usb 2", "Pad"}, {"usb 3", "Keys"}, {"usb 10", "Pad"}}}),
                ElementsAre("Pad", "Keys", "Pad 2"));
}

TEST(MIDIDeviceNames, ADeviceKeepsItsNameWhenAnotherGoes) {
    MIDIEndpointNames names;
    EXPECT_THAT(names.assign({{{"a", "Pad"}, {"b", "Pad"}}}), ElementsAre("Pad", "Pad 2"));
    EXPECT_THAT(names.assign({{{"b", "Pad"}}}), ElementsAre("Pad 2"));
    EXPECT_THAT(names.assign({{{"a", "Pad"}, {"b", "Pad"}}}), ElementsAre("Pad", "Pad 2"));
}

TEST(MIDIDeviceNames, EachOfTwoGetsItsOwnNameBackInWhateverOrderTheyReturn) {
    MIDIEndpointNames names;
    EXPECT_THAT(names.assign({{{"a", "Pad"}, {"b", "Pad"}}}), ElementsAre("Pad", "Pad 2"));
    EXPECT_THAT(names.assign({}), ElementsAre());
    EXPECT_THAT(names.assign({{{"b", "Pad"}}}), ElementsAre("Pad 2"));
    EXPECT_THAT(names.assign({{{"a", "Pad"}, {"b", "Pad"}}}), ElementsAre("Pad", "Pad 2"));
}

TEST(MIDIDeviceNames, InAnotherSocketADeviceTakesTheFreeName) {
    MIDIEndpointNames names;
    EXPECT_THAT(names.assign({{{"a", "Pad"}, {"b", "Pad"}}}), ElementsAre("Pad", "Pad 2"));
    EXPECT_THAT(names.assign({{{"b", "Pad"}}}), ElementsAre("Pad 2"));
    EXPECT_THAT(names.assign({{{"b", "Pad"}, {"c", "Pad"}}}), ElementsAre("Pad 2", "Pad"));
    EXPECT_THAT(names.assign({{{"a", "Pad"}, {"b", "Pad"}, {"c", "Pad"}}}),
                ElementsAre("Pad 3", "Pad 2", "Pad"));
}

TEST(MIDIDeviceNames, ADeviceThatIsCalledLikeASecondOneStaysApartToo) {
    MIDIEndpointNames names;
    EXPECT_THAT(names.assign({{{"a", "Pad 2"}, {"b", "Pad"}, {"c", "Pad"}}}),
                ElementsAre("Pad 2", "Pad", "Pad 3"));
}

struct JackName {
    const char* port;
    std::vector<std::string> aliases;
    const char* device;
};

class JackNames : public testing::TestWithParam<JackName> {};

TEST_P(JackNames, APortBearsTheNameOfItsDevice) {
    EXPECT_EQ(jackDeviceName(GetParam().port, GetParam().aliases), GetParam().device);
}

INSTANTIATE_TEST_SUITE_P(
    Both, JackNames,
    testing::Values(
        JackName{"synth:midi_in", {}, "synth"}, JackName{"synth:midi_out", {}, "synth"},
        JackName{"synth:out", {}, "synth"}, JackName{"desk:left faders_in", {}, "desk left faders"},
        JackName{"desk:left faders_out", {}, "desk left faders"}, JackName{"desk:midi_in_3", {}, "desk 3"},
        JackName{"system:midi_capture_2", {}, "system 2"}, JackName{"system:midi_playback_2", {}, "system 2"},
        JackName{"system:midi_capture_2", {"alsa_pcm:Pad/midi_capture_1"}, "Pad"},
        JackName{"system:midi_playback_2", {"alsa_pcm:Pad/midi_playback_1"}, "Pad"},
        JackName{"system:midi_capture_1", {"in-hw-1-0-0-Pad-MIDI-1"}, "Pad-MIDI-1"},
        JackName{"a2j:Pad [20] (capture): Pad MIDI 1", {}, "Pad MIDI 1"},
        JackName{"a2j:Pad [24] (playback): Pad MIDI 1", {}, "Pad MIDI 1"},
        JackName{"Midi-Bridge:Pad 2 at usb-1:(capture_0) Pad MIDI 1", {}, "Pad 2 at usb-1: Pad MIDI 1"},
        JackName{"Midi-Bridge:Pad:(playback_0) Pad MIDI 1", {}, "Pad MIDI 1"}, JackName{"odd", {}, "odd"},
        JackName{"odd:", {}, "odd"}, JackName{"odd:(unclosed", {}, "odd (unclosed"}));

TEST(MIDIDeviceNames, ThePortOfADeviceThatSaysTheDeviceIsNameEnough) {
    EXPECT_EQ(midiDeviceName("Pad", "Pad MIDI 1"), "Pad MIDI 1");
    EXPECT_EQ(midiDeviceName("Pad", "MIDI 2"), "Pad 2");
    EXPECT_EQ(midiDeviceName("Midi Through", "Midi Through Port-0"), "Midi Through Port-0");
    EXPECT_EQ(midiDeviceName("desk", "midi_in"), "desk");
    EXPECT_EQ(midiDeviceName("desk", "midi_out"), "desk");
    EXPECT_EQ(midiDeviceName("desk: left", "faders out"), "desk: left faders");
}

TEST(JackNamesOfAnything, AreNeverEmptyForAPortThatHasAName) {
    for (const char* port : {":", "a2j:", "system:()", "a2j:[1] (capture)", "system:midi", "x:[[((", " : "}) {
        for (const char* alias : {"", ":", "/", "in-hw-", "in-hw-1-0-0", "alsa_pcm:/midi_capture_1"}) {
            const std::string name = jackDeviceName(port, std::vector<std::string>{alias});
            EXPECT_TRUE(!name.empty() || std::string(port) == ":") << port << " " << alias;
        }
    }
}

} // namespace
