// The main window as a whole: its title, what becomes of it when a composition goes, and how it closes.
#include "ui/CuePopover.h"

#include "Stage.h"

using namespace marvo;
using namespace marvo::ui;
using namespace marvo::ui::testing;

namespace {

struct MainWindowTest : ::testing::Test, Stage {};

} // namespace

TEST_F(MainWindowTest, AnEmptyWindowSaysThatNothingIsSelected) {
    EXPECT_EQ(window().compositionView(), nullptr);
    bool said = false;
    for (const QLabel* label : window().findChildren<QLabel*>())
        said = said || (label->isVisible() && label->text() == "No composition is selected");
    EXPECT_TRUE(said);
    EXPECT_EQ(information(), "No compositions");
    load();
    EXPECT_TRUE(window().compositionView());
}

TEST_F(MainWindowTest, TheTitleNamesTheProjectItsLengthAndAChange) {
    load();
    clickRow(0, CompositionsModel::nameColumn);
    EXPECT_EQ(window().windowTitle().toStdString(), "Marvo - show (28s)");
    typeInto(0, HeaderPart::name, "Front");
    frame();
    EXPECT_TRUE(window().windowTitle().contains('*')) << window().windowTitle().toStdString();
    choose("Save");
    EXPECT_EQ(window().windowTitle().toStdString(), "Marvo - show (28s)");
    EXPECT_FALSE(application().hasUnsavedChanges());
}

TEST_F(MainWindowTest, ACompositionThatGoesWhileItIsShownLeavesTheNext) {
    load();
    clickRow(0, CompositionsModel::nameColumn);
    press("Play");
    play(300);
    application().removeCompositionAtIndex(0);
    show().tick(50);
    frame();
    EXPECT_EQ(&view().composition(), &composition(0));
    EXPECT_EQ(composition(0).compName(), "Storm");
    application().removeCompositionAtIndex(0);
    frame();
    EXPECT_EQ(window().compositionView(), nullptr);
    EXPECT_EQ(information(), "No Compositions");
}

TEST_F(MainWindowTest, InTheSmallestWindowNothingIsCutOff) {
    load();
    clickRow(0, CompositionsModel::nameColumn);
    window().resize(300, 200);
    frame();
    EXPECT_LE(window().width(), 1024);
    EXPECT_LE(window().height(), 560);
    for (const QWidget* widget : window().findChildren<QWidget*>()) {
        if (!widget->isVisible() || widget->accessibleName().isEmpty()) continue;
        EXPECT_GE(widget->width(), widget->minimumSizeHint().width())
            << widget->accessibleName().toStdString();
        EXPECT_TRUE(widget->parentWidget()->rect().contains(widget->geometry()))
            << widget->accessibleName().toStdString();
    }
    EXPECT_EQ(headers().width(), size::headerWidth);
}

TEST_F(MainWindowTest, ReturnPressesNothingUntilSomebodyGoesToAButton) {
    load();
    const auto notOnAButton = [] {
        const QWidget* focus = QApplication::focusWidget();
        ASSERT_TRUE(focus);
        EXPECT_EQ(dynamic_cast<const ControlButton*>(focus), nullptr);
    };
    notOnAButton();
    clickRow(0, CompositionsModel::nameColumn);
    lanes().setFocus();
    application().compositions.selectCompositionAtIndex(1);
    frame();
    EXPECT_EQ(QApplication::focusWidget(), &lanes());
    application().compositions.removeAll();
    frame();
    notOnAButton();
    load();
    notOnAButton();
}

TEST_F(MainWindowTest, ARemoteLoadWhileSomethingIsOpenDoesNoHarm) {
    load();
    const std::string path = show().file("show.mrv");
    const std::vector<std::function<void()>> openings{
        [this] { pressHeader(0, HeaderPart::address); },
        [this] { pressHeader(0, HeaderPart::output); },
        [this] { press("Add track"); },
        [this] { doubleClick(cues(), QPoint(laneX(20) + 4, cues().height() / 2)); },
        [this] { QTest::mousePress(&ruler(), Qt::LeftButton, {}, QPoint(rulerX(60), ruler().height() - 8)); },
        [this] {
            doubleClick(cues(), QPoint(laneX(20) + 4, cues().height() / 2));
            for (QWidget* top : QApplication::topLevelWidgets()) {
                auto* name = dynamic_cast<CuePopover*>(top) ? top->findChild<QLineEdit*>() : nullptr;
                if (name && top->isVisible()) type(*name, "Late");
            }
        },
        [this] { QTest::mousePress(&button("Play"), Qt::LeftButton); },
        [this] { doubleClick(child("Tempo"), QPoint(20, 10)); },
        [this] { QTest::mouseClick(&ruler(), Qt::RightButton); },
        [this] { choose("Rename Composition"); }};
    for (const auto& open : openings) {
        clickRow(0, CompositionsModel::nameColumn);
        open();
        application().loadProjectWithoutAsking(path);
        show().main.pump();
        frame();
        ASSERT_TRUE(window().compositionView());
        EXPECT_EQ(&view().composition(), application().selectedComposition());
        if (QWidget* popup = QApplication::activePopupWidget()) popup->close();
        frame();
    }
}

