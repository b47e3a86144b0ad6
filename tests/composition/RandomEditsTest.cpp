// Random edits of a composition with a track of every kind, taken back and brought again. What they were made
// from is printed, so that a failure can be played again.
#include "CompositionRig.h"
#include "Sanitized.h"

#include <gtest/gtest.h>
#include <random>

using namespace marvo;
using namespace marvo::testing;

namespace {

class Dice {
public:
    explicit Dice(unsigned seed) : engine_(seed) {}
    // 0 ... bound - 1.
    std::int64_t below(std::int64_t bound) {
        return std::uniform_int_distribution<std::int64_t>(0, bound - 1)(engine_);
    }
    bool oneIn(std::int64_t number) { return below(number) == 0; }
    float upTo(float bound) { return static_cast<float>(below(100001)) / 100000.0f * bound; }
    template <class Range>
    auto& one(Range& range) {
        return range[static_cast<std::size_t>(below(std::ssize(range)))];
    }

private:
    std::mt19937 engine_;
};

const std::vector<std::string> types{"MidiCCValue", "MidiNotes",    "OSCValue",    "OSCColor",
                                     "OSCFlag",     "ArtNetValue",  "ArtNetColor", "AudioFile",
                                     "Composition", "Art-Net Value"};

PropertyList randomKeyframe(MarvoTimelineTrack& track, Frame end, Dice& dice) {
    // Few places, so that many keyframes meet.
    PropertyList keyframe = keyframeAt(dice.below(end.value / 3 + 1) * 3, dice.upTo(track.trackMaxValue()));
    if (track.kind() == TrackKind::midiNotes) {
        keyframe.set("noteVelocityOn", dice.upTo(127));
        keyframe.set("noteVelocityOff", dice.upTo(127));
    }
    if (track.kind() == TrackKind::oscFlag)
        keyframe.set("flagAddress", "/flag/" + std::to_string(dice.below(9)));
    if (dice.oneIn(5)) keyframe.set("comment", "of another program");
    return keyframe;
}

// A show to begin with: every kind twice, with keyframes, cues and odd settings.
void furnish(CompositionRig& rig, Dice& dice) {
    for (int round = 0; round < 2; ++round) {
        for (const std::string& type : types) {
            rig.addTrack(type);
            auto* track = rig.composition.tracks.plainTracks().empty()
                              ? nullptr
                              : dynamic_cast<MarvoTimelineTrack*>(rig.composition.tracks.all().back().get());
            if (!track) continue;
            if (type == "ArtNetValue" && round == 1) {
                track->artNet16bitButton.setState(true);
                track->toggle16BitArtNet();
            }
            for (int i = 0; i < 12; ++i)
                track->addNewKeyFrameWithData(randomKeyframe(*track, Frame(300), dice));
        }
    }
    // Read from a file that knows more: keyframes at odd places, in an odd order.
    PropertyList audio = PropertyList::dictionary();
    audio.set("trackType", "AudioFile");
    audio.set("trackName", "Music");
    audio.set("trackPos", std::int64_t{3});
    audio.set("path", "/music.wav");
    PropertyList keyframes = PropertyList::dictionary();
    for (const char* key : {"1", "10", "2"}) keyframes.set(key, keyframeAt(7 + dice.below(290), 1.0f));
    audio.set("keyFrames", keyframes);
    PropertyList records = PropertyList::dictionary();
    records.set("tr-0", audio);
    rig.composition.tracks.addTracksWithBackupDatas(records);
    rig.addCues({10, 10, 50, 120, 200, 299});
    rig.undo.removeAllActions();
}

class Editor {
public:
    Editor(CompositionRig& rig, Dice& dice) : rig_(rig), dice_(dice) {}

