// The pass over all tracks takes a short way where it can. Whatever happens to the tracks in between, it must
// send what the tracks send when each is asked on every frame.
#include "TrackRig.h"

#include "RealtimeScope.h"
#include "platform/ColourArchive.h"
#include "tracks/MarvoTimelineColorTrack.h"
#include "tracks/TrackWalk.h"

#include <gtest/gtest.h>

#include <bit>
#include <memory>
#include <random>
#include <string>
#include <vector>

using namespace marvo;
using namespace marvo::testing;

namespace {

constexpr std::int64_t lastFrame = 300;

constexpr const char* curves[] = {"Linear Interpolation", "No Interpolation", "Cubic Ease-In-Out",
                                  "Elastic Ease-Out",     "Bounce Ease-In",   "Circular Ease-Out"};
// The last is a label that nobody knows.
constexpr const char* oddCurves[] = {"Exponential Ease-In-Out", "Back Ease-In", "Linear Interpolation ", ""};
constexpr const char* addresses[] = {"/a/level", "/b <$F> <$S>", "/c <\"x\"> <$>", "/group#2", "/d$",
                                     "",         "/e/$TRACK"};

// A stage with tracks of all kinds, played by one of the two ways.
class Side {
public:
    explicit Side(bool walks) : walks_(walks) {
        for (const char* type :
             {"OSCValue", "OSCValue", "OSCValue", "OSCValue", "MIDICC", "MIDINotes", "ArtNetValue"}) {
            tracks.push_back(rig.make(type));
        }
        for (const char* type : {"OSCColor", "OSCColor", "ArtNetColor"})
            tracks.push_back(rig.make<MarvoTimelineColorTrack>(type));
        // Behind a colour that fades: the walk looks ahead, to tracks that may be none of colours.
        tracks.push_back(rig.make("OSCValue"));
        rig.composition.seconds = static_cast<float>(lastFrame) / static_cast<float>(rig.composition.fps);
        TrackWalk::Steps steps;
        for (const auto& track : tracks) steps.push_back(walk_.stepOf(*track));
        rig.compQueue.sync([&] { walk_.swapSteps(steps); });
    }

    void frame(std::int64_t frame) {
        rig.compQueue.sync([&] {
            rig.composition.now = Frame(frame);
            if (walks_) {
                TrackWalk::Rules rules;
                rules.inTime = rig.composition.in;
                rules.optimalisedSending = rig.preferences.optimalisedSending;
                rules.processFirstKeyframe = rig.preferences.processFirstKeyframe;
                rules.processLastKeyframeOnUnpause = rig.preferences.processLastKeyframeOnUnpause;
                rules.compState = rig.composition.isOn;
                rules.hueRotateForColors = rig.preferences.hueRotateForColors;
                walk_.processAtTime(Frame(frame), rules);
            } else {
                for (const auto& track : tracks) track->processAtTime(Frame(frame));
            }
            rig.bundles.processGroupedOSCMessages({});
        });
    }
    template <class Event>
    void onAll(Event&& event) {
        rig.compQueue.sync([&] {
            for (const auto& track : tracks) event(*track);
        });
    }
    std::vector<std::uint32_t> shown() const {
        std::vector<std::uint32_t> bits;
        for (const auto& track : tracks) bits.push_back(std::bit_cast<std::uint32_t>(track->shownValue()));
        return bits;
    }
    TrackWalk& walk() { return walk_; }

private:
    const bool walks_;
    TrackWalk walk_;

public:
    TrackRig rig;
    std::vector<std::unique_ptr<MarvoTimelineTrack>> tracks;
};

class Differing {
public:
    explicit Differing(std::uint32_t seed) : random_(seed) {
        for (Side* side : {&walked, &asked}) side->rig.start(*side->tracks[0]);
        both([](Side& side) { side.onAll([](MarvoTimelineTrack& track) { track.compositionStarted(); }); });
    }

