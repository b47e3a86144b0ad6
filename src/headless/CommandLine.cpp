#include "headless/CommandLine.h"

#include "headless/CommandHelp.h"
#include "platform/Text.h"
#include "platform/UdpSocket.h"

#include <charconv>
#include <cmath>
#include <functional>
#include <initializer_list>
#include <string_view>

namespace marvo {
namespace {

constexpr int wrongUsage = 2;
constexpr std::string_view programName = "marvo-headless";
constexpr std::string_view runName = "marvo-headless run";
constexpr std::string_view traceName = "marvo-headless trace";
constexpr std::string_view checkName = "marvo-headless check";
constexpr std::string_view windowName = "marvo";
// Some thirty years; in nanoseconds it still fits 64 bits.
constexpr double longestSeconds = 1e9;

std::string quoted(std::string_view text) {
    return "\"" + escapeForLog(text) + "\"";
}

// Walks the arguments of one command. The first error stays, and ends the walk.
class Arguments {
public:
    Arguments(int argc, const char* const* argv, int first) : argc_(argc), argv_(argv), next_(first) {}

    // The next option or operand; false at the end or after an error.
    bool next() {
        if (next_ >= argc_ || !error_.empty()) return false;
        word_ = argv_[next_++];
        isOption_ = false;
        attached_.reset();
        if (onlyOperands_ || word_.size() < 2 || word_.front() != '-') return true;
        if (word_ == "--") {
            onlyOperands_ = true;
            return next();
        }
        isOption_ = true;
        const std::size_t equals = word_.find('=');
        if (word_.starts_with("--") && equals != std::string_view::npos) {
            attached_ = word_.substr(equals + 1);
            word_ = word_.substr(0, equals);
        }
        return true;
    }
    std::string_view word() const { return word_; } // without an attached value
    bool isOption() const { return isOption_; }
    bool hasUnusedValue() const { return attached_.has_value(); }

    std::string value() {
        if (attached_) {
            std::string text(*attached_);
            attached_.reset();
            return text;
        }
        if (next_ < argc_) return argv_[next_++];
        fail(std::string(word_) + " needs a value");
        return {};
    }
    // A value that must name something.
    std::string name() {
        std::string text = value();
        if (text.empty()) fail(std::string(word_) + " needs a value that is not empty");
        return text;
    }
    double seconds() {
        const std::string text = value();
        double number = 0.0;
        const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), number);
        const bool isNumber = code == std::errc() && end == text.data() + text.size();
        if (!isNumber || !std::isfinite(number) || number < 0.0 || number > longestSeconds) {
            fail(std::string(word_) + " needs a number of seconds from 0 to 1000000000, not " + quoted(text));
        }
        return number;
    }
    // One of the words that this version can serve; those that another version might are refused with that
    // reason.
    std::string choice(std::initializer_list<std::string_view> served,
                       std::initializer_list<std::string_view> unserved) {
        std::string text = value();
        for (const std::string_view word : served) {
            if (text == word) return text;
        }
        for (const std::string_view word : unserved) {
            if (text == word) {
                fail(std::string(word_) + " " + text + " is not in this version");
                return text;
            }
        }
        fail(std::string(word_) + " does not know " + quoted(text));
        return text;
    }
    void fail(std::string why) {
        if (error_.empty()) error_ = std::move(why);
    }
    const std::string& error() const { return error_; }

private:
    int argc_;
    const char* const* argv_;
    int next_;
    std::string_view word_;
    std::optional<std::string_view> attached_;
    bool isOption_ = false;
    bool onlyOperands_ = false;
    std::string error_;
};

CommandLine say(std::string_view text) {
    return {std::monostate{}, std::string(text), 0};
}

// `name` is that of the program, with its command where there is one.
CommandLine refuse(std::string_view name, const std::string& why) {
    const std::string text(name);
    return {std::monostate{}, text + ": " + why + "\nSee " + text + " --help\n", wrongUsage};
}

bool takeShared(Arguments& arguments, ShowOptions& options) {
    const std::string_view option = arguments.word();
    if (option == "--play") {
        options.play = true;
    } else if (option == "--config-dir") {
        options.configDir = arguments.name();
    } else if (option == "--pref") {
        const std::string text = arguments.value();
        const std::size_t equals = text.find('=');
        if (equals == std::string::npos || equals == 0) {
            arguments.fail("--pref needs KEY=VALUE, not " + quoted(text));
        } else {
            options.preferences.push_back({text.substr(0, equals), text.substr(equals + 1)});
        }
    } else {
        return false;
    }
    return true;
}

