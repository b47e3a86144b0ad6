// The window a run begins with, and the pictures in it.
#include "ui/StartWindow.h"
#include "ui/Quicklook.h"

#include "Commands.h"
#include "Windows.h"

#include <QPainter>

using namespace marvo;
using namespace marvo::ui;
using namespace marvo::ui::testing;

namespace {

// Stands in for the main window: a ground of one colour with some lanes.
class Painted final : public QWidget {
public:
    explicit Painted(const QColor& color) : color_(color) { resize(1280, 800); }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.fillRect(rect(), color_);
        painter.setPen(QPen(Qt::white, 3));
        for (int y = 100; y < height(); y += 100) painter.drawLine(0, y, width(), y + 40);
    }

private:
    QColor color_;
};

struct StartWindowTest : ::testing::Test, Commands {
    void saveWithPicture(const std::string& name, const QColor& color) {
        Painted window(color);
        showAndWait(window);
        application().projectFile.windowImage = [&] { return windowImageForProjectSave(&window); };
        application().newProject();
        person.fileToSave = show.file(name + ".mrv");
        EXPECT_TRUE(commands.saveProjectAs());
        application().projectFile.windowImage = nullptr;
    }
    StartWindow makeWindow() { return {commands, recents, application().prefs, show.preferences}; }
};

QColor cornerOf(const QImage& image) {
    return image.pixelColor(2, 2);
}

} // namespace

TEST_F(StartWindowTest, ItOpensUnlessItWasSwitchedOff) {
    PreferenceStore store;
    EXPECT_TRUE(StartWindow::isWanted(store));
    store.set("showStartupWindow", true);
    EXPECT_TRUE(StartWindow::isWanted(store));
    store.set("showStartupWindow", false);
    EXPECT_FALSE(StartWindow::isWanted(store));
}

TEST_F(StartWindowTest, TheCheckBoxShowsAndStoresThePreference) {
    {
        StartWindow window(commands, recents, application().prefs, show.preferences);
        showAndWait(window);
        EXPECT_TRUE(window.showAtStart().isChecked());
        QTest::mouseClick(&window.showAtStart(), Qt::LeftButton, {},
                          QPoint(8, window.showAtStart().height() / 2));
        EXPECT_FALSE(StartWindow::isWanted(show.preferences));
    }
    StartWindow again(commands, recents, application().prefs, show.preferences);
    EXPECT_FALSE(again.showAtStart().isChecked());
}

TEST_F(StartWindowTest, ASavedProjectHasAPictureOfTheWindowThatIsReadWithoutLoadingIt) {
    saveWithPicture("red", QColor(200, 30, 40));
    const QImage image = quicklookImageOf(show.file("red.mrv"));
    ASSERT_FALSE(image.isNull());
    EXPECT_EQ(image.width(), quicklookWidth);
    EXPECT_EQ(cornerOf(image), QColor(200, 30, 40));
    const PropertyList root = readPropertyList(show.file("red.mrv")).value;
    const PropertyList* data = root.find("appData")->find("QuicklookImage");
    ASSERT_TRUE(data && data->isData());
    const auto bytes = data->dataBytes();
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(bytes.data()) + 1, 3), "PNG");
}

TEST_F(StartWindowTest, ASaveWithoutAWindowKeepsThePictureThatWasThere) {
    saveWithPicture("red", QColor(200, 30, 40));
    person.answers = {Answer::ok};
    commands.openProjectAtURL(show.file("red.mrv"));
    EXPECT_TRUE(commands.saveProject());
    EXPECT_EQ(cornerOf(quicklookImageOf(show.file("red.mrv"))), QColor(200, 30, 40));
    EXPECT_TRUE(windowImageForProjectSave(nullptr).empty());
}

