#include "ui/ProgramIcon.h"

#include "ui/Look.h"

#include "Windows.h"

#include <gtest/gtest.h>

using namespace marvo::ui;

TEST(ProgramIconTest, IsSharpInEachSizeAndShowsItsPlayhead) {
    const QIcon icon = programIcon();
    for (const int size : {16, 24, 32, 48, 64, 128, 256}) {
        const QImage picture = icon.pixmap(QSize(size, size)).toImage();
        ASSERT_EQ(picture.size(), QSize(size, size)) << "not stretched";
        EXPECT_EQ(qAlpha(picture.pixel(0, 0)), 0) << "its corners are round";
        const QColor head = picture.pixelColor(size * 52 / 100, size * 16 / 100);
        EXPECT_NEAR(head.green(), Look::dark().plays.green(), 40) << size;
    }
    QDir().mkpath(QStringLiteral(MARVO_PICTURES));
    EXPECT_TRUE(icon.pixmap(QSize(256, 256)).save(QStringLiteral(MARVO_PICTURES "/program-icon.png")));
    EXPECT_TRUE(icon.pixmap(QSize(16, 16)).save(QStringLiteral(MARVO_PICTURES "/program-icon-16.png")));
}
