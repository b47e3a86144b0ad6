#include "platform/RunMarker.h"

#include "platform/Paths.h"

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <string_view>
#include <unistd.h>
#include <utility>

namespace marvo {
namespace {

constexpr std::string_view prefix = "run-";

bool isMark(std::string_view name) {
    if (!name.starts_with(prefix) || name.size() == prefix.size()) return false;
    name.remove_prefix(prefix.size());
    return std::all_of(name.begin(), name.end(), [](char c) { return (c >= '0' && c <= '9') || c == '-'; });
}

} // namespace

RunMarker::RunMarker(const std::string& folder, const std::string& programName) {
    std::error_code error;
    for (std::filesystem::directory_iterator each(folder, error), end; !error && each != end;
         each.increment(error)) {
        if (!isMark(each->path().filename().string())) continue;
        const FileLock::Attempt left = FileLock::take(each->path().string(), FileLock::Missing::leave);
        if (!left.lock) continue; // it runs
        deadProgram_ = left.lock->readText();
        left.lock->removeFile();
    }
    if (!makeFolder(folder).empty()) return;
    // Locked before it has the name that other runs look for.
    static std::atomic<unsigned> serial{0};
    const std::string process = std::to_string(::getpid()) + "-" + std::to_string(++serial);
    FileLock::Attempt made = FileLock::take(folder + "/starting-" + process, FileLock::Missing::make);
    if (!made.lock) return;
    if (!made.lock->writeText(programName) ||
        !made.lock->renameFile(folder + "/" + std::string(prefix) + process).empty()) {
        made.lock->removeFile();
        return;
    }
    lock_.emplace(std::move(*made.lock));
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
