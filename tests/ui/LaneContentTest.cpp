// What stands in the lanes of colours and of flags.
#include "tracks/MarvoTimelineColorTrack.h"

#include "Stage.h"

using namespace marvo;
using namespace marvo::ui;
using namespace marvo::ui::testing;

namespace {

enum Row : std::size_t { colors, flags, sameFlags, rowCount };

PropertyList colorKeyframe(std::int64_t time, const Colour& colour,
                           const char* curve = "Linear Interpolation") {
    const std::string archive = archivedColour(colour);
    PropertyList keyframe =
        marvo::testing::keyframeOf(time, "colorValue", PropertyList::data(std::as_bytes(std::span(archive))));
    keyframe.set("interpolation", curve);
    return keyframe;
}

PropertyList flagAt(std::int64_t time, const char* address) {
    return marvo::testing::keyframeOf(time, "flagAddress", address);
}

struct LaneContentTest : ::testing::Test, Stage {
    LaneContentTest() {
        using namespace marvo::testing;
        PropertyList named = trackOf("OSCFlag", listOf({flagAt(60, "/a/$COMPINDEX/$TRACK <$F> <$S> <$>")}));
        PropertyList spelled = trackOf("OSCFlag", listOf({flagAt(60, "/a/1/Same 60 <2.000> <1>")}));
        named.set("trackName", "Same");
        spelled.set("trackName", "Spelled");
        load(projectOf({compositionOf(
            "Lanes", 30, 20.0f,
            {trackOf("OSCColor", listOf({colorKeyframe(150, {1, 0, 0, 1}), colorKeyframe(300, {0, 0, 1, 1}),
                                         colorKeyframe(450, {0, 1, 0, 1}, "No Interpolation")})),
             named, spelled})}));
        application().compositions.selectCompositionAtIndex(0);
        frame();
    }
    // In the middle of the lane, off every line of the grid.
    QColor inLane(Row row, std::int64_t at) {
        const LaneLayout::Lane where = lane(row);
        return Stage::colorAt(lanes(), QPoint(laneX(at) + 3, static_cast<int>(where.y + where.height * 0.7)));
    }
    QImage labelOf(Row row, std::int64_t at) {
        const LaneLayout::Lane where = lane(row);
        return lanes().grab(QRect(laneX(at), static_cast<int>(where.y) + 1, 260, 116)).toImage();
    }
};

} // namespace

TEST_F(LaneContentTest, BeforeItsFirstKeyframeAColourLaneIsBare) {
    EXPECT_EQ(inLane(colors, 40), Look::current().lane);
    EXPECT_EQ(inLane(colors, 142), Look::current().lane) << "nothing fades in";
    choose("Daylight Colours");
    frame();
    EXPECT_EQ(inLane(colors, 40), Look::light().lane);
    choose("Daylight Colours");
}

TEST_F(LaneContentTest, AColourLaneFadesAndHoldsItsLastColour) {
    const QColor first = inLane(colors, 156);
    EXPECT_GT(first.red(), 225);
    EXPECT_LT(first.blue(), 30);
    const QColor middle = inLane(colors, 225);
    EXPECT_NEAR(middle.red(), 128, 12);
    EXPECT_NEAR(middle.blue(), 128, 12);
    EXPECT_EQ(inLane(colors, 435), QColor(0, 0, 255)) << "a step holds the colour before it";
    EXPECT_EQ(inLane(colors, 560), QColor(0, 255, 0));
}

TEST_F(LaneContentTest, AColourThatIsHalfThereLetsTheLaneShine) {
    using namespace marvo::testing;
    load(projectOf({compositionOf("Lanes", 30, 20.0f,
                                  {trackOf("OSCColor", listOf({colorKeyframe(0, {1, 1, 1, 0.5})}))})}));
    application().compositions.selectCompositionAtIndex(0);
    frame();
    const QColor ground = Look::current().lane;
    EXPECT_NEAR(inLane(colors, 100).red(), (255 + ground.red()) / 2, 3);
    EXPECT_NEAR(inLane(colors, 100).blue(), (255 + ground.blue()) / 2, 3);
}

TEST_F(LaneContentTest, BesideAFlagStandsWhatItSends) {
    EXPECT_EQ(labelOf(flags, 60), labelOf(sameFlags, 60));
    ASSERT_TRUE(lane(flags).track);
    typeInto(flags, HeaderPart::name, "Other");
    EXPECT_NE(labelOf(flags, 60), labelOf(sameFlags, 60)) << "the name of the track is part of it";
}
