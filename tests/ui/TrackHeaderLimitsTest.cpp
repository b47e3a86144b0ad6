// The fields of a header at their limits, and the kinds of tracks that are out of the ordinary.
#include "tracks/MarvoTimelineColorTrack.h"

#include "Stage.h"

using namespace marvo;
using namespace marvo::ui;
using namespace marvo::ui::testing;

namespace {

enum Row : std::size_t { controller, lamp, lampColor, oscColor, flags, odd, value };

PropertyList project() {
    using namespace marvo::testing;
    const PropertyList points = keyframesOf({{0, 10}, {60, 90}});
    return projectOf(
        {compositionOf("Limits", 30, 10.0f,
                       {trackOf("MidiCCValue", points), trackOf("ArtNetValue", points),
                        trackOf("ArtNetColor", listOf({})), trackOf("OSCColor", listOf({})),
                        trackOf("OSCFlag", listOf({keyframeOf(10, "flagAddress", "/go"),
                                                   keyframeOf(60, "flagAddress", "/stop")})),
                        trackOf("Hologram", points), oscTrack("Dimmer", "/dimmer", {{0, 0}, {60, 100}})})});
}

struct TrackHeaderLimitsTest : ::testing::Test, Stage {
    TrackHeaderLimitsTest() {
        load(project());
        application().compositions.selectCompositionAtIndex(0);
        frame();
    }
    MarvoTimelineTrack& track(std::size_t row) { return show().track(row); }
    std::string shown(std::size_t row, HeaderPart part) { return item(row, part).text.toStdString(); }
    void chooseIn(std::size_t row, HeaderPart part, const QString& title) {
        pressHeader(row, part);
        pick(title);
    }
    void undo() { key(Qt::Key_Z, Qt::ControlModifier); }
    float valueOf(std::size_t row, std::size_t keyframe) {
        return track(row).keyframes().store().all()[keyframe].value;
    }
    // From the button, as an operator does it; the new one is the last.
    std::size_t add(const char* kind) {
        press("Add track");
        pick(kind);
        return composition().tracks.count() - 1;
    }
    std::string flagAddress(std::size_t keyframe) {
        return track(flags).keyframes().store().all()[keyframe].flag()->flagAddress;
    }
};

} // namespace

TEST_F(TrackHeaderLimitsTest, AListOfChannelsIsTidiedAndNeverEmpty) {
    typeInto(lamp, HeaderPart::dmxChannels, "1, 3x4,513,0x2, 5x600");
    EXPECT_EQ(shown(lamp, HeaderPart::dmxChannels), "1,3x4");
    typeInto(lamp, HeaderPart::dmxChannels, "");
    EXPECT_EQ(shown(lamp, HeaderPart::dmxChannels), "1");
    EXPECT_EQ(track(lamp).stringValueOfDMXChannels(), "1");
    undo();
    EXPECT_EQ(shown(lamp, HeaderPart::dmxChannels), "1,3x4");
    typeInto(lamp, HeaderPart::dmxChannels, "a lamp");
    EXPECT_EQ(shown(lamp, HeaderPart::dmxChannels), "1");
}

TEST_F(TrackHeaderLimitsTest, AChannelWithoutRoomForSixteenBitsSwitchesThemOff) {
    pressHeader(lamp, HeaderPart::wide);
    ASSERT_TRUE(track(lamp).is16BitArtNet());
    EXPECT_FLOAT_EQ(track(lamp).trackMaxValue(), 65535.0f);
    typeInto(lamp, HeaderPart::dmxChannels, "511");
    EXPECT_TRUE(track(lamp).is16BitArtNet());
    typeInto(lamp, HeaderPart::dmxChannels, "512");
    EXPECT_FALSE(track(lamp).is16BitArtNet());
    EXPECT_FALSE(item(lamp, HeaderPart::wide).enabled);
    EXPECT_FLOAT_EQ(track(lamp).trackMaxValue(), 255.0f);
    pressHeader(lamp, HeaderPart::wide);
    EXPECT_FALSE(track(lamp).is16BitArtNet());
    undo();
    EXPECT_TRUE(track(lamp).is16BitArtNet());
    EXPECT_TRUE(item(lamp, HeaderPart::wide).enabled);
}

