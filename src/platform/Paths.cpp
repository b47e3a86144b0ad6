#include "platform/Paths.h"

#include "platform/Text.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace marvo {
namespace {

// The home in the user database: of a user by name, or of the one who runs this.
std::optional<std::string> homeInDatabase(const char* user) {
    std::array<char, 16384> room;
    passwd record{};
    passwd* found = nullptr;
    const int code = user ? ::getpwnam_r(user, &record, room.data(), room.size(), &found)
                          : ::getpwuid_r(::getuid(), &record, room.data(), room.size(), &found);
    if (code != 0 || !found || !found->pw_dir || found->pw_dir[0] != '/') return std::nullopt;
    return std::string(found->pw_dir);
}

std::string withoutSlash(std::string path) {
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    return path;
}

// rest: empty, or beginning with a slash.
std::string belowFolder(const std::string& folder, std::string_view rest) {
    return folder == "/" && !rest.empty() ? std::string(rest) : folder + std::string(rest);
}

std::optional<std::string> absoluteFolder(const EnvironmentLookup& lookUp, const char* name) {
    std::optional<std::string> value = lookUp(name);
    if (!value || !value->starts_with('/')) return std::nullopt;
    return withoutSlash(std::move(*value));
}

std::string homeFolder(const EnvironmentLookup& lookUp) {
    if (std::optional<std::string> home = absoluteFolder(lookUp, "HOME")) return *home;
    return homeInDatabase(nullptr).value_or("/");
}

std::string baseFolder(const EnvironmentLookup& lookUp, const char* name, const char* belowHome) {
    if (std::optional<std::string> folder = absoluteFolder(lookUp, name)) return *folder + "/Marvo";
    return belowFolder(homeFolder(lookUp), belowHome) + "/Marvo";
}

} // namespace

std::optional<std::string> processEnvironment(const char* name) {
    const char* value = std::getenv(name);
    return value ? std::optional<std::string>(value) : std::nullopt;
}

Paths Paths::fromEnvironment(const EnvironmentLookup& lookUp) {
    return {baseFolder(lookUp, "XDG_CONFIG_HOME", "/.config"),
            baseFolder(lookUp, "XDG_DATA_HOME", "/.local/share"),
            baseFolder(lookUp, "XDG_STATE_HOME", "/.local/state")};
}

Paths Paths::below(const std::string& folder) {
    std::error_code error;
    const std::filesystem::path absolute = std::filesystem::absolute(folder, error);
    const std::string root = withoutSlash(error ? folder : absolute.lexically_normal().string());
    return {root, root + "/data", root + "/state"};
}

std::string expandTilde(std::string_view path, const EnvironmentLookup& lookUp) {
    if (!path.starts_with('~')) return std::string(path);
    const std::size_t slash = std::min(path.find('/'), path.size());
    const std::string_view rest = path.substr(slash);
    const std::string user(path.substr(1, slash - 1));
    if (user.empty()) return belowFolder(homeFolder(lookUp), rest);
    const std::optional<std::string> home = homeInDatabase(user.c_str());
    return home ? belowFolder(withoutSlash(*home), rest) : std::string(path);
}

std::string makeFolder(const std::string& path) {
    for (std::size_t at = 1; at <= path.size(); ++at) {
        if (at < path.size() && path[at] != '/') continue;
        const std::string folder = path.substr(0, at);
        if (::mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) {
            const int code = errno;
            struct stat status {};
            // A read-only file system says so before it says that the folder is there.
            if (::stat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) continue;
            return escapeForLog(folder) + ": the folder cannot be made: " + std::strerror(code);
        }
    }
    struct stat status {};
    if (::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) return {};
    return escapeForLog(path) + ": is not a folder";
}

} // namespace marvo
