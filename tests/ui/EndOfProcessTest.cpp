// The program is ended from outside: nothing asks, nothing unsaved is lost.
#include "ui/EndOfProcess.h"
#include "ui/ProjectQuestions.h"

#include "Commands.h"
#include "Windows.h"

#include <QCloseEvent>

#include <csignal>

using namespace marvo;
using namespace marvo::ui;
using namespace marvo::ui::testing;

namespace {

struct EndOfProcessTest : ::testing::Test, Commands {
    EndOfProcessTest() {
        application().newProject();
        application().projectChanged();
        end.onKeepUnsaved = [this] { commands.endWithoutAsking(); };
        end.onEnd = [this] { ++ends; };
    }
    EndOfProcess end;
    int ends = 0;
};

// Refuses to close, so that the test program goes on.
class Staying final : public QWidget {
public:
    int askedToClose = 0;

protected:
    void closeEvent(QCloseEvent* event) override {
        ++askedToClose;
        event->ignore();
    }
};

} // namespace

TEST_F(EndOfProcessTest, EachEndingSignalKeepsWhatIsUnsavedAndEnds) {
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        ends = 0;
        ASSERT_EQ(std::raise(signal), 0);
        EXPECT_TRUE(eventually([&] { return ends == 1; })) << "signal " << signal;
        EXPECT_EQ(keptCopies().size(), 1u);
    }
}

TEST_F(EndOfProcessTest, ASignalWhileAQuestionStandsEndsItWithoutAnAnswer) {
    ProjectQuestions questions(nullptr);
    ProjectCommands asking(application(), questions, recents, rescues);
    end.onKeepUnsaved = [&] { asking.endWithoutAsking(); };
    end.onEnd = [&] {
        ++ends;
        questions.closeAll();
    };
    const WhenAsked asked([](QWidget& dialog) {
        std::raise(SIGTERM);
        eventually([&] { return !dialog.isVisible(); });
    });
    EXPECT_FALSE(asking.applicationShouldTerminate());
    EXPECT_EQ(ends, 1);
    EXPECT_EQ(keptCopies().size(), 1u);
}

TEST_F(EndOfProcessTest, TheSessionsEndIsNotAskedAbout) {
    QEvent quit(QEvent::Quit);
    end.sessionAsks();
    EXPECT_EQ(ends, 0) << "the session may still change its mind";
    EXPECT_EQ(keptCopies().size(), 1u);
    Staying window;
    showAndWait(window);
    QCoreApplication::sendEvent(qApp, &quit);
    EXPECT_EQ(ends, 1);
    EXPECT_EQ(window.askedToClose, 0);
    EXPECT_TRUE(person.asked.empty());
}

TEST_F(EndOfProcessTest, WithoutASessionTheToolkitQuitsAsUsual) {
    QEvent quit(QEvent::Quit);
    Staying window;
    showAndWait(window);
    QCoreApplication::sendEvent(qApp, &quit);
    EXPECT_EQ(ends, 0);
    EXPECT_EQ(window.askedToClose, 1);
}
