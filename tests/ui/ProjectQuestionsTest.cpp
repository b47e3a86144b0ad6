// The questions and panels as they stand on the screen.
#include "ui/ProjectQuestions.h"
#include "ui/Notice.h"
#include "ui/QuestionBox.h"

#include "Windows.h"

#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTemporaryDir>

using namespace marvo::ui;
using namespace marvo::ui::testing;

namespace {

struct ProjectQuestionsTest : ::testing::Test {
    ~ProjectQuestionsTest() override {
        for (QWidget* window : QApplication::topLevelWidgets()) {
            if (dynamic_cast<Notice*>(window)) delete window;
        }
    }
    ProjectQuestions questions{nullptr};
};

std::vector<QString> textsOf(QWidget& dialog) {
    std::vector<QString> texts;
    for (const QLabel* label : dialog.findChildren<QLabel*>()) texts.push_back(label->text());
    return texts;
}

// From the left, as they are read out; "&&" is drawn as one.
std::vector<QString> buttonsOf(QWidget& dialog) {
    QList<QPushButton*> buttons = dialog.findChildren<QPushButton*>();
    std::sort(buttons.begin(), buttons.end(), [](auto* a, auto* b) { return a->x() < b->x(); });
    std::vector<QString> titles;
    for (const QPushButton* button : buttons) {
        titles.push_back(button->accessibleName());
        EXPECT_EQ(button->text(), QString(titles.back()).replace(u'&', QStringLiteral("&&")));
    }
    return titles;
}

std::vector<Notice*> notices() {
    std::vector<Notice*> found;
    for (QWidget* window : QApplication::topLevelWidgets()) {
        auto* notice = dynamic_cast<Notice*>(window);
        if (notice && notice->isVisible()) found.push_back(notice);
    }
    return found;
}

} // namespace

TEST_F(ProjectQuestionsTest, EachQuestionShowsItsTextAndItsButtonsInOrder) {
    const ProjectQuestion rescue = rescueQuestion("Evening", "2026-11-21 at 23:10");
    const std::vector<std::pair<QString, const ProjectQuestion*>> all{
        {QStringLiteral("question-rescue"), &rescue},
        {QStringLiteral("question-quit"), &quitQuestion()},
        {QStringLiteral("question-new"), &newProjectQuestion()},
        {QStringLiteral("question-open"), &openProjectQuestion()},
        {QStringLiteral("question-delete"), &deleteCompositionQuestion()}};
    for (const auto& [name, question] : all) {
        const WhenAsked asked([&, name = name, question = question](QWidget& dialog) {
            EXPECT_EQ(textsOf(dialog), (std::vector<QString>{QString::fromStdString(question->message),
                                                             QString::fromStdString(question->text)}));
            std::vector<QString> expected;
            for (const std::string& title : question->buttons)
                expected.push_back(QString::fromStdString(title));
            EXPECT_EQ(buttonsOf(dialog), expected);
            keepPicture(dialog, name);
            dialog.close();
        });
        EXPECT_EQ(questions.ask(*question), Answer::cancel);
    }
}

TEST_F(ProjectQuestionsTest, EachButtonGivesItsAnswer) {
    for (const Answer answer : {Answer::ok, Answer::cancel, Answer::third}) {
        const WhenAsked asked(
            [answer](QWidget& dialog) { click(*dynamic_cast<QuestionBox&>(dialog).button(answer)); });
        EXPECT_EQ(questions.ask(quitQuestion()), answer);
    }
}

TEST_F(ProjectQuestionsTest, EscapeCancels) {
    const WhenAsked asked([](QWidget& dialog) { QTest::keyClick(&dialog, Qt::Key_Escape); });
    EXPECT_EQ(questions.ask(quitQuestion()), Answer::cancel);
}

TEST_F(ProjectQuestionsTest, TheReturnKeySavesAndNeverLosesOrDeletes) {
    const auto answerByReturn = [this](const ProjectQuestion& question) {
        const WhenAsked asked([](QWidget& dialog) { QTest::keyClick(&dialog, Qt::Key_Return); });
        return questions.ask(question);
    };
    EXPECT_EQ(answerByReturn(quitQuestion()), Answer::third);
    EXPECT_EQ(answerByReturn(newProjectQuestion()), Answer::third);
    EXPECT_EQ(answerByReturn(openProjectQuestion()), Answer::third);
    EXPECT_EQ(answerByReturn(deleteCompositionQuestion()), Answer::cancel);
}

TEST_F(ProjectQuestionsTest, WhenTheProcessEndsAnOpenQuestionEndsAsACancel) {
    {
        const WhenAsked asked([this](QWidget&) { questions.closeAll(); });
        EXPECT_EQ(questions.ask(quitQuestion()), Answer::cancel);
    }
    const WhenAsked asked([this](QWidget&) { questions.closeAll(); });
    EXPECT_FALSE(questions.chooseProjectToOpen());
}

TEST_F(ProjectQuestionsTest, ThePanelsTakeProjectFilesAlone) {
    const WhenAsked asked([](QWidget& panel) {
        auto& dialog = dynamic_cast<QFileDialog&>(panel);
        EXPECT_EQ(dialog.nameFilters(), QStringList(QStringLiteral("Marvo projects (*.mrv)")));
        EXPECT_EQ(dialog.fileMode(), QFileDialog::ExistingFile);
        dialog.close();
    });
    EXPECT_FALSE(questions.chooseProjectToOpen());
}

TEST_F(ProjectQuestionsTest, ASavedNameAlwaysEndsAsAProjectDoes) {
    const QTemporaryDir folder;
    const auto saveAs = [&](const QString& typed) {
        const WhenAsked asked([typed](QWidget& panel) {
            auto* field = panel.findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
            ASSERT_TRUE(field);
            type(*field, typed);
            QTest::keyClick(field, Qt::Key_Return);
        });
        return questions.chooseFileToSave(
            (folder.path() + QStringLiteral("/Untitled project.mrv")).toStdString());
    };
    const std::string base = folder.path().toStdString();
    EXPECT_EQ(saveAs(QStringLiteral("one")), base + "/one.mrv");
    EXPECT_EQ(saveAs(QStringLiteral("two.mrv")), base + "/two.mrv");
    EXPECT_EQ(saveAs(QStringLiteral("three.txt")), base + "/three.txt.mrv");
}

TEST_F(ProjectQuestionsTest, ANoticeNeitherWaitsNorTakesTheKeyboardNorStacks) {
    QWidget window;
    showAndWait(window);
    const std::string text =
        "/shows/evening.mrv: cannot be written: No space left on device\n\nNothing is lost: the "
        "project is still open with all its changes. Save it again, or to another place.";
    questions.tell("The project could not be saved", text);
    questions.tell("The project could not be saved", text);
    ASSERT_EQ(notices().size(), 1u);
    Notice& notice = *notices()[0];
    EXPECT_FALSE(notice.isModal());
    EXPECT_TRUE(notice.testAttribute(Qt::WA_ShowWithoutActivating));
    keepPicture(notice, QStringLiteral("notice"));
    click(*notice.findChild<QPushButton*>());
    EXPECT_TRUE(notices().empty());
}
