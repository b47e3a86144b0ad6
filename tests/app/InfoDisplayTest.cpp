// The line above the list of compositions, through loads and changes of the list.
#include "Show.h"

#include <gtest/gtest.h>

using namespace marvo;
using namespace marvo::testing;

namespace {

class InfoLine : public ::testing::Test {
protected:
    std::string text() { return show.application.infoDisplay.text(); }
    static PropertyList twoActs() {
        return projectOf({compositionOf("Act One", 10, 65.0f, {oscTrack("A", "/a", {})}),
                          compositionOf("Act Two", 30, 10.0f, {})});
    }
    static PropertyList selecting(PropertyList project, std::int64_t row) {
        PropertyList appData = *project.find("appData");
        appData.set("selectedComposition", row);
        project.set("appData", appData);
        return project;
    }
    Show show;
};

} // namespace

TEST_F(InfoLine, AtTheStartThereIsNothing) {
    EXPECT_EQ(text(), "No compositions");
    show.application.newProject();
    EXPECT_EQ(text(), "Composition 1 - No Tracks - 10s");
}

TEST_F(InfoLine, RightAfterALoadItTellsOfWhatWasLoaded) {
    show.load(projectOf({compositionOf("Old", 30, 3.0f, {})}));
    EXPECT_EQ(text(), "Old - No Tracks - 03s");
    show.load(twoActs());
    EXPECT_EQ(text(), "Act Two - No Tracks - 10s") << "without a saved selection it is the last one";
    show.load(selecting(twoActs(), 0));
    EXPECT_EQ(text(), "Act One - 1 Track - 01:05");
}

TEST_F(InfoLine, IsEmptyWhileNothingIsSelected) {
    show.load(selecting(twoActs(), -1));
    EXPECT_EQ(text(), "");
    show.application.compositions.selectNextComposition();
    EXPECT_EQ(text(), "Act One - 1 Track - 01:05");
}

TEST_F(InfoLine, FollowsTheListOfCompositions) {
    show.load(selecting(twoActs(), 0));
    CompositionSet& compositions = show.application.compositions;
    compositions.moveComposition(0, 2);
    EXPECT_EQ(text(), "Act One - 1 Track - 01:05") << "wherever it stands now";
    compositions.duplicateComposition(1);
    EXPECT_EQ(text(), "Composition 3 - 1 Track - 01:05");
    show.application.undo.undo();
    EXPECT_EQ(text(), "Act One - 1 Track - 01:05") << "the original again";
    show.application.removeCompositionAtIndex(1);
    EXPECT_EQ(text(), "Act Two - No Tracks - 10s");
    show.application.removeCompositionAtIndex(0);
    EXPECT_EQ(text(), "No Compositions");
}

TEST_F(InfoLine, AProjectThatGoesLeavesNoNameBehind) {
    show.load(twoActs());
    show.application.projectFile.removeProject();
    EXPECT_EQ(text(), "No Compositions");
    EXPECT_EQ(show.application.windowTitle(), "Marvo - Untitled project (00s)");
}

TEST_F(InfoLine, FollowsTracksThatComeAndGo) {
    show.load(selecting(twoActs(), 0));
    CompositionTracks& tracks = show.composition().tracks;
    tracks.createTrackOfTpye("OSCValue");
    EXPECT_EQ(text(), "Act One - 2 Tracks - 01:05");
    tracks.undoRemoveTracksWithPositions({0, 1});
    EXPECT_EQ(text(), "Act One - No Tracks - 01:05");
    show.application.undo.undo();
    EXPECT_EQ(text(), "Act One - 2 Tracks - 01:05");
}
