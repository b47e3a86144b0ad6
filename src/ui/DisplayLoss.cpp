#include "ui/DisplayLoss.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <QString>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <unistd.h>
#include <utility>

namespace marvo::ui {
namespace {

DisplayLoss* guard = nullptr;
// While a guard stands and until its work is done.
std::atomic<bool> isGuarded{false};
std::atomic<std::chrono::milliseconds> longestHold;
std::thread::id owner;
QtMessageHandler printMessage = nullptr;

void displayLost() {
    if (!guard || std::this_thread::get_id() != owner) return;
    DisplayLoss* const now = std::exchange(guard, nullptr);
    if (now->onLost) now->onLost();
    std::fflush(nullptr);
    ::_exit(DisplayLoss::exitStatus);
}

// On another thread, which ends the process as soon as it gets back: it is kept here.
void holdForTheOwner() {
    const auto end = std::chrono::steady_clock::now() + longestHold.load();
    // It may be told by the toolkit itself, or be at rest and never look.
    if (QCoreApplication* application = QCoreApplication::instance())
        QMetaObject::invokeMethod(application, displayLost, Qt::QueuedConnection);
    while (isGuarded && std::chrono::steady_clock::now() < end)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
}

void messageCame(QtMsgType type, const QMessageLogContext& context, const QString& message) {
    if (printMessage) printMessage(type, context, message);
    if (message.startsWith(QLatin1String("The X11 connection broke")) ||
        message.startsWith(QLatin1String("The Wayland connection "))) {
        if (std::this_thread::get_id() == owner)
            displayLost();
        else
            holdForTheOwner();
    }
}

} // namespace

DisplayLoss::DisplayLoss(std::chrono::milliseconds longest) {
    // What is registered later runs earlier: before the toolkit takes itself down.
    static const int registered = std::atexit(displayLost);
    static_cast<void>(registered);
    owner = std::this_thread::get_id();
    guard = this;
    longestHold = longest;
    isGuarded = true;
    printMessage = qInstallMessageHandler(messageCame);
}

DisplayLoss::~DisplayLoss() {
    qInstallMessageHandler(printMessage);
    guard = nullptr;
    isGuarded = false;
}

} // namespace marvo::ui
