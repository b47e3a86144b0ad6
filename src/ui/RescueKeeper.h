// Keeps the unsaved project as a rescue copy while it is being worked on, so that a crash or a power cut
// costs seconds of work at most.
//
// The picture of the project is taken on the main thread, the file is written beside it; neither holds up the
// show. A copy lives as long as its changes are unsaved: a save, or an answer that gives them up, takes it
// away. Main thread.
#pragma once

#include "app/AppDelegate.h"
#include "platform/Clock.h"
#include "ui/RescueCopies.h"

#include <cstdint>
#include <future>
#include <optional>
#include <string>

namespace marvo::ui {

class RescueKeeper {
public:
    // Time between two copies; longer for projects whose picture takes long, which the window would notice.
    static constexpr Duration interval = Duration::ofSeconds(20);
    static constexpr std::int64_t restPerWork = 200;

    // Both outlive the keeper.
    RescueKeeper(AppDelegate& application, RescueCopies& copies)
        : application_(application), copies_(copies) {}
    ~RescueKeeper();
    RescueKeeper(const RescueKeeper&) = delete;
    RescueKeeper& operator=(const RescueKeeper&) = delete;

    // Writes a copy when there are changes that the last one does not have, and it is old enough. Call it
    // every few seconds.
    void follow(const Clock& clock);
    // Returns when the copy is on the disk. Without a file and without an error there was nothing to keep.
    // From then on it may be offered, also by another run.
    RescueCopies::Written keepNow();
    // The changes are saved or given up.
    void forget();
    // Another project takes the place of this one, and nobody was asked: its copy waits for the next start.
    // Of several such projects of one run the last.
    void leave();
    // The present project was opened from this copy.
    void takeUp(const std::string& file);

    bool isWriting() const;

private:
    void finish();
    void say(const std::string& error);

    AppDelegate& application_;
    RescueCopies& copies_;
    std::string file_;       // copy of the present project, empty when there is none
    std::string left_;       // copy of a project that was left
    std::uint64_t kept_ = 0; // changes that the copy has
    std::optional<MonotonicTime> next_;
    std::future<RescueCopies::Written> writing_;
    std::string said_;
};

} // namespace marvo::ui
