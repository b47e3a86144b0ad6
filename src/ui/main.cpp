// marvo [PROJECT.mrv] [OPTION...]: the window.
#include "headless/HeadlessHost.h"
#include "headless/LiveShow.h"
#include "ui/Desktop.h"
#include "ui/Look.h"
#include "ui/Notice.h"
#include "ui/ProgramIcon.h"

#include <QApplication>
#include <QTimer>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <unistd.h>
#include <variant>

namespace {

constexpr int statusUnusable = 1;
constexpr int statusNoRealtime = 3;

int fail(const std::string& reason, int status) {
    std::fprintf(stderr, "%s\n", reason.c_str());
    return status;
}

int failToOpen(const std::string& reason) {
    const int status = fail(reason, statusUnusable);
    // Who has started it from a desktop sees no terminal.
    if (::isatty(STDERR_FILENO) == 0) {
        const QWidget* notice = marvo::ui::Notice::show(QStringLiteral("The project could not be opened"),
                                                        QString::fromStdString(reason), nullptr);
        QObject::connect(notice, &QObject::destroyed, qApp, [] { QApplication::exit(0); });
        QApplication::exec();
    }
    return status;
}

// Whether there may be one: where a platform is named the toolkit knows better.
bool hasDisplay(int argc, char** argv) {
    for (const char* variable : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) {
        const char* value = std::getenv(variable);
        if (value && *value) return true;
    }
    return std::any_of(argv + 1, argv + argc,
                       [](std::string_view word) { return word == "-platform" || word == "--platform"; });
}

} // namespace

int main(int argc, char** argv) {
    using namespace marvo;
    std::signal(SIGPIPE, SIG_IGN);
    // Help wants no display.
    if (const CommandLine asked = parseWindowCommandLine(argc, argv);
        std::holds_alternative<std::monostate>(asked.command) && asked.status == 0) {
        std::fputs(asked.output.c_str(), stdout);
        return 0;
    }
    // The toolkit would abort.
    if (!hasDisplay(argc, argv))
        return fail("marvo: there is no display (DISPLAY and WAYLAND_DISPLAY are not set); "
                    "marvo-headless run plays a show without one",
                    statusUnusable);
    QApplication qt(argc, argv); // takes its own options out
    QApplication::setApplicationName(QStringLiteral("marvo"));
    QApplication::setDesktopFileName(QStringLiteral("marvo"));
    QApplication::setWindowIcon(ui::programIcon());
    ui::applyLook(qt, ui::Variant::dark);

    const CommandLine line = parseWindowCommandLine(argc, argv);
    const auto* options = std::get_if<RunOptions>(&line.command);
    if (!options) {
        std::fputs(line.output.c_str(), stderr);
        return line.status;
    }

    std::string error;
    const std::unique_ptr<LiveShow> show =
        LiveShow::make({options->configDir, options->preferences, options->bind, options->midi, true}, error);
    if (!show) return fail(error, statusUnusable);
    const ProjectResult loaded = show->launch(options->project);
    if (!loaded.done) return failToOpen(loaded.error);
    const RealtimeResult granted = show->startRendering({options->bestEffort, options->precise});
    if (!granted.runs()) return fail("thread_policy_set: " + granted.error, statusNoRealtime);
    int status = 0;
    {
        ui::Desktop desktop(*show, granted);
        desktop.open();
        if (options->play) pressPlayAll(show->application());
        if (options->forSeconds)
            QTimer::singleShot(static_cast<int>(*options->forSeconds * 1e3), &qt,
                               [] { QApplication::exit(0); });
        status = QApplication::exec();
    }
    show->end();
    if (options->stats) std::fputs(show->render().statisticsText(show->application()).c_str(), stdout);
    return status;
}
