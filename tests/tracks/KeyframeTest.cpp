#include "TrackRig.h"
#include "tracks/KeyframeRecords.h"
#include "tracks/KeyframeStore.h"
#include "tracks/MarvoTimelineKeyframe.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

using namespace marvo;
using namespace marvo::testing;

namespace {

MarvoTimelineKeyframe keyframe(std::int64_t time, float value, std::uint64_t uID = 0) {
    MarvoTimelineKeyframe result;
    result.time = Frame(time);
    result.value = value;
    result.uID = uID;
    return result;
}

struct Store {
    MarvoKeyframeHelper helper;
    KeyframeStore store{helper};
    explicit Store(std::initializer_list<MarvoTimelineKeyframe*>) {}
    Store() = default;
    void add(std::int64_t time, float value) {
        store.append(keyframe(time, value, helper.nextUID()));
        store.rebuild();
    }
};

RawKeyframe raw(std::int64_t time, float value) {
    RawKeyframe result;
    result.time = Frame(time);
    result.value = value;
    return result;
}

MarvoTimelineKeyframe restored(const RawKeyframe& from, KeyframeTrackKind kind, float minimum,
                               float maximum) {
    MarvoTimelineKeyframe result;
    result.minValue = minimum;
    result.maxValue = maximum;
    restoreKeyframe(result, from, kind);
    return result;
}

} // namespace

TEST(Keyframes, StaySortedByTimeAndEqualTimesKeepTheirOrder) {
    Store lane;
    lane.add(20, 1);
    lane.add(10, 2);
    lane.add(20, 3);
    lane.add(10, 4);
    std::vector<float> values;
    for (const auto& k : lane.store.all()) values.push_back(k.value);
    EXPECT_EQ(values, (std::vector<float>{2, 4, 1, 3}));
}

TEST(Keyframes, OfSeveralAtOneTimeTheFirstIsFoundAndAllAreListed) {
    Store lane;
    lane.add(10, 1);
    lane.add(10, 2);
    lane.add(11, 3);
    EXPECT_EQ(lane.store.keyframeAtTime(Frame(10))->value, 1.0f);
    EXPECT_EQ(lane.store.keyframesAtTime(Frame(10)).size(), 2u);
    EXPECT_EQ(lane.store.keyframeAtTime(Frame(12)), nullptr);
}

TEST(Keyframes, BeforeIsStrictlyEarlierWhileAfterMayStandAtTheSameTime) {
    Store lane;
    lane.add(5, 1);
    lane.add(10, 2);
    lane.add(10, 3);
    EXPECT_EQ(lane.store.keyframeBeforeTime(Frame(10))->value, 1.0f);
    EXPECT_EQ(lane.store.keyframeAfterTime(Frame(10))->value, 3.0f);
    EXPECT_EQ(lane.store.keyframeBeforeTime(Frame(5)), nullptr);
    EXPECT_EQ(lane.store.keyframeAfterTime(Frame(11)), nullptr);
}

TEST(Keyframes, LookingForANeighbourDrawsAnIdentity) {
    Store lane;
    lane.add(5, 1);
    const std::uint64_t before = lane.helper.nextUID();
    lane.store.keyframeBeforeTime(Frame(3));
    lane.store.keyframeAfterTime(Frame(3));
    EXPECT_EQ(lane.helper.nextUID(), before + 3);
}

TEST(Keyframes, ARangeTakesBothOfItsEnds) {
    Store lane;
    for (const std::int64_t time : {9, 10, 15, 20, 21}) lane.add(time, 0);
    EXPECT_EQ(lane.store.keyframesInRange(Frame(10), FrameCount(10)).size(), 3u);
    EXPECT_TRUE(lane.store.keyframesInRange(Frame(30), FrameCount(5)).empty());
}

TEST(Keyframes, ANewOneTakesTheMiddleOfTheRangeOrOfItsNeighbours) {
    Store lane;
    const KeyframeRange range{20, 100};
    EXPECT_EQ(lane.store.valueForNewKeyframeAt(Frame(5), range), 60.0f);
    lane.add(10, 30);
    lane.add(20, 50);
    EXPECT_EQ(lane.store.valueForNewKeyframeAt(Frame(15), range), 40.0f);
}

TEST(Keyframes, OneAddedAheadOfTheFirstTakesTheValueOfTheLast) {
    Store lane;
    lane.add(10, 30);
    lane.add(20, 50);
    EXPECT_EQ(lane.store.valueForNewKeyframeAt(Frame(5), {0, 127}), 50.0f);
    EXPECT_EQ(lane.store.valueForNewKeyframeAt(Frame(25), {0, 127}), 50.0f);
}

TEST(Keyframes, ConvertBetweenRatesInSinglePrecisionAndAreCut) {
    EXPECT_EQ(MarvoKeyframeHelper::convertTime(Frame(31), 30, 25), Frame(25));
    EXPECT_EQ(MarvoKeyframeHelper::convertTime(Frame(77), 24, 24), Frame(77));
    EXPECT_EQ(MarvoKeyframeHelper::convertTime(Frame(-31), 30, 60), Frame(-62));
    EXPECT_EQ(MarvoKeyframeHelper::convertTime(Frame(5), 0, 60), Frame(5));
}

