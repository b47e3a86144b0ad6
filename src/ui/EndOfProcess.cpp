#include "ui/EndOfProcess.h"

#include <QGuiApplication>
#include <QSocketNotifier>

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace marvo::ui {
namespace {

constexpr std::array<int, 3> endSignals{SIGTERM, SIGINT, SIGHUP};
std::array<struct sigaction, endSignals.size()> before;
int readEnd = -1;
volatile std::sig_atomic_t writeEnd = -1;

// In a signal handler: nothing but a write.
void passOn(int) {
    const int saved = errno;
    const char byte = 1;
    [[maybe_unused]] const ssize_t written = ::write(writeEnd, &byte, 1);
    errno = saved;
}

} // namespace

EndOfProcess::EndOfProcess() {
    int ends[2] = {-1, -1};
    if (::pipe2(ends, O_CLOEXEC | O_NONBLOCK) == 0) {
        readEnd = ends[0];
        writeEnd = ends[1];
        notifier_ = std::make_unique<QSocketNotifier>(readEnd, QSocketNotifier::Read);
        connect(notifier_.get(), &QSocketNotifier::activated, this, [this] { signalled(); });
        struct sigaction action {};
        action.sa_handler = passOn;
        action.sa_flags = SA_RESTART;
        ::sigemptyset(&action.sa_mask);
        for (std::size_t i = 0; i < endSignals.size(); ++i) ::sigaction(endSignals[i], &action, &before[i]);
    }
    const auto asked = [this](QSessionManager&) { sessionAsks(); };
    connect(qGuiApp, &QGuiApplication::commitDataRequest, this, asked, Qt::DirectConnection);
    connect(qGuiApp, &QGuiApplication::saveStateRequest, this, asked, Qt::DirectConnection);
    qGuiApp->installEventFilter(this);
}

EndOfProcess::~EndOfProcess() {
    if (readEnd < 0) return;
    for (std::size_t i = 0; i < endSignals.size(); ++i) ::sigaction(endSignals[i], &before[i], nullptr);
    notifier_.reset();
    ::close(writeEnd);
    ::close(readEnd);
    writeEnd = readEnd = -1;
}

void EndOfProcess::signalled() {
    std::array<char, 64> bytes;
    while (::read(readEnd, bytes.data(), bytes.size()) > 0) {
    }
    end();
}

void EndOfProcess::sessionAsks() {
    sessionAsked_ = true;
    if (onKeepUnsaved) onKeepUnsaved();
}

bool EndOfProcess::eventFilter(QObject* watched, QEvent* event) {
    // The session's last word. Left to the toolkit it would close the windows, and those would ask.
    if (watched == qGuiApp && event->type() == QEvent::Quit && sessionAsked_) {
        end();
        return true;
    }
    return QObject::eventFilter(watched, event);
}

void EndOfProcess::end() {
    if (onKeepUnsaved) onKeepUnsaved();
    if (onEnd) onEnd();
}

} // namespace marvo::ui
