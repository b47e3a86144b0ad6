// The threads of the JACK library that call us back, as far as they have not ended.
//
// Closing a client cancels its threads wherever they are, and one that is cancelled while it takes leave of a
// dead server keeps the library's lock for ever: the close then never returns. So whoever closes after a
// death waits first until they have ended by themselves.
//
// Thread-safe.
#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>
#include <utility>

namespace marvo {

class JackThreads {
public:
    // The calling thread counts until it ends.
    void addThisThread() const {
        thread_local Presence presence;
        presence.enter(alive_);
    }
    bool haveEnded() const { return alive_->load() == 0; }
    // False when the time was not enough: a thread that waits for a server that was killed never ends.
    bool waitUntilEnded(std::chrono::milliseconds atMost) const {
        const auto end = std::chrono::steady_clock::now() + atMost;
        while (!haveEnded()) {
            if (std::chrono::steady_clock::now() > end) return false;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return true;
    }

private:
    using Count = std::atomic<int>;

    class Presence {
    public:
        ~Presence() { leave(); }
        void enter(std::shared_ptr<Count> where) {
            if (where == where_) return;
            leave();
            where_ = std::move(where);
            where_->fetch_add(1);
        }

    private:
        void leave() {
            if (where_) where_->fetch_sub(1);
        }
        std::shared_ptr<Count> where_;
    };

    const std::shared_ptr<Count> alive_ = std::make_shared<Count>(0);
};

} // namespace marvo