TEST(KeyframeRestore, ANegativeTimeBecomesTheStartAndNoNumberBecomesZero) {
    MarvoTimelineKeyframe result;
    const KeyframeRepairs repairs =
        restoreKeyframe(result, raw(-4, std::numeric_limits<float>::quiet_NaN()), KeyframeTrackKind::other);
    EXPECT_EQ(result.time, Frame(0));
    EXPECT_EQ(result.value, 0.0f);
    EXPECT_TRUE(repairs.wasNegative);
    EXPECT_TRUE(repairs.wasNotANumber);
}

TEST(KeyframeRestore, RoundsOnNoteAndIntegerTracksAndKeepsFractionsElsewhere) {
    EXPECT_EQ(restored(raw(0, 60.5f), KeyframeTrackKind::midiNotes, 0, 127).value, 61.0f);
    EXPECT_EQ(restored(raw(0, 2.5f), KeyframeTrackKind::oscOther, 0, 127).value, 3.0f);
    EXPECT_EQ(restored(raw(0, 2.5f), KeyframeTrackKind::oscFloat, 0, 127).value, 2.5f);
    EXPECT_EQ(restored(raw(0, 2.5f), KeyframeTrackKind::other, 0, 127).value, 2.5f);
}

TEST(KeyframeRestore, HoldsValuesInTheRangeTheUpperBoundFirst) {
    EXPECT_EQ(restored(raw(0, 200), KeyframeTrackKind::other, 0, 127).value, 127.0f);
    EXPECT_EQ(restored(raw(0, -5), KeyframeTrackKind::other, 0, 127).value, 0.0f);
    EXPECT_EQ(restored(raw(0, 50), KeyframeTrackKind::other, 80, 20).value, 80.0f);
}

TEST(KeyframeRestore, VelocitiesAreHeldInTheirRangeAndOnlyReadOnNoteTracks) {
    RawKeyframe from = raw(0, 60);
    from.hasVelocities = true;
    from.noteVelocityOn = 300;
    from.noteVelocityOff = -3;
    const MarvoTimelineKeyframe note = restored(from, KeyframeTrackKind::midiNotes, 0, 127);
    EXPECT_EQ(note.noteVelocityOn, 127.0f);
    EXPECT_EQ(note.noteVelocityOff, 0.0f);
    EXPECT_EQ(restored(from, KeyframeTrackKind::other, 0, 127).noteVelocityOff, 64.0f);
}

TEST(KeyframeRestore, APasteIsRescaledOnlyWhenBothBoundsDiffer) {
    RawKeyframe from = raw(0, 100);
    from.hasRatio = true;
    from.ratio = 0.5f;
    from.minimumText = "1.00000";
    from.maximumText = "127.00000";
    EXPECT_EQ(restored(from, KeyframeTrackKind::other, 0, 255).value, 127.5f);
    from.minimumText = "0.00000";
    EXPECT_EQ(restored(from, KeyframeTrackKind::other, 0, 255).value, 100.0f)
        << "one bound alike keeps the raw value";
}

TEST(KeyframeRescale, KeepsTheHeightOnTheLaneNotTheValue) {
    MarvoTimelineKeyframe point = keyframe(0, 60);
    point.minValue = 0;
    point.maxValue = 120;
    point.refresh();
    point.calculateNewValuesWithNewMinMax(0, 255, KeyframeTrackKind::other, LaneHeight());
    EXPECT_EQ(point.value, 128.0f);
    point.refresh();
    point.calculateNewValuesWithNewMinMax(0, 255, KeyframeTrackKind::other, LaneHeight());
    EXPECT_EQ(point.value, 128.0f) << "an unchanged range changes nothing";
}

TEST(KeyframeRescale, OnACollapsedLaneMeasuresTheHeightAgainstTheFullOne) {
    MarvoTimelineKeyframe point = keyframe(0, 60);
    point.minValue = 0;
    point.maxValue = 120;
    point.refresh();
    LaneHeight drawn;
    drawn.collapse();
    point.calculateNewValuesWithNewMinMax(0, 255, KeyframeTrackKind::other, drawn);
    EXPECT_EQ(point.value, 34.0f) << "16 of 119 pixels, of 255";
}

TEST(KeyframeRescale, KeepsFractionsOnFloatTracksAlone) {
    MarvoTimelineKeyframe point = keyframe(0, 33);
    point.minValue = 0;
    point.maxValue = 100;
    point.refresh();
    point.calculateNewValuesWithNewMinMax(0, 10, KeyframeTrackKind::oscFloat, LaneHeight());
    EXPECT_NEAR(point.value, 3.3f, 1e-5f);
}

