// Keeps the unsaved project as a rescue copy while it is being worked on, so that a crash or a power cut
// costs little work.
//
// The project is taken down on the main thread, which is as busy meanwhile as it is for a save; the disk is
// waited for by a thread of the keeper's own. A copy lives as long as its changes are unsaved: a save takes
// it away, and so does the answer that they may go, once they have gone. Main thread.
#pragma once

#include "app/AppDelegate.h"
#include "platform/Clock.h"
#include "platform/SerialQueue.h"
#include "ui/RescueCopies.h"

#include <atomic>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace marvo::ui {

class RescueKeeper {
public:
    // Between two copies; longer for projects that take long to be taken down, which the window would notice.
    static constexpr Duration interval = Duration::ofSeconds(20);
    static constexpr std::int64_t restPerWork = 200;
    // Of projects that others have replaced without a question, within one run.
    static constexpr std::size_t mostLeft = 10;

    // One copy on its way through the keeper.
    struct Copy {
        RescueCopies::Held held;               // belongs to the queue
        std::atomic<std::uint64_t> written{0}; // changes that it has
        bool begun = false;                    // main thread: it is to be written, or was
    };

    // log: any thread. All outlive the keeper.
    RescueKeeper(AppDelegate& application, const RescueCopies& copies,
                 std::function<void(const std::string& line)> log);
    ~RescueKeeper(); // writes and removes what was begun
    RescueKeeper(const RescueKeeper&) = delete;
    RescueKeeper& operator=(const RescueKeeper&) = delete;

    // Writes a copy when there are changes that the last one does not have, and it is old enough. Call it
    // every few seconds. False while the disk still takes what came before.
    bool follow(const Clock& clock);
    struct Written {
        std::string file;
        std::string error; // empty when the copy is on the disk
    };
    // Returns when the copy is on the disk. Without a file and without an error there was nothing to keep.
    Written keepNow();
    // The changes may go: what there is now is not copied any more.
    void giveUp();
    // They have not gone after all.
    void keepOn() { givenUpAt_.reset(); }
    // The changes are saved, or have gone by the answer of the user.
    void forget();
    // A project takes the place of the present one, which still stands. Where nobody was asked, its copy
    // waits for the next start, with its last changes.
    void leave();
    // The present project is that of this copy.
    void takeUp(std::shared_ptr<Copy> copy);

    bool isWriting() const { return waiting_.load() > 0; }

private:
    struct Picture;

    bool isGivenUp() const { return givenUpAt_ == application_.changeCount(); }
    bool hasNews() const;
    Picture picture(ProjectFile::WindowPicture window);
    void write(ProjectFile::WindowPicture window);
    std::string writeNow(const Picture& picture); // on the queue
    void onQueue(std::function<void()> work);
    void say(const std::string& error); // on the queue

    AppDelegate& application_;
    const RescueCopies& copies_;
    const std::function<void(const std::string&)> log_;
    std::shared_ptr<Copy> copy_;
    std::deque<std::shared_ptr<Copy>> left_;
    std::optional<std::uint64_t> givenUpAt_;
    std::optional<MonotonicTime> next_;
    std::atomic<int> waiting_{0};
    std::string said_; // queue
    // Goes first: what waits in it uses the rest.
    SerialQueue queue_{"rescue copies", QueueRank::rescueCopies};
};

} // namespace marvo::ui
