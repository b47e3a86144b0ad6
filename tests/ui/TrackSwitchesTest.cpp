// The switches of the selected tracks, by the menu and its keys.
#include "Stage.h"

using namespace marvo;
using namespace marvo::ui;
using namespace marvo::ui::testing;

namespace {

struct TrackSwitchesTest : ::testing::Test, Stage {
    TrackSwitchesTest() {
        load();
        clickRow(0, CompositionsModel::nameColumn);
    }
};

} // namespace

TEST_F(TrackSwitchesTest, AreReachedByKeys) {
    pressHeader(0, HeaderPart::name);
    MarvoTimelineTrack& track = show().track(0);
    key(Qt::Key_E, Qt::ControlModifier);
    EXPECT_FALSE(track.isEnabled());
    choose("Switch Tracks On or Off");
    EXPECT_TRUE(track.isEnabled());
    key(Qt::Key_K, Qt::ControlModifier | Qt::AltModifier);
    EXPECT_TRUE(track.isLocked());
    choose("Lock or Unlock Tracks");
    EXPECT_FALSE(track.isLocked());
    choose("Collapse or Expand Tracks");
    EXPECT_TRUE(track.laneHeight.isCollapsed());
    choose("Collapse or Expand Tracks");
    EXPECT_FALSE(track.laneHeight.isCollapsed());
}

TEST_F(TrackSwitchesTest, ATrackWithoutThemDoesNotStopTheOthers) {
    using namespace marvo::testing;
    load(projectOf({compositionOf(
        "One", 30, 10.0f, {trackOf("AudioFile", listOf({})), oscTrack("Dimmer", "/dimmer", {{0, 0}})})}));
    ASSERT_FALSE(dynamic_cast<MarvoTimelineTrack*>(composition().tracks.trackAtPosition(0)));
    auto* dimmer = dynamic_cast<MarvoTimelineTrack*>(composition().tracks.trackAtPosition(1));
    ASSERT_TRUE(dimmer);
    choose("Select All Tracks");
    choose("Switch Tracks On or Off");
    EXPECT_FALSE(dimmer->isEnabled());
    choose("Switch Tracks On or Off");
    EXPECT_TRUE(dimmer->isEnabled());
    choose("Lock or Unlock Tracks");
    EXPECT_TRUE(dimmer->isLocked());
    choose("Lock or Unlock Tracks");
    EXPECT_FALSE(dimmer->isLocked());
    for (const auto& one : composition().tracks.all()) one->setSelected(false);
    choose("Switch Tracks On or Off");
    EXPECT_EQ(beeps, 1);
}