    std::uint32_t pick(std::uint32_t count) { return random_() % count; }
    float height() { return static_cast<float>(pick(701)) / 7.0f; }
    // Fits every track: each takes what it knows. Few colours, so that neighbours are often alike.
    PropertyList keyframe(const char* curve) {
        PropertyList keyframe = keyframeAt(pick(lastFrame + 1), height(), curve);
        const auto part = [this] { return static_cast<double>(pick(4)) / 3.0; };
        const std::string archive = archivedColour({part(), part(), part(), pick(3) ? 1.0 : 0.25});
        keyframe.set("colorValue", PropertyList::data(std::as_bytes(std::span(archive))));
        return keyframe;
    }
    template <class Act>
    void both(Act&& act) {
        act(walked);
        act(asked);
    }
    template <class Act>
    void onTrack(std::size_t index, Act&& act) {
        both([&](Side& side) { act(*side.tracks[index]); });
    }

    void play() {
        switch (pick(40)) {
        case 0:
            frame_ += 2 + pick(30);
            break;
        case 1:
            break; // the same frame again
        case 2:
            frame_ -= pick(5);
            break;
        default:
            ++frame_;
        }
        if (frame_ > lastFrame || frame_ < 0) {
            frame_ = 0;
            both(
                [](Side& side) { side.onAll([](MarvoTimelineTrack& track) { track.compositionLooped(); }); });
        }
        both([this](Side& side) { side.frame(frame_); });
    }

    std::string meddle() {
        const std::size_t index = pick(static_cast<std::uint32_t>(walked.tracks.size()));
        switch (pick(26)) {
        case 0: {
            frame_ = pick(lastFrame + 1);
            both([this](Side& side) {
                side.rig.composition.now = Frame(frame_);
                side.onAll([](MarvoTimelineTrack& track) { track.compositionJumped(); });
            });
            return "jump";
        }
        case 1:
            both([](Side& side) {
                side.onAll([](MarvoTimelineTrack& track) { track.compositionStopped(); });
            });
            both([](Side& side) {
                side.onAll([](MarvoTimelineTrack& track) { track.compositionStarted(); });
            });
            return "stop and start";
        case 2:
        case 3:
        case 4: {
            const PropertyList added = keyframe(pick(5) ? curves[pick(6)] : oddCurves[pick(4)]);
            onTrack(index, [&](MarvoTimelineTrack& track) { track.addNewKeyFrameWithData(added); });
            return "add a keyframe";
        }
        case 5: {
            const auto& keyframes = walked.tracks[index]->keyframes().store().all();
            if (keyframes.empty()) return "nothing";
            const Frame time = keyframes[pick(static_cast<std::uint32_t>(keyframes.size()))].time;
            onTrack(index, [&](MarvoTimelineTrack& track) { track.removeKeyFrameAtTime(time, false); });
            return "remove a keyframe";
        }
        case 6: {
            const FrameCount delta(static_cast<std::int64_t>(pick(21)) - 10);
            onTrack(index, [&](MarvoTimelineTrack& track) { track.moveAllKeyFrames(delta); });
            return "move all keyframes";
        }
        case 7:
            return toggle(&PlaybackPreferences::optimalisedSending, "optimalisedSending");
        case 8:
            return toggle(&PlaybackPreferences::processFirstKeyframe, "processFirstKeyframe");
        case 9:
            return toggle(&PlaybackPreferences::processLastKeyframeOnUnpause, "processLastKeyframeOnUnpause");
        case 10:
            return toggle(&PlaybackPreferences::processLastKeyframeOnJump, "processLastKeyframeOnJump");
        case 11:
            onTrack(index, [](MarvoTimelineTrack& track) { track.setEnabled(!track.isEnabled()); });
            return "mute or unmute";
        case 12:
            both([](Side& side) { side.rig.composition.isOn = !side.rig.composition.isOn; });
            return "switch the composition";
        case 13: {
            const Frame in(pick(2) ? 0 : pick(lastFrame));
            both([&](Side& side) { side.rig.composition.in = in; });
            return "move the in point";
        }
        case 14: {
            const char* address = addresses[pick(7)];
            onTrack(pick(4), [&](MarvoTimelineTrack& track) { track.setOscAddress(address); });
            return "change an address";
        }
        case 15: {
            const std::int64_t type = pick(4);
            onTrack(pick(4), [&](MarvoTimelineTrack& track) { track.setTrackOSCType(type); });
            return "change a type";
        }
        case 16: {
            const bool normalised = pick(2) != 0;
            onTrack(pick(4), [&](MarvoTimelineTrack& track) { track.setSendsNormalisedValue(normalised); });
            return "normalise";
        }
        case 17: {
            const float minimum = height() - 150.0f;
            const float maximum = minimum + height() + 1.0f;
            onTrack(pick(4), [&](MarvoTimelineTrack& track) { track.setRange(minimum, maximum); });
            return "change a range";
        }
        case 18:
            onTrack(pick(4), [](MarvoTimelineTrack& track) { track.shot(); });
            return "bang";
        case 21: {
            const float factor = pick(2) ? 1.0f : 0.5f;
            both([&](Side& side) { side.rig.preferences.hueRotateForColors = factor; });
            return "turn the hue";
        }
        case 22: {
            const char* address = addresses[pick(7)];
            onTrack(7 + pick(2), [&](MarvoTimelineTrack& track) { track.setOscAddress(address); });
            return "change the address of a colour";
        }
        case 23: {
            const std::int64_t form = pick(6);
            onTrack(7 + pick(2), [&](MarvoTimelineTrack& track) { track.setTrackOSCType(form); });
            return "change the form of a colour";
        }
        case 24: {
            const auto component = static_cast<ColorComponent>(pick(4));
            onTrack(7 + pick(3), [&](MarvoTimelineTrack& track) {
                dynamic_cast<MarvoTimelineColorTrack&>(track).shotWithChannel(component);
            });
            return "bang a colour";
        }
        case 20: {
            const std::string name = "Lane " + std::to_string(pick(3));
            onTrack(index, [&](MarvoTimelineTrack& track) { track.setName(name); });
            return "rename";
        }
        case 19:
            onTrack(index, [](MarvoTimelineTrack& track) { track.reprocessAtCurrentTime(); });
            return "reprocess";
        default: {
            PropertyList record = walked.tracks[index]->backupDataForUndo(true);
            record.set("recordedSession", pick(4) == 0);
            onTrack(index, [&](MarvoTimelineTrack& track) { track.restoreWithData(record, true, nullptr); });
            return "restore";
        }
        }
    }

