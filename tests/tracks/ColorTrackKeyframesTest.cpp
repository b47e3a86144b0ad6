#include "ColorRig.h"
#include "RealtimeScope.h"
#include "Sanitized.h"
#include "tracks/KeyframeRecords.h"

#include <atomic>
#include <chrono>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <thread>
#include <time.h>

using namespace marvo;
using namespace marvo::testing;

TEST(ColorTrack, KnowsTwoCurvesAndTakesEveryOtherForTheFade) {
    ColorRig rig;
    rig.add(0, red);
    rig.add(10, blue, "Cubic Ease-In");
    rig.add(20, blue, "Wobbly");
    rig.add(30, red, step);
    Lines curves;
    for (const auto& keyframe : rig.track->keyframes().store().all())
        curves.emplace_back(keyframe.interpolationType());
    EXPECT_EQ(curves, (Lines{linear, linear, linear, step}));
}

TEST(ColorTrack, ItsRecordComesBackWholeWithWhatNobodyReads) {
    ColorRig rig;
    PropertyList record = rig.track->backupDataForUndo(false);
    record.set("trackOSCType", std::int64_t{4});
    record.set("trackOSCAddress", "/x");
    record.set("sparkle", "yes");
    PropertyList special = PropertyList::dictionary();
    special.set("addressR", "rouge");
    special.set("addressG", "vert");
    special.set("addressB", "bleu");
    special.set("addressA", "voile");
    special.set("shouldSendAlpha", true);
    special.set("glitter", std::int64_t{3});
    record.set("specialSettings", special);
    PropertyList keyframe = colorAt(3, {0.1, 0.2, 0.3, 0.4}, step);
    keyframe.set("shimmer", "also");
    PropertyList keyframes = PropertyList::dictionary();
    keyframes.set("0", keyframe);
    record.set("keyFrames", keyframes);
    rig.track->restoreWithData(record, true, nullptr);
    EXPECT_EQ(rig.track->backupDataForUndo(false), record);
    EXPECT_EQ(rig.track->subAddresses()[2], "bleu");
    EXPECT_TRUE(rig.track->shouldSendAlpha());
}

TEST(ArtNetColorTrack, ItsRecordComesBackWhole) {
    ColorRig rig("ArtNetColor");
    rig.track->setArtNetColorFormat("RGB+Amber");
    rig.track->setArtNetChannel("7x2");
    rig.add(4, blue);
    const PropertyList record = rig.track->backupDataForUndo(false);
    EXPECT_EQ(record.find("specialSettings")->find("artNetColorFormat")->stringOr(""), "RGB+Amber");
    EXPECT_EQ(record.find("trackOSCType"), nullptr);
    ColorRig other("ArtNetColor");
    other.track->restoreWithData(record, true, nullptr);
    EXPECT_EQ(other.track->backupDataForUndo(false), record);
    EXPECT_EQ(other.sends(red).size(), 18u);
}

TEST(ArtNetColorTrack, AnOlderRepeatCountBecomesPartOfTheChannelText) {
    ColorRig rig("ArtNetColor");
    PropertyList record = rig.track->backupDataForUndo(false);
    PropertyList special = PropertyList::dictionary();
    special.set("artNetRepeat", std::int64_t{3});
    special.set("artNetColorFormat", "L");
    record.set("specialSettings", special);
    rig.track->restoreWithData(record, true, nullptr);
    EXPECT_EQ(rig.track->stringValueOfDMXChannels(), "1x3");
    EXPECT_EQ(rig.track->backupDataForUndo(false).find("specialSettings")->size(), 1u);
}

TEST(ColorTrack, AColourThatNobodyChangedIsWrittenBackAsItWasRead) {
    ColorRig rig;
    const std::string unreadable = "a colour of tomorrow";
    PropertyList keyframe = colorAt(3, red);
    keyframe.set("colorValue", dataOf("marvo-colour 1 rgba 1.0 0.50 0 1.000"));
    const auto readable = rig.track->addNewKeyFrameWithData(keyframe);
    keyframe.set("colorValue", dataOf(unreadable));
    PropertyList keyframes = PropertyList::dictionary();
    keyframes.set("0", keyframe);
    PropertyList record = rig.track->backupDataForUndo(false);
    EXPECT_EQ(*record.find("keyFrames")->find("0")->find("colorValue"),
              dataOf("marvo-colour 1 rgba 1.0 0.50 0 1.000"));
    rig.track->setColorOfKeyframes({readable}, blue);
    EXPECT_EQ(*rig.track->backupDataForUndo(false).find("keyFrames")->find("0")->find("colorValue"),
              dataOf("marvo-colour 1 rgba 0 0 1 1"));
    ColorRig other;
    record.set("keyFrames", keyframes);
    LoadReport report;
    other.track->restoreWithData(record, true, &report);
    EXPECT_EQ(report.lines().size(), 1u);
    EXPECT_EQ(*other.track->backupDataForUndo(false).find("keyFrames")->find("0")->find("colorValue"),
              dataOf(unreadable));
    EXPECT_EQ(other.track->colorAtFrame(Frame(3)), Colour::black());
}