TEST_F(TrackHeaderLimitsTest, ALampOfSeveralColoursNeedsRoomForAllOfThem) {
    typeInto(lampColor, HeaderPart::dmxChannels, "505"); // 511 less two for each letter
    EXPECT_TRUE(item(lampColor, HeaderPart::wide).enabled);
    typeInto(lampColor, HeaderPart::dmxChannels, "506");
    EXPECT_FALSE(item(lampColor, HeaderPart::wide).enabled);
    typeInto(lampColor, HeaderPart::dmxChannels, "505");
    chooseIn(lampColor, HeaderPart::colorFormat, "RGBW");
    EXPECT_FALSE(item(lampColor, HeaderPart::wide).enabled);
    chooseIn(lampColor, HeaderPart::colorFormat, "L");
    EXPECT_TRUE(item(lampColor, HeaderPart::wide).enabled);
}

TEST_F(TrackHeaderLimitsTest, AControllerWithoutASecondByteTakesFourteenBitsAway) {
    pressHeader(controller, HeaderPart::wide);
    ASSERT_TRUE(track(controller).is14BitMIDI());
    const float wide = valueOf(controller, 1);
    EXPECT_FLOAT_EQ(track(controller).trackMaxValue(), 16383.0f);
    chooseIn(controller, HeaderPart::midiCC, "31");
    EXPECT_TRUE(track(controller).is14BitMIDI());
    chooseIn(controller, HeaderPart::midiCC, "32");
    EXPECT_FALSE(track(controller).is14BitMIDI());
    EXPECT_FALSE(item(controller, HeaderPart::wide).enabled);
    EXPECT_FLOAT_EQ(track(controller).trackMaxValue(), 127.0f);
    EXPECT_NEAR(valueOf(controller, 1), wide * 127.0f / 16383.0f, 0.01f) << "the height on the lane stays";
}

TEST_F(TrackHeaderLimitsTest, TheFormOfAnOSCColourIsChosenAndUndone) {
    pressHeader(oscColor, HeaderPart::oscType);
    ASSERT_TRUE(openMenu());
    QStringList forms;
    for (const QAction* action : openMenu()->actions()) forms << action->text();
    EXPECT_EQ(forms, (QStringList{"Standard", "Int Array", "Float Array", "Multi-Int", "Multi-Float"}));
    EXPECT_TRUE(openMenu()->actions().first()->isChecked());
    pick("Multi-Float");
    EXPECT_EQ(track(oscColor).trackOSCType(), 4);
    EXPECT_EQ(shown(oscColor, HeaderPart::oscType), "Multi-Float");
    chooseIn(oscColor, HeaderPart::oscType, "Int Array");
    EXPECT_EQ(track(oscColor).trackOSCType(), 1);
    undo();
    undo();
    EXPECT_EQ(track(oscColor).trackOSCType(), 0);
    EXPECT_EQ(shown(oscColor, HeaderPart::oscType), "Standard");
}

TEST_F(TrackHeaderLimitsTest, TheAddressOfANewFlagIsTypedAndGetsItsSlash) {
    EXPECT_FALSE(hasPart(flags, HeaderPart::address)) << "no flag is at hand";
    pressHeader(flags, HeaderPart::name);
    composition().transport.markerDraggedToTime(Frame(30));
    key(Qt::Key_K);
    ASSERT_TRUE(hasPart(flags, HeaderPart::address));
    EXPECT_EQ(shown(flags, HeaderPart::address), "/example");
    typeInto(flags, HeaderPart::address, "lights");
    EXPECT_EQ(flagAddress(1), "/lights");
    EXPECT_EQ(shown(flags, HeaderPart::address), "/lights");
    EXPECT_EQ(flagAddress(0), "/go") << "of the others none changes";
    EXPECT_EQ(flagAddress(2), "/stop");
    undo();
    EXPECT_EQ(flagAddress(1), "/example");
    pressHeader(flags, HeaderPart::lock);
    if (hasPart(flags, HeaderPart::address)) {
        pressHeader(flags, HeaderPart::address);
        EXPECT_FALSE(editor());
    }
}