TEST_F(MainWindowTest, WhatIsTypedIntoACompositionThatGoesIsDropped) {
    load();
    clickRow(0, CompositionsModel::nameColumn);
    pressHeader(0, HeaderPart::address);
    type(*editor(), "/late");
    std::string address;
    const auto letGo = application().compositions.onCompositionGoes;
    application().compositions.onCompositionGoes = [&](MarvoTimelineController& going) {
        letGo(going);
        address = show().track(0).oscAddress();
    };
    application().removeCompositionAtIndex(0);
    application().compositions.onCompositionGoes = letGo;
    EXPECT_EQ(address, "/plain");
    clickRow(0, CompositionsModel::nameColumn);
}

TEST_F(MainWindowTest, ARemovalInsideAnOpenMenuDoesNoHarm) {
    load();
    clickRow(0, CompositionsModel::nameColumn);
    pressHeader(4, HeaderPart::output);
    application().removeCompositionAtIndex(0);
    frame();
    EXPECT_FALSE(openMenu());
    EXPECT_EQ(composition().compName(), "Storm");
}

TEST_F(MainWindowTest, TheRemovedCompositionIsNotPaintedOnceMore) {
    load();
    clickRow(0, CompositionsModel::nameColumn);
    application().compositions.removeAll();
    EXPECT_EQ(window().compositionView(), nullptr);
    window().grab();
}

TEST_F(MainWindowTest, ToShowAProjectIsNoChangeOfIt) {
    load();
    clickRow(0, CompositionsModel::nameColumn);
    clickRow(1, CompositionsModel::nameColumn);
    frame();
    EXPECT_FALSE(application().hasUnsavedChanges());
}

TEST_F(MainWindowTest, TheNextStartFindsTheWindowWhereItWas) {
    load();
    application().prefs.change("disableConfirmOnQuit", true);
    window().setGeometry(80, 60, 1100, 700);
    frame();
    window().close();
    EXPECT_FALSE(window().isVisible());
    desktop.reset();
    desktop = std::make_unique<Desktop>(running, RealtimeResult{RealtimeGrant::fifo, 70, "", "", ""});
    desktop->open();
    EXPECT_EQ(window().geometry(), QRect(80, 60, 1100, 700));
}

TEST_F(MainWindowTest, TheShowPlaysOnWithoutItsWindows) {
    load();
    application().selectedComposition()->transport.togglePlay();
    show().tick(100);
    const std::int64_t before = application().selectedComposition()->state.currentTime.get().value;
    desktop.reset();
    show().tick(1'000);
    EXPECT_GT(application().selectedComposition()->state.currentTime.get().value, before + 20);
    application().undo.removeAllActions();
    application().removeCompositionAtIndex(0);
    application().beep();
    show().tick(50);
}

TEST_F(MainWindowTest, AHundredDesktopsAndProjectsComeAndGo) {
    desktop.reset();
    const PropertyList project = stageProject();
    for (int i = 0; i < 100; ++i) {
        desktop = std::make_unique<Desktop>(running, RealtimeResult{RealtimeGrant::fifo, 70, "", "", ""});
        desktop->open();
        show().load(project);
        frame();
        ASSERT_TRUE(window().compositionView()) << i;
        application().compositions.selectCompositionAtIndex(i % 2);
        desktop->startWindow().show();
        window().rangePanel().show();
        show().tick(2);
        frame();
        if (i % 3 == 0) application().compositions.removeAll();
        desktop.reset();
    }
    EXPECT_TRUE(QApplication::topLevelWidgets().isEmpty());
}
