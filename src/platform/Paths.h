// Where the program keeps its files, by the XDG base folders.
//
// Plain values: nothing is created, nothing but the environment (and for a home folder the user database) is
// asked. Thread-safe; not realtime-safe.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace marvo {

// Looks up a variable of the environment; none when it is not set.
using EnvironmentLookup = std::function<std::optional<std::string>(const char* name)>;
std::optional<std::string> processEnvironment(const char* name);

// Absolute, without a slash at the end.
struct Paths {
    std::string config; // $XDG_CONFIG_HOME/Marvo
    std::string data;   // $XDG_DATA_HOME/Marvo, the application support folder
    std::string state;  // $XDG_STATE_HOME/Marvo, for logs

    std::string preferenceFile() const { return config + "/preferences.plist"; }
    std::string presets() const { return data + "/Presets"; }

    // A variable that is missing, empty or holds a relative path gives way to the usual folder below the home
    // folder.
    static Paths fromEnvironment(const EnvironmentLookup& lookUp);
    // Everything below one folder, for a run beside others. A relative one counts from the present folder.
    static Paths below(const std::string& folder);
};

// "~" and "~/..." stand for the home folder, "~name" for that user's. Anything else, and an unknown user,
// stays.
std::string expandTilde(std::string_view path, const EnvironmentLookup& lookUp = processEnvironment);

// Makes the folder and those above it, for this user alone where they are new. An error text in one line,
// empty when the folder is there.
std::string makeFolder(const std::string& path);

} // namespace marvo
