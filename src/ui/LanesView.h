// The lanes of a composition with the playhead over them. Selects tracks and shows what is under the pointer;
// keyframes are moved elsewhere.
#pragma once

#include "ui/AreaView.h"
#include "ui/LanePainter.h"

namespace marvo::ui {

class LanesView final : public AreaView {
public:
    LanesView(MarvoTimelineController& composition, QWidget* parent);

    // A track was picked by a press: with control it joins or leaves the selection, with shift it ends a
    // range.
    std::function<void(MarvoTimelineTrackProtocol& track, Qt::KeyboardModifiers)> onPick;

protected:
    void paintContent(QPainter& painter, const QRectF& dirty) override;
    void paintMarker(QPainter& painter, const QRectF& column) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    double gridStep() const;
    void leaveLanes();

    MarvoTimelineController& composition_;
    LanePainter lanes_;
};

} // namespace marvo::ui
