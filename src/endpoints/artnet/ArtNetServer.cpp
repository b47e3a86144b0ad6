#include "endpoints/artnet/ArtNetServer.h"

#include <algorithm>
#include <cstring>
#include <pthread.h>
#include <utility>

namespace marvo {

ArtNetServer::ArtNetServer(ArtNetTransport& transport, const Clock& clock, ArtNetServerOptions options)
    : transport_(transport), clock_(clock), options_(std::move(options)),
      discovery_(options_.shortName, options_.longName), sender_(handOver_, routes_) {}

ArtNetServer::~ArtNetServer() {
    if (!receiver_.joinable()) return;
    stopping_.store(true, std::memory_order_release);
    {
        const std::lock_guard hold(stateLock_);
        if (port_) port_->wake();
    }
    receiverWake_.wake();
    receiver_.join();
}

void ArtNetServer::setDelegate(ArtNetServerDelegate* delegate) {
    const std::lock_guard hold(delegateLock_);
    delegate_ = delegate;
}

bool ArtNetServer::startManagerWithIPAddress(std::string_view represented,
                                             const std::optional<ArtNetInputSettings>& inputSettings) {
    startError_.clear();
    std::shared_ptr<ArtNetPort> fresh;
    if (represented != "none") {
        const auto address = IPv4Address::fromText(std::string(represented.substr(0, represented.find(' '))));
        if (address) {
            fresh = transport_.open(*address, startError_);
        } else {
            startError_ = "the link has no IPv4 address";
        }
    }
    std::shared_ptr<ArtNetPort> former;
    {
        const std::lock_guard hold(stateLock_);
        former = std::exchange(port_, fresh);
        discovery_.start(fresh, inputSettings, clock_.now());
        input_.listenTo(fresh && inputSettings ? std::optional(inputSettings->universeIndex())
                                               : std::nullopt);
        publishRoutes();
    }
    // Nobody sends through the former port any more; the one who listens to it is told to look for another.
    if (former) former->wake();
    if (fresh) startThreads();
    receiverWake_.wake();
    return fresh != nullptr || represented == "none";
}

void ArtNetServer::startDiscoverDevices() {
    std::shared_ptr<ArtNetPort> port;
    {
        const std::lock_guard hold(stateLock_);
        discovery_.pollNow();
        port = port_;
    }
    if (port) port->wake();
}

std::vector<ArtNetNode> ArtNetServer::listOfNodes() const {
    const std::lock_guard hold(stateLock_);
    return discovery_.nodes().list();
}

std::vector<std::string> ArtNetServer::outputsWithoutListener() const {
    const std::lock_guard hold(stateLock_);
    return discovery_.outputsWithoutListener(clock_.now());
}

void ArtNetServer::setSentUniverses(std::vector<ArtNetSentUniverse> universes) {
    UniverseSet set;
    for (const ArtNetSentUniverse& one : universes) set.insert(one.universe);
    {
        const std::lock_guard hold(stateLock_);
        discovery_.setSentUniverses(std::move(universes), clock_.now());
        publishRoutes();
    }
    // What leaves from now on leaves with the values that it has by now.
    for (std::size_t word = 0; word < UniverseSet::wordCount; ++word) {
        const std::uint64_t before = leaving_[word].exchange(set.words[word]);
        set.words[word] &= ~before;
    }
    set.forEach([this](int universe) { buffer_.markChanged(universe); });
}

void ArtNetServer::setSync(bool sync) {
    const std::lock_guard hold(stateLock_);
    discovery_.setSync(sync);
    publishRoutes();
}

bool ArtNetServer::sendAllDMXData() {
    UniverseSet leaving;
    for (std::size_t word = 0; word < UniverseSet::wordCount; ++word)
        leaving.words[word] = leaving_[word].load(std::memory_order_relaxed);
    const DMXHandOver::Captured captured = handOver_.capture(buffer_, leaving);
    if (captured == DMXHandOver::Captured::something && senderSleeps_.exchange(false)) senderWake_.wake();
    return captured != DMXHandOver::Captured::notNow;
}

// Under stateLock_.
void ArtNetServer::publishRoutes() {
    auto fresh = std::make_unique<ArtNetRoutes>(discovery_.makeRoutes());
    UniverseSet gained;
    {
        const auto former = routes_.read();
        fresh->leaving.forEach([&](int universe) {
            const auto before = former->destinationsOf(universe);
            for (const IPv4Address to : fresh->destinationsOf(universe)) {
                if (std::find(before.begin(), before.end(), to) == before.end()) gained.insert(universe);
            }
        });
        if (former->port != fresh->port) gained = fresh->leaving;
    }
    nodesToProcess_.store(!ArtNetDiscovery::servedOf(*fresh).isEmpty(), std::memory_order_relaxed);
    routes_.publish(std::move(fresh));
    routesChanged_ = false;
    sender_.sendAgain(gained);
    senderWake_.wake();
}

bool ArtNetServer::handle(const ArtNetReceived& datagram, MonotonicTime now) {
    switch (artNetOpcodeOf(datagram.bytes)) {
    case ArtNetOpcode::dmx: {
        ArtDmx dmx;
        if (!decodeArtNet(datagram.bytes, dmx)) return false;
        std::span<const DMXPair> changes;
        {
            const std::lock_guard hold(stateLock_);
            changes = input_.received(dmx, datagram.from, now);
        }
        if (changes.empty()) return false;
        const std::lock_guard hold(delegateLock_);
        if (delegate_) delegate_->artDMXReceived(changes);
        return false;
    }
    case ArtNetOpcode::pollReply: {
        ArtPollReply reply;
        if (!decodeArtNet(datagram.bytes, reply)) return false;
        const std::lock_guard hold(stateLock_);
        return discovery_.received(reply, datagram.from, now);
    }
    case ArtNetOpcode::poll: {
        ArtPoll poll;
        if (!decodeArtNet(datagram.bytes, poll)) return false;
        const std::lock_guard hold(stateLock_);
        discovery_.received(poll, datagram.from, now);
        return false;
    }
    case ArtNetOpcode::sync:
    case ArtNetOpcode::unknown:
        break;
    }
    return false;
}

MonotonicTime ArtNetServer::runReceiver(MonotonicTime now) {
    std::shared_ptr<ArtNetPort> port;
    {
        const std::lock_guard hold(stateLock_);
        port = port_;
    }
    bool nodesChanged = false;
    bool more = false;
    if (port) {
        const auto datagrams = port->receive();
        more = !datagrams.empty();
        for (const ArtNetReceived& datagram : datagrams) nodesChanged = handle(datagram, now) || nodesChanged;
    }
    bool tellNodes = false;
    std::vector<ArtNetTrouble> troubles;
    MonotonicTime next;
    {
        const std::lock_guard hold(stateLock_);
        nodesChanged = discovery_.keepUp(now) || nodesChanged;
        routesChanged_ = routesChanged_ || nodesChanged;
        if (routesChanged_ && nextRoutes_ <= now) {
            publishRoutes();
            nextRoutes_ = now + routesEvery;
            tellNodes = true;
        }
        if (nextTroubles_ <= now) {
            lookForTroubles(now, troubles);
            nextTroubles_ = now + troublesEvery;
        }
        next = std::min(discovery_.nextDeadline(), nextTroubles_);
        if (routesChanged_) next = std::min(next, nextRoutes_);
    }
    if (tellNodes || !troubles.empty()) {
        const std::lock_guard hold(delegateLock_);
        if (delegate_ && tellNodes) delegate_->updateNodeList();
        for (const ArtNetTrouble& trouble : troubles) {
            if (delegate_) delegate_->artNetTrouble(trouble);
        }
    }
    return more ? now : next;
}

void ArtNetServer::Trouble::update(const std::string& now, const char* over,
                                   std::vector<ArtNetTrouble>& tell) {
    if (now == text) return;
    tell.push_back({now.empty() ? over : now, !now.empty()});
    text = now;
}

void ArtNetServer::lookForTroubles(MonotonicTime now, std::vector<ArtNetTrouble>& tell) {
    std::string names;
    for (const std::string& name : discovery_.outputsWithoutListener(now)) {
        if (!names.empty()) names += ", ";
        names += name;
    }
    unheard_.update(names.empty() ? names : "No device listens to Art-Net output " + names,
                    "No Art-Net output is without a listening device any more", tell);
    const int error = port_ ? sender_.sendError() : 0;
    unsent_.update(error == 0 ? std::string() : std::string("Art-Net cannot send: ") + std::strerror(error),
                   "Art-Net sends again", tell);
}

// --- Threads

void ArtNetServer::startThreads() {
    if (!options_.ownThreads || receiver_.joinable()) return;
    receiver_ = std::thread([this] { receiveAll(); });
}

void ArtNetServer::receiveAll() {
    pthread_setname_np(pthread_self(), "marvo-artnet-in");
    RealtimeThread sending;
    RealtimeOptions options;
    options.name = "marvo-artnet";
    options.priority = 60; // below the render thread, which it must not delay
    options.bestEffort = true;
    options.lockMemory = false;
    options.holdCpuLatency = false;
    sending.start(options, [this](RealtimeThread& thread) { sendAll(thread); });
    while (!stopping_.load(std::memory_order_acquire)) {
        const MonotonicTime next = runReceiver(clock_.now());
        std::shared_ptr<ArtNetPort> port;
        {
            const std::lock_guard hold(stateLock_);
            port = port_;
        }
        if (port) {
            port->waitForInput(next);
        } else {
            receiverWake_.sleepUntil(next);
        }
    }
    sending.requestStop();
    senderWake_.wake();
    sending.join();
}

void ArtNetServer::sendAll(const RealtimeThread& thread) {
    // The other side is inside the hand-over for microseconds; it may need this processor to get out.
    constexpr Duration soon = Duration::ofMicroseconds(50);
    while (!thread.stopRequested()) {
        MonotonicTime next = sender_.run(clock_.now());
        if (sender_.isIdle()) {
            senderSleeps_.store(true);
            // Handed over before the mark could be seen: nobody wakes this thread for it.
            if (handOver_.isWaiting()) next = std::min(next, clock_.now() + soon);
        }
        senderWake_.sleepUntil(next);
        senderSleeps_.store(false);
    }
}

} // namespace marvo