TEST(KeyframeRecord, WithoutACurveIsLinearAndAnUnknownCurveIsKeptAsText) {
    PropertyList record = PropertyList::dictionary();
    EXPECT_EQ(interpolationFrom(record), "Linear Interpolation");
    MarvoTimelineKeyframe point;
    point.setInterpolationType("Wobbly");
    EXPECT_EQ(point.interpolationType(), "Wobbly");
    EXPECT_EQ(point.curveInUse(), Curve::unknown);
    EXPECT_EQ(recordOf(point, false, false).find("interpolation")->stringOr(""), "Wobbly");
}

TEST(KeyframeRecord, APreviewIsUsedWhileItIsLookedAtAndNeverSaved) {
    MarvoTimelineKeyframe point;
    point.setInterpolationType("Sine Ease-In");
    const std::string_view preview = "Bounce Ease-Out";
    point.setPreviewInterpolation(&preview);
    EXPECT_EQ(point.curveInUse(), Curve::bounceOut);
    EXPECT_EQ(recordOf(point, false, false).find("interpolation")->stringOr(""), "Sine Ease-In");
    point.setPreviewInterpolation(nullptr);
    EXPECT_EQ(point.curveInUse(), Curve::sineIn);
}

TEST(KeyframeRecord, TheIdentityStandsInUndoRecordsOnlyAndVelocitiesOnNotesOnly) {
    const MarvoTimelineKeyframe point = keyframe(3, 4, 17);
    EXPECT_EQ(recordOf(point, false, false).size(), 3u);
    EXPECT_EQ(recordOf(point, false, true).find("uid")->integerOr(0), 17);
    EXPECT_EQ(recordOf(point, true, false).find("noteVelocityOff")->realOr(0), 64.0);
    EXPECT_EQ(recordForCopy(point, false, 25).find("compFPS")->integerOr(0), 25);
    EXPECT_EQ(recordForCopy(point, false, std::nullopt).find("max")->stringOr(""), "127.00000");
}

TEST(Keyframes, OfOneTimeKeepTheirOrderThroughEverySaveAndLoad) {
    TrackRig rig;
    const auto track = rig.make("OSCValue");
    std::vector<PropertyList> records;
    // So many that places 9 and 10, 99 and 100, and 999 to 1001 have one time each.
    for (std::int64_t i = 0; i < 1010; ++i) {
        const std::int64_t time = i == 10 ? 9 : i == 100 ? 99 : i == 1000 || i == 1001 ? 999 : i;
        records.push_back(keyframeAt(std::min<std::int64_t>(time, 299), static_cast<float>(i % 101)));
    }
    track->addNewKeyFramesWithData(records);
    const auto valuesOf = [](const MarvoTimelineTrack& one) {
        std::vector<float> values;
        for (const auto& keyframe : one.keyframes().store().all()) values.push_back(keyframe.value);
        return values;
    };
    const std::vector<float> values = valuesOf(*track);
    const PropertyList saved = track->backupDataForUndo(false);
    const PropertyList& keyframes = *saved.find("keyFrames");
    for (std::size_t i = 0; i < 1010; ++i) ASSERT_NE(keyframes.find(std::to_string(i)), nullptr) << i;
    PropertyList record = saved;
    for (int round = 0; round < 3; ++round) {
        const auto other = rig.make("OSCValue");
        other->restoreWithData(record, true, nullptr);
        EXPECT_EQ(valuesOf(*other), values) << round;
        record = other->backupDataForUndo(false);
        EXPECT_EQ(*record.find("keyFrames"), keyframes) << round;
    }
}

TEST(Keyframes, OfAFileHaveNoIdentityThatWouldSpareThemTheRules) {
    TrackRig rig;
    const auto track = rig.make("OSCValue");
    track->setTrackOSCType(1);
    PropertyList record = track->backupDataForUndo(false);
    PropertyList keyframes = PropertyList::dictionary();
    for (const std::int64_t time : {3, 5, 7}) {
        PropertyList keyframe = keyframeAt(time, time == 7 ? 1e6f : 2.6f);
        keyframe.set("uid", std::int64_t{4711});
        keyframes.set(std::to_string(time), keyframe);
    }
    record.set("keyFrames", keyframes);
    rig.ignoresRendering = true; // as during the load of a project
    track->restoreWithData(record, true, nullptr);
    const auto& all = track->keyframes().store().all();
    ASSERT_EQ(all.size(), 3u);
    EXPECT_EQ(all[0].value, 3.0f) << "rounded";
    EXPECT_EQ(all[2].value, track->trackMaxValue()) << "held to the range";
    EXPECT_NE(all[0].uID, all[1].uID) << "two keyframes, two identities";
    EXPECT_NE(all[0].uID, 4711u);
    EXPECT_EQ(track->backupDataForUndo(false).find("keyFrames")->find("0")->find("uid"), nullptr);
    rig.ignoresRendering = false; // as when an edit is taken back
    const auto other = rig.make("OSCValue");
    other->restoreWithData(track->backupDataForUndo(true), true, nullptr);
    EXPECT_EQ(other->keyframes().store().all()[1].uID, all[1].uID);
}