TEST(ColorTrack, UndoAndRedoGiveColoursBackAndForth) {
    ColorRig rig;
    const auto first = rig.add(0, red);
    const auto second = rig.add(5, green);
    rig.composition.undos.clear();
    rig.track->setColorOfKeyframes({first, second, 4711}, blue);
    ASSERT_EQ(rig.composition.undos.size(), 1u) << "one step for all";
    EXPECT_EQ(rig.composition.undos[0].first, "Set Color of Keyframes");
    rig.composition.undo();
    EXPECT_EQ(rig.track->colorAtFrame(Frame(0)), red);
    EXPECT_EQ(rig.track->colorAtFrame(Frame(5)), green);
    rig.composition.undo();
    EXPECT_EQ(rig.track->colorAtFrame(Frame(5)), blue);
}

TEST(ColorTrack, ARemovedKeyframeComesBackWithItsColour) {
    ColorRig rig;
    const auto uID = rig.add(3, {0.1, 0.2, 0.3, 0.4}, step);
    ASSERT_TRUE(rig.track->removeKeyFrameWithUID(uID));
    EXPECT_EQ(rig.track->keyframeCount(), 0u);
    rig.composition.undo();
    ASSERT_EQ(rig.track->keyframeCount(), 1u);
    EXPECT_EQ(rig.track->colorAtFrame(Frame(3)), (Colour{0.1, 0.2, 0.3, 0.4}));
    EXPECT_EQ(rig.track->keyframes().store().all()[0].uID, uID);
}

TEST(ColorTrack, ANewKeyframeLiesBetweenItsNeighbours) {
    ColorRig rig;
    rig.track->addNewKeyFrameAtTime(Frame(0));
    EXPECT_EQ(rig.track->colorAtFrame(Frame(0)), Colour::white()) << "the first one is white";
    rig.track->setColorOfKeyframes({rig.track->keyframes().store().all()[0].uID}, red);
    rig.add(10, blue);
    rig.track->addNewKeyFrameAtTime(Frame(2));
    EXPECT_EQ(rig.track->colorAtFrame(Frame(2)), (Colour{0.5, 0, 0.5}));
    rig.track->addNewKeyFrameAtTime(Frame(20));
    EXPECT_EQ(rig.track->colorAtFrame(Frame(20)), blue);
}

TEST(ColorTrack, APastedValueBecomesAColourOfItsHeight) {
    ColorRig rig;
    PropertyList value = keyframeAt(3, 50, "Cubic Ease-In");
    value.set("ratio", 0.5f);
    const auto pasted = [&](const char* rgb, const char* hsb) {
        rig.options.convertToColorOptionsRGB = rgb;
        rig.options.convertToColorOptionsHSB = hsb;
        rig.track->keyframes().removeIf([](const auto&) { return true; });
        EXPECT_TRUE(rig.track->addNewKeyFrameWithDataByCopy(value, FrameCount(0)));
        return rig.track->colorAtFrame(Frame(3));
    };
    const double v = static_cast<double>(127.0f / 255.0f);
    EXPECT_EQ(pasted("RB", "HSB"), (Colour{v, 0, v, 1}));
    EXPECT_EQ(pasted("GA", ""), (Colour{0, v, 0, v}));
    EXPECT_EQ(pasted("", "B"), Colour::grey(v));
    EXPECT_EQ(pasted("", "HA"), (Colour{0, 0, 0, v}));
    EXPECT_EQ(pasted("", ""), Colour::grey(v)) << "nobody has chosen";
    EXPECT_EQ(rig.track->keyframes().store().all()[0].interpolationType(), linear);
}

