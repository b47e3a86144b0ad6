// What the header of a track shows and where: name, switches, and the fields that its kind has.
//
// Values only, so that it can be asked without a screen. Coordinates of the header, y downwards. Main thread.
#pragma once

#include "tracks/TrackSettings.h"
#include "ui/Icons.h"

#include <QRectF>
#include <QString>

#include <vector>

namespace marvo {
class MarvoTimelineTrackProtocol;
class MarvoButton;
} // namespace marvo

namespace marvo::ui {

enum class HeaderPart {
    collapse,
    name,
    value,
    bang,
    lock,
    enable,
    output,
    midiChannel,
    midiCC,
    noteFrom,
    noteTo,
    wide, // 14 or 16 bit
    address,
    oscType,
    minimum,
    maximum,
    dmxChannels,
    colorFormat,
    source,
};

// How a press on a part works.
enum class HeaderUse { shows, acts, switches, types, chooses };

struct HeaderItem {
    HeaderPart part;
    HeaderUse use;
    QRectF where;
    QString label; // what it is, in small letters in front of its text; also for the tool tip
    QString text;
    Icon icon = Icon::none;
    MarvoButton* button = nullptr; // of a switch
    bool enabled = true;
};

// width and height: of the header. A collapsed one has only its first row.
std::vector<HeaderItem> headerItems(MarvoTimelineTrackProtocol& track, double width, double height);

// What an OSC track of that kind may send, by its number.
std::vector<QString> oscTypeTitles(TrackKind kind);

// The value sent last, as the user thinks of it; "-" before the first one and while values are not to be
// shown.
QString shownValueText(const MarvoTimelineTrackProtocol& track);

// What kind of track it is, in words of the user.
QString kindText(const MarvoTimelineTrackProtocol& track);

} // namespace marvo::ui
