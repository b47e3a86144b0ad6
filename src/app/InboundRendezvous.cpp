#include "app/InboundRendezvous.h"

namespace marvo {

void InboundRendezvous::runOnMain(std::function<void()> block) {
    if (mainThread_.isCurrent()) {
        block();
        return;
    }
    const auto done = std::make_shared<bool>(false);
    mainThread_.async([this, done, block = std::move(block)] {
        block();
        const std::lock_guard hold(lock_);
        *done = true;
        changed_.notify_all();
    });
    std::unique_lock hold(lock_);
    changed_.wait(hold, [&] { return *done || released_ > 0; });
}

InboundRendezvous::Release::Release(InboundRendezvous& rendezvous) : rendezvous_(rendezvous) {
    const std::lock_guard hold(rendezvous_.lock_);
    ++rendezvous_.released_;
    rendezvous_.changed_.notify_all();
}

InboundRendezvous::Release::~Release() {
    const std::lock_guard hold(rendezvous_.lock_);
    --rendezvous_.released_;
}

} // namespace marvo
