// What a composition asks of the application that holds it.
//
// The application implements this; a test can make its own. Operations are called with the composition queue
// held unless said otherwise, so none of them may wait for the main thread.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace marvo {

class MarvoTimelineController;

class CompositionApplication {
public:
    virtual ~CompositionApplication() = default;

    // Solo mode: stops every composition, and blacks out where asked. Runs before a composition sets itself
    // running.
    virtual void handleSoloMode() = 0;
    virtual bool isSoloMode() const = 0;
    virtual bool isQueuedMode() const = 0;
    virtual bool isQueuedLoop() const = 0;
    virtual bool isPlayAllOn() const = 0;

    // Takes the play-all button back to off when the queue has played out. Called from the tick: the state
    // changes at once, what hangs on it (feedback, drawing) follows on the main thread.
    virtual void switchPlayAllOff() = 0;

    virtual MarvoTimelineController* currentQueuedComposition() const = 0;
    virtual void setCurrentQueuedComposition(MarvoTimelineController* composition) = 0;

    // A run of the composition has ended or wrapped. Main thread.
    virtual void compositionEnds(MarvoTimelineController& composition) = 0;

    virtual MarvoTimelineController* selectedComposition() const = 0;
    // Position in the list from 0, and 0 when it is not in the list.
    virtual std::int64_t
    compositionIndexOfTimelineController(const MarvoTimelineController& composition) const = 0;
    virtual bool isAvailableCompName(std::string_view name, bool ignoreCurrent) const = 0;
    // In list order. Main thread.
    virtual std::vector<std::string> compositionNames() const = 0;

    virtual bool isProjectLocked() const = 0;
    // Set while a project loads: tracks then do not send their state after a settings change.
    virtual bool shouldIgnoreRendering() const = 0;
    virtual bool ignorePlayButtonsOnLoading() const = 0;

    virtual void startRecord(MarvoTimelineController& composition) = 0;
    virtual void stopRecord() = 0;
    // The composition goes; it must not be recorded into any more. Main thread, no queue held.
    virtual void forgetRecording(const MarvoTimelineController& composition) = 0;

    virtual void updateInfoDisplay() = 0;
    virtual void beep() = 0;
};

} // namespace marvo
