// Every window of the program but the main one, opened one after the other before a full show.
#pragma once

#include "ui/AboutDialog.h"
#include "ui/CompositionSettingsDialog.h"
#include "ui/CuePopover.h"
#include "ui/Notice.h"
#include "ui/ProjectQuestions.h"
#include "ui/QuestionBox.h"
#include "ui/RangePanel.h"
#include "ui/ReportDialog.h"
#include "ui/ShortcutsWindow.h"
#include "ui/SortTracksDialog.h"

#include "Stage.h"

#include <QAbstractItemView>
#include <QComboBox>
#include <QFileDialog>
#include <QInputDialog>
#include <QMenuBar>

namespace marvo::ui::testing {

struct Dialogs : Stage {
    using Visit = std::function<void(QWidget& window, const QString& name)>;

    Dialogs() {
        load();
        clickRow(0, CompositionsModel::nameColumn);
    }
    ~Dialogs() {
        for (QWidget* one : QApplication::topLevelWidgets()) {
            if (dynamic_cast<Notice*>(one)) delete one;
        }
    }

    void eachDialog(const Visit& visit) {
        settings(visit);
        {
            SortTracksDialog dialog(application(), composition(), &window());
            shown(dialog, QStringLiteral("sort-tracks"), visit);
        }
        eachQuestion(visit);
        Notice* notice = Notice::show(
            QStringLiteral("The project could not be opened"),
            QStringLiteral("/shows/evening.mrv: this is no project: line 3: \"dict\" is not closed"),
            &window());
        shown(*notice, QStringLiteral("notice-open"), visit);
        notice->close();
        helpWindows(visit);
        startWindow(visit);
        window().rangePanel().show();
        shown(window().rangePanel(), QStringLiteral("range-panel"), visit);
        window().rangePanel().hide();
        cuePopover(visit);
        value(visit);
    }

    // The panels of the toolkit for files: theirs is the order, ours that everything is called something.
    void eachFilePanel(const Visit& visit) {
        ProjectQuestions questions(&window());
        {
            const WhenAsked asked([&](QWidget& panel) {
                visit(panel, QStringLiteral("panel-open"));
                panel.close();
            });
            questions.chooseProjectToOpen();
        }
        const WhenAsked asked([&](QWidget& panel) {
            visit(panel, QStringLiteral("panel-save"));
            panel.close();
        });
        questions.chooseFileToSave("Untitled project.mrv");
    }

    // Those that open at a press on something; the bar's are elsewhere.
    void eachContextMenu(const Visit& visit) {
        const auto opened = [&](const char* name) {
            frame();
            QMenu* menu = openMenu();
            ASSERT_TRUE(menu) << name;
            visit(*menu, QString::fromLatin1(name));
            menu->close();
            frame();
        };
        const auto asked = [](QWidget& widget, const QPoint& at) {
            QContextMenuEvent event(QContextMenuEvent::Mouse, at, QPoint(300, 300));
            QApplication::sendEvent(&widget, &event);
        };
        asked(*table().viewport(), rowOf(0, CompositionsModel::enabledColumn).center());
        opened("context-composition");
        asked(headers(), inHeader(0, HeaderPart::enable));
        opened("context-track");
        pressHeader(0, HeaderPart::output);
        opened("context-output");
        pressHeader(0, HeaderPart::oscType);
        opened("context-type");
        QTest::mouseClick(&ruler(), Qt::RightButton, {}, QPoint(200, ruler().height() - 8));
        opened("context-ruler");
        press("Add track");
        opened("context-add-track");
    }

private:
    void shown(QWidget& window, const QString& name, const Visit& visit) {
        showAndWait(window);
        QApplication::processEvents();
        visit(window, name);
    }

    void settings(const Visit& visit) {
        ProjectQuestions questions(&window());
        CompositionSettingsDialog dialog(application(), questions, composition(), &window());
        shown(dialog, QStringLiteral("composition-settings"), visit);
        for (QComboBox* popup : dialog.findChildren<QComboBox*>()) {
            if (popup->count() == 0) continue;
            popup->showPopup();
            QApplication::processEvents();
            ASSERT_TRUE(popup->view()->isVisible());
            visit(*popup->view()->window(),
                  QStringLiteral("popup-") + popup->accessibleName().toLower().replace(u' ', u'-'));
            popup->hidePopup();
        }
    }

    void eachQuestion(const Visit& visit) {
        const ProjectQuestion rescue = rescueQuestion("Evening", "2026-11-21 at 23:10");
        const std::pair<const char*, const ProjectQuestion*> all[]{
            {"question-rescue", &rescue},
            {"question-quit", &quitQuestion()},
            {"question-new", &newProjectQuestion()},
            {"question-open", &openProjectQuestion()},
            {"question-delete", &deleteCompositionQuestion()}};
        for (const auto& [name, question] : all) {
            QuestionBox box(*question, &window());
            shown(box, QString::fromLatin1(name), visit);
        }
    }

    void helpWindows(const Visit& visit) {
        ShortcutsWindow shortcuts(*window().menuBar(), &window());
        shown(shortcuts, QStringLiteral("shortcuts"), visit);
        shortcuts.close();
        ReportDialog report(running.reports(), &window());
        shown(report, QStringLiteral("report"), visit);
        report.close();
        AboutDialog about(&window());
        shown(about, QStringLiteral("about"), visit);
    }

    void startWindow(const Visit& visit) {
        {
            RecentProjects none(show().file("nobody"));
            StartWindow empty(desktop->commands(), none, application().prefs, running.preferences());
            shown(empty, QStringLiteral("start-window-empty"), visit);
        }
        for (const char* name : {"morning", "noon", "evening", "night"}) {
            EXPECT_TRUE(
                application().projectFile.processSaveWithURL(show().file(std::string(name) + ".mrv")).done);
        }
        choose("Start Window");
        StartWindow& full = desktop->startWindow();
        for (std::size_t i = 0; i < 4; ++i)
            ASSERT_TRUE(eventually([&] { return !full.recentView(i).image().isNull(); })) << i;
        visit(full, QStringLiteral("start-window"));
        full.close();
    }

    void cuePopover(const Visit& visit) {
        view().cues().onOpenCue(composition().cueController.cues().cueAtIndex(0)->id, QPoint(300, 300));
        QWidget* popover = QApplication::activePopupWidget();
        ASSERT_TRUE(dynamic_cast<CuePopover*>(popover));
        visit(*popover, QStringLiteral("cue-popover"));
        popover->close();
    }

    void value(const Visit& visit) {
        pressHeader(0, HeaderPart::name);
        composition().transport.markerDraggedToTime(show().track(0).keyframes().store().all().front().time);
        const WhenAsked asked([&](QWidget& dialog) {
            visit(dialog, QStringLiteral("value"));
            dialog.close();
        });
        choose(QStringLiteral("Set Value at Playhead\u2026"));
    }
};

} // namespace marvo::ui::testing
