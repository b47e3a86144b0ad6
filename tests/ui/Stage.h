// The whole program on its desktop, before a show on a virtual clock: every window is the real one, and
// nothing leaves the process.
#pragma once

#include "ui/CompositionView.h"
#include "ui/CompositionsPanel.h"
#include "ui/ControlButton.h"
#include "ui/CueRowView.h"
#include "ui/Desktop.h"
#include "ui/HeadersView.h"
#include "ui/LanesView.h"
#include "ui/Look.h"
#include "ui/RulerView.h"
#include "ui/StatusLine.h"
#include "ui/TrackHeader.h"
#include "ui/TransportRow.h"

#include "TrackRecords.h"
#include "VirtualShow.h"
#include "Windows.h"

#include <QAction>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QScreen>
#include <QScrollBar>
#include <QTableView>

#include <memory>
#include <string>
#include <vector>

namespace marvo::ui::testing {

using marvo::testing::Show;
using marvo::testing::VirtualShow;

// Two compositions; the first has a track of each kind, the second none.
inline PropertyList stageProject() {
    using namespace marvo::testing;
    return projectOf({fullComposition("Sunrise", 30, 20.0f), compositionOf("Storm", 25, 8.0f, {})});
}

struct Stage {
    Stage() {
        running.preferences().set("showStartupWindow", false);
        desktop = std::make_unique<Desktop>(running, RealtimeResult{RealtimeGrant::fifo, 70, "", "", ""});
        application().onBeep = [this] { ++beeps; };
        window().resize(1400, 820);
        desktop->open();
        window().activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&window()));
    }
    ~Stage() {
        for (QWidget* popup : QApplication::topLevelWidgets()) {
            if (popup->windowType() == Qt::Popup) popup->close();
        }
    }

    Show& show() { return running.show; }
    AppDelegate& application() { return running.show.application; }
    MainWindow& window() { return desktop->window(); }
    CompositionView& view() { return *window().compositionView(); }
    TimelineSurface& surface() { return view().surface(); }
    MarvoTimelineController& composition(std::size_t index = 0) { return show().composition(index); }
    QTableView& table() { return child<QTableView>("Compositions"); }
    HeadersView& headers() { return child<HeadersView>("Track headers"); }
    LanesView& lanes() { return child<LanesView>("Timeline"); }
    RulerView& ruler() { return child<RulerView>("Ruler"); }
    CueRowView& cues() { return child<CueRowView>("Cues"); }

    void load(const PropertyList& project = stageProject()) {
        show().load(project);
        frame();
    }
    // What a frame of the screen does.
    void frame() {
        QApplication::processEvents();
        window().follow();
        QApplication::processEvents();
    }
    void play(std::int64_t milliseconds) {
        show().tick(milliseconds);
        frame();
    }

    // By what is read out; the visible one.
    template <class Widget = QWidget>
    Widget& child(const char* accessibleName) {
        for (QWidget* widget : window().findChildren<QWidget*>()) {
            if (widget->accessibleName() != QLatin1String(accessibleName) || !widget->isVisible()) continue;
            if (auto* found = dynamic_cast<Widget*>(widget)) return *found;
        }
        ADD_FAILURE() << "nothing is called " << accessibleName;
        std::abort();
    }
    ControlButton& button(const char* name) { return child<ControlButton>(name); }
    QString information() { return child<QLabel>("Information").text(); }
    void press(const char* name) {
        click(button(name));
        frame();
    }

    // --- Menus.

    static void collect(const QMenu& menu, std::vector<QAction*>& actions) {
        for (QAction* action : menu.actions()) {
            if (action->menu())
                collect(*action->menu(), actions);
            else if (!action->isSeparator())
                actions.push_back(action);
        }
    }
    std::vector<QAction*> commands() {
        std::vector<QAction*> actions;
        for (const QAction* action : window().menuBar()->actions()) collect(*action->menu(), actions);
        return actions;
    }
    QAction* command(const QString& title) {
        for (QAction* action : commands()) {
            if (action->text() == title) return action;
        }
        ADD_FAILURE() << "no command is called " << title.toStdString();
        std::abort();
    }
    void choose(const QString& title) {
        QAction* action = command(title);
        EXPECT_TRUE(action->isEnabled()) << title.toStdString();
        action->trigger();
        frame();
    }
    void key(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        // The platform in memory does not give the focus back when a dialog closes.
        if (!QApplication::activeWindow()) {
            window().activateWindow();
            EXPECT_TRUE(QTest::qWaitForWindowActive(&window()));
        }
        QWidget* target = QApplication::focusWidget() ? QApplication::focusWidget() : &window();
        QTest::keyClick(target, key, modifiers);
        frame();
    }
    // That stands open beside the main window; null when there is none.
    template <class Dialog>
    Dialog* dialog() {
        for (QWidget* top : QApplication::topLevelWidgets()) {
            if (auto* found = dynamic_cast<Dialog*>(top); found && found->isVisible()) return found;
        }
        return nullptr;
    }
    static QMenu* openMenu() { return qobject_cast<QMenu*>(QApplication::activePopupWidget()); }
    // Of the menu that stands open.
    void pick(const QString& title) {
        QMenu* menu = openMenu();
        ASSERT_TRUE(menu) << "no menu is open for " << title.toStdString();
        for (QAction* action : menu->actions()) {
            if (action->text() != title) continue;
            QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(action).center());
            frame();
            return;
        }
        menu->close();
        ADD_FAILURE() << "the menu does not offer " << title.toStdString();
    }

    // --- Places.

    QRect rowOf(int row, int column) { return table().visualRect(table().model()->index(row, column)); }
    void clickRow(int row, int column) {
        QTest::mouseClick(table().viewport(), Qt::LeftButton, {}, rowOf(row, column).center());
        frame();
    }
    // Of the composition, and where an area stands between its two bars; y upwards.
    QScrollBar& bar(Qt::Orientation orientation) {
        for (QScrollBar* one : view().findChildren<QScrollBar*>()) {
            if (one->orientation() == orientation) return *one;
        }
        std::abort();
    }
    double x(SurfaceArea area) { return surface().area(area).origin().x; }
    double y(SurfaceArea area) { return surface().area(area).origin().y; }
    void zoomIn(int steps) {
        for (int i = 0; i < steps; ++i) key(Qt::Key_Plus, Qt::ControlModifier);
    }
    LaneLayout::Lane lane(std::size_t track) { return surface().lanes().lanes()[track]; }
    std::vector<HeaderItem> items(std::size_t track) {
        return headerItems(*lane(track).track, headers().width(), lane(track).height);
    }
    bool hasPart(std::size_t track, HeaderPart part) {
        for (const HeaderItem& item : items(track)) {
            if (item.part == part) return true;
        }
        return false;
    }
    HeaderItem item(std::size_t track, HeaderPart part) {
        for (const HeaderItem& item : items(track)) {
            if (item.part == part) return item;
        }
        ADD_FAILURE() << "that header has no such field";
        std::abort();
    }
    // Scrolls there when it has to.
    QPoint inHeader(std::size_t track, HeaderPart part) {
        const LaneLayout::Lane at = lane(track);
        const double from = surface().area(SurfaceArea::headers).origin().y;
        if (at.y < from || at.maxY() > from + headers().height()) {
            surface().scrollTo(SurfaceArea::headers, {0, at.y});
            frame();
        }
        const double y = at.y - surface().area(SurfaceArea::headers).origin().y;
        return (item(track, part).where.center() + QPointF(0, y)).toPoint();
    }
    void pressHeader(std::size_t track, HeaderPart part, Qt::KeyboardModifiers modifiers = {}) {
        QTest::mouseClick(&headers(), Qt::LeftButton, modifiers, inHeader(track, part));
        frame();
    }
    QLineEdit* editor() { return qobject_cast<QLineEdit*>(QApplication::focusWidget()); }
    void typeInto(std::size_t track, HeaderPart part, const QString& text) {
        if (part == HeaderPart::name)
            doubleClick(headers(), inHeader(track, part));
        else
            pressHeader(track, part);
        ASSERT_TRUE(editor());
        type(*editor(), text);
        key(Qt::Key_Return);
    }
    // x on the ruler and in the lanes of a frame.
    int rulerX(std::int64_t at) { return static_cast<int>(TimelineGeometry::rulerMargin + laneX(at)); }
    int laneX(std::int64_t at) {
        const double x = static_cast<double>(at) * surface().laneWidth() /
                         static_cast<double>(surface().geometry().length());
        return static_cast<int>(x - surface().area(SurfaceArea::lanes).origin().x);
    }
    // All that a widget sees of it, from the first press on.
    static void doubleClick(QWidget& widget, const QPoint& at) {
        QTest::mouseClick(&widget, Qt::LeftButton, {}, at);
        QTest::mouseDClick(&widget, Qt::LeftButton, {}, at);
        QTest::mouseRelease(&widget, Qt::LeftButton, {}, at);
        QApplication::processEvents();
    }
    // Moves as a hand does: press, several moves, release.
    static void drag(QWidget& widget, const QPoint& from, const QPoint& to,
                     Qt::KeyboardModifiers modifiers = {}) {
        QTest::mousePress(&widget, Qt::LeftButton, modifiers, from);
        constexpr int steps = 4;
        for (int i = 1; i <= steps; ++i) {
            const QPoint at = from + (to - from) * i / steps;
            QMouseEvent move(QEvent::MouseMove, at, widget.mapToGlobal(at), Qt::NoButton, Qt::LeftButton,
                             modifiers);
            QApplication::sendEvent(&widget, &move);
        }
        QTest::mouseRelease(&widget, Qt::LeftButton, modifiers, to);
    }
    static void wheel(QWidget& widget, QPoint angle, Qt::KeyboardModifiers modifiers = {}) {
        const QPointF at = widget.rect().center();
        QWheelEvent event(at, widget.mapToGlobal(at), {}, angle, Qt::NoButton, modifiers, Qt::NoScrollPhase,
                          false);
        QApplication::sendEvent(&widget, &event);
    }
    // A pixel of a widget as it is painted now.
    static QColor colorAt(QWidget& widget, QPoint at) {
        return widget.grab(QRect(at, QSize(1, 1))).toImage().pixelColor(0, 0);
    }

    // What stands on the screen, as the paints so far have left it: nothing is painted anew for it.
    QImage onScreen(QWidget& widget) {
        QApplication::processEvents();
        const QPoint corner = widget.mapTo(&window(), QPoint());
        QScreen* screen = window().screen();
        return screen->grabWindow(window().winId(), corner.x(), corner.y(), widget.width(), widget.height())
            .toImage();
    }

    VirtualShow running;
    std::unique_ptr<Desktop> desktop;
    int beeps = 0;
};

} // namespace marvo::ui::testing