    // One step. Its name tells which, for whoever looks for a mistake.
    void edit() {
        if (rig_.composition.tracks.plainTracks().empty()) return addTrack();
        if (dice_.oneIn(3)) select();
        switch (dice_.below(40)) {
        case 0:
        case 1:
        case 2:
            track().addNewKeyFrameAtTime(frame());
            return;
        case 3:
        case 4: {
            MarvoTimelineTrack& one = track();
            for (int i = 0; i < 4; ++i)
                keyframes().addNewKeyFrameOnTrack(one.trackPosition(), randomKeyframe(one, end(), dice_));
            return;
        }
        case 5:
            return onKeyframe([&](auto& one, auto uID) {
                keyframes().undoRemoveKeyFrameWithUID(uID, one.trackPosition());
            });
        case 6:
        case 7:
            return onKeyframe([&](auto& one, auto uID) {
                moves().moveKeyFrameWithUID(uID, one.trackPosition(), moves().maxPossibleTimeForTime(frame()),
                                            dice_.upTo(one.trackMaxValue()));
            });
        case 8:
            return moveAll();
        case 9:
        case 10:
            return moves().moveMultiKeyframesOnSelectedTracks(delta(), dice_.upTo(40) - 20);
        case 11:
            return moves().moveMultiKeyframesOnTracks(rig_.composition.tracks.plainTracks(), delta(), 0);
        case 12:
            return moves().undoInvertSelectedKeyframesValueOnTrack(trackWithSelection());
        case 13:
            return moves().undoInvertSelectedKeyframesTimeOnTrack(trackWithSelection());
        case 14:
            return stretch();
        case 15:
            return keyframes().undoSetInterpolation(curve());
        case 16:
            return onKeyframe([&](auto& one, auto uID) {
                keyframes().setInterpolation(curve(), one.trackPosition(), uID);
            });
        case 17:
            return dice_.oneIn(2) ? keyframes().undoSetNoteVelocityOn(dice_.upTo(130))
                                  : keyframes().undoSetNoteVelocityOff(dice_.upTo(130));
        case 18:
            return keyframes().undoSetSelectedKeyframesColorValueOnMultipleTracks(colour());
        case 19:
            return keyframes().updateSelectedColorsOnChannel(static_cast<ColorComponent>(dice_.below(4)),
                                                             static_cast<double>(dice_.upTo(1)));
        case 20: {
            const std::int64_t at = trackOfType("OSCFlag");
            std::vector<std::uint64_t> uIDs;
            if (MarvoTimelineTrack* flags = tracks().plainTrackAtPosition(at))
                for (const KeyframePlace& place : flags->keyframes().places())
                    if (dice_.oneIn(2)) uIDs.push_back(place.uID);
            return keyframes().undoSetFlagAddress("/f" + std::to_string(dice_.below(99)), uIDs, at);
        }
        case 21:
            return onCues([&](CueEdits&) { cues().addNewCueAtTime(frame()); });
        case 22:
            return onCues([&](CueEdits&) { cues().undoRemoveCueAtIndex(cue()); });
        case 23:
            return onCues([&](CueEdits& edits) { edits.undoRenameCueWithName(cue(), name("Cue")); });
        case 24:
            return onCues([&](CueEdits& edits) {
                edits.undoChangeCueToTypeToRepeat(cue(), static_cast<CueType>(dice_.below(2)),
                                                  static_cast<CueRepeat>(dice_.below(3)));
            });
        case 25:
            return onCues([&](CueEdits& edits) {
                edits.undoChangeCueToLoopNumberNeeded(cue(), static_cast<std::uint64_t>(1 + dice_.below(9)));
            });
        case 26:
            return onCues([&](CueEdits& edits) { edits.moveCueAtIndex(cue(), frame(), true, true, true); });
        case 27:
            return rig_.composition.cueGroupEdits.moveMultiCuesWithTimeDelta(delta());
        case 28:
            return onCues([&](CueEdits& edits) { edits.undoInvertSelectedCues(); });
        case 29:
            return rig_.composition.cueGroupEdits.createCuesBySelectedKeyframesOnTrack(position());
        case 30:
            return dice_.oneIn(2) ? addTrack() : removeTracks();
        case 31:
            return settings();
        case 32:
            return tracks().moveTrack(position(), position());
        case 33:
            return trackEdits().moveTracksBeforeTrack(position(), position());
        case 34:
            return tracks().doSortTracks(sortKey(), dice_.below(2));
        case 35:
            if (tracks().count() < 22) trackEdits().duplicateTracks();
            return;
        case 36:
            if (dice_.oneIn(6)) changeLength();
            return;
        case 37:
            if (dice_.oneIn(20) && end() > Frame(200)) rig_.composition.settings.trimToWorkArea();
            return;
        case 38: {
            const std::int64_t in = dice_.below(end().value / 2);
            return rig_.composition.markerController.undoSetMarkerInTimeOutTime(
                Frame(in), Frame(in + 1 + dice_.below(end().value - in)));
        }
        default:
            return removeSelected();
        }
    }

private:
    KeyframeEdits& keyframes() { return rig_.composition.keyframeEdits; }
    KeyframeMoves& moves() { return rig_.composition.keyframeMoves; }
    CompositionTracks& tracks() { return rig_.composition.tracks; }
    TrackEdits& trackEdits() { return rig_.composition.trackEdits; }
    MarvoCueController& cues() { return rig_.composition.cueController; }