// Goes through the arguments of one command; `take` serves one option, or returns false for one it does not
// know. Gives what to print when there is nothing to run.
std::optional<CommandLine> walk(std::string_view name, Arguments& arguments, std::string_view help,
                                std::vector<std::string>& operands, const std::function<bool()>& take) {
    while (arguments.next()) {
        if (!arguments.isOption()) {
            operands.emplace_back(arguments.word());
            continue;
        }
        if (arguments.word() == "--help" || arguments.word() == "-h") return say(help);
        if (!take()) {
            arguments.fail("unknown option " + escapeForLog(arguments.word()));
        } else if (arguments.hasUnusedValue()) {
            arguments.fail(std::string(arguments.word()) + " takes no value");
        }
    }
    if (!arguments.error().empty()) return refuse(name, arguments.error());
    for (const std::string& operand : operands) {
        if (operand.empty()) return refuse(name, "a project needs a name that is not empty");
    }
    return std::nullopt;
}

CommandLine parseRun(Arguments arguments, std::string_view name, std::string_view help, bool hasStatus) {
    RunOptions options;
    std::vector<std::string> operands;
    const auto said = walk(name, arguments, help, operands, [&] {
        const std::string_view option = arguments.word();
        if (option == "--for") {
            options.forSeconds = arguments.seconds();
        } else if (option == "--midi") {
            options.midi = arguments.choice({"auto", "alsa", "jack", "none"}, {});
        } else if (option == "--audio") {
            arguments.choice({"auto", "none"}, {"alsa", "jack", "pulse"});
        } else if (option == "--bind") {
            options.bind = arguments.value();
            if (!SocketAddress::fromNumeric(*options.bind, 1)) {
                arguments.fail("--bind needs a numeric address, not " + quoted(*options.bind));
            }
        } else if (option == "--best-effort") {
            options.bestEffort = true;
        } else if (option == "--precise") {
            options.precise = true;
        } else if (option == "--stats") {
            options.stats = true;
        } else if (option == "--status" && hasStatus) {
            options.status = true;
        } else {
            return takeShared(arguments, options);
        }
        return true;
    });
    if (said) return *said;
    if (operands.size() > 1)
        return refuse(name, "one project at most, not " + std::to_string(operands.size()));
    if (!operands.empty()) options.project = operands.front();
    return {options, {}, 0};
}

CommandLine parseTrace(Arguments arguments) {
    TraceOptions options;
    std::vector<std::string> operands;
    const auto said = walk(traceName, arguments, traceHelp(), operands, [&] {
        const std::string_view option = arguments.word();
        if (option == "--seconds") {
            options.seconds = arguments.seconds();
        } else if (option == "--script") {
            options.script = arguments.name();
        } else if (option == "-o" || option == "--output") {
            options.output = arguments.name();
        } else {
            return takeShared(arguments, options);
        }
        return true;
    });
    if (said) return *said;
    if (operands.size() != 1) return refuse(traceName, "one project, not " + std::to_string(operands.size()));
    options.project = operands.front();
    return {options, {}, 0};
}

CommandLine parseCheck(Arguments arguments) {
    std::vector<std::string> operands;
    const auto said = walk(checkName, arguments, checkHelp(), operands, [] { return false; });
    if (said) return *said;
    if (operands.size() != 1) return refuse(checkName, "one project, not " + std::to_string(operands.size()));
    return {CheckOptions{operands.front()}, {}, 0};
}

} // namespace

const char* programVersion() {
    return MARVO_VERSION;
}

CommandLine parseCommandLine(int argc, const char* const* argv) {
    if (argc < 2) return refuse(programName, "a command is needed: run, trace or check");
    const std::string_view command = argv[1];
    if (command == "--help" || command == "-h") return say(generalHelp());
    if (command == "--version") return say(std::string("marvo-headless ") + programVersion() + "\n");
    const Arguments arguments(argc, argv, 2);
    if (command == "run") return parseRun(arguments, runName, runHelp(), true);
    if (command == "trace") return parseTrace(arguments);
    if (command == "check") return parseCheck(arguments);
    return refuse(programName, "unknown command " + quoted(command));
}

CommandLine parseWindowCommandLine(int argc, const char* const* argv) {
    const Arguments arguments(argc, argv, 1);
    if (argc == 2 && std::string_view(argv[1]) == "--version")
        return say(std::string("marvo ") + programVersion() + "\n");
    return parseRun(arguments, windowName, windowHelp(), false);
}

} // namespace marvo
