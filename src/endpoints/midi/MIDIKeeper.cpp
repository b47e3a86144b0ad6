#include "endpoints/midi/MIDIKeeper.h"

#include "platform/Clock.h"

#include <algorithm>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <time.h>
#include <unistd.h>

namespace marvo {

MIDIKeeper::MIDIKeeper(std::vector<std::unique_ptr<MIDIBackend>> backends)
    : backends_(std::move(backends)), wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

MIDIKeeper::~MIDIKeeper() {
    if (thread_.joinable()) thread_.detach(); // the thread itself lets go last
    ::close(wake_);
}

std::shared_ptr<MIDIKeeper> MIDIKeeper::make(std::vector<std::unique_ptr<MIDIBackend>> backends) {
    const std::shared_ptr<MIDIKeeper> keeper(new MIDIKeeper(std::move(backends)));
    keeper->thread_ = std::thread([keeper] { keeper->run(); });
    std::unique_lock hold(keeper->lock_);
    keeper->changed_.wait_for(hold, longestFirstLook, [&] { return keeper->lookedOnce_; });
    return keeper;
}

void MIDIKeeper::stop() {
    stopping_.store(true);
    kick();
    std::unique_lock hold(lock_);
    const bool ended = changed_.wait_for(hold, longestStop, [this] { return ended_; });
    hold.unlock();
    if (ended)
        thread_.join();
    else
        thread_.detach(); // the sound system does not return; the thread holds what it needs
}

void MIDIKeeper::kick() const {
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t result = ::write(wake_, &one, sizeof one);
}

void MIDIKeeper::wait(std::chrono::milliseconds longest) const {
    pollfd waited{wake_, POLLIN, 0};
    poll(&waited, 1, static_cast<int>(longest.count()));
    std::uint64_t count = 0;
    [[maybe_unused]] const ssize_t result = ::read(wake_, &count, sizeof count);
}

void MIDIKeeper::run() {
    pthread_setname_np(pthread_self(), "marvo-midi");
    while (!stopping_.load()) {
        if (!session_) openSession();
        if (session_) {
            const std::string ended = session_->ended();
            if (!ended.empty()) {
                loseSession(ended);
                continue; // the sound system may be back already
            }
            lookIfNeeded();
            reconcile();
        }
        bool isClosing = false;
        {
            const std::lock_guard hold(lock_);
            lookedOnce_ = true;
            for (const auto& entry : outputs_) isClosing |= entry->closing;
        }
        changed_.notify_all();
        wait(!session_ ? retryInterval : isClosing ? closingInterval : lookInterval);
    }
    closeAll();
    const std::lock_guard hold(lock_);
    ended_ = true;
    changed_.notify_all();
}

void MIDIKeeper::openSession() {
    std::string reasons;
    for (const auto& backend : backends_) {
        std::string reason;
        session_ = backend->open({[this] { kick(); }, outputWakeup_}, reason);
        if (session_) {
            crashSession_.store(session_.get());
            {
                const std::lock_guard hold(lock_);
                kind_ = backend->kind();
                hasSession_ = true;
                // Destinations first have to be seen.
                for (const auto& entry : outputs_) entry->port->queue.setAccepting(entry->port->id.empty());
            }
            setSessionTrouble("");
            look();
            return;
        }
        reasons += (reasons.empty() ? "" : "; ") + reason;
    }
    setSessionTrouble(reasons.empty() ? "there is no sound system" : reasons);
}

void MIDIKeeper::loseSession(const std::string& reason) {
    crashSession_.store(nullptr);
    waitWhileCrashing();
    std::vector<std::shared_ptr<OutEntry>> outputs;
    {
        const std::lock_guard hold(lock_);
        hasSession_ = false;
        kind_ = away;
        endpoints_ = {};
        known_ = {};
        outputs = outputs_;
        for (const auto& entry : outputs_) {
            entry->port->queue.setAccepting(false);
            entry->closing = false;
        }
        for (const auto& entry : inputs_) {
            entry->open = false;
            entry->nextTry = {};
        }
    }
    session_.reset();
    for (const auto& entry : outputs) {
        // Also of those that were not opened yet: what waits is too late when the port is there.
        entry->port->queue.portLost();
        entry->open = false;
        entry->nextTry = {};
    }
    sourceNames_.assign({});
    destinationNames_.assign({});
    setSessionTrouble(reason);
    const std::lock_guard hold(tellLock_);
    if (tellSetupChanged_) tellSetupChanged_();
}

MIDIEndpoints MIDIKeeper::named(const MIDIFoundEndpoints& found, MIDIEndpointNames& sources,
                                MIDIEndpointNames& destinations, Known& known) {
    const auto list = [](const std::vector<MIDIFoundEndpoint>& from, MIDIEndpointNames& names,
                         std::map<std::string, std::string>& addresses) {
        std::vector<MIDIEndpointNames::Device> devices;
        for (const MIDIFoundEndpoint& one : from) devices.push_back({one.key, one.baseName});
        const std::vector<std::string> given = names.assign(devices);
        std::vector<MIDIEndpoint> endpoints;
        for (std::size_t i = 0; i < from.size(); ++i) {
            endpoints.push_back({from[i].keyLasts ? from[i].key : given[i], given[i]});
            addresses[endpoints.back().id] = from[i].address;
        }
        return endpoints;
    };
    return {list(found.sources, sources, known.sources),
            list(found.destinations, destinations, known.destinations)};
}

void MIDIKeeper::lookIfNeeded() {
    const auto now = Time::now();
    if (session_->takeSetupChanged()) settledAt_ = now + settling;
    if (now < settledAt_ || now - lookedAt_ >= longestUnseen) look();
}

void MIDIKeeper::look() {
    lookedAt_ = Time::now();
    Known known;
    const MIDIEndpoints endpoints = named(session_->look(), sourceNames_, destinationNames_, known);
    tellLost(known); // before others hear of it and let go
    {
        const std::lock_guard hold(lock_);
        const bool same = endpoints == endpoints_;
        endpoints_ = endpoints;
        known_ = std::move(known);
        if (same) return;
    }
    tellReturned();
    const std::lock_guard hold(tellLock_);
    if (tellSetupChanged_) tellSetupChanged_();
}

void MIDIKeeper::tellLost(const Known& known) {
    std::vector<std::string> names;
    {
        const std::lock_guard hold(lock_);
        for (const auto& entry : outputs_) {
            const MIDIOutPort& port = *entry->port;
            const bool isUsed = entry->open && port.held.load() && !port.id.empty();
            if (isUsed && !known.destinations.contains(port.id)) names.push_back(port.name);
        }
    }
    for (const std::string& name : names) {
        if (lost_.insert(name).second) tell({name, "it is not connected any more", true});
    }
}

void MIDIKeeper::tellReturned() {
    for (const MIDIEndpoint& endpoint : endpoints().destinations) {
        if (lost_.erase(endpoint.name) != 0) tell({endpoint.name, "it is not connected any more", false});
    }
}

std::string_view MIDIKeeper::kind() const {
    const std::lock_guard hold(lock_);
    return kind_;
}

std::string MIDIKeeper::whyAway() const {
    const std::lock_guard hold(tellLock_);
    const auto found = troubles_.find("");
    return found == troubles_.end() ? "" : found->second;
}

MIDIEndpoints MIDIKeeper::endpoints() const {
    const std::lock_guard hold(lock_);
    return endpoints_;
}

void MIDIKeeper::onSetupChanged(std::function<void()> tell) {
    const std::lock_guard hold(tellLock_);
    tellSetupChanged_ = std::move(tell);
}

void MIDIKeeper::onTrouble(std::function<void(const MIDITrouble&)> tell) {
    const std::lock_guard hold(tellLock_);
    tellTrouble_ = std::move(tell);
    if (!tellTrouble_) return;
    for (const auto& [port, reason] : troubles_) tellTrouble_({port, reason, true});
}

void MIDIKeeper::tell(const MIDITrouble& trouble) {
    const std::lock_guard hold(tellLock_);
    if (trouble.began)
        troubles_[trouble.port] = trouble.reason;
    else
        troubles_.erase(trouble.port);
    if (tellTrouble_) tellTrouble_(trouble);
}

void MIDIKeeper::setSessionTrouble(const std::string& reason) {
    // While it lasts it is one trouble, however its reason changes.
    if (sessionTrouble_.empty() == reason.empty()) return;
    tell({"", reason.empty() ? sessionTrouble_ : reason, !reason.empty()});
    sessionTrouble_ = reason;
}

void MIDIKeeper::closeAll() {
    std::vector<std::shared_ptr<OutEntry>> outputs;
    {
        const std::lock_guard hold(lock_);
        outputs = outputs_;
        hasSession_ = false;
    }
    const std::uint64_t now = MonotonicClock().now().nanoseconds;
    for (const auto& entry : outputs) entry->port->queue.beginClosing(now);
    wakeOutputs();
    const auto end = Time::now() + longestClosing;
    const auto flushed = [](const auto& entry) { return !entry->open || entry->port->queue.isFlushed(); };
    while (session_ && session_->ended().empty() && Time::now() < end &&
           !std::all_of(outputs.begin(), outputs.end(), flushed)) {
        std::this_thread::sleep_for(closingInterval);
    }
    crashSession_.store(nullptr);
    waitWhileCrashing();
    session_.reset();
}

void MIDIKeeper::waitWhileCrashing() const {
    while (crashing_.load()) std::this_thread::sleep_for(retryInterval); // the process ends meanwhile
}

void MIDIKeeper::flushNotesOnCrash() noexcept {
    MIDISession* const session = crashSession_.load();
    if (!session || crashing_.exchange(true)) return;
    session->beginCrash();
    for (int i = 0; i < 50 && !session->crashIsOver(); ++i) {
        const timespec millisecond{0, 1'000'000};
        nanosleep(&millisecond, nullptr);
    }
}

} // namespace marvo
