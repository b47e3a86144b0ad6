#include "ui/RecentProjects.h"

#include "platform/Paths.h"
#include "platform/PropertyListFile.h"

#include <filesystem>

namespace marvo::ui {
namespace {

std::string absolutePath(const std::string& path) {
    std::error_code error;
    const std::filesystem::path absolute = std::filesystem::absolute(path, error);
    return error ? path : absolute.lexically_normal().string();
}

} // namespace

RecentProjects::RecentProjects(const std::string& stateFolder)
    : folder_(stateFolder), file_(stateFolder + "/recent-projects.plist") {}

std::vector<std::string> RecentProjects::all() const {
    std::vector<std::string> paths;
    const ReadResult read = readPropertyList(file_);
    const PropertyList* listed = read.value.find("projects");
    if (!listed) return paths;
    for (const PropertyList& entry : listed->elements()) {
        if (const std::string_view path = entry.stringOr(""); !path.empty()) paths.emplace_back(path);
    }
    return paths;
}

std::optional<std::string> RecentProjects::first() const {
    const std::vector<std::string> paths = all();
    return paths.empty() ? std::nullopt : std::optional(paths.front());
}

std::string RecentProjects::add(const std::string& path) {
    const std::string added = absolutePath(path);
    std::vector<std::string> paths = all();
    std::erase(paths, added);
    paths.insert(paths.begin(), added);
    if (paths.size() > longest) paths.resize(longest);
    return write(paths);
}

std::string RecentProjects::clear() {
    return write({});
}

std::string RecentProjects::write(const std::vector<std::string>& paths) const {
    if (std::string error = makeFolder(folder_); !error.empty()) return error;
    PropertyList listed = PropertyList::array();
    for (const std::string& path : paths) listed.push_back(path);
    PropertyList root = PropertyList::dictionary();
    root.set("projects", listed);
    return writePropertyList(file_, root).error;
}

} // namespace marvo::ui
