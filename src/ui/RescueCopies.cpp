#include "ui/RescueCopies.h"

#include "platform/AtomicFile.h"
#include "platform/Paths.h"
#include "platform/PropertyListFile.h"

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <unistd.h>
#include <utility>

namespace marvo::ui {
namespace {

constexpr std::string_view copySuffix = ".mrv";
constexpr std::string_view lockSuffix = ".lock";

std::string formatted(const char* format, std::time_t moment) {
    std::tm local{};
    ::localtime_r(&moment, &local);
    char text[64];
    return {text, std::strftime(text, sizeof text, format, &local)};
}

std::string noteOf(const std::string& file) {
    return file + ".plist";
}

std::string lockOf(const std::string& file) {
    return file + std::string(lockSuffix);
}

std::vector<std::string> filesIn(const std::string& folder) {
    std::vector<std::string> files;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        files.push_back(entry->path().string());
    }
    return files;
}

} // namespace

RescueCopies::RescueCopies(const std::string& stateFolder) : folder_(stateFolder + "/Rescue") {}

std::vector<RescueCopy> RescueCopies::all() const {
    std::vector<std::string> files = filesIn(folder_);
    std::erase_if(files,
                  [](const std::string& file) { return !file.ends_with(copySuffix) || isInUse(file); });
    // The names begin with the date.
    std::sort(files.rbegin(), files.rend());
    std::vector<RescueCopy> copies;
    for (const std::string& file : files) {
        const ReadResult note = readPropertyList(noteOf(file));
        const auto textOf = [&note](std::string_view key) {
            const PropertyList* value = note.value.find(key);
            return std::string(value ? value->stringOr("") : "");
        };
        RescueCopy copy{file, std::nullopt, textOf("name"), textOf("when")};
        if (copy.name.empty()) copy.name = "Untitled project";
        if (copy.when.empty()) copy.when = "an unknown date";
        if (std::string original = textOf("original"); !original.empty()) copy.original = original;
        copies.push_back(std::move(copy));
    }
    return copies;
}

bool RescueCopies::isInUse(const std::string& file) {
    return FileLock::isHeld(lockOf(file));
}

bool RescueCopies::use(const std::string& file, Held& held) {
    FileLock::Attempt attempt = FileLock::take(lockOf(file), FileLock::Missing::make);
    if (attempt.heldByOther) return false;
    held.file = file;
    if (attempt.lock) held.lock.emplace(std::move(*attempt.lock));
    return true;
}

std::string RescueCopies::newFile() const {
    const std::string stem =
        folder_ + "/" + formatted("%Y%m%d-%H%M%S", std::time(nullptr)) + "-" + std::to_string(::getpid());
    std::string file = stem + std::string(copySuffix);
    std::error_code error;
    for (int more = 2; std::filesystem::exists(file, error) || isInUse(file); ++more)
        file = stem + "-" + std::to_string(more) + std::string(copySuffix);
    return file;
}

std::string RescueCopies::begin(Held& held) const {
    if (std::string error = makeFolder(folder_); !error.empty()) return error;
    const std::string file = newFile();
    return use(file, held) ? "" : folder_ + ": no name is free";
}

std::string RescueCopies::write(const PropertyList& project, const std::string& name,
                                const std::optional<std::string>& original, Held& held) const {
    if (held.file.empty()) {
        if (std::string error = begin(held); !error.empty()) return error;
    }
    PropertyList note = PropertyList::dictionary();
    note.set("name", name);
    note.set("when", formatted("%Y-%m-%d at %H:%M", std::time(nullptr)));
    if (original) note.set("original", *original);
    const WriteResult written = writePropertyList(held.file, project);
    // A copy without its note can still be opened; a note without its copy is nothing.
    if (written.ok()) static_cast<void>(writePropertyList(noteOf(held.file), note));
    return written.error;
}

std::string RescueCopies::removeFiles(const std::string& file) const {
    std::error_code error;
    std::filesystem::remove(file, error);
    if (error) return file + ": cannot be removed: " + error.message();
    std::filesystem::remove(noteOf(file), error);
    return {};
}

std::string RescueCopies::remove(const std::string& file) const {
    if (!holds(file)) return file + ": is not a rescued copy";
    Held held;
    if (!use(file, held)) return file + ": another program works on it";
    return removeFiles(file);
}

std::string RescueCopies::remove(Held& held) const {
    if (held.file.empty()) return {};
    if (!held.lock && !use(held.file, held)) { // another program has taken it up
        held.file.clear();
        return {};
    }
    const std::string error = removeFiles(held.file);
    if (held.lock) held.lock->removeFile();
    held.lock.reset();
    held.file.clear();
    return error;
}

void RescueCopies::tidy() const {
    std::error_code error;
    for (const std::string& file : filesIn(folder_)) {
        if (AtomicFile::isLeftBehind(file)) std::filesystem::remove(file, error);
        if (!file.ends_with(lockSuffix)) continue;
        const std::string copy = file.substr(0, file.size() - lockSuffix.size());
        if (std::filesystem::exists(copy, error)) continue;
        const FileLock::Attempt attempt = FileLock::take(file, FileLock::Missing::leave);
        if (attempt.lock) attempt.lock->removeFile();
    }
}

} // namespace marvo::ui
