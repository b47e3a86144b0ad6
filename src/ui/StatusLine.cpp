#include "ui/StatusLine.h"

#include "ui/Icons.h"
#include "ui/Look.h"

#include <QHelpEvent>
#include <QPainter>
#include <QToolTip>

#include <algorithm>

namespace marvo::ui {
namespace {

constexpr Duration saidFor = Duration::ofSeconds(8);
constexpr double saidWidth = 360.0; // kept free for a message
constexpr double moreWidth = 40.0;  // for the number of what finds no room

QString schedulingText(const RealtimeResult& granted) {
    switch (granted.grant) {
    case RealtimeGrant::fifo:
    case RealtimeGrant::realtimeKit:
        return QStringLiteral("real time");
    case RealtimeGrant::bestEffort:
        return QStringLiteral("best effort");
    case RealtimeGrant::refused:
        break;
    }
    return QStringLiteral("not running");
}

} // namespace

StatusLine::StatusLine(RunningShow& show, const RealtimeResult& granted, QWidget* parent)
    : QWidget(parent), show_(show), granted_(granted) {
    setFixedHeight(30);
    setAccessibleName(QStringLiteral("Status"));
    refresh();
}

void StatusLine::setTrouble(const std::string& name, const std::string& reason) {
    if (reason.empty())
        troubles_.erase(name);
    else
        troubles_[name] = reason;
    refresh();
}

void StatusLine::say(const QString& text, bool isTrouble) {
    said_ = text;
    saidTrouble_ = isTrouble;
    saidAt_ = show_.clock().now();
    update();
}

void StatusLine::look() {
    LastSeconds::Totals dropped;
    for (const auto& port : show_.application().oscManager().outPortArray())
        dropped[port.get()] = port->counters().dropped;
    const MarvoMIDIManager& midi = show_.application().midiManager();
    dropped[&midi] = midi.messages().dropped;
    lately_.look(show_.clock().now(), show_.statistics().lateness(), dropped);
}

StatusLine::Chip StatusLine::tickChip() const {
    const RunStatistics& statistics = show_.statistics();
    const Duration usual = lately_.usualLateness(statistics.lateness());
    Chip chip;
    chip.text = QStringLiteral("Tick %1").arg(QString::fromStdString(microseconds(usual)));
    chip.detail =
        QStringLiteral(
            "%1; 99 of 100 ticks came at most %2 late in the last ten seconds, and %3 since the start; the "
            "latest %4; %5 later than a frame of 60 a second")
            .arg(schedulingText(granted_), QString::fromStdString(microseconds(usual)),
                 QString::fromStdString(microseconds(statistics.lateness().percentile(0.99))),
                 QString::fromStdString(microseconds(statistics.lateness().maximum())),
                 QString::number(statistics.lateness().countAbove(Duration(16'666'667))));
    if (granted_.grant == RealtimeGrant::bestEffort || usual > Duration::ofMilliseconds(2))
        chip.health = Health::trouble;
    return chip;
}

std::vector<StatusLine::Chip> StatusLine::chips() {
    look();
    std::vector<Chip> chips{tickChip()};
    AppDelegate& application = show_.application();
    std::map<std::string, std::string> left = troubles_;
    for (const auto& port : application.oscManager().outPortArray()) {
        const OutputCounters counters = port->counters();
        Chip chip{QString::fromStdString(port->portLabel()),
                  QStringLiteral("OSC to %1:%2, %3 messages sent, %4 dropped")
                      .arg(QString::fromStdString(port->addressString()))
                      .arg(port->port())
                      .arg(counters.sent)
                      .arg(counters.dropped),
                  Health::good,
                  {}};
        if (lately_.dropped(port.get(), counters.dropped) > 0) chip.health = Health::trouble;
        if (const auto trouble = left.find(port->portLabel()); trouble != left.end()) {
            chip.health = Health::trouble;
            chip.detail += QStringLiteral("\n") + QString::fromStdString(trouble->second);
            left.erase(trouble);
        }
        chips.push_back(std::move(chip));
    }
    const MarvoMIDIManager& manager = application.midiManager();
    const MIDIPortCounters midi = manager.messages();
    // Its own outputs are there on any machine; somebody else is what counts.
    const std::vector<std::string> own = manager.midiOutNodeNames();
    const std::vector<std::string> seen = manager.detectedMidiOutNodeNames();
    const auto destinations = std::count_if(seen.begin(), seen.end(), [&](const std::string& name) {
        return std::find(own.begin(), own.end(), name) == own.end();
    });
    const std::size_t sources = manager.sourceArray().size();
    const bool nobody = show_.midiKind() == "none" || (sources == 0 && destinations == 0);
    Chip midiChip{QStringLiteral("MIDI"),
                  QStringLiteral("%1; %2 messages sent, %3 dropped; %4 sources, %5 destinations")
                      .arg(QString::fromStdString(std::string(show_.midiKind())))
                      .arg(midi.sent)
                      .arg(midi.dropped)
                      .arg(sources)
                      .arg(destinations),
                  nobody ? Health::away : Health::good,
                  {}};
    if (lately_.dropped(&manager, midi.dropped) > 0) midiChip.health = Health::trouble;
    if (const auto trouble = left.find("MIDI"); trouble != left.end()) {
        midiChip.health = Health::trouble;
        midiChip.detail += QStringLiteral("\n") + QString::fromStdString(trouble->second);
        left.erase(trouble);
    }
    chips.push_back(std::move(midiChip));
    const std::size_t nodes = application.artNetManager().listOfNodes().size();
    Chip artNet{QStringLiteral("Art-Net"),
                QStringLiteral("%1 nodes answer; %2 packets sent")
                    .arg(nodes)
                    .arg(application.artNetManager().packetsSent()),
                nodes > 0 ? Health::good : Health::away,
                {}};
    if (const auto trouble = left.find("Art-Net"); trouble != left.end()) {
        artNet.health = Health::trouble;
        artNet.detail += QStringLiteral("\n") + QString::fromStdString(trouble->second);
        left.erase(trouble);
    }
    chips.push_back(std::move(artNet));
    for (const auto& [name, reason] : left)
        chips.push_back({QString::fromStdString(name), QString::fromStdString(reason), Health::trouble, {}});
    // A narrow window cuts the end off: what is wrong comes first.
    std::stable_partition(chips.begin(), chips.end(),
                          [](const Chip& chip) { return chip.health == Health::trouble; });
    return chips;
}

void StatusLine::refresh() {
    if (!said_.isEmpty() && show_.clock().now() - saidAt_ > saidFor) {
        said_.clear();
        update();
    }
    std::vector<Chip> now = chips();
    if (now == shown_) return;
    shown_ = std::move(now);
    QString spoken;
    for (const Chip& chip : shown_) {
        if (chip.health == Health::trouble)
            spoken += chip.text + QStringLiteral(": ") + chip.detail + QStringLiteral(". ");
    }
    setAccessibleDescription(spoken);
    update();
}

void StatusLine::paintEvent(QPaintEvent*) {
    const Look& look = Look::current();
    QPainter painter(this);
    painter.fillRect(rect(), look.window);
    painter.fillRect(QRectF(0, 0, width(), 1), look.line);
    painter.setFont(typeFont(Type::small));
    const QFontMetricsF metrics(painter.font());
    double x = size::margin;
    const double end = width() - size::margin - (said_.isEmpty() ? 0.0 : saidWidth);
    for (std::size_t i = 0; i < shown_.size(); ++i) {
        Chip& chip = shown_[i];
        const double wide = metrics.horizontalAdvance(chip.text) + 36;
        const double room = i + 1 < shown_.size() ? end - moreWidth : end;
        if (x + wide > room) {
            for (std::size_t hidden = i; hidden < shown_.size(); ++hidden) shown_[hidden].where = {};
            painter.setPen(look.dimText);
            painter.drawText(QRectF(x, 0, moreWidth, height()), Qt::AlignVCenter,
                             QStringLiteral("+%1").arg(shown_.size() - i));
            x += moreWidth;
            break;
        }
        chip.where = QRectF(x, 4, wide, height() - 8);
        const bool bad = chip.health == Health::trouble;
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(QPen(bad ? look.trouble : look.line, 1));
        painter.setBrush(look.panel);
        painter.drawRoundedRect(chip.where.adjusted(0.5, 0.5, -0.5, -0.5), 4, 4);
        drawIcon(painter,
                 bad                           ? Icon::trouble
                 : chip.health == Health::away ? Icon::away
                                               : Icon::good,
                 QRectF(x + 7, 8, 13, height() - 16),
                 bad                           ? look.trouble
                 : chip.health == Health::away ? look.faintText
                                               : look.dimText);
        painter.setPen(bad ? look.trouble : look.dimText);
        painter.drawText(chip.where.adjusted(25, 0, 0, 0), Qt::AlignVCenter, chip.text);
        x += wide + size::gap;
    }
    if (said_.isEmpty()) return;
    painter.setFont(typeFont(Type::normal));
    painter.setPen(saidTrouble_ ? look.trouble : look.text);
    const QRectF room(x + size::margin, 0, width() - x - 2 * size::margin, height());
    painter.drawText(room, Qt::AlignVCenter | Qt::AlignRight,
                     QFontMetricsF(painter.font()).elidedText(said_, Qt::ElideRight, room.width()));
}

bool StatusLine::event(QEvent* event) {
    if (event->type() == QEvent::ToolTip) {
        const auto* help = static_cast<QHelpEvent*>(event);
        for (const Chip& chip : shown_) {
            if (chip.where.contains(help->pos())) QToolTip::showText(help->globalPos(), chip.detail, this);
        }
        return true;
    }
    return QWidget::event(event);
}

} // namespace marvo::ui
