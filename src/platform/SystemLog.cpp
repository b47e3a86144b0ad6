#include "platform/SystemLog.h"

#include "platform/Text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>
#include <utility>
#include <vector>

extern char** environ;

namespace marvo {
namespace {

constexpr std::size_t largestText = 4'000'000;
constexpr double latest = 4e9; // in the year 2096

// One field: "NAME=value\n", or "NAME\n", eight bytes of length (least first), the value and "\n". False when
// it is cut short.
bool takeField(std::string_view& text, std::string_view& name, std::string_view& value) {
    const std::size_t end = text.find('\n');
    if (end == std::string_view::npos) return false;
    const std::string_view line = text.substr(0, end);
    const std::size_t equals = line.find('=');
    text.remove_prefix(end + 1);
    name = line.substr(0, equals);
    if (equals != std::string_view::npos) {
        value = line.substr(equals + 1);
        return true;
    }
    std::uint64_t size = 0;
    if (text.size() < sizeof size) return false;
    for (std::size_t i = sizeof size; i > 0; --i) size = size << 8 | static_cast<unsigned char>(text[i - 1]);
    text.remove_prefix(sizeof size);
    if (text.size() <= size) return false;
    value = text.substr(0, size);
    text.remove_prefix(size + 1);
    return true;
}

// A child of ours that writes into a pipe.
class Tool {
public:
    explicit Tool(std::vector<std::string> words) {
        std::array<int, 2> ends{-1, -1};
        if (::pipe2(ends.data(), O_CLOEXEC) != 0) return;
        output_ = ends[0];
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
        std::vector<char*> arguments;
        for (std::string& word : words) arguments.push_back(word.data());
        arguments.push_back(nullptr);
        if (::posix_spawnp(&child_, arguments[0], &actions, nullptr, arguments.data(), environ) != 0)
            child_ = -1;
        posix_spawn_file_actions_destroy(&actions);
        ::close(ends[1]);
    }
    ~Tool() {
        if (output_ >= 0) ::close(output_);
        if (child_ < 0) return;
        ::kill(child_, SIGKILL);
        // One that hangs in the kernel is left to it.
        constexpr timespec aMoment{0, 2'000'000};
        for (int i = 0; i < 500 && ::waitpid(child_, nullptr, WNOHANG) == 0; ++i)
            ::nanosleep(&aMoment, nullptr);
    }
    Tool(const Tool&) = delete;
    Tool& operator=(const Tool&) = delete;

    std::string read(Duration atMost) const {
        std::string text;
        if (child_ < 0) return text;
        const MonotonicClock clock;
        const MonotonicTime end = clock.now() + atMost;
        std::array<char, 65'536> piece{};
        while (text.size() < largestText) {
            const Duration left = end - clock.now();
            if (left <= Duration()) break;
            pollfd waited{output_, POLLIN, 0};
            if (::poll(&waited, 1, static_cast<int>(left.nanoseconds / 1'000'000) + 1) <= 0) continue;
            const ssize_t size = ::read(output_, piece.data(), piece.size());
            if (size <= 0) break;
            text.append(piece.data(), static_cast<std::size_t>(size));
        }
        return text;
    }

private:
    int output_ = -1;
    pid_t child_ = -1;
};

class Journal final : public SystemLog {
public:
    explicit Journal(JournalOptions options) : options_(std::move(options)) {}

    void walkBack(const std::string& programName, double since,
                  const std::function<bool(const SystemMessage&)>& more) override {
        // In whole numbers: the decimal point of the language would not be understood.
        const auto microseconds = static_cast<std::int64_t>(std::clamp(since, 0.0, latest) * 1e6);
        std::array<char, 64> moment{};
        std::snprintf(moment.data(), moment.size(), "--since=@%" PRId64 ".%06" PRId64,
                      microseconds / 1'000'000, microseconds % 1'000'000);
        const Tool tool({options_.tool, "--quiet", "--no-pager", "--reverse", "--output=export",
                         moment.data(), "_COMM=" + programName});
        const std::string text = tool.read(options_.atMost);
        std::string_view rest = text;
        while (const std::optional<SystemMessage> message = takeJournalEntry(rest)) {
            if (!message->text.empty() && message->time >= since && !more(*message)) return;
        }
    }

private:
    const JournalOptions options_;
};

} // namespace

std::optional<SystemMessage> takeJournalEntry(std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of('\n'), text.size()));
    if (text.empty()) return std::nullopt;
    SystemMessage message;
    while (!text.empty() && text.front() != '\n') {
        std::string_view name, value;
        if (!takeField(text, name, value)) {
            text = {};
            return std::nullopt;
        }
        if (name == "MESSAGE")
            message.text = isValidUtf8(value) ? std::string(value) : escapeForLog(value, value.size());
        if (name != "__REALTIME_TIMESTAMP") continue;
        std::uint64_t microseconds = 0;
        std::from_chars(value.data(), value.data() + value.size(), microseconds);
        message.time = static_cast<double>(microseconds) / 1e6;
    }
    return message;
}

std::unique_ptr<SystemLog> makeJournal(JournalOptions options) {
    return std::make_unique<Journal>(std::move(options));
}

} // namespace marvo