    Frame end() {
        return Frame(static_cast<std::int64_t>(rig_.composition.compTime() *
                                               static_cast<float>(rig_.composition.compFPS())));
    }
    Frame frame() { return Frame(dice_.below(end().value / 3 + 1) * 3); }
    FrameCount delta() { return FrameCount(dice_.below(61) - 30); }
    std::int64_t position() { return dice_.below(std::ssize(tracks().all())); }
    MarvoTimelineTrack& track() {
        auto all = tracks().plainTracks();
        return *dice_.one(all);
    }
    std::int64_t trackWithSelection() {
        for (const MarvoTimelineTrack* one : tracks().plainTracks())
            if (one->keyframes().hasKeyframesSelected() && dice_.oneIn(2)) return one->trackPosition();
        return position();
    }
    std::int64_t trackOfType(const char* type) {
        const auto all = tracks().tracksOfType(type);
        return all.empty() ? 0 : dice_.one(all)->trackPosition();
    }
    std::size_t cue() { return static_cast<std::size_t>(dice_.below(std::ssize(rig_.cueTimes()) + 1)); }
    std::string name(const std::string& base) { return base + " " + std::to_string(dice_.below(1000)); }
    std::string curve() {
        static const std::vector<std::string> curves{"Linear Interpolation", "No Interpolation",
                                                     "Cubic Ease-In", "Elastic Ease-Out",
                                                     "Of Another Program"};
        return dice_.one(curves);
    }
    std::string sortKey() {
        static const std::vector<std::string> keys{"Track Name", "Track Type", "Art-Net Channel",
                                                   "MIDI Channel", "OSC Address"};
        return dice_.one(keys);
    }
    Colour colour() {
        const auto part = [&] { return static_cast<double>(dice_.upTo(1)); };
        return {part(), part(), part(), part()};
    }

    template <class Edit>
    void onKeyframe(Edit&& edit) {
        MarvoTimelineTrack& one = track();
        const auto places = one.keyframes().places();
        if (!places.empty()) edit(one, dice_.one(places).uID);
    }
    template <class Edit>
    void onCues(Edit&& edit) {
        rig_.onCues(std::forward<Edit>(edit));
    }

    // No edit: what the next ones work on.
    void select() {
        rig_.composition.keyframeSelection.deselectAllKeyframes();
        rig_.world.compQueue.sync([&] { cues().deselectCues(); });
        for (const auto& one : tracks().all()) one->setSelected(dice_.oneIn(4));
        const Frame start = frame();
        const FrameCount length(dice_.below(end().value / 2 + 1));
        for (MarvoTimelineTrack* one : tracks().plainTracks())
            if (dice_.oneIn(2)) one->keyframes().selectKeyframesInRange(start, length);
        if (dice_.oneIn(2)) rig_.selectCues(start.value, start.value + length.value);
    }
    void moveAll() {
        MarvoTimelineTrack& one = track();
        const auto places = one.keyframes().places();
        if (places.empty()) return;
        // Within the timeline, as the only user of it moves.
        moves().moveAllKeyFramesOnTrack(one.trackPosition(), Frame(0) - places.front().time,
                                        dice_.oneIn(2) ? 0.25f : 0.0f);
    }
    void stretch() {
        KeyframeStretch& stretch = rig_.composition.keyframeStretch;
        const UndoStack::EventGroup drag(rig_.undo);
        stretch.emptyCacheForKeyframeStrech();
        const bool isRight = dice_.oneIn(2);
        for (std::int64_t i = 1 + dice_.below(4); i > 0; --i) {
            if (isRight)
                stretch.calculateMaxPossibleStretchTimeWithDeltaForRightStretch(delta());
            else
                stretch.calculateMaxPossibleStretchTimeWithDeltaForLeftStretch(delta());
            stretch.stretchMultiKeyframesWithBaseKeyframe(isRight ? StretchEnd::right : StretchEnd::left);
        }
    }
    void addTrack() {
        if (tracks().count() < 25) tracks().createTrackOfTpye(dice_.one(types));
    }
    void removeTracks() {
        std::vector<std::int64_t> going;
        for (std::int64_t i = dice_.below(3); i >= 0; --i) going.push_back(position());
        if (tracks().count() > 15) tracks().undoRemoveTracksWithPositions(going);
    }
    void removeSelected() {
        MarvoTimelineTrack& one = track();
        std::vector<std::uint64_t> uIDs;
        for (const KeyframePlace& place : one.keyframes().selectedKeyframes()) uIDs.push_back(place.uID);
        keyframes().undoRemoveKeyFramesWithUIDs(uIDs, one.trackPosition());
    }
    void settings() {
        const std::int64_t at = position();
        PropertyList data = PropertyList::dictionary();
        data.set("trackOSCType", dice_.below(3));
        data.set("trackMinValue", dice_.upTo(50));
        data.set("trackMaxValue", 50 + dice_.upTo(1000));
        data.set("shouldSendAlpha", dice_.oneIn(2));
        data.set("addressG", name("g"));
        switch (dice_.below(5)) {
        case 0: {
            const std::string wanted = name("Track");
            if (tracks().isAvailableTrackName(wanted, true, nullptr))
                trackEdits().undoRenameOnTrack(at, wanted);
            return;
        }
        case 1:
            return trackEdits().undoChangeOSCAddressOnTrack(trackOfType("OSCValue"), "/to/" + name("a"));
        case 2:
            data.set("isUsing5FractionDigits", dice_.oneIn(2));
            data.set("sendsNormalisedValue", dice_.oneIn(2));
            return trackEdits().undoChangeOSCPreferencesOnTrack(trackOfType("OSCValue"), data);
        case 3:
            return trackEdits().undoChangeOSCColorPreferencesOnTrack(trackOfType("OSCColor"), data);
        default:
            return trackEdits().undoChangeArtNetChannelOnTrack(
                trackOfType(dice_.oneIn(2) ? "ArtNetValue" : "ArtNetColor"),
                dice_.oneIn(2) ? "512" : std::to_string(1 + dice_.below(400)) + ",x,3x2");
        }
    }
    void changeLength() {
        const std::vector<std::int64_t> rates{24, 25, 30, 60};
        const float seconds = 9.0f + dice_.upTo(8.0f);
        rig_.composition.settings.setNewCompTime(
            seconds, dice_.oneIn(2) ? rig_.composition.compFPS() : dice_.one(rates), {}, {});
    }