TEST(ColorTrack, APastedColourKeepsItsColourAndMovesWithTheRate) {
    ColorRig rig;
    const auto uID = rig.add(6, {0.1, 0.2, 0.3, 0.4}, step);
    const PropertyList copied = recordForCopy(*rig.track->keyframes().store().objectWithUID(uID), false, 60);
    EXPECT_EQ(copied.find("min"), nullptr);
    EXPECT_NE(copied.find("ratio"), nullptr);
    EXPECT_NE(copied.find("value"), nullptr);
    ASSERT_TRUE(rig.track->addNewKeyFrameWithDataByCopy(copied, FrameCount(20)));
    EXPECT_EQ(rig.track->colorAtFrame(Frame(13)), (Colour{0.1, 0.2, 0.3, 0.4})) << "26 of 60 are 13 of 30";
    EXPECT_FALSE(rig.track->addNewKeyFrameWithDataByCopy(copied, FrameCount(6000)));
}

TEST(ColorTrack, AValueThatIsNoNumberIsRepaired) {
    ColorRig rig;
    PropertyList keyframe = colorAt(3, red);
    keyframe.set("value", std::numeric_limits<double>::quiet_NaN());
    rig.track->addNewKeyFrameWithData(keyframe);
    EXPECT_EQ(rig.track->keyframes().store().all()[0].value, 0.0f);
}

TEST(ColorTrack, AnotherRateOrLengthMovesTheTableAlong) {
    ColorRig rig;
    rig.add(0, red);
    rig.add(250, blue);
    rig.composition.fps = 60;
    rig.track->refreshKeyFramesWithRatio(2.0f);
    rig.track->compositionSettingsChanged();
    rig.playsTo(0);
    EXPECT_EQ(rig.tick(250), (Lines{"/c #7f007fff"}));
    EXPECT_EQ(rig.tick(400), (Lines{"/c #3300ccff"}));
}

TEST(ColorTrack, ALongerCompositionShowsTheFadeThatHadNoRoom) {
    ColorRig rig;
    rig.add(200, red);
    rig.add(299, blue);
    rig.track->moveAllKeyFrames(FrameCount(51));
    rig.composition.seconds = 20;
    rig.track->compositionSettingsChanged();
    rig.start(*rig.track, 251);
    rig.tick(251);
    EXPECT_EQ(rig.tick(317), (Lines{"/c #5500aaff"})) << "two thirds of the way";
}

TEST(ColorTrack, TrimmingToTheWorkingAreaMovesTheColoursAlong) {
    ColorRig rig;
    rig.add(0, green);
    rig.add(10, red);
    rig.add(20, blue);
    rig.add(90, green);
    rig.track->trimKeyframesAfter(20);
    rig.track->removeKeyFrameAtTime(Frame(0), true);
    rig.track->moveAllKeyFrames(FrameCount(-10));
    ASSERT_EQ(rig.track->keyframeCount(), 2u);
    EXPECT_EQ(rig.track->colorAtFrame(Frame(5)), (Colour{0.5, 0, 0.5}));
    EXPECT_EQ(rig.track->trimKeyframesAfter(5).size(), 1u);
    EXPECT_EQ(rig.track->keyframeCount(), 1u);
}

TEST(ColorTrack, TheTickAllocatesNothingAlsoWhileKeyframesAreEdited) {
    for (const char* type : {"OSCColor", "ArtNetColor"}) {
        ColorRig rig(type);
        rig.track->setArtNetChannel("1x100");
        const auto uID = rig.add(0, red);
        rig.add(250, blue);
        for (const std::int64_t form : {0, 1, 2, 3, 4}) {
            rig.track->setTrackOSCType(form);
            rig.journal.keeps = false;
            rig.start(*rig.track);
            rig.tick(0);
            rig.tick(1);
            for (std::int64_t frame = 2; frame < 60; ++frame) {
                if (frame % 7 == 0)
                    rig.track->setColorOfKeyframes({uID}, Colour::grey(static_cast<double>(frame) / 100));
                RealtimeScope scope;
                rig.compQueue.sync([&] { rig.track->processAtTime(Frame(frame)); });
                EXPECT_EQ(scope.violations(), 0u) << type << " " << form << "\n" << scope.report();
            }
        }
        EXPECT_GT(rig.journal.count, 250u);
    }
}

