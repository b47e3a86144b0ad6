// What a project that is locked refuses, wherever it is tried.
#include "ui/CompositionSettingsDialog.h"
#include "ui/NumberField.h"

#include "Stage.h"

using namespace marvo;
using namespace marvo::ui;
using namespace marvo::ui::testing;

namespace {

struct LockedProjectTest : ::testing::Test, Stage {
    LockedProjectTest() {
        load();
        clickRow(0, CompositionsModel::nameColumn);
    }
};

} // namespace

TEST_F(LockedProjectTest, RefusesEveryEditAndPlaysOn) {
    typeInto(0, HeaderPart::name, "Front");
    const QString undo = "Undo " + QString::fromStdString(application().undo.undoActionName());
    EXPECT_TRUE(command(undo)->isEnabled());
    choose("Lock Project");
    EXPECT_FALSE(command(undo)->isEnabled());
    for (const char* title :
         {"New Composition", "Duplicate Composition", "Rename Composition", "Remove Composition",
          "Set Working Area Beginning to Playhead", "Set Working Area End to Playhead",
          "Trim Composition to Work Area", "Place Cue at Playhead", "Rename Track", "Remove Tracks",
          "Duplicate Tracks", "Lock or Unlock Tracks", "Add Keyframe at Playhead",
          "Remove Keyframe at Playhead", "OSC Value"})
        EXPECT_FALSE(command(title)->isEnabled()) << title;
    for (const QString& title :
         {QStringLiteral("Composition Settings\u2026"), QStringLiteral("Sort Tracks\u2026"),
          QStringLiteral("Set Value at Playhead\u2026")})
        EXPECT_FALSE(command(title)->isEnabled()) << title.toStdString();
    for (const char* title : {"Play or Stop", "Loop", "Next Cue", "Blackout", "Switch Tracks On or Off"})
        EXPECT_TRUE(command(title)->isEnabled()) << title;
    choose("Unlock Project");
    EXPECT_TRUE(command("Rename Track")->isEnabled());
}

TEST_F(LockedProjectTest, WhatIsOpenWhenItIsLockedChangesNothing) {
    const std::int64_t rate = composition().compFPS();
    choose(QStringLiteral("Composition Settings\u2026"));
    auto* settings = dialog<CompositionSettingsDialog>();
    ASSERT_TRUE(settings);
    type(settings->fps(), "48");
    application().lockProject();
    settings->accept();
    EXPECT_TRUE(settings->isVisible());
    EXPECT_EQ(composition().compFPS(), rate);
    EXPECT_EQ(beeps, 1);
    settings->reject();
    application().lockProject();
    window().activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window()));
    frame();
    clickRow(0, CompositionsModel::nameColumn);
    choose("Rename Composition");
    ASSERT_TRUE(editor());
    type(*editor(), "Dawn");
    application().lockProject();
    key(Qt::Key_Return);
    EXPECT_EQ(composition().compName(), "Sunrise");
}
