#include "ui/RescueKeeper.h"

#include <algorithm>
#include <system_error>
#include <utility>

namespace marvo::ui {

RescueKeeper::RescueKeeper(AppDelegate& application, const RescueCopies& copies,
                           std::function<void(const std::string& line)> log)
    : application_(application), copies_(copies), log_(std::move(log)),
      held_(std::make_shared<RescueCopies::Held>()) {}

RescueKeeper::~RescueKeeper() {
    queue_.drain();
}

bool RescueKeeper::hasNews() const {
    const std::uint64_t changes = application_.changeCount();
    return application_.hasUnsavedChanges() && changes != kept_ && changes != givenUpAt_;
}

bool RescueKeeper::follow(const Clock& clock) {
    if (isWriting()) return false;
    if (failed_.exchange(false)) kept_ = 0;
    const MonotonicTime now = clock.now();
    if (!hasNews() || (next_ && now < *next_)) return true;
    write(ProjectFile::WindowPicture::ofBefore);
    const Duration work = clock.now() - now;
    next_ = now + std::max(interval, work * restPerWork);
    return true;
}

void RescueKeeper::write(ProjectFile::WindowPicture picture) {
    const ProjectFile& project = application_.projectFile;
    kept_ = application_.changeCount();
    givenUpAt_.reset();
    failed_ = false;
    // Shared, so that it is freed where it is written.
    onQueue([this, held = held_, root = std::make_shared<const PropertyList>(project.root(picture)),
             name = project.projectName(), url = project.projectURL()] {
        // Without a lock it may have been taken up by another program meanwhile.
        if (!held->file.empty() && !held->lock && !RescueCopies::use(held->file, *held)) held->file.clear();
        const std::string error = copies_.write(*root, name, url, *held);
        if (!error.empty()) failed_ = true;
        say(error);
    });
}

void RescueKeeper::onQueue(std::function<void()> work) {
    ++waiting_;
    try {
        queue_.async([this, work = std::move(work)] {
            work();
            --waiting_;
        });
    } catch (const std::system_error& error) {
        --waiting_;
        failed_ = true;
        log_(std::string("no rescue copy: ") + error.what());
    }
}

RescueKeeper::Written RescueKeeper::keepNow() {
    if (!application_.hasUnsavedChanges() || application_.changeCount() == givenUpAt_) return {};
    write(ProjectFile::WindowPicture::ofNow);
    queue_.drain();
    return queue_.sync([this]() -> Written {
        if (failed_) return {{}, said_};
        log_("unsaved changes are kept in " + held_->file);
        return {held_->file, {}};
    });
}

void RescueKeeper::giveUp() {
    givenUpAt_ = application_.changeCount();
}

void RescueKeeper::forget() {
    kept_ = 0;
    next_.reset();
    onQueue([this, held = std::exchange(held_, std::make_shared<RescueCopies::Held>())] {
        say(copies_.remove(*held));
    });
}

void RescueKeeper::leave() {
    if (application_.changeCount() == givenUpAt_) return forget();
    if (hasNews()) write(ProjectFile::WindowPicture::ofBefore);
    left_.push_back(std::exchange(held_, std::make_shared<RescueCopies::Held>()));
    if (left_.size() > mostLeft) {
        onQueue([this, held = left_.front()] { say(copies_.remove(*held)); });
        left_.pop_front();
    }
    kept_ = 0;
    next_.reset();
}

void RescueKeeper::say(const std::string& error) {
    // What lasts is said once.
    if (error != said_ && !error.empty()) log_("no rescue copy: " + error);
    said_ = error;
}

} // namespace marvo::ui