TEST_F(StartWindowTest, ANewPictureTakesThePlaceOfTheOneThatWasRead) {
    saveWithPicture("red", QColor(200, 30, 40));
    person.answers = {Answer::ok};
    commands.openProjectAtURL(show.file("red.mrv"));
    Painted window(QColor(10, 160, 90));
    showAndWait(window);
    application().projectFile.windowImage = [&] { return windowImageForProjectSave(&window); };
    EXPECT_TRUE(commands.saveProject());
    application().projectFile.windowImage = nullptr;
    EXPECT_EQ(cornerOf(quicklookImageOf(show.file("red.mrv"))), QColor(10, 160, 90));
}

TEST_F(StartWindowTest, ItShowsTheFourNewestProjectsAndLeavesOutWhatIsGone) {
    saveWithPicture("one", QColor(200, 30, 40));
    saveWithPicture("two", QColor(20, 80, 160));
    saveWithPicture("three", QColor(40, 120, 80));
    saveWithPicture("four", QColor(120, 60, 140));
    saveWithPicture("five", QColor(170, 120, 30));
    std::filesystem::remove(show.file("three.mrv"));
    StartWindow window(commands, recents, application().prefs, show.preferences);
    showAndWait(window);
    EXPECT_EQ(window.recentView(0).path().toStdString(), show.file("five.mrv"));
    EXPECT_EQ(window.recentView(1).path().toStdString(), show.file("four.mrv"));
    EXPECT_TRUE(window.recentView(2).path().isEmpty());
    EXPECT_EQ(window.recentView(3).path().toStdString(), show.file("two.mrv"));
    ASSERT_TRUE(eventually([&] { return !window.recentView(3).image().isNull(); }));
    EXPECT_EQ(cornerOf(window.recentView(0).image().toImage()), QColor(170, 120, 30));
    EXPECT_TRUE(window.recentView(2).image().isNull());
    keepPicture(window, QStringLiteral("start-window"));
}

TEST_F(StartWindowTest, WithoutRecentProjectsItIsEmptyAndOpenLastRests) {
    StartWindow window(commands, recents, application().prefs, show.preferences);
    showAndWait(window);
    EXPECT_FALSE(window.openLastButton().isEnabled());
    keepPicture(window, QStringLiteral("start-window-empty"));
}

TEST_F(StartWindowTest, AClickOnAPictureOpensThatProject) {
    recents.add(projectFile("Evening"));
    StartWindow window(commands, recents, application().prefs, show.preferences);
    showAndWait(window);
    click(window.recentView(1));
    QTest::keyClick(&window.recentView(1), Qt::Key_Return);
    EXPECT_EQ(beeps, 0) << "an empty place opens nothing";
    click(window.recentView(0));
    ASSERT_EQ(compositions(), 1u);
    EXPECT_EQ(show.composition().compName(), "Evening");
}

TEST_F(StartWindowTest, TheKeyboardReachesAPicture) {
    recents.add(projectFile("Evening"));
    StartWindow window(commands, recents, application().prefs, show.preferences);
    showAndWait(window);
    window.recentView(0).setFocus();
    QTest::keyClick(&window.recentView(0), Qt::Key_Return);
    EXPECT_EQ(compositions(), 1u);
}

TEST_F(StartWindowTest, ItsButtonsMakeAndOpenProjects) {
    recents.add(projectFile("Evening"));
    StartWindow window(commands, recents, application().prefs, show.preferences);
    showAndWait(window);
    click(window.newButton());
    EXPECT_EQ(show.composition().compName(), "Composition 1");
    person.answers = {Answer::ok, Answer::ok};
    click(window.openLastButton());
    EXPECT_EQ(show.composition().compName(), "Evening");
    click(window.openButton());
    EXPECT_EQ(person.openPanels, 1);
}

TEST_F(StartWindowTest, APictureThatComesAfterTheListHasChangedIsNotShown) {
    saveWithPicture("one", QColor(200, 30, 40));
    StartWindow window(commands, recents, application().prefs, show.preferences);
    std::filesystem::remove(show.file("one.mrv"));
    window.buildRecentsViews();
    QTest::qWait(50);
    EXPECT_TRUE(window.recentView(0).image().isNull());
}
