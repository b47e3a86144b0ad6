// Pictures of the main window for the eye, and what of them a program can tell: that they are finer at a
// larger scale and that no text is cut off.
#include "Stage.h"

using namespace marvo;
using namespace marvo::ui;
using namespace marvo::ui::testing;

namespace {

struct PicturesTest : ::testing::Test, Stage {
    PicturesTest() {
        window().resize(1400, 820);
        EXPECT_TRUE(application().openProject(MARVO_DEMO, nullptr).done);
        show().main.pump();
        application().compositions.selectCompositionAtIndex(0);
        window().status().refresh();
        frame();
    }
    ~PicturesTest() override { applyLook(*qApp, Variant::dark); }

    void playSome() {
        press("Play all");
        play(6'500);
    }
    // At every scale that desktops use.
    void keep(const QString& name) {
        ASSERT_TRUE(QDir().mkpath(QStringLiteral(MARVO_PICTURES)));
        for (const qreal scale : {1.0, 1.25, 1.5, 2.0}) {
            const QImage image = drawn(window(), scale);
            EXPECT_EQ(image.size(), window().size() * scale);
            EXPECT_TRUE(image.save(
                QStringLiteral("%1/%2@%3x.png").arg(QStringLiteral(MARVO_PICTURES), name).arg(scale)));
        }
    }
};

} // namespace

TEST_F(PicturesTest, TheDemoPlaysInTheDarkAndInDaylight) {
    playSome();
    keep(QStringLiteral("main-dark"));
    choose("Daylight Colours");
    keep(QStringLiteral("main-light"));
}

TEST_F(PicturesTest, EveryMenuIsDrawn) {
    for (QAction* action : window().menuBar()->actions()) {
        QMenu& menu = *action->menu();
        menu.popup(QPoint(40, 40));
        frame();
        keepPicture(menu, QStringLiteral("menu-") + action->text().remove('&').toLower());
        const QFontMetrics metrics(menu.font());
        for (const QAction* entry : menu.actions()) {
            const QRect room = menu.actionGeometry(const_cast<QAction*>(entry));
            EXPECT_GE(room.width(), metrics.horizontalAdvance(entry->text()) +
                                        metrics.horizontalAdvance(entry->shortcut().toString()) + 40)
                << entry->text().toStdString();
        }
        menu.close();
    }
}

TEST_F(PicturesTest, LearnModeAndAddressesAreDrawn) {
    playSome();
    choose("MIDI Learn");
    press("Play");
    keepPicture(window(), QStringLiteral("main-learn"));
    choose("MIDI Learn");
    choose("Show OSC Addresses");
    press("Loop");
    keepPicture(window(), QStringLiteral("main-addresses"));
}

TEST_F(PicturesTest, AnEmptyProjectAndOneWithoutTracksAreDrawn) {
    application().newProject();
    frame();
    keepPicture(window(), QStringLiteral("main-no-tracks"));
    application().compositions.removeAll();
    frame();
    keepPicture(window(), QStringLiteral("main-empty"));
}

TEST_F(PicturesTest, EditorsAndTroubleAreDrawnInTheSmallestWindow) {
    window().resize(window().minimumSize());
    running.tell("Art-Net", "it is unplugged");
    frame();
    pressHeader(0, HeaderPart::address);
    keepPicture(window(), QStringLiteral("main-small"));
    key(Qt::Key_Escape);
    choose("Rename Composition");
    keepPicture(window(), QStringLiteral("main-rename"));
}