    // What both have sent since the last time; empty when it is the same.
    std::string difference() {
        const Lines one = walked.rig.journal.take();
        const Lines other = asked.rig.journal.take();
        sent += other.size();
        if (one == other && walked.shown() == asked.shown()) return {};
        std::string text = "walked:";
        for (const std::string& line : one) text += " [" + line + "]";
        text += " asked:";
        for (const std::string& line : other) text += " [" + line + "]";
        return text + " at frame " + std::to_string(frame_);
    }

    Side walked{true};
    Side asked{false};
    std::size_t sent = 0;

private:
    std::string toggle(Relaxed<bool> PlaybackPreferences::*preference, const char* name) {
        both([&](Side& side) {
            side.rig.preferences.*preference = !(side.rig.preferences.*preference).get();
        });
        return name;
    }

    std::mt19937 random_;
    std::int64_t frame_ = 0;
};

} // namespace

TEST(TrackWalk, SendsWhatTracksSendThatAreAskedOnEveryFrame) {
    std::size_t sent = 0;
    for (std::uint32_t seed = 1; seed <= 150; ++seed) {
        Differing sides(seed);
        std::string last = "start";
        // At first nothing but keyframes, so that there is something to play.
        for (int i = 0; i < 60; ++i) {
            const PropertyList keyframe = sides.keyframe(curves[sides.pick(6)]);
            sides.onTrack(sides.pick(10),
                          [&](MarvoTimelineTrack& track) { track.addNewKeyFrameWithData(keyframe); });
        }
        for (int step = 0; step < 500; ++step) {
            if (sides.pick(12) == 0) last = sides.meddle();
            sides.play();
            const std::string difference = sides.difference();
            ASSERT_EQ(difference, "")
                << "seed " << seed << ", step " << step << ", the last change was: " << last;
        }
        sent += sides.sent;
    }
    EXPECT_GT(sent, 50000u) << "the comparison is of something";
}