TEST(ColorTrack, PaintingALaneMakesNoTableAndShowsItsColoursToTheBit) {
    ColorRig rig;
    std::uint32_t state = 3;
    const auto random = [&] {
        return static_cast<double>((state = state * 1664525u + 1013904223u) >> 8) / 16777217.3;
    };
    std::vector<PropertyList> records;
    for (int i = 0; i < 60; ++i) {
        records.push_back(colorAt(static_cast<std::int64_t>(5.0 + random() * 400.0),
                                  {random(), random(), random(), random()}, i % 3 ? linear : step));
    }
    const std::vector<std::uint64_t> uIDs = rig.track->addNewKeyFramesWithData(records);
    const auto showsItsTable = [&] {
        const auto frames = static_cast<std::int64_t>(rig.composition.seconds * 30.0f);
        const ColorTable table(rig.track->keyframes().store().all(), frames);
        std::vector<Colour> shown(450);
        {
            RealtimeScope scope;
            for (std::int64_t frame = 0; frame < 450; ++frame)
                shown[static_cast<std::size_t>(frame)] = rig.track->colorAtFrame(Frame(frame));
            EXPECT_EQ(scope.violations(), 0u) << scope.report();
        }
        for (std::int64_t frame = 0; frame < 450; ++frame)
            EXPECT_EQ(shown[static_cast<std::size_t>(frame)], table.colorAtFrame(frame)) << frame;
    };
    showsItsTable();
    rig.track->setColorOfKeyframes({uIDs[3], uIDs[4]}, green);
    showsItsTable();
    rig.track->removeKeyFrameWithUID(uIDs[7]);
    showsItsTable();
    rig.composition.seconds = 14;
    showsItsTable();
    rig.track->keyframes().removeIf([](const auto&) { return true; });
    showsItsTable();
}

// An hour of colours is made anew again and again while the tick runs on a thread of its own.
TEST(ColorTrack, ATickNeverWaitsForTheTableOfAnEdit) {
    constexpr std::int64_t lastFrame = 60 * 60 * 60;
    constexpr int wanted = 200;
    for (const char* type : {"OSCColor", "ArtNetColor"}) {
        ColorRig rig(type);
        rig.journal.keeps = false;
        rig.composition.fps = 60;
        rig.composition.seconds = 3600;
        rig.composition.out = Frame(lastFrame);
        const auto uID = rig.add(0, red);
        rig.add(lastFrame, blue);
        rig.start(*rig.track);
        rig.tick(0);
        std::atomic<int> edits{0};        // odd while one is under way
        std::atomic<int> ticksInEdits{0}; // that began and ended within one edit
        std::atomic<bool> done{false};
        std::size_t violations = 0;
        std::string report;
        std::thread ticks([&] {
            for (std::int64_t frame = 1; !done; frame = frame % lastFrame + 1) {
                const int before = edits;
                RealtimeScope scope;
                rig.compQueue.sync([&] { rig.track->processAtTime(Frame(frame)); });
                if (scope.violations() > 0) report += scope.report();
                violations += scope.violations();
                if (before % 2 == 1 && edits == before) ++ticksInEdits;
            }
        });
        const auto giveUp = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        for (int i = 0; i < 20 || ticksInEdits < wanted; ++i) {
            if (std::chrono::steady_clock::now() > giveUp) break;
            ++edits;
            rig.track->setColorOfKeyframes({uID}, Colour::grey(i % 2));
            ++edits;
        }
        done = true;
        ticks.join();
        EXPECT_EQ(violations, 0u) << type << "\n" << report.substr(0, 4000);
        EXPECT_GE(ticksInEdits, wanted) << type;
    }
}

#if !MARVO_SANITIZED // makes one of the two many times slower
TEST(ColorTrack, ATickCostsNoMoreThanTwiceThatOfAFadingValue) {
    constexpr std::int64_t frames = 20000;
    // Of this thread alone: others may have the processor meanwhile.
    const auto secondsNow = [] {
        timespec now{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
        return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
    };
    const auto secondsOf = [&](TrackRig& rig, MarvoTimelineTrack& track) {
        rig.composition.seconds = 1000;
        rig.journal.keeps = false;
        rig.start(track);
        const double start = secondsNow();
        rig.compQueue.sync([&] {
            for (std::int64_t frame = 0; frame < frames; ++frame) track.processAtTime(Frame(frame));
        });
        return secondsNow() - start;
    };
    TrackRig values;
    const auto value = values.make("OSCValue");
    value->addNewKeyFrameWithData(keyframeAt(0, 0));
    value->addNewKeyFrameWithData(keyframeAt(frames, 100));
    ColorRig colors;
    colors.composition.seconds = 1000;
    colors.add(0, red);
    colors.add(frames, blue);
    double ofValue = 1e9;
    double ofColor = 1e9;
    for (int round = 0; round < 12; ++round) {
        ofValue = std::min(ofValue, secondsOf(values, *value));
        ofColor = std::min(ofColor, secondsOf(colors, *colors.track));
    }
    EXPECT_EQ(values.journal.count, colors.journal.count) << "both send on every frame";
    EXPECT_LT(ofColor, 2 * ofValue);
}
#endif
