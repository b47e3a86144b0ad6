// The column of track headers beside the lanes. Painted as a whole: a show has hundreds of tracks, and a
// widget for each field of each would cost more than the rest of the window.
//
// A field that is typed into gets an editor for as long as that lasts. Main thread.
#pragma once

#include "ui/AreaView.h"
#include "ui/TrackHeader.h"

#include <functional>
#include <optional>
#include <vector>

class QAction;
class QMenu;

namespace marvo::ui {

class InlineEditor;

class HeadersView final : public AreaView {
public:
    HeadersView(MarvoTimelineController& composition, CompositionServices& services, QWidget* parent);

    std::function<void(MarvoTimelineTrackProtocol& track, Qt::KeyboardModifiers)> onPick;
    // Something was changed here; the lanes may look different now.
    std::function<void()> onEdited;

    // Opens the editor of the name of a track.
    void editName(std::int64_t trackPosition);
    // Its fields and switches as a menu, for the keyboard.
    void showFields(std::int64_t trackPosition);
    // What is being typed is taken where it can be; the field is about to move away from under its editor.
    void endEdit();
    // Values and states that change while a show plays; repaints what has changed.
    void follow();

protected:
    void paintContent(QPainter& painter, const QRectF& dirty) override;
    void paintMarker(QPainter&, const QRectF&) override {}
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    bool event(QEvent* event) override;

private:
    struct Hit {
        MarvoTimelineTrackProtocol* track = nullptr;
        HeaderItem item;
        QRectF onWidget;
    };
    // What changes without the user.
    struct Followed {
        QString value;
        unsigned states = 0;
        bool operator==(const Followed&) const = default;
    };

    std::optional<Hit> hitAt(QPointF point);
    std::vector<Hit> partsOf(std::int64_t trackPosition);
    // Null when it has gone since a menu or an editor was opened on it.
    MarvoTimelineTrackProtocol* stillThere(const MarvoTimelineTrackProtocol* track) const;
    void act(const Hit& hit, const QPoint& global);
    // False on a locked track, and with a beep in a locked project.
    bool mayEdit(const MarvoTimelineTrackProtocol& track);
    void choose(const Hit& hit);
    // The one that is chosen now, null for none.
    QAction* addChoices(QMenu& menu, const Hit& hit);
    void edit(const Hit& hit);
    void enableMenu(MarvoTimelineTrackProtocol& track, const QPoint& global);
    void drawItem(QPainter& painter, const HeaderItem& item, bool lit);
    void edited();

    MarvoTimelineController& composition_;
    CompositionServices& services_;
    InlineEditor* editor_ = nullptr;
    std::vector<Followed> followed_;
};

} // namespace marvo::ui
