#include "platform/RunMarker.h"

#include "platform/Paths.h"

#include <filesystem>
#include <string_view>
#include <unistd.h>

namespace marvo {
namespace {

constexpr std::string_view prefix = "run-";

} // namespace

RunMarker::RunMarker(const std::string& folder) {
    std::error_code error;
    for (std::filesystem::directory_iterator each(folder, error), end; !error && each != end;
         each.increment(error)) {
        if (!each->path().filename().string().starts_with(prefix)) continue;
        const std::optional<FileLock> left = FileLock::take(each->path().string(), FileLock::Missing::leave);
        if (!left) continue; // it runs
        earlierRunDied_ = true;
        left->removeFile();
    }
    if (!makeFolder(folder).empty()) return;
    std::optional<FileLock> lock = FileLock::take(
        folder + "/" + std::string(prefix) + std::to_string(::getpid()), FileLock::Missing::make);
    if (lock) lock_.emplace(std::move(*lock));
}

RunMarker::~RunMarker() {
    end();
}

void RunMarker::end() {
    if (!lock_) return;
    lock_->removeFile();
    lock_.reset();
}

} // namespace marvo
