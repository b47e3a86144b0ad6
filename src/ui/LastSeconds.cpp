#include "ui/LastSeconds.h"

namespace marvo::ui {
namespace {

constexpr Duration kept = Duration::ofSeconds(10);
constexpr Duration apart = Duration::ofSeconds(1);

} // namespace

void LastSeconds::look(MonotonicTime now, const DurationHistogram& lateness, const Totals& dropped) {
    if (samples_.empty() || now - samples_.back().at >= apart)
        samples_.push_back({now, lateness.counts(), dropped});
    while (samples_.size() > 1 && now - samples_[1].at >= kept) samples_.pop_front();
}

Duration LastSeconds::usualLateness(const DurationHistogram& lateness) const {
    return samples_.empty() ? Duration() : lateness.percentileSince(samples_.front().lateness, 0.99);
}

std::uint64_t LastSeconds::dropped(const void* key, std::uint64_t total) const {
    if (samples_.empty()) return 0;
    const Totals& before = samples_.front().dropped;
    const auto found = before.find(key);
    const std::uint64_t then = found == before.end() ? 0 : found->second; // made since then
    return total > then ? total - then : 0;
}

} // namespace marvo::ui
