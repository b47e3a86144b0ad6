// How a track adds, removes, moves and restores its keyframes.
#include "tracks/KeyframeRecords.h"
#include "tracks/MarvoTimelineTrack.h"

#include "platform/Log.h"

#include "platform/Saturate.h"
#include "platform/Text.h"

#include <algorithm>
#include <unordered_set>

namespace marvo {
namespace {

bool isNumber(std::string_view text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

// Text order whatever the case. Keys are running numbers, for which plain order is the same and far cheaper.
void sortByKey(std::vector<const PropertyList::Entry*>& entries) {
    const bool numbers =
        std::all_of(entries.begin(), entries.end(), [](const auto* e) { return isNumber(e->key.view()); });
    std::stable_sort(entries.begin(), entries.end(), [numbers](const auto* a, const auto* b) {
        if (numbers) return a->key.view() < b->key.view();
        return localizedCaseInsensitiveCompare(a->key.view(), b->key.view()) < 0;
    });
}

} // namespace

MarvoTimelineKeyframe MarvoTimelineTrack::newKeyframe(std::string_view curve) const {
    MarvoTimelineKeyframe keyframe;
    keyframe.uID = services_.keyframeHelper.nextUID();
    keyframe.setInterpolationType(curve);
    keyframe.minValue = trackMinValue_;
    keyframe.maxValue = trackMaxValue_;
    prepareNewKeyframe(keyframe);
    return keyframe;
}

void MarvoTimelineTrack::prepareNewKeyframe(MarvoTimelineKeyframe&) const {}

void MarvoTimelineTrack::giveValueAtTime(MarvoTimelineKeyframe& keyframe, Frame time) const {
    keyframe.value = keyframes_.store().valueForNewKeyframeAt(time, keyframeRange());
    keyframe.refresh();
}

std::uint64_t MarvoTimelineTrack::addNewKeyFrameAtTime(Frame time) {
    MarvoTimelineKeyframe keyframe = newKeyframe(services_.defaultInterpolation());
    keyframe.time = time;
    giveValueAtTime(keyframe, time);
    keyframe.selected = true;
    keyframe.isActiveKeyframe = true;
    const std::uint64_t uID = keyframe.uID;
    keyframes_.deselectFrames();
    keyframes_.append(std::move(keyframe));
    keyframes_.publish();
    composition_.registerUndoOfAddedKeyframe(uID, trackPosition_);
    composition_.projectChanged();
    return uID;
}

void MarvoTimelineTrack::repair(LoadReport* report, const std::string& text) const {
    if (report) report->add(where() + ": " + text);
}

void MarvoTimelineTrack::restoreContent(MarvoTimelineKeyframe& keyframe, const PropertyList& record,
                                        LoadReport* report) const {
    RawKeyframe raw = rawKeyframeFrom(record);
    raw.time = keyframe.time;
    keyframe.setInterpolationType(interpolationFrom(record));
    const KeyframeRepairs repairs = restoreKeyframe(keyframe, raw, keyframeKind());
    if (repairs.wasNotANumber) {
        if (services_.log) services_.log->log("NaN detected!");
        repair(report, "a keyframe's value is not a number; 0 is used");
    }
    if (keyframe.curveInUse() == Curve::unknown) {
        repair(report,
               "the curve \"" + escapeForLog(keyframe.interpolationType()) + "\" is not known; it steps");
    }
}

std::uint64_t MarvoTimelineTrack::restoreKeyframeFrom(const PropertyList& record, Frame time,
                                                      LoadReport* report) {
    // The record brings its curve, so nobody is asked for the default one.
    MarvoTimelineKeyframe keyframe = newKeyframe(labelOfCurve(Curve::linear));
    keyframe.time = time;
    if (const auto uid = uidFrom(record)) keyframe.uID = *uid;
    if (keyframe.time < Frame(0)) {
        keyframe.time = Frame(0);
        repair(report, "a keyframe before the start was moved to frame 0");
    }
    restoreContent(keyframe, record, report);
    const std::uint64_t uID = keyframe.uID;
    PropertyList extras = keyframeExtras(record, keyframe);
    if (!extras.isNone()) keyframes_.keepExtras(uID, std::move(extras));
    keyframes_.append(std::move(keyframe));
    return uID;
}

std::uint64_t MarvoTimelineTrack::addNewKeyFrameWithData(const PropertyList& record) {
    const std::uint64_t uID = restoreKeyframeFrom(record, rawKeyframeFrom(record).time, nullptr);
    keyframes_.publish();
    composition_.projectChanged();
    return uID;
}

std::optional<std::uint64_t> MarvoTimelineTrack::addNewKeyFrameWithDataByCopy(const PropertyList& record,
                                                                              FrameCount padding) {
    const PropertyList* rate = record.find("compFPS");
    const std::int64_t from = rate ? rate->integerOr(0) : composition_.compFPS();
    const Frame time = MarvoKeyframeHelper::convertTime(rawKeyframeFrom(record).time + padding, from,
                                                        composition_.compFPS());
    const float end = static_cast<float>(composition_.compFPS()) * composition_.compTime();
    if (time < Frame(0) || static_cast<float>(time.value) > end) return std::nullopt;
    // A selected keyframe at that place makes room; any other stays, and the two share the frame.
    const MarvoTimelineKeyframe* there = keyframes_.store().keyframeAtTime(time);
    if (there && there->selected) keyframes_.removeWithUID(there->uID);
    const std::uint64_t uID = restoreKeyframeFrom(record, time, nullptr);
    keyframes_.publish();
    composition_.projectChanged();
    return uID;
}

bool MarvoTimelineTrack::removeKeyFrameWithUID(std::uint64_t uID) {
    const MarvoTimelineKeyframe* keyframe = keyframes_.store().objectWithUID(uID);
    if (!keyframe) return false;
    PropertyList record = keyframes_.record(*keyframe, true);
    keyframes_.removeWithUID(uID);
    composition_.registerUndoOfRemovedKeyframe(std::move(record), trackPosition_);
    composition_.projectChanged();
    return true;
}

void MarvoTimelineTrack::removeKeyFrameAtTime(Frame time, bool withUndo) {
    const MarvoTimelineKeyframe* keyframe = keyframes_.store().keyframeAtTime(time);
    if (!keyframe) return;
    if (withUndo) {
        removeKeyFrameWithUID(keyframe->uID);
    } else {
        keyframes_.removeWithUID(keyframe->uID);
        composition_.projectChanged();
    }
}

std::vector<std::uint64_t>
MarvoTimelineTrack::addNewKeyFramesWithData(const std::vector<PropertyList>& records) {
    std::vector<std::uint64_t> uIDs;
    keyframes_.reserve(records.size());
    for (const PropertyList& record : records)
        uIDs.push_back(restoreKeyframeFrom(record, rawKeyframeFrom(record).time, nullptr));
    if (!uIDs.empty()) keyframes_.publish();
    return uIDs;
}

std::vector<PropertyList>
MarvoTimelineTrack::removeKeyFramesWithUIDs(const std::vector<std::uint64_t>& uIDs) {
    const std::unordered_set<std::uint64_t> going(uIDs.begin(), uIDs.end());
    const auto goes = [&](const MarvoTimelineKeyframe& keyframe) { return going.contains(keyframe.uID); };
    std::vector<PropertyList> records;
    for (const MarvoTimelineKeyframe& keyframe : keyframes_.store().all())
        if (goes(keyframe)) records.push_back(keyframes_.record(keyframe, true));
    if (!records.empty()) keyframes_.removeIf(goes);
    return records;
}

void MarvoTimelineTrack::moveAllKeyFrames(FrameCount delta) {
    keyframes_.edit([&](KeyframeStore& store) {
        for (MarvoTimelineKeyframe& keyframe : store.all()) {
            keyframes_.states().pin(keyframe.slot, keyframe.time.value);
            keyframe.time = keyframe.time + delta;
        }
    });
    composition_.registerUndoOfMovedKeyframes(-delta, trackPosition_);
    composition_.projectChanged();
}

void MarvoTimelineTrack::refreshKeyFramesWithRatio(float ratio) {
    keyframes_.edit([&](KeyframeStore& store) {
        for (MarvoTimelineKeyframe& keyframe : store.all()) {
            keyframes_.states().pin(keyframe.slot, keyframe.time.value);
            keyframe.time = Frame(truncatedToInt64(static_cast<float>(keyframe.time.value) * ratio));
        }
    });
}

std::vector<PropertyList> MarvoTimelineTrack::trimKeyframesAfter(float limit) {
    const auto isBehind = [limit](const MarvoTimelineKeyframe& keyframe) {
        return static_cast<float>(keyframe.time.value) > limit;
    };
    std::vector<PropertyList> records;
    for (const MarvoTimelineKeyframe& keyframe : keyframes_.store().all()) {
        if (isBehind(keyframe)) records.push_back(keyframes_.record(keyframe, true));
    }
    if (!records.empty()) keyframes_.removeIf(isBehind);
    return records;
}

void MarvoTimelineTrack::restoreKeyframes(const PropertyList& record, LoadReport* report) {
    const PropertyList* saved = record.find("keyFrames");
    if (!saved || !saved->isDictionary()) return;
    const PropertyList* rate = record.find("compFPS");
    const std::int64_t compFPS = composition_.compFPS();
    const Frame limit(truncatedToInt64(composition_.compTime() * static_cast<float>(compFPS)));

    // An identity is of this run of the program: one in a file is of another, and might be there already.
    PropertyList anonymous;
    const auto trusted = [&](const PropertyList& keyframe) -> const PropertyList& {
        if (!services_.shouldIgnoreRendering() || !uidFrom(keyframe)) return keyframe;
        anonymous = keyframe;
        anonymous.remove("uid");
        return anonymous;
    };

    // In the text order of their keys: keyframes of equal time keep that order.
    std::vector<const PropertyList::Entry*> entries;
    entries.reserve(saved->size());
    for (const PropertyList::Entry& entry : saved->entries()) entries.push_back(&entry);
    sortByKey(entries);
    keyframes_.reserve(entries.size());
    for (const PropertyList::Entry* entry : entries) {
        const PropertyList& keyframe = entry->value;
        if (!keyframe.isDictionary()) {
            if (report)
                report->add(where() + ": keyframe " + escapeForLog(entry->key.view()) +
                            " is not a dictionary; it was dropped");
            continue;
        }
        const Frame time = timeFrom(keyframe);
        // Measured as it is stored, before any conversion of the rate.
        if (time > limit) {
            if (report)
                report->add(where() + ": a keyframe at frame " + std::to_string(time.value) +
                            " lies past the end; it was dropped");
            continue;
        }
        restoreKeyframeFrom(trusted(keyframe),
                            rate ? MarvoKeyframeHelper::convertTime(time, rate->integerOr(0), compFPS) : time,
                            report);
    }
    keyframes_.publish();
}

} // namespace marvo
