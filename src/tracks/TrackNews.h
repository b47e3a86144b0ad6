// How a track tells the pass over all tracks that something has happened which the pass does not look at:
// keyframes were published, or the track plays from now on, or does not.
//
// Raised by any thread, after what it tells of. Two flags: the lane's own, and one for all tracks that a pass
// goes over, so that it asks the lanes only when there is something to ask. Realtime-safe.
#pragma once

#include <atomic>

namespace marvo {

class TrackNews {
public:
    explicit TrackNews(std::atomic<bool>& lane) : lane_(lane) {}

    void raise() {
        lane_.store(true, std::memory_order_release);
        if (std::atomic<bool>* all = all_.load(std::memory_order_acquire))
            all->store(true, std::memory_order_release);
    }
    // Main thread.
    void tellAlso(std::atomic<bool>* all) { all_.store(all, std::memory_order_release); }

    // Before looking at what they tell of: news that come later are seen the next time.
    static bool take(std::atomic<bool>& flag) {
        return flag.load(std::memory_order_relaxed) && flag.exchange(false, std::memory_order_acquire);
    }

private:
    std::atomic<bool>& lane_;
    std::atomic<std::atomic<bool>*> all_{nullptr};
};

} // namespace marvo
