// Runs what is posted to the main thread inside the toolkit's loop.
//
// The wake descriptor and the next deadline are watched; after each pump the listener is told, so that a view
// can let go of what the posted work has removed before anything is painted. Main thread.
#pragma once

#include "platform/MainThread.h"

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

#include <functional>

namespace marvo::ui {

class MainThreadPump : public QObject {
public:
    explicit MainThreadPump(MainThread& mainThread, const Clock& clock);

    std::function<void()> onPumped;
    void pump();

private:
    MainThread& mainThread_;
    const Clock& clock_;
    QSocketNotifier notifier_;
    QTimer timer_;
};

} // namespace marvo::ui
