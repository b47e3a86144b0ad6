// Project files that are dropped on a window from a file manager.
#include "Stage.h"

#include "ui/Notice.h"

#include <QDragEnterEvent>
#include <QMimeData>
#include <QUrl>

#include <fstream>

using namespace marvo;
using namespace marvo::ui;
using namespace marvo::ui::testing;

namespace {

struct ProjectDropTest : ::testing::Test, Stage {
    ~ProjectDropTest() override {
        for (QWidget* one : QApplication::topLevelWidgets()) {
            if (dynamic_cast<Notice*>(one)) delete one;
        }
    }
    QString project(const std::string& name) {
        const std::string path = show().file(name);
        writePropertyList(
            path, marvo::testing::projectOf({marvo::testing::compositionOf("Dropped", 30, 4.0f, {})}));
        return QString::fromStdString(path);
    }
    QString garbage(const std::string& name) {
        const std::string path = show().file(name);
        std::ofstream(path) << "this is no project";
        return QString::fromStdString(path);
    }
    static std::unique_ptr<QMimeData> files(const QStringList& paths) {
        auto data = std::make_unique<QMimeData>();
        QList<QUrl> urls;
        for (const QString& path : paths) urls.push_back(QUrl::fromLocalFile(path));
        data->setUrls(urls);
        return data;
    }
    // As a file manager drops it on what is under the pointer; false when that does not want it.
    bool drop(QWidget& on, const QMimeData& data, Qt::DropActions offered = Qt::CopyAction | Qt::MoveAction) {
        const QPoint at = on.rect().center();
        QDragEnterEvent enter(at, offered, &data, Qt::LeftButton, {});
        QApplication::sendEvent(&on, &enter);
        if (!enter.isAccepted()) return false;
        EXPECT_EQ(enter.dropAction(), Qt::CopyAction);
        QDragMoveEvent move(at, offered, &data, Qt::LeftButton, {});
        QApplication::sendEvent(&on, &move);
        EXPECT_TRUE(move.isAccepted());
        QDropEvent event(at, offered, &data, Qt::LeftButton, {});
        QApplication::sendEvent(&on, &event);
        EXPECT_TRUE(event.isAccepted());
        EXPECT_EQ(event.dropAction(), Qt::CopyAction) << "the file would be moved away";
        return true;
    }
    QString bad() {
        for (QWidget* one : QApplication::topLevelWidgets()) {
            if (auto* notice = dynamic_cast<Notice*>(one); notice && notice->isVisible())
                return notice->accessibleName() + "\n" + notice->accessibleDescription();
        }
        return {};
    }
};

} // namespace

TEST_F(ProjectDropTest, AProjectOpensWhereverOnTheWindowItIsDropped) {
    ASSERT_TRUE(drop(window(), *files({project("one.mrv")})));
    ASSERT_TRUE(eventually([this] { return application().compositions.count() == 1; }));
    EXPECT_EQ(composition().compName(), "Dropped");
    EXPECT_TRUE(window().windowTitle().startsWith("Marvo - one"));
    application().compositions.removeAll();
    frame();
    ASSERT_TRUE(drop(*table().viewport(), *files({project("two.mrv")})));
    ASSERT_TRUE(eventually([this] { return window().windowTitle().startsWith("Marvo - two"); }));
}

TEST_F(ProjectDropTest, AProjectDroppedOnTheStartWindowOpens) {
    choose("Start Window");
    ASSERT_TRUE(drop(desktop->startWindow(), *files({project("one.mrv")})));
    ASSERT_TRUE(eventually([this] { return application().compositions.count() == 1; }));
    EXPECT_FALSE(desktop->startWindow().isVisible());
}

TEST_F(ProjectDropTest, TheOpenProjectGoesOnlyAfterTheQuestion) {
    load();
    const auto answered = [this](const char* button) {
        const WhenAsked asked([&](QWidget& dialog) {
            for (QAbstractButton* one : dialog.findChildren<QAbstractButton*>()) {
                if (one->accessibleName() == QLatin1String(button)) return one->click();
            }
        });
        EXPECT_TRUE(drop(window(), *files({project("one.mrv")})));
        // The drop is over before anybody is asked.
        EXPECT_EQ(application().compositions.count(), 2u);
        frame();
    };
    answered("Cancel");
    EXPECT_EQ(composition().compName(), "Sunrise");
    answered("OK");
    EXPECT_EQ(composition().compName(), "Dropped");
}

TEST_F(ProjectDropTest, AFileThatIsNoProjectInsideSaysSo) {
    ASSERT_TRUE(drop(window(), *files({garbage("broken.mrv")})));
    ASSERT_TRUE(eventually([this] { return !bad().isEmpty(); }));
    EXPECT_TRUE(bad().startsWith("The project could not be opened")) << bad().toStdString();
    EXPECT_TRUE(bad().contains(QStringLiteral("broken.mrv"))) << bad().toStdString();
    EXPECT_EQ(beeps, 1);
}

TEST_F(ProjectDropTest, OtherThingsAreNotTaken) {
    load();
    EXPECT_FALSE(drop(window(), *files({garbage("notes.txt")})));
    EXPECT_FALSE(drop(window(), *files({project("one.mrv"), project("two.mrv")})));
    EXPECT_FALSE(drop(window(), *files({project("one.mrv")}), Qt::MoveAction));
    EXPECT_FALSE(drop(*table().viewport(), *files({garbage("notes.txt")})));
    QMimeData far;
    far.setUrls({QUrl(QStringLiteral("https://example.org/one.mrv"))});
    EXPECT_FALSE(drop(window(), far));
    frame();
    EXPECT_EQ(composition().compName(), "Sunrise");
}
