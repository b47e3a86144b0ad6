// The show that is checked in: what its document promises, played on a virtual clock.
#include "app/AppDelegate.h"
#include "endpoints/artnet/SilentArtNetTransport.h"
#include "endpoints/midi/RecordingMIDITransport.h"
#include "endpoints/osc/RecordingOSCTransport.h"
#include "platform/LoopbackOnly.h"
#include "platform/PreferenceStore.h"
#include "platform/PropertyListFile.h"
#include "tracks/Curves.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

namespace marvo {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* demo = MARVO_SOURCE_DIR "/demo/demo.mrv";

std::string contentsOf(const char* path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

std::string outputOf(const char* command) {
    std::string text;
    FILE* pipe = ::popen(command, "r");
    if (!pipe) return text;
    char piece[4096];
    for (std::size_t size = 0; (size = std::fread(piece, 1, sizeof piece, pipe)) > 0;)
        text.append(piece, size);
    return ::pclose(pipe) == 0 ? text : std::string();
}

// The demo in an application without sockets; keeps which addresses, with which types, left by which port.
class DemoShow : public ::testing::Test,
                 private OSCMessageSink,
                 private MIDIMessageSink,
                 private RecordingDMX {
protected:
    void SetUp() override {
        artNet.setRecordingDMX(this);
        application.applicationWillFinishLaunching();
        const ProjectResult loaded = application.applicationDidFinishLaunching(demo, &report);
        ASSERT_TRUE(loaded.done) << loaded.error;
        mainThread.pump();
        application.startRendering(clock.now());
    }

    void play(int milliseconds) {
        application.master.togglePlayAllButton.performClick();
        for (int i = 0; i < milliseconds; ++i) tick();
    }

    void tick() {
        application.renderTick(clock.now());
        mainThread.pump();
        clock.advance(Duration::ofMilliseconds(1));
    }

    const MarvoTimelineController& composition(std::size_t index) {
        return application.compositions.all().at(index)->timelineController();
    }

    void messageSent(const std::string& port, const OSCMessage& message, const SendOrigin& origin) override {
        std::string types;
        for (const OSCValue& value : message.values())
            types.push_back(value.tag() == 'F' ? 'T' : value.tag());
        sent[port].insert(std::string(message.address()) + " " + types);
        if (origin.composition) frames[*origin.composition].insert(origin.frame);
    }

    void messageSent(const std::string& node, std::span<const std::uint8_t> bytes,
                     const SendOrigin&) override {
        const std::string number = bytes[0] >> 4 == 11 ? " controller " + std::to_string(bytes[1]) : " notes";
        midi[node].insert("channel " + std::to_string((bytes[0] & 15) + 1) + number);
    }

    void valueStored(int universe, int channel, int value, const SendOrigin&) override {
        dmx[universe].insert(channel);
        EXPECT_TRUE(value >= 0 && value <= 255) << value;
    }

    std::map<std::string, std::set<std::string>> sent;
    std::map<std::string, std::set<std::string>> midi;
    std::map<int, std::set<int>> dmx;
    std::map<std::string, std::set<std::int64_t>> frames;
    PreferenceStore store;
    VirtualClock clock;
    MainThread mainThread{clock};
    RecordingOSCTransport transport{*this};
    RecordingMIDITransport midiTransport{*this};
    SilentArtNetTransport artNetTransport;
    ArtNetServer artNet{artNetTransport, clock, {.ownThreads = false}};
    LoopbackOnly network;
    AppDelegate application{{mainThread, transport, midiTransport, artNet, network, store, nullptr}};
    LoadReport report;
};

TEST(DemoFile, IsWhatItsScriptWrites) {
    const std::string written = outputOf("python3 -B '" MARVO_SOURCE_DIR "/demo/make_demo.py' -");
    ASSERT_FALSE(written.empty());
    EXPECT_EQ(written, contentsOf(demo)) << "run demo/make_demo.py";
}

TEST(DemoFile, UsesEveryCurveOfTheMenu) {
    const ReadResult read = readPropertyList(demo);
    ASSERT_TRUE(read.ok()) << read.error;
    std::set<std::string, std::less<>> used;
    for (const auto& [key, composition] : read.value.entries()) {
        const PropertyList* tracks = composition.find("tracks");
        if (!tracks) continue;
        for (const auto& track : tracks->entries()) {
            for (const auto& keyframe : track.value.find("keyFrames")->entries()) {
                used.emplace(keyframe.value.find("interpolation")->stringOr(""));
            }
        }
    }
    for (const std::string_view label : allCurveLabels()) EXPECT_TRUE(used.contains(label)) << label;
    EXPECT_EQ(used.size(), curveCount);
}

TEST_F(DemoShow, LoadsWithoutARepairAndStandsStill) {
    EXPECT_THAT(report.lines(), IsEmpty());
    ASSERT_EQ(application.compositions.count(), 4U);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_FALSE(composition(i).state.isRunning);
        EXPECT_TRUE(composition(i).controls.loopButton.state());
    }
    EXPECT_FALSE(application.master.togglePlayAllButton.state());
    EXPECT_THAT(sent, IsEmpty());
    EXPECT_THAT(midi, IsEmpty());
    EXPECT_THAT(dmx, IsEmpty());
}

TEST_F(DemoShow, HasThreeRatesThreeTempiAndAWorkingArea) {
    std::vector<std::string> facts;
    for (std::size_t i = 0; i < 4; ++i) {
        const MarvoTimelineController& one = composition(i);
        facts.push_back(one.compName() + " " + std::to_string(one.state.compFPS.get()) + " " +
                        std::to_string(static_cast<int>(one.state.compBPM.get())) + " " +
                        std::to_string(one.markerController.inTime().value) + "-" +
                        std::to_string(one.markerController.outTime().value));
    }
    EXPECT_THAT(facts, ElementsAre("Sunrise 25 120 0-600", "Storm 30 132 60-420", "House Lights 60 90 0-1200",
                                   "Curtain Call 25 120 0-350"));
}

TEST_F(DemoShow, SendsEachAddressOfItsDocumentByItsPortAndNoOther) {
    play(28000); // a pass of the slowest
    EXPECT_THAT(sent["Lights"],
                ElementsAre("/house/1/Stalls i", "/house/2/Circle i", "/house/3/Balcony i",
                            "/house/chase ffff", "/house/exit T", "/light/festoon/b i", "/light/festoon/g i",
                            "/light/festoon/r i", "/light/haze f", "/light/lamp/dim i", "/light/lamp/tilt f",
                            "/light/lantern/b f", "/light/lantern/g f", "/light/lantern/r f",
                            "/light/rgb fff", "/light/sea/glow iii", "/light/sea/rgb fff", "/light/spot fff",
                            "/light/strobe f", "/light/sun/height f", "/light/sun/kelvin i"));
    EXPECT_THAT(sent["Sound"],
                ElementsAre("/sound/Crickets/level f", "/sound/Rain/level f", "/sound/Wind/level f",
                            "/sound/applause s", "/sound/applause si", "/sound/bell T", "/sound/foghorn T",
                            "/sound/music f", "/sound/sample sff", "/sound/sample sfi", "/sound/say si"));
    EXPECT_THAT(sent["Video"],
                ElementsAre("/video/camera sif", "/video/clock ff", "/video/curtain f", "/video/horizon r",
                            "/video/layer/1 sii", "/video/layer/2 sii", "/video/layer/3 sii",
                            "/video/layer/4 sii", "/video/rain/speed f", "/video/scene s", "/video/scene sf",
                            "/video/scene si", "/video/text sii"));
    EXPECT_EQ(sent.size(), 3U);
}

TEST_F(DemoShow, PlaysEachInstrumentAndLampOfItsDocumentAndNoOther) {
    play(28000);
    EXPECT_THAT(midi["Marvo Midi Out 1"],
                ElementsAre("channel 1 controller 16", "channel 1 controller 48", "channel 1 controller 7",
                            "channel 2 notes", "channel 5 controller 11", "channel 5 notes"));
    EXPECT_THAT(midi["Marvo Midi Out 2"],
                ElementsAre("channel 10 notes", "channel 3 notes", "channel 4 controller 11"));
    EXPECT_EQ(midi.size(), 2U);
    const auto range = [](std::set<int> all, int first, int last) {
        for (int channel = first; channel <= last; ++channel) all.insert(channel);
        return all;
    };
    const std::set<int> cyclorama = range({41, 61, 63, 64}, 1, 16);
    const std::set<int> movingLampAndSea = range(range(cyclorama, 51, 54), 71, 76);
    EXPECT_EQ(dmx[1], range(movingLampAndSea, 101, 106));
    EXPECT_EQ(dmx[2], range(range({}, 1, 6), 31, 38)) << "channel 20 goes by the soft patch";
    EXPECT_EQ(dmx[3], (std::set<int>{1, 5, 6, 7}));
    EXPECT_EQ(dmx.size(), 3U);
}

TEST_F(DemoShow, ApplaudsThreeTimesAndWaitsForTheEncore) {
    const MarvoTimelineController& curtainCall = composition(3);
    application.master.togglePlayAllButton.performClick();
    std::vector<std::int64_t> jumps;
    std::int64_t before = 0;
    for (int i = 0; i < 17000; ++i) {
        tick();
        const std::int64_t now = curtainCall.state.currentTime.get().value;
        if (now < before) jumps.push_back(now);
        before = now;
    }
    EXPECT_THAT(jumps, ElementsAre(100, 100)) << "back to second 4";
    EXPECT_FALSE(curtainCall.state.isRunning);
    EXPECT_EQ(before, 200);
    OSCMessage encore = OSCMessage::createWithAddress("/marvo/curtaincall/play");
    encore.addInt(1);
    application.receivedOSCMessage(encore);
    for (int i = 0; i < 3000; ++i) tick();
    EXPECT_TRUE(curtainCall.state.isRunning);
    EXPECT_GT(curtainCall.state.currentTime.get().value, 250);
    EXPECT_TRUE(sent["Sound"].contains("/sound/encore if"));
}

TEST_F(DemoShow, TheDocumentNamesEachAddressThatIsSent) {
    play(28000);
    const std::string document = contentsOf(MARVO_SOURCE_DIR "/docs/demo.md");
    for (const auto& [port, messages] : sent) {
        for (const std::string& message : messages) {
            const bool isNamed =
                document.find("`" + message) != std::string::npos ||
                message.starts_with("/video/layer/"); // the document names the first and the last
            EXPECT_TRUE(isNamed) << message;
        }
    }
}

TEST_F(DemoShow, ObeysTheCommandsOfItsDocument) {
    OSCMessage jump = OSCMessage::createWithAddress("/marvo/storm/jumptoframe");
    jump.addInt(180);
    application.receivedOSCMessage(jump);
    OSCMessage tempo = OSCMessage::createWithAddress("/marvo/storm/compbpm");
    tempo.addFloat(240.0F);
    application.receivedOSCMessage(tempo);
    OSCMessage trigger = OSCMessage::createWithAddress("/marvo/triggercompwithname");
    trigger.addString("House Lights");
    application.receivedOSCMessage(trigger);
    mainThread.pump();
    EXPECT_EQ(composition(1).state.currentTime.get().value, 180);
    EXPECT_EQ(composition(1).state.compBPM.get(), 240.0F);
    EXPECT_TRUE(composition(2).state.isRunning);
    OSCMessage stop = OSCMessage::createWithAddress("/marvo/houselights/play");
    stop.addInt(0);
    application.receivedOSCMessage(stop);
    mainThread.pump();
    EXPECT_FALSE(composition(2).state.isRunning);
}

TEST_F(DemoShow, LoopsInsideItsWorkingArea) {
    play(28000);
    EXPECT_EQ(*frames["Storm"].begin(), 60);
    EXPECT_LE(*frames["Storm"].rbegin(), 420);
    for (std::size_t i = 0; i < 3; ++i) EXPECT_TRUE(composition(i).state.isRunning) << i;
    EXPECT_FALSE(composition(3).state.isRunning) << "it waits for the encore";
}

} // namespace
} // namespace marvo
