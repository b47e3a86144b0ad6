#include "ui/Desktop.h"

#include "ui/Notice.h"
#include "ui/ProjectDrop.h"
#include "ui/Quicklook.h"
#include "ui/StatusLine.h"
#include "ui/WindowFrame.h"

#include <QApplication>

#include <chrono>
#include <cstdio>

namespace marvo::ui {

Desktop::Desktop(RunningShow& show, const RealtimeResult& granted)
    : show_(show), application_(show.application()), recents_(show.paths().state),
      rescues_(show.paths().state), commands_(application_, questions_, recents_, rescues_),
      places_(show.paths().state), window_(show, granted, commands_, questions_, range_),
      range_(application_, &window_), start_(commands_, recents_, application_.prefs, show.preferences()),
      pump_(show.mainThread(), show.clock()) {
    questions_.setWindow(&window_);
    application_.projectFile.windowImage = [this] { return windowImageForProjectSave(&window_); };
    application_.projectFile.windowFrame = [this] { return windowFrameText(window_); };
    application_.projectFile.windowFrameLoaded = [this](const std::string& text) { placeWindow(text); };
    application_.onBeep = [] { QApplication::beep(); };
    commands_.onProjectComes = [this] {
        start_.hide();
        window_.raise();
        window_.activateWindow();
    };
    commands_.onTitle = [this] { window_.follow(); };
    commands_.onRecentsChanged = [this] { start_.buildRecentsViews(); };
    commands_.onRepairs = [this](const LoadReport& report) {
        const auto& lines = report.lines();
        if (lines.empty()) return;
        window_.status().say(QStringLiteral("%1 repairs while loading; see the log").arg(lines.size()), true);
    };
    range_.onSelected = [this] { window_.refreshAll(); };
    range_.onVisible = [this](bool visible) { window_.rangePanelShown(visible); };
    window_.onFollowed = [this] {
        if (range_.isVisible()) range_.follow();
    };
    window_.onStartWindow = [this] {
        start_.buildRecentsViews();
        start_.adjustSize();
        start_.move(window_.frameGeometry().center() - start_.rect().center());
        start_.show();
        start_.raise();
    };
    new ProjectDrop(commands_, window_);
    new ProjectDrop(commands_, start_);
    places_.follow(window_, "main");
    places_.follow(range_, "range");
    end_.onKeepUnsaved = [this] { commands_.endWithoutAsking(); };
    end_.onEnd = [this] { endNow(); };
    displayLoss_.onLost = [this] { displayLost(); };
    pump_.onPumped = [this] { follow(); };
    QObject::connect(&keepRescueCopy_, &QTimer::timeout, &window_,
                     [this] { commands_.keepRescueCopy(show_.clock()); });
    keepRescueCopy_.start(std::chrono::seconds(3));
}

Desktop::~Desktop() {
    pump_.onPumped = nullptr;
    window_.onFollowed = nullptr;
    application_.projectFile.windowImage = nullptr;
    application_.projectFile.windowFrame = nullptr;
    application_.projectFile.windowFrameLoaded = nullptr;
    application_.onBeep = nullptr;
    application_.setAlertHandler(nullptr);
    const std::string error = places_.save();
    if (!error.empty()) show_.log().log(error);
}

void Desktop::open() {
    // A project that was loaded before there was a window.
    if (const auto& url = application_.projectFile.projectURL()) {
        placeWindow(application_.windowFrame);
        application_.projectFile.becameProject(*url);
    }
    window_.QWidget::show();
    if (application_.prefs.number("rangeSelectPanelVisible") == 1) range_.show();
    if (application_.compositions.count() == 0 && StartWindow::isWanted(show_.preferences()))
        window_.onStartWindow();
    application_.setAlertHandler([this](const std::string& title, const std::string& text) {
        Notice::show(QString::fromStdString(title), QString::fromStdString(text), &window_);
    });
    QTimer::singleShot(0, &window_, [this] { commands_.offerRescuedCopies(); });
}

void Desktop::placeWindow(const std::string& text) {
    const std::optional<QRect> frame = windowFrameFrom(text);
    if (frame && !setWindowFrame(window_, *frame)) application_.logLine("fullscreen mode on load");
}

void Desktop::follow() {
    window_.follow();
}

void Desktop::endNow() {
    questions_.closeAll();
    window_.keepPanels();
    // Not quit(), which closes the windows first, and those would ask.
    QApplication::exit(0);
}

void Desktop::displayLost() {
    // The toolkit is past painting.
    application_.projectFile.windowImage = nullptr;
    application_.projectFile.windowFrame = nullptr;
    // The work first: until it is kept the show plays on as it would have.
    const RescueKeeper::Written kept = commands_.endWithoutAsking();
    show_.endAtOnce();
    std::string text = "The display is gone. The show has ended, and nothing sounds any more.\n";
    if (!kept.file.empty())
        text += "Unsaved changes are kept in " + kept.file + "; the next start offers them.\n";
    if (!kept.error.empty()) text += "Unsaved changes could not be kept: " + kept.error + "\n";
    if (kept.file.empty() && kept.error.empty()) text += "There were no unsaved changes.\n";
    show_.log().log("the display is gone");
    // Waits for the lines on their way, for a second at most.
    static_cast<void>(show_.log().logFileContents(0));
    std::fputs(text.c_str(), stderr);
}

} // namespace marvo::ui
