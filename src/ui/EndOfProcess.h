// How the process is ended from outside: a signal, or the end of the desktop's session.
//
// No question is asked there. Signals reach the main thread through a pipe, inside whatever loop runs, also
// that of an open question. One in a process. Main thread.
#pragma once

#include <QObject>

#include <functional>
#include <memory>

class QSocketNotifier;

namespace marvo::ui {

class EndOfProcess : public QObject {
public:
    // Takes SIGTERM, SIGINT and SIGHUP over, and the session manager's requests of the application object,
    // which must be there.
    EndOfProcess();
    ~EndOfProcess() override;

    // Keep what is unsaved. After a session's request the program may live on.
    std::function<void()> onKeepUnsaved;
    // The end itself, by a signal or by the session; comes after onKeepUnsaved.
    std::function<void()> onEnd;

    // As the session manager asks, at its end or to keep the state of now.
    void sessionAsks();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void signalled();
    void end();

    std::unique_ptr<QSocketNotifier> notifier_;
    bool sessionAsked_ = false;
};

} // namespace marvo::ui
