// A button of the show as it is seen and pressed. The state lives in the control; this paints it and hands
// clicks on.
//
// Changes from outside (OSC, MIDI, the tick) are seen by follow(), which the window calls once a frame and
// which repaints only when something shown has changed. Owner: main thread; the control outlives the widget.
#pragma once

#include "controls/MarvoButton.h"
#include "ui/Icons.h"

#include <QWidget>

#include <functional>

namespace marvo::ui {

enum class Accent { none, plays, records, trouble };

class ControlButton : public QWidget {
public:
    ControlButton(MarvoButton& control, Icon icon, const QString& name, QWidget* parent);

    void setAccent(Accent accent);
    // Shown when the state is on, where that is another picture.
    void setOnIcon(Icon icon);
    // Beside or in place of the picture.
    void setLabel(const QString& label);
    // Named in the tool tip.
    void setShortcutText(const QString& shortcut);
    // Does something else than what the control does by itself, where a click acts at all.
    std::function<void(const QPoint& global)> onAct;
    // Control-click or right button.
    std::function<void(const QPoint& global)> onMenu;

    MarvoButton& control() const { return control_; }
    // Repaints when what is shown has changed.
    void follow();

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    bool event(QEvent* event) override;

private:
    // All that decides how the button looks.
    struct Shown {
        bool on = false;
        bool enabled = true;
        bool learns = false;
        bool learned = false;
        bool showsAddress = false;
        bool highlighted = false;
        bool operator==(const Shown&) const = default;
    };
    Shown look() const;
    void click();
    void updateToolTip();

    MarvoButton& control_;
    Icon icon_;
    Icon onIcon_;
    QString name_;
    QString label_;
    QString shortcut_;
    Accent accent_ = Accent::none;
    Shown shown_;
    bool hovered_ = false;
    bool pressed_ = false;
};

} // namespace marvo::ui