TEST_F(TrackHeaderLimitsTest, AKindThatNobodyKnowsHasANameAndASwitchAndNothingToChoose) {
    EXPECT_EQ(shown(odd, HeaderPart::name), "Hologram");
    for (const HeaderItem& one : items(odd)) EXPECT_LT(one.part, HeaderPart::output);
    pressHeader(odd, HeaderPart::enable);
    EXPECT_FALSE(track(odd).isEnabled());
    typeInto(odd, HeaderPart::name, "Fog");
    EXPECT_EQ(track(odd).name(), "Fog");
    const std::size_t before = composition().tracks.count();
    for (const int number : {5, 6}) show().receive("/marvo/limits/addtrack", number);
    show().receive("/marvo/limits/addtrack", 7);
    frame();
    ASSERT_EQ(composition().tracks.count(), before + 2);
    EXPECT_EQ(item(before, HeaderPart::name).label, "Art-Net Value") << "a title and no kind";
    for (const HeaderItem& one : items(before)) EXPECT_LT(one.part, HeaderPart::output);
}

TEST_F(TrackHeaderLimitsTest, ANewControllerTakesTheNextNumberUpToTheLast) {
    chooseIn(controller, HeaderPart::midiCC, "10");
    EXPECT_EQ(shown(add("MIDI CC"), HeaderPart::midiCC), "11");
    chooseIn(controller, HeaderPart::midiCC, "127");
    EXPECT_EQ(shown(add("MIDI CC"), HeaderPart::midiCC), "127");
}

TEST_F(TrackHeaderLimitsTest, ANewLampTakesTheLowestFreeChannelOfItsKind) {
    typeInto(lamp, HeaderPart::dmxChannels, "1,3x4");
    EXPECT_EQ(shown(add("Art-Net Value"), HeaderPart::dmxChannels), "2");
    EXPECT_EQ(shown(add("Art-Net Value"), HeaderPart::dmxChannels), "7");
    EXPECT_EQ(shown(add("Art-Net Color"), HeaderPart::dmxChannels), "1") << "values do not count for colours";
    typeInto(lamp, HeaderPart::dmxChannels, "1x512");
    EXPECT_EQ(shown(add("Art-Net Value"), HeaderPart::dmxChannels), "512");
}

TEST_F(TrackHeaderLimitsTest, ANewOSCTrackStartsWithTheAddressThatWasTypedLast) {
    EXPECT_EQ(shown(add("OSC Value"), HeaderPart::address), "/example");
    typeInto(value, HeaderPart::address, "/desk/3");
    const std::size_t made = add("OSC Value");
    EXPECT_EQ(shown(made, HeaderPart::address), "/desk/3");
    EXPECT_EQ(shown(made, HeaderPart::minimum), "0");
    EXPECT_EQ(shown(made, HeaderPart::maximum), "1");
    EXPECT_EQ(shown(add("OSC Color"), HeaderPart::address), "/desk/3");
}

TEST_F(TrackHeaderLimitsTest, ANewTrackIsNumberedAndStandsLastAndUndoTakesItAway) {
    const std::size_t made = add("MIDI Notes");
    EXPECT_EQ(shown(made, HeaderPart::name), "Track " + std::to_string(made + 1));
    EXPECT_EQ(lane(made).track->trackPosition(), static_cast<std::int64_t>(made));
    EXPECT_TRUE(command("Undo Add Track")->isEnabled());
    typeInto(0, HeaderPart::name, QString("Track %1").arg(made + 2).toStdString().c_str());
    EXPECT_EQ(shown(add("MIDI Notes"), HeaderPart::name), "Track " + std::to_string(made + 3));
    undo();
    EXPECT_EQ(composition().tracks.count(), made + 1);
}

TEST_F(TrackHeaderLimitsTest, NeitherModeKeepsATestValueBack) {
    for (const char* mode : {"MIDI Learn", "Show OSC Addresses"}) {
        choose(mode);
        show().take();
        pressHeader(value, HeaderPart::bang);
        play(5);
        EXPECT_FALSE(show().take().empty()) << mode;
        choose(mode);
    }
}

TEST_F(TrackHeaderLimitsTest, ASwitchOfATrackShowsItsAddressWhichFollowsBothNames) {
    choose("Show OSC Addresses");
    pressHeader(value, HeaderPart::enable);
    EXPECT_TRUE(track(value).isEnabled());
    EXPECT_EQ(information(), "/marvo/limits/dimmer/enable (integer 0-1)");
    composition().trackEdits.undoRenameOnTrack(static_cast<std::int64_t>(value), "Fr\u00f6nt  Lamp");
    ASSERT_TRUE(application().compositions.renameSelectedComposition("My Comp 1"));
    frame();
    pressHeader(value, HeaderPart::enable);
    EXPECT_EQ(information(), "/marvo/mycomp1/frontlamp/enable (integer 0-1)");
}
