#include "ui/RescueKeeper.h"

#include <algorithm>
#include <exception>
#include <utility>

namespace marvo::ui {

// What a copy is written from. The project is shared, so that it is freed where it is written.
struct RescueKeeper::Picture {
    std::shared_ptr<Copy> copy;
    std::shared_ptr<const PropertyList> project;
    std::string name;
    std::optional<std::string> original;
    std::uint64_t changes = 0;
};

RescueKeeper::RescueKeeper(AppDelegate& application, const RescueCopies& copies,
                           std::function<void(const std::string& line)> log)
    : application_(application), copies_(copies), log_(std::move(log)), copy_(std::make_shared<Copy>()) {}

RescueKeeper::~RescueKeeper() {
    queue_.drain();
}

bool RescueKeeper::hasNews() const {
    return application_.hasUnsavedChanges() && !isGivenUp() &&
           copy_->written.load() != application_.changeCount();
}

bool RescueKeeper::follow(const Clock& clock) {
    if (isWriting()) return false;
    const MonotonicTime now = clock.now();
    if (!hasNews() || (next_ && now < *next_)) return true;
    write(ProjectFile::WindowPicture::ofBefore);
    const Duration work = clock.now() - now;
    next_ = now + std::max(interval, work * restPerWork);
    return true;
}

RescueKeeper::Picture RescueKeeper::picture(ProjectFile::WindowPicture window) {
    const ProjectFile& project = application_.projectFile;
    copy_->begun = true;
    return {copy_, std::make_shared<const PropertyList>(project.root(window)), project.projectName(),
            project.projectURL(), application_.changeCount()};
}

void RescueKeeper::write(ProjectFile::WindowPicture window) {
    onQueue([this, picture = picture(window)] { say(writeNow(picture)); });
}

std::string RescueKeeper::writeNow(const Picture& picture) {
    RescueCopies::Held& held = picture.copy->held;
    // Without a lock it may have been taken up by another program meanwhile.
    if (!held.file.empty() && !held.lock && !RescueCopies::use(held.file, held)) held.file.clear();
    const std::string error = copies_.write(*picture.project, picture.name, picture.original, held);
    if (error.empty()) picture.copy->written = picture.changes;
    return error;
}

void RescueKeeper::onQueue(std::function<void()> work) {
    ++waiting_;
    try {
        queue_.async([this, work = std::move(work)] {
            try {
                work();
            } catch (const std::exception& error) { // a copy is not worth the show
                say(error.what());
            }
            --waiting_;
        });
    } catch (const std::exception& error) {
        --waiting_;
        log_(std::string("no rescue copy: ") + error.what());
    }
}

RescueKeeper::Written RescueKeeper::keepNow() {
    queue_.drain(); // nothing may follow
    if (!application_.hasUnsavedChanges() || isGivenUp()) return {};
    const Picture now = picture(ProjectFile::WindowPicture::ofNow);
    return queue_.sync([&]() -> Written {
        const std::string error = writeNow(now);
        say(error);
        if (!error.empty()) return {{}, error};
        log_("unsaved changes are kept in " + now.copy->held.file);
        return {now.copy->held.file, {}};
    });
}

void RescueKeeper::giveUp() {
    givenUpAt_ = application_.changeCount();
}

void RescueKeeper::forget() {
    next_.reset();
    if (!copy_->begun) return;
    onQueue(
        [this, copy = std::exchange(copy_, std::make_shared<Copy>())] { say(copies_.remove(copy->held)); });
}

void RescueKeeper::leave() {
    if (isGivenUp()) return forget();
    // What is being written may fail, or be older.
    if (hasNews() || (isWriting() && application_.hasUnsavedChanges()))
        write(ProjectFile::WindowPicture::ofBefore);
    next_.reset();
    if (!copy_->begun) return;
    left_.push_back(std::exchange(copy_, std::make_shared<Copy>()));
    if (left_.size() <= mostLeft) return;
    onQueue([this, copy = left_.front()] { say(copies_.remove(copy->held)); });
    left_.pop_front();
}

void RescueKeeper::takeUp(std::shared_ptr<Copy> copy) {
    copy->begun = true;
    copy_ = std::move(copy);
}

void RescueKeeper::say(const std::string& error) {
    // What lasts is said once.
    if (error != said_ && !error.empty()) log_("no rescue copy: " + error);
    said_ = error;
}

} // namespace marvo::ui
