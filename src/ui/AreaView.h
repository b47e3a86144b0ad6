// One of the four scrolled areas of a composition, as a widget.
//
// What is behind the playhead is kept as a picture: while a show plays, a frame costs a copy of the
// playhead's column and one line on top. Subclasses paint the picture and the line. Main thread.
#pragma once

#include "surface/TimelineSurface.h"

#include <QImage>
#include <QRegion>
#include <QWidget>

namespace marvo::ui {

QRectF toQt(const SurfaceRect& rect);

class AreaView : public QWidget {
public:
    AreaView(SurfaceArea which, QWidget* parent);

    // Null takes the surface away; nothing is painted then.
    void setSurface(TimelineSurface* surface);
    SurfaceArea which() const { return which_; }

    // In coordinates of the document. A rectangle no wider than the playhead's column leaves the picture
    // alone.
    void needsDisplay(const SurfaceRect& rect);
    void contentChanged(); // all of it
    void scrolled();

    // Where a point of the widget lies in the document, y downwards.
    SurfacePoint inDocument(QPointF point) const;

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    bool event(QEvent* event) override;

    TimelineSurface* surface() const { return surface_; }
    SurfacePoint origin() const;
    // Left edge of a line one pixel wide at the playhead, in the widget: at the very end on the last pixel.
    double markerLine(const QRectF& column) const;
    // The painter is moved so that it takes coordinates of the document; dirty likewise.
    virtual void paintContent(QPainter& painter, const QRectF& dirty) = 0;
    virtual void paintMarker(QPainter& painter, const QRectF& column) = 0;

private:
    void renderStale(double ratio);

    const SurfaceArea which_;
    TimelineSurface* surface_ = nullptr;
    QImage picture_;
    QRegion stale_;
    QRegion markerShown_; // where the playhead stands on the screen, whatever it has been asked for since
    SurfacePoint shownOrigin_;
};

} // namespace marvo::ui
