#include "tracks/KeyframeRecords.h"

#include "platform/ColourArchive.h"
#include "platform/Numbers.h"
#include "tracks/KeptKeys.h"

#include <algorithm>
#include <iterator>

namespace marvo {
namespace {

constexpr std::string_view knownKeys[] = {
    "time",  "value", "interpolation", "noteVelocityOn", "noteVelocityOff", "uid",
    "ratio", "min",   "max",           "compFPS",
};

constexpr std::string_view colorKey = "colorValue";
constexpr std::string_view flagKey = "flagAddress";

PropertyList colorRecord(const MarvoTimelineColorKeyframe& color) {
    const std::string archive = color.archived.empty() ? archivedColour(color.colorValue) : color.archived;
    return PropertyList::data(std::as_bytes(std::span(archive)));
}

float floatFrom(const PropertyList* value, float fallback) {
    return value ? static_cast<float>(value->realOr(static_cast<double>(fallback))) : fallback;
}

} // namespace

PropertyList recordOf(const MarvoTimelineKeyframe& keyframe, bool isNote, bool forUndo) {
    PropertyList::Entry entries[6];
    std::size_t count = 0;
    static const SharedText time("time"), value("value"), interpolation("interpolation"),
        on("noteVelocityOn"), off("noteVelocityOff"), uid("uid"), color(colorKey), flag(flagKey);
    static thread_local SharedText lastText;
    const std::string_view label = keyframe.interpolationType();
    // Most keyframes of a track share one label; its text is held once.
    if (lastText.view() != label) lastText = SharedText(label);
    entries[count++] = {time, keyframe.time.value};
    if (keyframe.color()) {
        entries[count++] = {color, colorRecord(*keyframe.color())};
    } else {
        entries[count++] = {value, keyframe.value};
    }
    entries[count++] = {interpolation, PropertyList(lastText)};
    if (keyframe.flag()) entries[count++] = {flag, PropertyList(keyframe.flag()->flagAddress)};
    if (isNote) {
        entries[count++] = {on, keyframe.noteVelocityOn};
        entries[count++] = {off, keyframe.noteVelocityOff};
    }
    if (forUndo) entries[count++] = {uid, keyframe.uID};
    return PropertyList::dictionaryOf({entries, count});
}

PropertyList recordForCopy(const MarvoTimelineKeyframe& keyframe, bool isNote,
                           std::optional<std::int64_t> compFPS) {
    PropertyList record = recordOf(keyframe, isNote, false);
    record.set("ratio", keyframe.shownRatio());
    if (keyframe.color()) {
        record.set("value", keyframe.value);
    } else if (keyframe.flag()) {
        record.remove("value");
    } else {
        record.set("min", formatFixed(static_cast<double>(keyframe.minValue), 5).view());
        record.set("max", formatFixed(static_cast<double>(keyframe.maxValue), 5).view());
    }
    if (compFPS) record.set("compFPS", *compFPS);
    return record;
}

Frame timeFrom(const PropertyList& record) {
    const PropertyList* time = record.find("time");
    return Frame(time ? time->integerOr(0) : 0);
}

RawKeyframe rawKeyframeFrom(const PropertyList& record) {
    RawKeyframe raw;
    raw.time = timeFrom(record);
    raw.value = floatFrom(record.find("value"), 0.0f);
    if (const PropertyList* ratio = record.find("ratio")) {
        raw.hasRatio = true;
        raw.ratio = floatFrom(ratio, 0.0f);
        const PropertyList* minimum = record.find("min");
        const PropertyList* maximum = record.find("max");
        raw.minimumText = minimum ? minimum->stringOr("") : std::string_view();
        raw.maximumText = maximum ? maximum->stringOr("") : std::string_view();
    }
    const PropertyList* on = record.find("noteVelocityOn");
    const PropertyList* off = record.find("noteVelocityOff");
    raw.isOwn = record.find("uid") != nullptr;
    raw.hasVelocities = on && off;
    raw.noteVelocityOn = floatFrom(on, 127.0f);
    raw.noteVelocityOff = floatFrom(off, 64.0f);
    return raw;
}

std::optional<std::uint64_t> uidFrom(const PropertyList& record) {
    const PropertyList* uid = record.find("uid");
    if (!uid) return std::nullopt;
    return uid->unsignedOr(0);
}

std::string_view interpolationFrom(const PropertyList& record) {
    const PropertyList* label = record.find("interpolation");
    return label ? label->stringOr("Linear Interpolation") : std::string_view("Linear Interpolation");
}

std::optional<Colour> colorFrom(const PropertyList& record, std::string* archived) {
    const PropertyList* saved = record.find(colorKey);
    if (!saved) return std::nullopt;
    const std::span<const std::byte> bytes = saved->dataBytes();
    archived->assign(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    return colourFromArchive(*archived);
}

PropertyList keyframeExtras(const PropertyList& record, const MarvoTimelineKeyframe& keyframe) {
    const std::string_view contentKey = keyframe.color() ? colorKey : keyframe.flag() ? flagKey : "";
    const auto isKnown = [contentKey](const PropertyList::Entry& entry) {
        const std::string_view key = entry.key;
        return std::ranges::find(knownKeys, key) != std::end(knownKeys) ||
               (!contentKey.empty() && key == contentKey);
    };
    if (std::ranges::all_of(record.entries(), isKnown)) return {};
    PropertyList extras = keptKeysOf(record, knownKeys);
    if (!contentKey.empty()) extras.remove(contentKey);
    return extras;
}

} // namespace marvo
