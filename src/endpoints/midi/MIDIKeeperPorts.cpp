// How the keeper opens and closes ports.
#include "endpoints/midi/MIDIKeeper.h"

#include "platform/Clock.h"

#include <algorithm>

namespace marvo {

std::shared_ptr<MIDIOutPort> MIDIKeeper::addSender(const std::string& name) {
    auto entry = std::make_shared<OutEntry>();
    entry->port = std::make_shared<MIDIOutPort>(name, "");
    entry->port->wanted.store(true);
    {
        const std::lock_guard hold(lock_);
        entry->port->queue.setAccepting(hasSession_);
        outputs_.push_back(entry);
    }
    kick();
    return entry->port;
}

std::shared_ptr<MIDIOutPort> MIDIKeeper::addDestination(const MIDIEndpoint& endpoint) {
    const std::lock_guard hold(lock_);
    if (!known_.destinations.contains(endpoint.id)) return nullptr;
    for (const auto& entry : outputs_) {
        // Notes may sound there since it was lost.
        const bool isIt = entry->port->id == endpoint.id && entry->port->name == endpoint.name;
        if (!isIt || entry->spent || entry->port->held.load()) continue;
        entry->port->held.store(true);
        entry->port->queue.setAccepting(true);
        return entry->port;
    }
    auto entry = std::make_shared<OutEntry>();
    entry->port = std::make_shared<MIDIOutPort>(endpoint.name, endpoint.id);
    outputs_.push_back(entry);
    return entry->port;
}

std::shared_ptr<MIDIInPort> MIDIKeeper::addReceiver(const std::string& name,
                                                    std::shared_ptr<MIDIInputReceiver> receiver) {
    auto entry = std::make_shared<InEntry>();
    {
        const std::lock_guard hold(lock_);
        entry->port = std::make_shared<MIDIInPort>(name, "", nextNumber_++, std::move(receiver));
        inputs_.push_back(entry);
    }
    kick();
    return entry->port;
}

std::shared_ptr<MIDIInPort> MIDIKeeper::addSource(const MIDIEndpoint& endpoint,
                                                  std::shared_ptr<MIDIInputReceiver> receiver) {
    auto entry = std::make_shared<InEntry>();
    {
        const std::lock_guard hold(lock_);
        if (!known_.sources.contains(endpoint.id)) return nullptr;
        entry->port =
            std::make_shared<MIDIInPort>(endpoint.name, endpoint.id, nextNumber_++, std::move(receiver));
        inputs_.push_back(entry);
    }
    kick();
    return entry->port;
}

void MIDIKeeper::reconcile() {
    std::vector<std::shared_ptr<OutEntry>> outputs;
    std::vector<std::shared_ptr<InEntry>> inputs;
    {
        const std::lock_guard hold(lock_);
        outputs = outputs_;
        inputs = inputs_;
    }
    for (const auto& entry : outputs) finishClosing(*entry);
    for (const auto& entry : outputs) reconcileOutput(*entry);
    for (const auto& entry : inputs) reconcileInput(*entry);

    const std::lock_guard hold(lock_);
    std::erase_if(outputs_, [](const auto& entry) {
        // What sounded when it was lost is ended when it returns, whoever asks for it then.
        return !entry->open && !entry->port->held.load() &&
               (entry->port->id.empty() || !entry->port->queue.owesNoteOffs());
    });
    std::erase_if(inputs_, [](const auto& entry) { return !entry->open && !entry->port->held.load(); });
}

void MIDIKeeper::finishClosing(OutEntry& entry) {
    if (!entry.open) return;
    {
        const std::lock_guard hold(lock_);
        if (entry.port->held.load()) return;
        if (!entry.closing) {
            entry.closing = true;
            entry.spent = true;
            entry.closingSince = Time::now();
            entry.port->queue.beginClosing(MonotonicClock().now().nanoseconds);
            wakeOutputs();
        }
    }
    if (!entry.port->queue.isFlushed() && Time::now() - entry.closingSince < longestClosing) return;
    session_->close(*entry.port);
    entry.open = false;
}

bool MIDIKeeper::sameNameIsClosing(const OutEntry& entry) {
    const std::lock_guard hold(lock_);
    return std::any_of(outputs_.begin(), outputs_.end(), [&](const auto& other) {
        return other->open && other->closing && other->port->name == entry.port->name;
    });
}

void MIDIKeeper::loseOutput(OutEntry& entry) {
    {
        const std::lock_guard hold(lock_);
        entry.port->queue.setAccepting(false);
        entry.closing = false;
    }
    if (entry.open) session_->close(*entry.port);
    entry.open = false;
    entry.port->queue.portLost();
}

template <class Port>
std::optional<std::string> MIDIKeeper::openPort(Entry<Port>& entry, const std::string& address) {
    if (Time::now() < entry.nextTry) return std::nullopt;
    std::string reason = session_->open(entry.port, address);
    entry.open = reason.empty();
    entry.address = address;
    entry.nextTry = entry.open ? Time::time_point{} : Time::now() + retryInterval;
    return reason;
}

void MIDIKeeper::reconcileOutput(OutEntry& entry) {
    MIDIOutPort& port = *entry.port;
    const bool isVirtual = port.id.empty();
    const bool isHeld = port.held.load();
    bool isThere = true;
    std::string address;
    if (!isVirtual) {
        const std::lock_guard hold(lock_);
        const auto found = known_.destinations.find(port.id);
        isThere = found != known_.destinations.end();
        if (isThere) address = found->second;
    }
    // Plugged in again behind our back, it has another address.
    if (!isThere || (entry.open && entry.address != address)) loseOutput(entry);
    if (!isThere || entry.open) return;

    const bool isNeeded = (isHeld && port.wanted.load()) || (!isVirtual && port.queue.owesNoteOffs());
    if (isNeeded && sameNameIsClosing(entry)) return;
    std::optional<std::string> trouble;
    if (isNeeded) trouble = openPort(entry, address);
    const bool works = !isNeeded || entry.open;
    if (!works) port.queue.portLost(); // nobody feeds from it, and what waits is too late already
    {
        const std::lock_guard hold(lock_);
        port.queue.setAccepting(works && port.held.load()); // it may have been taken up again meanwhile
    }
    if (trouble) setTrouble(entry, *trouble); // who hears of its end may send at once
}

void MIDIKeeper::reconcileInput(InEntry& entry) {
    MIDIInPort& port = *entry.port;
    std::string address;
    bool isThere = port.held.load();
    if (isThere && !port.id.empty()) {
        const std::lock_guard hold(lock_);
        const auto found = known_.sources.find(port.id);
        isThere = found != known_.sources.end();
        if (isThere) address = found->second;
    }
    if (entry.open && (!isThere || entry.address != address)) {
        session_->close(port);
        entry.open = false;
    }
    if (!isThere || entry.open) return;
    if (const auto trouble = openPort(entry, address)) setTrouble(entry, *trouble);
}

template <class Port>
void MIDIKeeper::setTrouble(Entry<Port>& entry, const std::string& reason) {
    if (entry.trouble.empty() == reason.empty()) return;
    tell({entry.port->name, reason.empty() ? entry.trouble : reason, !reason.empty()});
    entry.trouble = reason;
}

} // namespace marvo
