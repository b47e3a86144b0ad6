#include "platform/Log.h"

#include "platform/Text.h"

#include <algorithm>
#include <limits>

namespace marvo {

namespace {

constexpr std::size_t maximumTroubles = 4096; // keys may come from outside

bool beginsCharacter(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0u) != 0x80u;
}

// The byte at which character number `index` begins.
std::size_t byteOfCharacter(std::string_view text, std::size_t index) {
    std::size_t seen = 0;
    for (std::size_t byte = 0; byte < text.size(); ++byte) {
        if (!beginsCharacter(text[byte])) continue;
        if (seen++ == index) return byte;
    }
    return text.size();
}

} // namespace

Log::Log(LogSink& sink, const Clock& clock, std::uint32_t linesPerSecond)
    : sink_(sink), clock_(clock), linesPerSecond_(linesPerSecond), windowStart_(clock.now()) {}

void Log::log(std::string_view text) {
    const std::lock_guard hold(lock_);
    writeLimited(text);
}

bool Log::logOnce(std::string_view key, std::string_view text) {
    const std::lock_guard hold(lock_);
    if (const auto known = troubles_.find(key); known != troubles_.end()) {
        ++known->second;
        return false;
    }
    if (troubles_.size() >= maximumTroubles) return false;
    troubles_.emplace(key, 1);
    writeLimited(text);
    return true;
}

bool Log::forget(std::string_view key, std::string_view text) {
    const std::lock_guard hold(lock_);
    const auto known = troubles_.find(key);
    if (known == troubles_.end()) return false;
    std::string line(text);
    if (known->second > 1) line += " (it came " + std::to_string(known->second) + " times)";
    troubles_.erase(known);
    writeLimited(line);
    return true;
}

bool Log::forget(std::string_view key) {
    const std::lock_guard hold(lock_);
    const auto known = troubles_.find(key);
    if (known == troubles_.end()) return false;
    troubles_.erase(known);
    return true;
}

std::string Log::logFileContents(std::size_t maxSize) const {
    constexpr std::size_t longestCharacter = 4;
    constexpr std::size_t most = std::numeric_limits<std::size_t>::max() / longestCharacter - 2;
    std::string text = sink_.contents((std::min(maxSize, most) + 2) * longestCharacter);
    const std::size_t length = characterCount(text);
    if (length <= maxSize) return text;
    const std::size_t from = byteOfCharacter(text, length - maxSize - 1);
    const std::size_t to = byteOfCharacter(text, length - 1);
    return text.substr(from, to - from);
}

void Log::writeLimited(std::string_view text) {
    const MonotonicTime now = clock_.now();
    if (now - windowStart_ >= Duration::ofSeconds(1)) {
        windowStart_ = now;
        windowLines_ = 0;
    }
    if (windowLines_ >= linesPerSecond_) {
        ++leftOut_;
        return;
    }
    ++windowLines_;
    if (leftOut_ > 0) {
        std::string line = "(";
        line += std::to_string(leftOut_);
        line += " lines left out)";
        sink_.write(line);
        leftOut_ = 0;
    }
    sink_.write(text);
}

} // namespace marvo
