// What an operator or a remote may get wrong: each does what it says or nothing, and the show goes on.
#include "Show.h"

#include <gtest/gtest.h>
#include <limits>

namespace marvo::testing {
namespace {

PropertyList playingShow() {
    const auto one = [](const char* name) {
        return compositionOf(name, 30, 2.0f, {oscTrack("T", "/t", {{0, 0}, {59, 100}})}, true);
    };
    return projectOf({one("A"), one("B"), one("C")}, "Out");
}

// What a mistake must not have touched. Foreign addresses are listed for the recording filter, which is
// saved.
PropertyList stateOf(Show& show) {
    PropertyList state = show.saved();
    state.remove("appData");
    return state;
}

void expectThatItPlaysOn(Show& show) {
    show.take();
    show.tick(500);
    std::size_t values = 0;
    for (const Sent& one : show.take()) values += one.address == "/t" ? 1u : 0u;
    EXPECT_GT(values, 5u);
}

std::vector<OSCMessage> oddArguments(const std::string& address) {
    std::vector<OSCMessage> all(6, OSCMessage::createWithAddress(address));
    all[0].addString("not a number");
    all[1].addString("");
    all[2].addFloat(std::numeric_limits<float>::quiet_NaN());
    all[3].addFloat(-std::numeric_limits<float>::infinity());
    all[4].addInt(std::numeric_limits<std::int32_t>::min());
    all[5].addInt(std::numeric_limits<std::int32_t>::max());
    return all;
}

TEST(OperatorMistakes, UnknownAddressesChangeNothing) {
    Show show(playingShow());
    const PropertyList before = stateOf(show);
    for (const char* address :
         {"", "/", "//", "/marvo", "/marvo/", "/marvo//play", "/marvo/nobody/play", "/marvo/current",
          "/marvo/current/", "/marvo/all/", "/marvo/all/nothing", "/marvo/a/nothing", "/marvo/a/t/nothing",
          "/marvo/a/nobody/enable", "/marvo/countofcues", "/marvo/a/play/", "marvo/a/play", "/MARVO/A/PLAY",
          "/marvo/marvo/all/marvo/current/"})
        show.receive(address, 1);
    EXPECT_EQ(stateOf(show), before);
    for (std::size_t i = 0; i < 3; ++i) EXPECT_FALSE(show.composition(i).isRunning());
    show.playAll();
    expectThatItPlaysOn(show);
}

TEST(OperatorMistakes, NoArgumentOfAWrongTypeDoesHarm) {
    Show show(playingShow());
    show.playAll();
    std::vector<std::string> addresses;
    for (const OSCListenerTable::Entry& one : show.application.listeners().addresses())
        addresses.push_back(one.address);
    for (const FixedOSCAddress& one : fixedOSCAddresses()) {
        std::string address(one.address);
        if (const std::size_t at = address.find("COMPOSITION"); at != std::string::npos)
            address.replace(at, 11, "a");
        addresses.push_back(address);
    }
    for (const std::string& address : addresses) {
        if (address.ends_with("/addcomposition") || address.ends_with("/addtrack")) continue;
        for (const OSCMessage& message : oddArguments(address)) show.receive(message);
        // Any tempo is taken as it is told.
        if (address.ends_with("/compbpm")) show.receive(address, 120.0f);
        show.tick(2);
        for (std::size_t i = 0; i < 3; ++i) {
            EXPECT_GE(show.frame(i), 0) << address;
            EXPECT_LE(show.frame(i), 60) << address;
        }
    }
    EXPECT_EQ(show.application.compositions.count(), 3u);
    show.load(playingShow());
    show.playAll();
    expectThatItPlaysOn(show);
}

TEST(OperatorMistakes, ACommandWithTheWrongTypeDoesNothing) {
    Show show(playingShow());
    show.application.compositions.selectCompositionAtIndex(0);
    const PropertyList before = stateOf(show);
    show.receive("/marvo/triggercompatindex", std::string("2"));
    show.receive("/marvo/triggercompatindex", 2.0f);
    show.receive("/marvo/triggercompwithname", 2);
    show.receive("/marvo/selectcompwithname", 2);
    show.receive("/marvo/loadproject", 1);
    show.receive("/marvo/loadproject", 1.0f);
    show.receive("/marvo/rotatehue", 1);
    show.receive("/marvo/a/jumptoframe", std::string("20"));
    show.receive("/marvo/a/playhead", std::string("0.5"));
    EXPECT_EQ(stateOf(show), before);
    EXPECT_EQ(show.application.compositions.selectedCompositionIndex(), 0);
    EXPECT_EQ(show.frame(0), 0);
    for (std::size_t i = 0; i < 3; ++i) EXPECT_FALSE(show.composition(i).isRunning());
}

TEST(OperatorMistakes, IndicesOutOfRangeDoNothing) {
    Show show(playingShow());
    show.application.compositions.selectCompositionAtIndex(1);
    show.composition(0).cueController.addNewCueAtTime(Frame(20));
    for (const std::int32_t index : {0, -1, 4, 1000, std::numeric_limits<std::int32_t>::max(),
                                     std::numeric_limits<std::int32_t>::min()}) {
        show.receive("/marvo/triggercompatindex", index);
        show.receive("/marvo/selectcompatindex", index);
        show.receive("/marvo/compinfoatindex", index);
        show.receive("/marvo/a/jumptocueatindex", index);
        show.receive("/marvo/a/playcueatindex", index);
        show.receive("/marvo/a/nameofcueatindex", index);
        show.receive("/marvo/a/timeofcueatindex", index);
        EXPECT_EQ(show.application.compositions.selectedCompositionIndex(), 1) << index;
        EXPECT_EQ(show.frame(0), 0) << index;
        for (std::size_t i = 0; i < 3; ++i) EXPECT_FALSE(show.composition(i).isRunning()) << index;
    }
}

TEST(OperatorMistakes, ATakenNameIsRefusedForCompositionsAndForTracks) {
    Show show(playingShow());
    show.application.compositions.selectCompositionAtIndex(0);
    EXPECT_FALSE(show.application.compositions.renameSelectedComposition("B"));
    EXPECT_FALSE(show.application.compositions.renameSelectedComposition(""));
    EXPECT_EQ(show.composition(0).compName(), "A");
    show.composition(0).tracks.createTrackOfTpye("OSCValue");
    EXPECT_FALSE(show.track(1).renameTrack("T"));
    EXPECT_FALSE(show.track(1).renameTrack(""));
    EXPECT_EQ(show.track(1).name(), "Track 2");
}

// Two names that differ may still make one address; both are meant then.
TEST(OperatorMistakes, TwoNamesThatMakeOneAddressAreBothHeardAndPartAgain) {
    Show show(playingShow());
    CompositionSet& compositions = show.application.compositions;
    compositions.selectCompositionAtIndex(0);
    ASSERT_TRUE(compositions.renameSelectedComposition("b "));
    show.receive("/marvo/b/play", 1);
    EXPECT_TRUE(show.composition(0).isRunning());
    EXPECT_TRUE(show.composition(1).isRunning());
    ASSERT_TRUE(compositions.renameSelectedComposition("Other"));
    show.receive("/marvo/b/play", 0);
    EXPECT_TRUE(show.composition(0).isRunning());
    EXPECT_FALSE(show.composition(1).isRunning());
}

TEST(OperatorMistakes, ACompositionThatIsRemovedWhileItIsTriggeredIsGoneAndTheOthersPlay) {
    Show show(playingShow());
    CompositionSet& compositions = show.application.compositions;
    show.receive("/marvo/all/play", 1);
    show.tick(100);
    // The trigger is on its way to the main thread when the composition goes.
    OSCMessage trigger = OSCMessage::createWithAddress("/marvo/triggercompwithname");
    trigger.addString("B");
    show.application.receivedOSCMessage(trigger);
    OSCMessage select = OSCMessage::createWithAddress("/marvo/selectcompatindex");
    select.addInt(3);
    show.application.receivedOSCMessage(select);
    ASSERT_TRUE(compositions.removeCompositionAtIndex(1));
    ASSERT_TRUE(compositions.removeCompositionAtIndex(1));
    show.main.pump();
    show.receive("/marvo/b/play", 1);
    show.receive("/marvo/b/t/enable", 0);
    show.receive("/marvo/triggercompwithname", std::string("B"));
    EXPECT_EQ(compositions.count(), 1u);
    EXPECT_FALSE(compositions.removeCompositionAtIndex(7));
    EXPECT_FALSE(compositions.removeCompositionAtIndex(-1));
    expectThatItPlaysOn(show);
}

TEST(OperatorMistakes, OfTwoProjectsAskedForAtOnceTheLastOneStands) {
    Show show(playingShow());
    const std::string first = show.file("first.mrv");
    const std::string second = show.file("second.mrv");
    writePropertyList(first,
                      projectOf({compositionOf("First", 30, 1.0f, {}), compositionOf("X", 30, 1.0f, {})}));
    writePropertyList(second,
                      projectOf({compositionOf("Second", 30, 1.0f, {}), compositionOf("Y", 30, 1.0f, {})}));
    for (int i = 0; i < 20; ++i) {
        for (const std::string& path : {first, second}) {
            OSCMessage load = OSCMessage::createWithAddress("/marvo/loadproject");
            load.addString(path);
            show.application.receivedOSCMessage(load);
        }
        show.application.receivedOSCMessage(OSCMessage::createWithAddress("/marvo/all/play"));
    }
    show.main.pump();
    EXPECT_EQ(show.application.compositions.count(), 2u);
    EXPECT_EQ(show.composition().compName(), "Second");
    EXPECT_FALSE(show.application.gate.shouldIgnoreRendering());
}

TEST(OperatorMistakes, APathThatCannotBeReadLeavesThePlayingShow) {
    Show show(playingShow());
    show.playAll();
    std::ofstream(show.file("broken.mrv")) << "<plist><dict><key>Comp-0</key>";
    std::ofstream(show.file("empty.mrv"));
    std::filesystem::create_directory(show.file("folder.mrv"));
    for (const std::string& path :
         {std::string(), std::string("~nobody/x.mrv"), std::string("/no/such.mrv"), show.file("broken.mrv"),
          show.file("empty.mrv"), show.file("folder.mrv"), std::string(5000, 'x') + ".mrv"}) {
        show.receive("/marvo/loadproject", path);
        EXPECT_EQ(show.application.compositions.count(), 3u) << path.substr(0, 40);
        expectThatItPlaysOn(show);
    }
}

} // namespace
} // namespace marvo::testing
