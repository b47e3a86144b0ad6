// Hands and eyes for windows: real pointer and key events, and pictures of what was drawn.
#pragma once

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QImage>
#include <QPainter>
#include <QTest>
#include <QTimer>
#include <QWidget>

#include <functional>
#include <gtest/gtest.h>

namespace marvo::ui::testing {

inline void click(QWidget& widget) {
    QTest::mouseClick(&widget, Qt::LeftButton);
}

// Types over what stands in the field.
inline void type(QWidget& field, const QString& text) {
    field.setFocus();
    QTest::keyClick(&field, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(&field, Qt::Key_Delete);
    QTest::keyClicks(&field, text);
}

inline void showAndWait(QWidget& window) {
    window.show();
    window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
}

template <class Condition>
bool eventually(Condition condition) {
    return QTest::qWaitFor([&] { return static_cast<bool>(condition()); }, 5000);
}

// Acts on the next dialog that waits for an answer, and closes it when acting has not, so that no test hangs.
// Fails the test when no dialog came before it goes.
class WhenAsked {
public:
    explicit WhenAsked(std::function<void(QWidget&)> act) : act_(std::move(act)) {
        QObject::connect(&timer_, &QTimer::timeout, &timer_, [this] { look(); });
        timer_.start(5);
    }
    ~WhenAsked() { EXPECT_TRUE(asked_) << "no dialog came"; }
    WhenAsked(const WhenAsked&) = delete;
    WhenAsked& operator=(const WhenAsked&) = delete;

private:
    void look() {
        QWidget* dialog = QApplication::activeModalWidget();
        if (!dialog || !dialog->isVisible()) return;
        timer_.stop();
        asked_ = true;
        act_(*dialog);
        if (dialog == QApplication::activeModalWidget() && dialog->isVisible()) {
            ADD_FAILURE() << "the dialog still waits";
            dialog->close();
        }
    }

    std::function<void(QWidget&)> act_;
    QTimer timer_;
    bool asked_ = false;
};

inline QImage drawn(QWidget& window, qreal scale) {
    QImage image(window.size() * scale, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    image.fill(Qt::transparent);
    window.render(&image);
    return image;
}

// Writes the window at both scales; the larger one must be really finer, and neither may be one flat ground.
inline void keepPicture(QWidget& window, const QString& name) {
    ASSERT_TRUE(QDir().mkpath(QStringLiteral(MARVO_PICTURES)));
    for (const int scale : {1, 2}) {
        const QImage image = drawn(window, scale);
        EXPECT_EQ(image.size(), window.size() * scale);
        bool flat = true;
        for (int y = 0; y < image.height() && flat; ++y) {
            for (int x = 0; x < image.width(); ++x) {
                if (image.pixel(x, y) != image.pixel(0, 0)) {
                    flat = false;
                    break;
                }
            }
        }
        EXPECT_FALSE(flat) << name.toStdString() << " is empty";
        EXPECT_TRUE(
            image.save(QStringLiteral("%1/%2@%3x.png").arg(QStringLiteral(MARVO_PICTURES), name).arg(scale)));
    }
}

} // namespace marvo::ui::testing