    CompositionRig& rig_;
    Dice& dice_;
};

void undoSome(CompositionRig& rig, Dice& dice) {
    for (std::int64_t i = dice.below(6); i > 0; --i) rig.undo.undo();
    for (std::int64_t i = dice.below(6); i > 0; --i) rig.undo.redo();
}

unsigned newSeed() {
    return std::random_device{}();
}

} // namespace

TEST(RandomEdits, TakenBackLeaveNotAByteAndComeAgainToTheByte) {
    for (const unsigned seed : {20240117u, newSeed()}) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::printf("seed %u\n", seed);
        Dice dice(seed);
        CompositionRig rig;
        furnish(rig, dice);
        const std::string atStart = rig.bytes();
        Editor editor(rig, dice);
        for (int step = 0; step < 10000; ++step) {
            editor.edit();
            if (dice.oneIn(20)) undoSome(rig, dice);
        }
        const std::string atEnd = [&] {
            while (rig.undo.redo()) {
            }
            return rig.bytes();
        }();
        EXPECT_NE(atStart, atEnd);
        int steps = 0;
        while (rig.undo.undo()) ++steps;
        EXPECT_GT(steps, 4000);
        EXPECT_TRUE(rig.bytes() == atStart);
        while (rig.undo.redo()) {
        }
        EXPECT_TRUE(rig.bytes() == atEnd);
        if (HasFailure()) return;
    }
}

// Each writes the composition four times, which the sanitizers make slow.
#if MARVO_SANITIZED
constexpr int stepsToTheByte = 100;
#else
constexpr int stepsToTheByte = 500;
#endif

TEST(RandomEdits, EachStepGoesBackAndForthToTheByte) {
    for (const unsigned seed : {1u, 2u, 2219645133u, newSeed()}) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Dice dice(seed);
        CompositionRig rig;
        furnish(rig, dice);
        Editor editor(rig, dice);
        std::string before = rig.bytes();
        for (int step = 0; step < stepsToTheByte; ++step) {
            {
                const UndoStack::EventGroup event(rig.undo);
                editor.edit();
            }
            const std::string after = rig.bytes();
            if (after == before) continue;
            const std::string what = "step " + std::to_string(step) + ", " + rig.undo.undoActionName();
            ASSERT_TRUE(rig.undo.undo());
            EXPECT_EQ(rig.bytes(), before) << "taken back: " << what;
            ASSERT_TRUE(rig.undo.redo());
            EXPECT_EQ(rig.bytes(), after) << "brought again: " << what;
            if (HasFailure()) return;
            before = after;
        }
    }
}
