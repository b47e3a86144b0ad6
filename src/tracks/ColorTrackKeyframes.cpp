// The keyframes of a colour track, and what its record holds beyond that of every track.
#include "platform/Log.h"
#include "platform/Numbers.h"
#include "platform/Saturate.h"
#include "tracks/KeyframeRecords.h"
#include "tracks/MarvoTimelineColorTrack.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

namespace marvo {
namespace {

constexpr std::array<std::string_view, 4> subAddressKeys{"addressR", "addressG", "addressB", "addressA"};

bool contains(std::string_view letters, char letter) {
    return letters.find(letter) != std::string_view::npos;
}

} // namespace

void MarvoTimelineColorTrack::prepareNewKeyframe(MarvoTimelineKeyframe& keyframe) const {
    keyframe.becomeColor();
}

void MarvoTimelineColorTrack::giveValueAtTime(MarvoTimelineKeyframe& keyframe, Frame time) const {
    const KeyframeStore& store = keyframes_.store();
    if (store.empty()) return;
    const MarvoTimelineKeyframe* before = store.keyframeBeforeTime(time);
    const MarvoTimelineKeyframe* after = store.keyframeAfterTime(time);
    const Colour color = before && after
                             ? before->color()->colorValue.mixedWith(after->color()->colorValue, 1, 2)
                             : store.all().back().color()->colorValue;
    keyframe.color()->setColorValue(color);
}

Colour MarvoTimelineColorTrack::colorOfPastedValue(float ratio) const {
    // Single precision, in steps of a byte.
    const auto steps = static_cast<float>(truncatedToInt32(static_cast<double>(ratio * 255.0f)));
    const double v = static_cast<double>(steps / 255.0f);
    const ColorTrackOptions* options = services().colors;
    if (!options) return Colour::grey(v);
    const auto taken = [&](std::string_view letters, char letter) {
        return contains(letters, letter) ? v : 0.0;
    };
    if (const std::string_view rgb = options->convertToColorOptionsRGB; !rgb.empty()) {
        const double alpha = contains(rgb, 'A') ? v : 1.0;
        return Colour{taken(rgb, 'R'), taken(rgb, 'G'), taken(rgb, 'B'), alpha}.limited();
    }
    if (const std::string_view hsb = options->convertToColorOptionsHSB; !hsb.empty()) {
        const double alpha = contains(hsb, 'A') ? v : 1.0;
        return Colour::fromHSB({taken(hsb, 'H'), taken(hsb, 'S'), taken(hsb, 'B')}, alpha).limited();
    }
    return Colour::grey(v).limited();
}

void MarvoTimelineColorTrack::restoreContent(MarvoTimelineKeyframe& keyframe, const PropertyList& record,
                                             LoadReport* report) const {
    MarvoTimelineColorKeyframe& color = *keyframe.color();
    keyframe.setInterpolationType(interpolationFrom(record));
    const RawKeyframe raw = rawKeyframeFrom(record);
    keyframe.value = raw.value;
    if (std::isnan(keyframe.value)) {
        if (services().log) services().log->log("NaN detected (colorkf)!");
        keyframe.value = 0.0f;
    }
    keyframe.refresh();
    std::string archived;
    if (const std::optional<Colour> saved = colorFrom(record, &archived)) {
        color.colorValue = *saved;
        color.archived = std::move(archived);
    } else if (record.find("colorValue")) {
        color.colorValue = Colour::black();
        color.archived = std::move(archived);
        repair(report, "the colour of a keyframe cannot be read; black is used");
    } else {
        color.setColorValue(colorOfPastedValue(raw.hasRatio ? raw.ratio : 0.0f));
    }
}

void MarvoTimelineColorTrack::setColorOfKeyframes(const std::vector<std::uint64_t>& uIDs,
                                                  const Colour& color) {
    std::vector<ColorOfKeyframe> colors;
    for (const std::uint64_t uID : uIDs) colors.push_back({uID, {color, {}}});
    exchangeColors(std::move(colors));
}

void MarvoTimelineColorTrack::setComponentOfKeyframes(const std::vector<std::uint64_t>& uIDs,
                                                      ColorComponent component, double value) {
    std::vector<ColorOfKeyframe> colors;
    for (const std::uint64_t uID : uIDs) {
        const MarvoTimelineKeyframe* keyframe = keyframes_.store().objectWithUID(uID);
        if (!keyframe) continue;
        Colour color = keyframe->color()->colorValue;
        double* const components[] = {&color.red, &color.green, &color.blue, &color.alpha};
        *components[static_cast<std::size_t>(component)] = value;
        colors.push_back({uID, {color.limited(), {}}});
    }
    exchangeColors(std::move(colors));
}

void MarvoTimelineColorTrack::exchangeColors(std::vector<ColorOfKeyframe> colors) {
    keyframes_.edit([&](KeyframeStore& store) {
        store.visit(colors, [](MarvoTimelineKeyframe& keyframe, ColorOfKeyframe& one) {
            std::swap(*keyframe.color(), one.color);
        });
    });
    if (colors.empty()) return;
    composition().registerUndoOfTrackChange(
        "Set Color of Keyframes", trackPosition(), [colors](MarvoTimelineTrackProtocol& track) {
            if (auto* same = dynamic_cast<MarvoTimelineColorTrack*>(&track)) same->exchangeColors(colors);
        });
    composition().projectChanged();
}

Colour MarvoTimelineColorTrack::colorAtFrame(Frame frame) const {
    return shownColors_ ? shownColors_->colorOfTrackAtFrame(frame.value, lengthInFrames()) : Colour::clear();
}

PropertyList MarvoTimelineColorTrack::specialSettings() const {
    PropertyList special = PropertyList::dictionary();
    if (kind() == TrackKind::artNetColor) {
        special.set("artNetColorFormat", artNetColorFormat_);
        return special;
    }
    for (std::size_t i = 0; i < subAddressKeys.size(); ++i) special.set(subAddressKeys[i], subAddresses_[i]);
    special.set("shouldSendAlpha", shouldSendAlpha_);
    return special;
}

void MarvoTimelineColorTrack::restoreSpecialSettings(const PropertyList& record) {
    const auto read = [&](std::string_view key, std::string& text) {
        if (const PropertyList* value = record.find(key)) text = value->stringOr(text);
    };
    if (kind() == TrackKind::artNetColor) {
        read("artNetColorFormat", artNetColorFormat_);
        return;
    }
    for (std::size_t i = 0; i < subAddressKeys.size(); ++i) read(subAddressKeys[i], subAddresses_[i]);
    if (const PropertyList* alpha = record.find("shouldSendAlpha")) shouldSendAlpha_ = alpha->boolOr(false);
}

} // namespace marvo
