// A show that runs in this process, as a front end sees it: the application, what surrounds it, and its
// troubles.
//
// Apart from what is real about a live one, so that a window also stands before a show on a virtual clock.
// Main thread.
#pragma once

#include "app/AppDelegate.h"
#include "app/Reports.h"
#include "headless/RunStatistics.h"
#include "headless/ShowTroubles.h"
#include "platform/Log.h"
#include "platform/MainThread.h"
#include "platform/Paths.h"
#include "platform/PreferenceStore.h"

#include <functional>
#include <string>
#include <string_view>

namespace marvo {

class RunningShow {
public:
    RunningShow() = default;
    virtual ~RunningShow() = default;
    RunningShow(const RunningShow&) = delete;
    RunningShow& operator=(const RunningShow&) = delete;

    virtual MainThread& mainThread() = 0;
    virtual AppDelegate& application() = 0;
    virtual PreferenceStore& preferences() = 0;
    virtual Log& log() = 0;
    virtual const Reports& reports() const = 0;
    virtual const Clock& clock() const = 0;
    virtual const Paths& paths() const = 0;
    virtual const RunStatistics& statistics() const = 0;
    // Of the sound system: jack, alsa, or none.
    virtual std::string_view midiKind() const = 0;
    // Ends all playback and the rendering. What ends the notes is on its way when it returns, and has left
    // when the show is gone.
    virtual void end() = 0;
    // The same where nothing can be taken down any more: also waits, 50 ms at most, until the ends of all
    // notes have left. Nothing but _exit may follow.
    virtual void endAtOnce() = 0;

    const ShowTroubles& troubles() const { return troubles_; }
    // Art-Net or a sound system has got into trouble, or out of it (empty reason).
    std::function<void(const std::string& name, const std::string& reason)> onTrouble;
    std::function<void(const OutputTrouble&)> onOutputTrouble;

    // Keeps the trouble and calls those above.
    void tell(const std::string& name, const std::string& reason) {
        troubles_.set(name, reason);
        if (onTrouble) onTrouble(name, reason);
    }
    void tell(const OutputTrouble& trouble) {
        troubles_.set(trouble);
        if (onOutputTrouble) onOutputTrouble(trouble);
    }

private:
    ShowTroubles troubles_;
};

} // namespace marvo
