// One recent project of the start window: picture, name, folder. Empty without one. Main thread.
#pragma once

#include <QPixmap>
#include <QString>
#include <QWidget>

#include <functional>

namespace marvo::ui {

class RecentView : public QWidget {
public:
    explicit RecentView(QWidget* parent);

    // Clicked, or Return pressed, while it shows a project.
    std::function<void(const QString& path)> onOpen;

    void showProject(const QString& path);
    void showImage(const QPixmap& image);
    void clear();

    const QString& path() const { return path_; }
    const QPixmap& image() const { return image_; }
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;

private:
    QRectF imageFrame() const;

    QString path_;
    QPixmap image_;
    bool hovered_ = false;
    bool pressed_ = false;
};

} // namespace marvo::ui
