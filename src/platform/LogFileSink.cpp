// The asynchronous terminal and file writer behind LogSink; the only file that knows the logging library.
#include "platform/Log.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <fstream>
#include <optional>
#include <spdlog/async_logger.h>
#include <spdlog/details/thread_pool.h>
#include <spdlog/sinks/base_sink.h>
#include <spdlog/sinks/stdout_sinks.h>
#include <sstream>
#include <unistd.h>
#include <vector>

namespace marvo {

namespace {

constexpr std::string_view filePrefix = "marvo-";
constexpr std::string_view fileSuffix = ".log";
constexpr std::size_t waitingLines = 8192;

std::int64_t systemSeconds() {
    return static_cast<std::int64_t>(std::time(nullptr));
}

struct LogFile {
    std::filesystem::path path;
    std::int64_t startedAt = 0; // seconds since 1970; part of the name, as a copied file loses its own times
};

// Oldest first. Files of others in the folder are not listed.
std::vector<LogFile> logFilesIn(const std::filesystem::path& folder) {
    std::vector<LogFile> files;
    std::error_code error;
    for (std::filesystem::directory_iterator each(folder, error), end; !error && each != end;
         each.increment(error)) {
        const std::string name = each->path().filename().string();
        if (!name.starts_with(filePrefix) || !name.ends_with(fileSuffix)) continue;
        const char* const first = name.data() + filePrefix.size();
        const char* const last = name.data() + name.size() - fileSuffix.size();
        std::int64_t startedAt = 0;
        if (first >= last) continue;
        const auto [rest, failure] = std::from_chars(first, last, startedAt);
        if (failure != std::errc() || rest != last) continue;
        files.push_back({each->path(), startedAt});
    }
    std::sort(files.begin(), files.end(),
              [](const LogFile& a, const LogFile& b) { return a.startedAt < b.startedAt; });
    return files;
}

std::string endOf(const std::filesystem::path& path, std::size_t bytes) {
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(path, error);
    std::ifstream stream(path, std::ios::binary);
    if (!error && size > bytes) {
        // Not in the middle of a character.
        auto from = static_cast<std::streamoff>(size - bytes);
        do {
            stream.seekg(from);
        } while ((static_cast<unsigned>(stream.peek()) & 0xc0u) == 0x80u && --from >= 0);
    }
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
}

// Writes lines and rolls the file. Runs on the log's own thread, except for waitForFlush.
class RollingFile final : public spdlog::sinks::base_sink<std::mutex> {
public:
    RollingFile(std::filesystem::path folder, std::int64_t rollSeconds, std::int64_t (*wallClock)())
        : folder_(std::move(folder)), rollSeconds_(rollSeconds), wallClock_(wallClock) {}
    ~RollingFile() override {
        if (file_ >= 0) ::close(file_);
    }

    std::uint64_t flushCount() const {
        const std::lock_guard hold(flushLock_);
        return flushes_;
    }
    void waitForFlush(std::uint64_t count, std::chrono::milliseconds atMost) const {
        std::unique_lock hold(flushLock_);
        flushed_.wait_for(hold, atMost, [&] { return flushes_ >= count; });
    }

protected:
    void sink_it_(const spdlog::details::log_msg& message) override {
        if (!openFor(wallClock_())) return;
        spdlog::memory_buf_t line;
        formatter_->format(message, line);
        const char* from = line.data();
        std::size_t left = line.size();
        while (left > 0) {
            const ssize_t written = ::write(file_, from, left);
            if (written < 0 && errno == EINTR) continue;
            if (written <= 0) return; // a full disk loses lines, never the show
            from += written;
            left -= static_cast<std::size_t>(written);
        }
    }

    void flush_() override {
        const std::lock_guard hold(flushLock_);
        ++flushes_;
        flushed_.notify_all();
    }

private:
    // Makes sure that the file of this hour is open, and that it is the only one.
    bool openFor(std::int64_t now) {
        // A clock that was set back must not keep the file for ever.
        if (file_ >= 0 && now >= startedAt_ && now - startedAt_ < rollSeconds_) return true;
        if (file_ >= 0) ::close(file_);
        file_ = -1;
        std::error_code ignored;
        std::filesystem::create_directories(folder_, ignored);
        std::vector<LogFile> files = logFilesIn(folder_);
        LogFile current{folder_ / (std::string(filePrefix) + std::to_string(now) + std::string(fileSuffix)),
                        now};
        if (!files.empty() && now >= files.back().startedAt && now - files.back().startedAt < rollSeconds_)
            current = files.back();
        file_ = ::open(current.path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
        if (file_ < 0) return false;
        startedAt_ = current.startedAt;
        for (const LogFile& each : files)
            if (each.path != current.path) std::filesystem::remove(each.path, ignored);
        return true;
    }

    const std::filesystem::path folder_;
    const std::int64_t rollSeconds_;
    std::int64_t (*const wallClock_)();
    int file_ = -1;
    std::int64_t startedAt_ = 0;
    mutable std::mutex flushLock_;
    mutable std::condition_variable flushed_;
    std::uint64_t flushes_ = 0;
};

class LogFileSink final : public LogSink {
public:
    explicit LogFileSink(const LogFileOptions& options)
        : folder_(options.folder),
          file_(std::make_shared<RollingFile>(options.folder, options.rollSeconds,
                                              options.wallClock ? options.wallClock : systemSeconds)),
          pool_(std::make_shared<spdlog::details::thread_pool>(waitingLines, 1)) {
        std::vector<spdlog::sink_ptr> sinks{file_};
        if (options.terminal) sinks.push_back(std::make_shared<spdlog::sinks::stderr_sink_mt>());
        logger_ = std::make_shared<spdlog::async_logger>("marvo", sinks.begin(), sinks.end(), pool_,
                                                         spdlog::async_overflow_policy::overrun_oldest);
        logger_->set_level(spdlog::level::trace);
        logger_->set_pattern("%Y-%m-%d %H:%M:%S.%e %v");
        // A trouble with the log has nowhere to be told.
        logger_->set_error_handler([](const std::string&) {});
    }

    // The library's calls throw on lack of memory at most, and a line is not worth the program.
    void write(std::string_view line) override {
        try {
            logger_->log(spdlog::level::trace, spdlog::string_view_t(line.data(), line.size()));
        } catch (...) {
        }
    }

    std::string contents(std::size_t lastBytes) override {
        const std::uint64_t before = file_->flushCount();
        try {
            logger_->flush();
        } catch (...) {
        }
        file_->waitForFlush(before + 1, std::chrono::milliseconds(1000));
        std::string text;
        const std::vector<LogFile> files = logFilesIn(folder_);
        for (auto each = files.rbegin(); each != files.rend() && text.size() < lastBytes; ++each)
            text.insert(0, endOf(each->path, lastBytes - text.size()));
        return text;
    }

private:
    const std::filesystem::path folder_;
    std::shared_ptr<RollingFile> file_;
    std::shared_ptr<spdlog::async_logger> logger_;
    // Goes first: its end writes what still waits.
    std::shared_ptr<spdlog::details::thread_pool> pool_;
};

} // namespace

std::unique_ptr<LogSink> makeLogFileSink(const LogFileOptions& options) {
    return std::make_unique<LogFileSink>(options);
}

} // namespace marvo
