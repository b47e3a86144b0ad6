// Who may be a JACK client of this process, and when.
//
// The JACK library takes it ill when a process opens a client after the server has died while another client
// of the process is still there: it frees that other one under its owner's hands. So whoever has a client
// says so here; after a death all leave before the first comes back.
//
// Thread-safe. The application makes one and hands it to all who speak to JACK.
#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <utility>

namespace marvo {

class JackAdmission {
    struct State {
        std::mutex lock;
        int clients = 0;
        bool serverDied = false;
    };

public:
    // Held from before the client is opened until after it was closed.
    class Ticket {
    public:
        Ticket(Ticket&& other) noexcept = default;
        Ticket& operator=(Ticket&& other) = delete;
        ~Ticket() {
            if (!state_) return;
            const std::lock_guard hold(state_->lock);
            --state_->clients;
        }
        // The server has gone, or does not answer any more.
        void serverDied() const {
            const std::lock_guard hold(state_->lock);
            state_->serverDied = true;
        }

    private:
        friend class JackAdmission;
        explicit Ticket(std::shared_ptr<State> state) : state_(std::move(state)) {}
        std::shared_ptr<State> state_;
    };

    // None while clients of a server that died have not left yet.
    std::optional<Ticket> admit() const {
        const std::lock_guard hold(state_->lock);
        if (state_->serverDied && state_->clients > 0) return std::nullopt;
        state_->serverDied = false;
        ++state_->clients;
        return Ticket(state_);
    }

private:
    const std::shared_ptr<State> state_ = std::make_shared<State>();
};

} // namespace marvo
