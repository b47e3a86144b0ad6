// What an operator finds who looks for help.
#include "ui/AboutDialog.h"
#include "ui/ReportDialog.h"
#include "ui/ShortcutsWindow.h"

#include "Stage.h"

#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

using namespace marvo;
using namespace marvo::ui;
using namespace marvo::ui::testing;

namespace {

struct HelpMenuTest : ::testing::Test, Stage {
    template <class Window>
    static std::vector<Window*> standing() {
        std::vector<Window*> found;
        for (QWidget* one : QApplication::topLevelWidgets()) {
            auto* window = dynamic_cast<Window*>(one);
            if (window && window->isVisible()) found.push_back(window);
        }
        return found;
    }
    template <class Window>
    Window& opened(const char* entry) {
        choose(QString::fromUtf8(entry));
        choose(QString::fromUtf8(entry));
        EXPECT_EQ(standing<Window>().size(), 1u) << "once, however often it is asked for";
        return *standing<Window>().at(0);
    }
    static std::vector<QTreeWidgetItem*> visibleEntries(ShortcutsWindow& window) {
        std::vector<QTreeWidgetItem*> entries;
        for (int i = 0; i < window.list().topLevelItemCount(); ++i) {
            QTreeWidgetItem* group = window.list().topLevelItem(i);
            for (int j = 0; j < group->childCount(); ++j) {
                if (!group->isHidden() && !group->child(j)->isHidden()) entries.push_back(group->child(j));
            }
        }
        return entries;
    }
    static void keysOf(const QMenu& menu, std::set<QString>& keys) {
        for (const QAction* entry : menu.actions()) {
            if (entry->menu()) keysOf(*entry->menu(), keys);
            for (const QKeySequence& key : entry->shortcuts())
                keys.insert(key.toString(QKeySequence::NativeText));
        }
    }
    ~HelpMenuTest() override {
        for (QWidget* one : QApplication::topLevelWidgets()) {
            if (dynamic_cast<QDialog*>(one) && one->isVisible()) one->close();
        }
    }
};

} // namespace

TEST_F(HelpMenuTest, EveryKeyOfEveryMenuIsListed) {
    ShortcutsWindow& window = opened<ShortcutsWindow>("Keyboard Shortcuts");
    std::set<QString> keys;
    for (const QAction* menu : this->window().menuBar()->actions()) keysOf(*menu->menu(), keys);
    ASSERT_GT(keys.size(), 45u);
    std::set<QString> listed;
    for (const QTreeWidgetItem* entry : visibleEntries(window)) {
        for (const QString& key : entry->text(1).split(QStringLiteral(", "))) listed.insert(key);
    }
    EXPECT_EQ(listed, keys);
}

TEST_F(HelpMenuTest, NoNameAndNoKeyIsCutOff) {
    ShortcutsWindow& window = opened<ShortcutsWindow>("Keyboard Shortcuts");
    const QFontMetrics metrics(window.list().font());
    for (const QTreeWidgetItem* entry : visibleEntries(window)) {
        for (const int column : {0, 1}) {
            EXPECT_LT(metrics.horizontalAdvance(entry->text(column)),
                      window.list().columnWidth(column) - (column == 0 ? window.list().indentation() : 0))
                << entry->text(column).toStdString();
        }
    }
}

TEST_F(HelpMenuTest, ACommandIsFoundByItsNameItsMenuAndItsKey) {
    ShortcutsWindow& window = opened<ShortcutsWindow>("Keyboard Shortcuts");
    for (const char* words : {"zoom in", "IN view zoom", "ctrl+="}) {
        window.filter().setText(QString::fromUtf8(words));
        const auto entries = visibleEntries(window);
        ASSERT_EQ(entries.size(), 1u) << words;
        EXPECT_EQ(entries[0]->text(0), QStringLiteral("Zoom In"));
    }
    window.filter().setText(QStringLiteral("nothing is called so"));
    EXPECT_TRUE(visibleEntries(window).empty());
    window.filter().clear();
    EXPECT_GT(visibleEntries(window).size(), 45u);
}

TEST_F(HelpMenuTest, AReportIsAFileThatTheUserIsToldOf) {
    ReportDialog& dialog = opened<ReportDialog>("Report a Problem…");
    dialog.words().setPlainText(QStringLiteral("The lamp flickers."));
    EXPECT_FALSE(dialog.outcome().isVisible());
    dialog.writeButton().click();
    const QString told = dialog.outcome().text();
    ASSERT_TRUE(dialog.outcome().isVisible());
    const qsizetype path = told.indexOf(u'/');
    ASSERT_GE(path, 0) << told.toStdString();
    std::ostringstream text;
    text << std::ifstream(told.mid(path).toStdString()).rdbuf();
    EXPECT_TRUE(text.str().starts_with("The lamp flickers.\n\napplication: Marvo\n")) << text.str();
    EXPECT_FALSE(dialog.writeButton().isEnabled()) << "one is enough";
}

TEST_F(HelpMenuTest, AReportThatCannotBeWrittenLosesNoWord) {
    const std::string folder = running.paths().state + "/Reports";
    std::filesystem::create_directories(running.paths().state);
    std::ofstream(folder) << "in the way";
    ReportDialog& dialog = opened<ReportDialog>("Report a Problem…");
    dialog.words().setPlainText(QStringLiteral("The lamp flickers."));
    dialog.writeButton().click();
    EXPECT_TRUE(dialog.outcome().text().contains(QString::fromStdString(folder)))
        << dialog.outcome().text().toStdString();
    EXPECT_EQ(dialog.words().toPlainText(), QStringLiteral("The lamp flickers."));
    std::filesystem::remove(folder);
    dialog.writeButton().click();
    EXPECT_FALSE(dialog.writeButton().isEnabled());
}

TEST_F(HelpMenuTest, TheVersionIsShownAndTheShowGoesOn) {
    AboutDialog& about = opened<AboutDialog>("About Marvo");
    EXPECT_FALSE(about.isModal());
    bool has = false;
    for (const QLabel* label : about.findChildren<QLabel*>())
        has |= label->text().startsWith(QStringLiteral("Marvo ")) && label->text().contains(u'.');
    EXPECT_TRUE(has);
}
