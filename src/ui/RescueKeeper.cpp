#include "ui/RescueKeeper.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace marvo::ui {

RescueKeeper::~RescueKeeper() {
    finish();
}

bool RescueKeeper::isWriting() const {
    return writing_.valid() && writing_.wait_for(std::chrono::seconds(0)) != std::future_status::ready;
}

void RescueKeeper::follow(const Clock& clock) {
    if (isWriting()) return;
    finish();
    const MonotonicTime now = clock.now();
    if (!application_.hasUnsavedChanges() || application_.changeCount() == kept_) return;
    if (next_ && now < *next_) return;
    if (file_.empty()) {
        RescueCopies::Written begun = copies_.begin();
        say(begun.error);
        file_ = std::move(begun.file);
    }
    if (!file_.empty() && copies_.use(file_)) {
        kept_ = application_.changeCount();
        const ProjectFile& project = application_.projectFile;
        writing_ = std::async(std::launch::async, [copies = &copies_, file = file_,
                                                   root = project.root(ProjectFile::WindowPicture::ofBefore),
                                                   name = project.projectName(), url = project.projectURL()] {
            return copies->write(root, name, url, file);
        });
    }
    const Duration work = clock.now() - now;
    next_ = now + std::max(interval, work * restPerWork);
}

void RescueKeeper::finish() {
    if (!writing_.valid()) return;
    const std::string error = writing_.get().error;
    if (!error.empty()) kept_ = 0; // tried again
    say(error);
}

RescueCopies::Written RescueKeeper::keepNow() {
    finish();
    if (!application_.hasUnsavedChanges()) return {};
    const ProjectFile& project = application_.projectFile;
    RescueCopies::Written written =
        copies_.write(project.root(), project.projectName(), project.projectURL(), file_);
    if (!written.file.empty()) {
        file_ = written.file;
        kept_ = application_.changeCount();
        copies_.release(file_);
        application_.logLine("unsaved changes are kept in " + file_);
    }
    say(written.error);
    return written;
}

void RescueKeeper::forget() {
    finish();
    if (file_.empty()) return;
    say(copies_.remove(file_));
    file_.clear();
}

void RescueKeeper::leave() {
    finish();
    if (file_.empty()) return;
    if (!left_.empty()) say(copies_.remove(left_));
    left_ = std::exchange(file_, {});
}

void RescueKeeper::takeUp(const std::string& file) {
    file_ = file;
}

void RescueKeeper::say(const std::string& error) {
    // What lasts is said once.
    if (error != said_ && !error.empty()) application_.logLine("no rescue copy: " + error);
    said_ = error;
}

} // namespace marvo::ui