TEST(TrackWalk, DoesNotAskATrackThatMovesAlongOneSegment) {
    Side side(true);
    MarvoTimelineTrack& track = *side.tracks[0];
    track.addNewKeyFrameWithData(keyframeAt(0, 0.0f));
    track.addNewKeyFrameWithData(keyframeAt(lastFrame, 100.0f));
    ValueLane* const lane = track.lane(nullptr);
    side.frame(0);
    EXPECT_TRUE(lane->run.steady.holdsAt(Frame(1)));
    EXPECT_FALSE(lane->run.steady.isIdle);
    side.frame(1);
    EXPECT_TRUE(lane->run.steady.holdsAt(Frame(lastFrame - 1)));
    EXPECT_FALSE(lane->run.steady.holdsAt(Frame(lastFrame)));
}

TEST(TrackWalk, IsTheShortWayForATrackThatStands) {
    Side side(true);
    MarvoTimelineTrack& track = *side.tracks[0];
    track.addNewKeyFrameWithData(keyframeAt(10, 50.0f, "No Interpolation"));
    track.addNewKeyFrameWithData(keyframeAt(200, 70.0f, "No Interpolation"));
    ValueLane* const lane = track.lane(nullptr);
    side.frame(0);
    EXPECT_TRUE(lane->run.steady.isIdle) << "before its first keyframe";
    EXPECT_FALSE(lane->run.steady.holdsAt(Frame(10)));
    side.frame(10);
    EXPECT_TRUE(lane->run.steady.isIdle) << "between two steps";
    EXPECT_FALSE(lane->run.steady.holdsAt(Frame(10)));
    EXPECT_TRUE(lane->run.steady.holdsAt(Frame(199)));
    side.frame(250);
    EXPECT_TRUE(lane->run.steady.isIdle) << "behind its last keyframe";
    EXPECT_EQ(side.rig.journal.take().size(), 2u);
}

TEST(TrackWalk, SeesAnEditOnTheNextFrame) {
    Side side(true);
    MarvoTimelineTrack& track = *side.tracks[0];
    track.addNewKeyFrameWithData(keyframeAt(0, 50.0f));
    track.addNewKeyFrameWithData(keyframeAt(lastFrame, 50.0f));
    for (std::int64_t frame = 0; frame < 10; ++frame) side.frame(frame);
    side.rig.journal.take();
    track.addNewKeyFrameWithData(keyframeAt(20, 70.0f));
    side.frame(10);
    EXPECT_EQ(side.rig.journal.take().size(), 1u);
}

TEST(TrackWalk, AllocatesNothingAndWaitsForNobody) {
    Side side(true);
    for (const auto& track : side.tracks) {
        track->addNewKeyFrameWithData(keyframeAt(0, 0.0f));
        track->addNewKeyFrameWithData(keyframeAt(150, 100.0f, "Elastic Ease-Out"));
        track->addNewKeyFrameWithData(keyframeAt(lastFrame, 20.0f, "Bounce Ease-In"));
    }
    side.rig.journal.keeps = false;
    side.frame(0);
    side.frame(1);
    side.rig.journal.count = 0;
    std::size_t violations = 0;
    std::string report;
    {
        const RealtimeScope scope;
        for (std::int64_t frame = 2; frame <= lastFrame; ++frame) side.frame(frame);
        violations = scope.violations();
        report = scope.report();
    }
    EXPECT_EQ(violations, 0u) << report;
    EXPECT_GT(side.rig.journal.count, 500u);
}
