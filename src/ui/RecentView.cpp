#include "ui/RecentView.h"

#include "ui/Look.h"

#include <QFileInfo>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>

namespace marvo::ui {
namespace {

constexpr int viewWidth = 188;
constexpr int imageHeight = 118;
constexpr int textHeight = 40;
constexpr qreal corner = 4;

} // namespace

RecentView::RecentView(QWidget* parent) : QWidget(parent) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    clear();
}

void RecentView::showProject(const QString& path) {
    path_ = path;
    image_ = {};
    setFocusPolicy(Qt::StrongFocus);
    setCursor(Qt::PointingHandCursor);
    setToolTip(path);
    setAccessibleName(QFileInfo(path).completeBaseName());
    setAccessibleDescription(path);
    update();
}

void RecentView::showImage(const QPixmap& image) {
    image_ = image;
    update();
}

void RecentView::clear() {
    path_.clear();
    image_ = {};
    hovered_ = pressed_ = false;
    setFocusPolicy(Qt::NoFocus);
    unsetCursor();
    setToolTip({});
    setAccessibleName(QStringLiteral("No recent project"));
    setAccessibleDescription({});
    update();
}

QSize RecentView::sizeHint() const {
    return {viewWidth, imageHeight + textHeight};
}

QRectF RecentView::imageFrame() const {
    return QRectF(0, 0, width(), imageHeight).adjusted(1.5, 1.5, -1.5, -1.5);
}

void RecentView::paintEvent(QPaintEvent*) {
    const Look& look = Look::current();
    QPainter painter(this);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    const QRectF frame = imageFrame();
    QPainterPath outline;
    outline.addRoundedRect(frame, corner, corner);
    if (path_.isEmpty()) {
        painter.setPen(QPen(look.line, 1, Qt::DashLine));
        painter.drawPath(outline);
        return;
    }
    painter.fillPath(outline, hovered_ ? look.hover : look.control);
    if (!image_.isNull()) {
        painter.save();
        painter.setClipPath(outline);
        QSizeF size = image_.size();
        size.scale(frame.size(), Qt::KeepAspectRatio);
        QRectF target(QPointF(), size);
        target.moveCenter(frame.center());
        // Scaled beforehand: painting it smaller at once leaves thin lines ragged.
        const qreal scale = painter.device()->devicePixelRatioF();
        painter.drawPixmap(target.toRect(), image_.scaled((target.size() * scale).toSize(),
                                                          Qt::KeepAspectRatio, Qt::SmoothTransformation));
        painter.restore();
    } else {
        painter.setPen(look.faintText);
        painter.setFont(typeFont(Type::small));
        painter.drawText(frame, Qt::AlignCenter, QStringLiteral("No picture"));
    }
    const bool marked = hasFocus() || hovered_;
    painter.setPen(QPen(marked ? look.focus : look.line, marked ? 2 : 1));
    painter.drawPath(outline);

    const QFileInfo file(path_);
    const auto line = [&](const QString& text, Type type, const QColor& color, int top,
                          Qt::TextElideMode elide) {
        const QFont font = typeFont(type);
        painter.setFont(font);
        painter.setPen(color);
        const QRect where(2, top, width() - 4, 18);
        painter.drawText(where, Qt::AlignLeft | Qt::AlignVCenter,
                         QFontMetrics(font).elidedText(text, elide, where.width()));
    };
    line(file.completeBaseName(), Type::strong, look.text, imageHeight + 4, Qt::ElideRight);
    // The end of a path tells more than its beginning.
    line(file.absolutePath(), Type::small, look.dimText, imageHeight + 22, Qt::ElideLeft);
}

void RecentView::mousePressEvent(QMouseEvent* event) {
    pressed_ = event->button() == Qt::LeftButton && !path_.isEmpty();
}

void RecentView::mouseReleaseEvent(QMouseEvent* event) {
    const bool clicked = pressed_ && rect().contains(event->position().toPoint());
    pressed_ = false;
    // A copy: opening may fill this view anew.
    if (clicked && onOpen) onOpen(QString(path_));
}

void RecentView::keyPressEvent(QKeyEvent* event) {
    const bool opens =
        event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter || event->key() == Qt::Key_Space;
    if (opens && !path_.isEmpty() && onOpen) {
        onOpen(QString(path_));
    } else {
        QWidget::keyPressEvent(event);
    }
}

void RecentView::enterEvent(QEnterEvent*) {
    hovered_ = !path_.isEmpty();
    update();
}

void RecentView::leaveEvent(QEvent*) {
    hovered_ = false;
    update();
}

} // namespace marvo::ui
