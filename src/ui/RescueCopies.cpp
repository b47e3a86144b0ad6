#include "ui/RescueCopies.h"

#include "platform/Paths.h"
#include "platform/PropertyListFile.h"

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <unistd.h>

namespace marvo::ui {
namespace {

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
    return file + ".lock";
}

} // namespace

RescueCopies::RescueCopies(const std::string& stateFolder) : folder_(stateFolder + "/Rescue") {}

RescueCopies::~RescueCopies() {
    while (!locks_.empty()) release(std::string(locks_.begin()->first));
}

std::vector<RescueCopy> RescueCopies::all() const {
    std::vector<std::string> files;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder_, error), end; !error && entry != end;
         entry.increment(error)) {
        if (entry->path().extension() == ".mrv") files.push_back(entry->path().string());
    }
    // The names begin with the date.
    std::sort(files.rbegin(), files.rend());
    std::vector<RescueCopy> copies;
    for (const std::string& file : files) {
        const ReadResult note = readPropertyList(noteOf(file));
        const auto textOf = [&note](std::string_view key) {
            const PropertyList* value = note.value.find(key);
            return std::string(value ? value->stringOr("") : "");
        };
        RescueCopy copy{file, std::nullopt, textOf("name"), textOf("when"), FileLock::isHeld(lockOf(file))};
        if (copy.name.empty()) copy.name = "Untitled project";
        if (copy.when.empty()) copy.when = "an unknown date";
        if (std::string original = textOf("original"); !original.empty()) copy.original = original;
        copies.push_back(std::move(copy));
    }
    return copies;
}

std::string RescueCopies::newFile() const {
    const std::string stem =
        folder_ + "/" + formatted("%Y%m%d-%H%M%S", std::time(nullptr)) + "-" + std::to_string(::getpid());
    std::string file = stem + ".mrv";
    std::error_code error;
    for (int more = 2; std::filesystem::exists(file, error); ++more)
        file = stem + "-" + std::to_string(more) + ".mrv";
    return file;
}

RescueCopies::Written RescueCopies::write(const PropertyList& project, const std::string& name,
                                          const std::optional<std::string>& original,
                                          const std::string& present) const {
    if (std::string error = makeFolder(folder_); !error.empty()) return {{}, error};
    const std::string file = present.empty() ? newFile() : present;
    PropertyList note = PropertyList::dictionary();
    note.set("name", name);
    note.set("when", formatted("%Y-%m-%d at %H:%M", std::time(nullptr)));
    if (original) note.set("original", *original);
    // A copy without its note can still be opened; a note without its copy is nothing.
    WriteResult written = writePropertyList(file, project);
    if (!written.ok()) return {{}, written.error};
    written = writePropertyList(noteOf(file), note);
    return {file, written.error};
}

RescueCopies::Written RescueCopies::begin() {
    if (std::string error = makeFolder(folder_); !error.empty()) return {{}, error};
    const std::string file = newFile();
    if (!use(file)) return {{}, lockOf(file) + ": cannot be locked"};
    return {file, {}};
}

bool RescueCopies::use(const std::string& file) {
    if (locks_.contains(file)) return true;
    std::optional<FileLock> lock = FileLock::take(lockOf(file), FileLock::Missing::make);
    if (!lock) return false;
    locks_.emplace(file, std::move(*lock));
    return true;
}

void RescueCopies::release(const std::string& file) {
    const auto found = locks_.find(file);
    if (found == locks_.end()) return;
    found->second.removeFile();
    locks_.erase(found);
}

std::string RescueCopies::remove(const std::string& file) {
    if (!holds(file)) return file + ": is not a rescued copy";
    std::error_code error;
    std::filesystem::remove(file, error);
    if (error) return file + ": cannot be removed: " + error.message();
    std::filesystem::remove(noteOf(file), error);
    std::filesystem::remove(lockOf(file), error);
    release(file);
    return {};
}

} // namespace marvo::ui
