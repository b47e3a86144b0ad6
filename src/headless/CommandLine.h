// The command lines of marvo-headless and of marvo as plain structs.
//
// Touches nothing but its arguments: no file, no device, no environment. Thread-safe.
#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace marvo {

const char* programVersion(); // "1.2.3"

struct PreferenceOverride {
    std::string key; // not empty; whether there is such a key is for the preferences to say
    std::string value;
};

// Shared by run and trace.
struct ShowOptions {
    bool play = false;
    std::vector<PreferenceOverride> preferences; // in order; a later one of a key goes before an earlier one
    std::optional<std::string> configDir;
};

struct RunOptions : ShowOptions {
    std::optional<std::string> project;
    std::optional<double> forSeconds; // finite, 0 to 1e9
    std::optional<std::string> bind;  // a numeric IPv4 or IPv6 address
    std::string midi = "auto";        // which sound system carries MIDI: auto, alsa, jack or none
    bool bestEffort = false;
    bool precise = false; // spins before each tick rather than trust the timer
    bool stats = false;
    bool status = false;
};

struct TraceOptions : ShowOptions {
    std::string project;
    std::optional<double> seconds; // finite, 0 to 1e9
    std::optional<std::string> script;
    std::optional<std::string> output;
};

struct CheckOptions {
    std::string project;
};

struct CommandLine {
    // monostate when there is nothing to run: `output` is then to be printed, on standard output when
    // `status` is 0 and on standard error otherwise, and `status` returned.
    std::variant<std::monostate, RunOptions, TraceOptions, CheckOptions> command;
    std::string output;
    int status = 0; // 2 is wrong usage
};

// An option's value is the next argument, or follows an equals sign ("--for=10"); "--" ends the options. Of
// an option that is given twice the last one counts.
CommandLine parseCommandLine(int argc, const char* const* argv);

// That of the window, "marvo [PROJECT.mrv] [options]": a run without --status. Options of the toolkit are to
// be taken out before.
CommandLine parseWindowCommandLine(int argc, const char* const* argv);

} // namespace marvo
