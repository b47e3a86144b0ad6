// Which composition is the current one, and who is told of it.
#include "Show.h"

#include <atomic>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <thread>

namespace marvo::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

PropertyList selecting(PropertyList project, std::int64_t row) {
    PropertyList appData = *project.find("appData");
    appData.set("selectedComposition", row);
    project.set("appData", appData);
    return project;
}

PropertyList threeActs() {
    return projectOf({compositionOf("Act One", 30, 10.0f, {}),
                      compositionOf("Act Two", 30, 10.0f, {oscTrack("T", "/t", {{0, 0}})}),
                      compositionOf("Act Three", 30, 10.0f, {})},
                     "Out");
}

// What remotes were told of the current composition since the last time.
std::vector<std::string> namesTold(Show& show) {
    std::vector<std::string> names;
    for (const Sent& one : show.take()) {
        if (one.address == "/marvo/current/name") names.push_back(one.text);
    }
    return names;
}

TEST(Selection, ALoadTellsTheNameOfTheOneThatIsCurrentAfterwardsAndNoOther) {
    Show show;
    show.load(threeActs());
    EXPECT_THAT(namesTold(show), IsEmpty()) << "nobody has made a selection";
    show.load(selecting(threeActs(), 2));
    EXPECT_THAT(namesTold(show), ElementsAre("Act Three"));
    show.load(selecting(threeActs(), -1));
    EXPECT_THAT(namesTold(show), IsEmpty());
    EXPECT_EQ(show.application.compositions.selectedComposition(), nullptr);
}

TEST(Selection, SelectingTheSelectedRowTellsNobody) {
    Show show(selecting(threeActs(), 1));
    show.take();
    show.receive("/marvo/selectcompatindex", 2);
    EXPECT_THAT(namesTold(show), IsEmpty());
    show.receive("/marvo/selectcompatindex", 1);
    EXPECT_THAT(namesTold(show), ElementsAre("Act One"));
}

TEST(Selection, WhenTheCurrentOneIsDeletedItsSuccessorIsTold) {
    Show show(selecting(threeActs(), 1));
    show.take();
    show.application.removeCompositionAtIndex(1);
    EXPECT_THAT(namesTold(show), ElementsAre("Act Three"));
    show.application.removeCompositionAtIndex(0);
    EXPECT_THAT(namesTold(show), IsEmpty()) << "another one than the current";
    EXPECT_EQ(show.application.compositions.selectedComposition()->compName(), "Act Three");
    show.application.removeCompositionAtIndex(0);
    EXPECT_THAT(namesTold(show), IsEmpty()) << "none is left";
}

TEST(Selection, ACopyOfACompositionInALockedProjectHasItsTracks) {
    Show show(threeActs());
    show.application.lockProject();
    show.application.compositions.duplicateComposition(1);
    EXPECT_EQ(show.composition(3).tracks.count(), 1u);
    EXPECT_FALSE(show.application.compositions.isProjectLocked()) << "as with every new composition";
}

TEST(Selection, WhatFollowsATriggerInOnePacketMeetsTheTriggeredComposition) {
    for (const bool byName : {false, true}) {
        Show show(selecting(threeActs(), 0));
        std::atomic<bool> done{false};
        std::thread input([&] {
            OSCMessage trigger = OSCMessage::createWithAddress(byName ? "/marvo/triggercompwithname"
                                                                      : "/marvo/triggercompatindex");
            if (byName) {
                trigger.addString("Act Two");
            } else {
                trigger.addInt(2);
            }
            show.application.receivedOSCMessage(trigger);
            OSCMessage jump = OSCMessage::createWithAddress("/marvo/current/jumptoframe");
            jump.addInt(50);
            show.application.receivedOSCMessage(jump);
            done = true;
        });
        while (!done) show.main.pump();
        input.join();
        show.main.pump();
        EXPECT_EQ(show.frame(0), 0) << byName;
        EXPECT_EQ(show.frame(1), 50) << byName;
        EXPECT_TRUE(show.composition(1).state.isRunning);
    }
}

TEST(Selection, WhatWasHeardForOneProjectIsNotKeptForTheNext) {
    Show show(threeActs());
    show.receive("/desk/1", 1);
    show.receiveMIDI({{176, 0, 7, 64}});
    show.application.receivedDMX(std::vector<DMXPair>{{0, 255}});
    InboundRecorder& recorder = show.application.recorder;
    ASSERT_EQ(recorder.oscFilters.count(), 1u);
    ASSERT_EQ(recorder.midiFilters.count(), 1u);
    ASSERT_EQ(recorder.artNetFilters.count(), 1u);
    ASSERT_EQ(recorder.oscFilters.rows().size(), 1u);
    show.application.newProject();
    for (const FilterTable* table : {static_cast<const FilterTable*>(&recorder.oscFilters),
                                     static_cast<const FilterTable*>(&recorder.midiFilters),
                                     static_cast<const FilterTable*>(&recorder.artNetFilters)}) {
        EXPECT_EQ(table->count(), 0u);
        EXPECT_THAT(table->rows(), IsEmpty());
    }
}

} // namespace
} // namespace marvo::testing
