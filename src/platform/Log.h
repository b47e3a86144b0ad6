// Progress marks and troubles, for the operator's terminal and for reports.
#pragma once

#include "platform/Clock.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

namespace marvo {

// Where lines go. Called by one thread at a time, in order.
class LogSink {
public:
    virtual ~LogSink() = default;
    virtual void write(std::string_view line) = 0;
    // The text that is kept, oldest first: all of it, or of a longer one the end, of that many bytes at
    // least. May wait a bounded time for lines on their way.
    virtual std::string contents(std::size_t lastBytes) = 0;
};

// The terminal (standard error) and a file in `folder` that is followed by a new one every hour, one file
// kept; both written by a thread of their own. When that thread falls behind, the oldest waiting lines are
// dropped. A folder that cannot be written leaves the terminal. A restart within the hour goes on in the same
// file.
struct LogFileOptions {
    std::filesystem::path folder;
    bool terminal = true;
    std::int64_t rollSeconds = 3600;
    std::int64_t (*wallClock)() = nullptr; // seconds since 1970; null is the system's clock
};
std::unique_ptr<LogSink> makeLogFileSink(const LogFileOptions& options);

// One level: verbose. Nothing in the program depends on what is logged.
//
// A flood is cut: of more than `linesPerSecond` lines within a second the rest is counted, and the count is
// said with the next line that passes. Owner: the application, which hands a pointer down; a null pointer is
// a log that is off.
//
// Thread-safe. Locks and allocates: not for the tick.
class Log {
public:
    static constexpr std::uint32_t defaultLinesPerSecond = 200;

    Log(LogSink& sink, const Clock& clock, std::uint32_t linesPerSecond = defaultLinesPerSecond);

    void log(std::string_view text);

    // Logs the text when this trouble is not known yet. True if it was logged or would have been but for the
    // flood.
    bool logOnce(std::string_view key, std::string_view text);

    // Ends a trouble: says `text` if the trouble was known, and how often it came. True if it was known.
    bool forget(std::string_view key, std::string_view text);
    bool forget(std::string_view key);

    // The kept text, decoded as UTF-8. Of a longer text the `maxSize` characters that begin at length -
    // maxSize - 1: the very last character is left out.
    std::string logFileContents(std::size_t maxSize) const;

private:
    void writeLimited(std::string_view text);

    LogSink& sink_;
    const Clock& clock_;
    const std::uint32_t linesPerSecond_;
    mutable std::mutex lock_;
    MonotonicTime windowStart_{};
    std::uint32_t windowLines_ = 0;
    std::uint64_t leftOut_ = 0;
    std::map<std::string, std::uint64_t, std::less<>> troubles_; // key to how often it came
};

// For callers whose log may be off.
inline void log(Log* target, std::string_view text) {
    if (target) target->log(text);
}

} // namespace marvo
