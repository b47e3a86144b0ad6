#include "headless/RunStatistics.h"

#include "platform/Numbers.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace marvo {

std::size_t DurationHistogram::slotFor(std::uint64_t nanoseconds) {
    if (nanoseconds < stepsPerOctave) return static_cast<std::size_t>(nanoseconds);
    const unsigned shift = static_cast<unsigned>(std::bit_width(nanoseconds)) - stepBits - 1;
    // The leading bit chooses the octave, the five bits behind it the step.
    const auto step = static_cast<std::size_t>(nanoseconds >> shift) - stepsPerOctave;
    return stepsPerOctave * (shift + 1) + step;
}

std::uint64_t DurationHistogram::upperEnd(std::size_t slot) {
    if (slot < stepsPerOctave) return slot;
    const std::size_t shift = slot / stepsPerOctave - 1;
    const std::uint64_t step = slot % stepsPerOctave + stepsPerOctave;
    return ((step + 1) << shift) - 1;
}

void DurationHistogram::record(Duration duration) {
    const std::int64_t nanoseconds = std::max<std::int64_t>(duration.nanoseconds, 0);
    // The maximum first: a reader that sees the count never sees a maximum below it.
    if (nanoseconds > maximum_.load(std::memory_order_relaxed))
        maximum_.store(nanoseconds, std::memory_order_relaxed);
    counts_[slotFor(static_cast<std::uint64_t>(nanoseconds))].fetch_add(1, std::memory_order_release);
}

std::uint64_t DurationHistogram::count() const {
    std::uint64_t sum = 0;
    for (const auto& slot : counts_) sum += slot.load(std::memory_order_acquire);
    return sum;
}

std::uint64_t DurationHistogram::countAbove(Duration limit) const {
    if (limit.nanoseconds < 0) return count();
    const auto bound = static_cast<std::uint64_t>(limit.nanoseconds);
    std::size_t slot = slotFor(bound);
    if (upperEnd(slot) == bound) ++slot;
    std::uint64_t sum = 0;
    for (; slot < slotCount; ++slot) sum += counts_[slot].load(std::memory_order_acquire);
    return sum;
}

DurationHistogram::Counts DurationHistogram::counts() const {
    Counts counts(slotCount);
    for (std::size_t slot = 0; slot < slotCount; ++slot)
        counts[slot] = counts_[slot].load(std::memory_order_acquire);
    return counts;
}

Duration DurationHistogram::percentile(double share) const {
    return percentileSince({}, share);
}

Duration DurationHistogram::percentileSince(const Counts& before, double share) const {
    // Counted on a copy, so that what is recorded meanwhile cannot move the goal.
    std::array<std::uint64_t, slotCount> counts;
    std::uint64_t all = 0;
    for (std::size_t slot = 0; slot < slotCount; ++slot) {
        counts[slot] =
            counts_[slot].load(std::memory_order_acquire) - (slot < before.size() ? before[slot] : 0);
        all += counts[slot];
    }
    if (all == 0) return {};
    const auto wanted = std::clamp<std::uint64_t>(
        static_cast<std::uint64_t>(std::ceil(share * static_cast<double>(all))), 1, all);
    std::uint64_t seen = 0;
    for (std::size_t slot = 0; slot < slotCount; ++slot) {
        seen += counts[slot];
        if (seen < wanted) continue;
        return Duration(std::min(static_cast<std::int64_t>(upperEnd(slot)), maximum().nanoseconds));
    }
    return maximum();
}

std::string microseconds(Duration duration) {
    return std::string(formatFixed(static_cast<double>(duration.nanoseconds) / 1000.0, 1).view()) + " us";
}

std::string RunStatistics::text(const std::vector<std::pair<std::string, std::uint64_t>>& messages) const {
    std::string text = "ticks " + std::to_string(lateness_.count()) + "\n";
    text += "wake-up lateness p50 " + microseconds(lateness_.percentile(0.5)) + ", p99 " +
            microseconds(lateness_.percentile(0.99)) + ", p99.9 " +
            microseconds(lateness_.percentile(0.999)) + ", max " + microseconds(lateness_.maximum()) + "\n";
    text += "longest tick " + microseconds(length_.maximum()) + "\n";
    for (const auto& [protocol, count] : messages) {
        text += "messages " + protocol + " " + std::to_string(count) + "\n";
    }
    return text;
}

} // namespace marvo
