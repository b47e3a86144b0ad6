#include "ui/TrackHeader.h"

#include "composition/MarvoTimelineCompositionTrack.h"
#include "platform/Numbers.h"
#include "tracks/LaneHeight.h"
#include "tracks/MarvoTimelineColorTrack.h"
#include "tracks/MarvoTimelineFlagTrack.h"
#include "tracks/MarvoTimelineTrack.h"
#include "ui/HeaderChoices.h"

#include <cmath>

namespace marvo::ui {
namespace {

constexpr double rowHeight = 26.0;
constexpr double rowGap = 3.0;

QString text(const std::string& utf8) {
    return QString::fromStdString(utf8);
}

// Puts items side by side and breaks to the next row by hand.
class Rows {
public:
    Rows(double width, std::vector<HeaderItem>& items) : width_(width), items_(items) {}

    HeaderItem& add(HeaderPart part, HeaderUse use, double wide, const QString& label, const QString& shown) {
        items_.push_back({part, use, QRectF(x_, y_, wide, rowHeight), label, shown});
        x_ += wide + rowGap;
        return items_.back();
    }
    double left() const { return width_ - 6.0 - x_; }
    void next() {
        x_ = 6.0;
        y_ += rowHeight + rowGap;
    }

private:
    double width_;
    std::vector<HeaderItem>& items_;
    double x_ = 6.0;
    double y_ = 3.0;
};

QString rangeText(const MarvoTimelineTrack& track, float bound) {
    const bool scaled = track.kind() == TrackKind::oscValue && track.trackOSCType() == 0;
    const double shown = static_cast<double>(scaled ? bound / track.oscFloatMultiplerByDigits() : bound);
    return QString::number(shown, 'g', 6);
}

QString typeName(std::int64_t oscType) {
    const std::vector<QString> titles = oscTypeTitles(TrackKind::oscValue);
    return titles[oscType == 0 ? 0 : oscType == 1 ? 1 : 2];
}

void addSwitch(Rows& rows, HeaderPart part, MarvoButton& button, Icon icon, const QString& label,
               double wide) {
    HeaderItem& item = rows.add(part, HeaderUse::switches, wide, label, {});
    item.icon = icon;
    item.button = &button;
    item.enabled = button.isEnabled();
}

void addFields(Rows& rows, MarvoTimelineTrack& track) {
    // A kind that this program does not know sends nothing: there is nothing to choose.
    if (!isOSC(track.kind()) && !isMIDI(track.kind()) && !isArtNet(track.kind())) return;
    const TrackSettings& settings = track.settings();
    rows.next();
    const std::string& output = isOSC(track.kind())    ? settings.oscOut
                                : isMIDI(track.kind()) ? settings.midiOut
                                                       : settings.artNetOutput;
    rows.add(HeaderPart::output, HeaderUse::chooses,
             isArtNet(track.kind()) || isMIDI(track.kind()) ? rows.left() - 70 : rows.left(),
             QStringLiteral("Output"), text(output));
    if (isMIDI(track.kind()))
        rows.add(HeaderPart::midiChannel, HeaderUse::chooses, 67, QStringLiteral("Ch"),
                 text(settings.midiChannel));
    if (isArtNet(track.kind()))
        addSwitch(rows, HeaderPart::wide, track.artNet16bitButton, Icon::none, QStringLiteral("16 bit"), 67);
    rows.next();
    switch (track.kind()) {
    case TrackKind::midiCC:
        rows.add(HeaderPart::midiCC, HeaderUse::chooses, rows.left() - 70, QStringLiteral("CC"),
                 text(settings.midiCC));
        addSwitch(rows, HeaderPart::wide, track.midiCC14bitButton, Icon::none, QStringLiteral("14 bit"), 67);
        break;
    case TrackKind::midiNotes:
        rows.add(HeaderPart::noteFrom, HeaderUse::chooses, rows.left() / 2, QStringLiteral("From"),
                 text(settings.midiNotesFrom));
        rows.add(HeaderPart::noteTo, HeaderUse::chooses, rows.left(), QStringLiteral("To"),
                 text(settings.midiNotesTo));
        break;
    case TrackKind::artNetValue:
    case TrackKind::artNetColor: {
        const auto* color = dynamic_cast<const MarvoTimelineColorTrack*>(&track);
        rows.add(HeaderPart::dmxChannels, HeaderUse::types, color ? rows.left() - 120 : rows.left(),
                 QStringLiteral("DMX"), text(settings.artNetChannel));
        if (color)
            rows.add(HeaderPart::colorFormat, HeaderUse::chooses, rows.left(), QStringLiteral("Format"),
                     colorFormatTitle(color->artNetColorFormat()));
        break;
    }
    case TrackKind::oscFlag: {
        const auto* flags = dynamic_cast<const MarvoTimelineFlagTrack*>(&track);
        if (const std::string* address = flags ? flags->activeFlagAddress() : nullptr)
            rows.add(HeaderPart::address, HeaderUse::types, rows.left(), QStringLiteral("Flag"),
                     text(*address));
        break;
    }
    default:
        rows.add(HeaderPart::address, HeaderUse::types, rows.left(), QStringLiteral("Address"),
                 text(track.oscAddress()));
        break;
    }
    if (track.kind() == TrackKind::oscColor) {
        rows.next();
        const std::vector<QString> forms = oscTypeTitles(track.kind());
        const auto form = static_cast<std::size_t>(track.trackOSCType());
        rows.add(HeaderPart::oscType, HeaderUse::chooses, rows.left(), QStringLiteral("Form"),
                 form < forms.size() ? forms[form] : QString());
    }
    if (track.kind() == TrackKind::oscValue) {
        rows.next();
        rows.add(HeaderPart::oscType, HeaderUse::chooses, 92, QStringLiteral("Type"),
                 typeName(track.trackOSCType()));
        rows.add(HeaderPart::minimum, HeaderUse::types, rows.left() / 2, QStringLiteral("Min"),
                 rangeText(track, track.trackMinValue()));
        rows.add(HeaderPart::maximum, HeaderUse::types, rows.left(), QStringLiteral("Max"),
                 rangeText(track, track.trackMaxValue()));
    }
}

} // namespace

QString shownValueText(const MarvoTimelineTrackProtocol& track) {
    const auto* plain = dynamic_cast<const MarvoTimelineTrack*>(&track);
    if (!plain) return {};
    const float value = plain->shownValue();
    if (!plain->shouldDisplayOutValue() || !std::isfinite(value)) return QStringLiteral("-");
    if (plain->kind() == TrackKind::oscValue && plain->trackOSCType() == 0) {
        return QString::number(static_cast<double>(value / plain->oscFloatMultiplerByDigits()), 'f', 6);
    }
    return QString::number(static_cast<double>(std::roundf(value)), 'f', 0);
}

QString kindText(const MarvoTimelineTrackProtocol& track) {
    switch (trackKindOf(track.trackType())) {
    case TrackKind::midiCC:
        return QStringLiteral("MIDI CC");
    case TrackKind::midiNotes:
        return QStringLiteral("MIDI notes");
    case TrackKind::oscValue:
        return QStringLiteral("OSC value");
    case TrackKind::oscColor:
        return QStringLiteral("OSC colour");
    case TrackKind::oscFlag:
        return QStringLiteral("OSC flags");
    case TrackKind::artNetValue:
        return QStringLiteral("Art-Net value");
    case TrackKind::artNetColor:
        return QStringLiteral("Art-Net colour");
    case TrackKind::composition:
        return QStringLiteral("Composition");
    case TrackKind::audioFile:
        return QStringLiteral("Audio file");
    case TrackKind::other:
        break;
    }
    return QString::fromStdString(track.trackType());
}

std::vector<QString> oscTypeTitles(TrackKind kind) {
    if (kind == TrackKind::oscColor)
        return {QStringLiteral("Standard"), QStringLiteral("Int Array"), QStringLiteral("Float Array"),
                QStringLiteral("Multi-Int"), QStringLiteral("Multi-Float")};
    return {QStringLiteral("float"), QStringLiteral("int"), QStringLiteral("bool")};
}

std::vector<HeaderItem> headerItems(MarvoTimelineTrackProtocol& track, double width, double height) {
    std::vector<HeaderItem> items;
    Rows rows(width, items);
    const bool collapsed = height == LaneHeight::collapsed;
    constexpr double square = rowHeight;
    rows.add(HeaderPart::collapse, HeaderUse::acts, square,
             collapsed ? QStringLiteral("Expand track") : QStringLiteral("Collapse track"), {})
        .icon = collapsed ? Icon::expand : Icon::collapse;
    auto* plain = dynamic_cast<MarvoTimelineTrack*>(&track);
    auto* block = dynamic_cast<MarvoTimelineCompositionTrack*>(&track);
    const int switches = plain ? 3 : block ? 2 : 0;
    const double valueWidth = plain ? 78.0 : 0.0;
    rows.add(HeaderPart::name, HeaderUse::types,
             rows.left() - valueWidth - switches * (square + rowGap) - (plain ? rowGap : 0), kindText(track),
             text(track.name()));
    if (plain)
        rows.add(HeaderPart::value, HeaderUse::shows, valueWidth, QStringLiteral("Value sent last"),
                 shownValueText(track));
    if (plain)
        rows.add(HeaderPart::bang, HeaderUse::acts, square, QStringLiteral("Send a test value"), {}).icon =
            Icon::bang;
    if (plain || block) {
        const bool locked = plain ? plain->isLocked() : block->isLocked();
        HeaderItem& lock =
            rows.add(HeaderPart::lock, HeaderUse::acts, square,
                     locked ? QStringLiteral("Unlock track") : QStringLiteral("Lock track"), {});
        lock.enabled = locked; // lit then
        lock.icon = lock.enabled ? Icon::lock : Icon::lockOpen;
        addSwitch(rows, HeaderPart::enable, plain ? plain->enabledButton : block->enabledButton, Icon::power,
                  QStringLiteral("Track on"), square);
    }
    if (collapsed) return items;
    if (plain) addFields(rows, *plain);
    if (block) {
        rows.next();
        rows.add(HeaderPart::source, HeaderUse::chooses, rows.left(), QStringLiteral("Composition"),
                 text(block->compositionSource()));
    }
    return items;
}

} // namespace marvo::ui
