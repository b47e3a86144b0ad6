#include "endpoints/artnet/ArtNetDiscovery.h"

#include "endpoints/artnet/ArtNetSender.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace marvo {

ArtNetDiscovery::ArtNetDiscovery(std::string shortName, std::string longName)
    : shortName_(std::move(shortName)), longName_(std::move(longName)) {}

void ArtNetDiscovery::start(std::shared_ptr<ArtNetPort> port, std::optional<ArtNetInputSettings> input,
                            MonotonicTime now) {
    const bool wasRunning = port_ != nullptr;
    port_ = std::move(port);
    input_ = input;
    answers_.clear();
    if (!port_) return;
    nodes_.setNetwork(port_->addresses());
    // Those who went while nobody looked are found out by the next answers that do not come.
    if (!wasRunning) std::fill(sentSince_.begin(), sentSince_.end(), now);
    random_ = port_->addresses().own.value | 1u;
    nextPoll_ = now;
    nextExpiry_ = now;
}

void ArtNetDiscovery::setSentUniverses(std::vector<ArtNetSentUniverse> universes, MonotonicTime now) {
    std::vector<MonotonicTime> since;
    for (const ArtNetSentUniverse& one : universes) {
        MonotonicTime first = now;
        for (std::size_t index = 0; index < sent_.size(); ++index) {
            if (sent_[index].universe == one.universe) first = sentSince_[index];
        }
        since.push_back(first);
    }
    sent_ = std::move(universes);
    sentSince_ = std::move(since);
}

bool ArtNetDiscovery::received(const ArtPollReply& reply, IPv4Address from, MonotonicTime now) {
    if (!port_) return false;
    if (from == port_->addresses().own) {
        // What is sent to all comes back.
        ArtPollReply own = makeReply();
        own.nodeReport = reply.nodeReport;
        if (own == reply) return false;
    }
    return nodes_.heard(reply, from, now);
}

void ArtNetDiscovery::received(const ArtPoll& poll, IPv4Address from, MonotonicTime now) {
    // Of one's own address it is the own question, which was answered to all when it was asked.
    if (!port_ || from == port_->addresses().own) return;
    const int universe = input_ ? input_->universeIndex() : 0;
    if (!poll.asksFor(static_cast<std::uint16_t>(universe))) return;
    const auto waiting = [&](const Answer& answer) { return answer.to == from; };
    if (answers_.size() >= mostAnswersWaiting || std::any_of(answers_.begin(), answers_.end(), waiting))
        return;
    answers_.push_back({from, now + nextAnswerDelay()});
}

Duration ArtNetDiscovery::nextAnswerDelay() {
    random_ = random_ * 1664525u + 1013904223u;
    return Duration(longestAnswerDelay.nanoseconds / 256 * (random_ >> 24));
}

bool ArtNetDiscovery::keepUp(MonotonicTime now) {
    if (port_ && nextPoll_ <= now) {
        sendPoll();
        // The controller that asks answers too, to all.
        sendReply(port_->addresses().broadcast);
        nextPoll_ = now + pollEvery;
    }
    for (std::size_t index = 0; index < answers_.size();) {
        if (answers_[index].due > now) {
            ++index;
            continue;
        }
        sendReply(answers_[index].to);
        answers_.erase(answers_.begin() + static_cast<std::ptrdiff_t>(index));
    }
    if (nextExpiry_ > now) return false;
    nextExpiry_ = now + Duration::ofMilliseconds(500);
    return nodes_.expire(now);
}

MonotonicTime ArtNetDiscovery::nextDeadline() const {
    MonotonicTime next = port_ ? std::min(nextPoll_, nextExpiry_) : nextExpiry_;
    for (const Answer& answer : answers_) next = std::min(next, answer.due);
    return next;
}

void ArtNetDiscovery::sendPoll() {
    std::byte space[ArtPoll::encodedSize];
    ArtPoll poll;
    poll.flags = ArtPoll::replyOnChange;
    const std::size_t size = encodeArtNet(poll, space);
    const ArtNetDatagram datagram{space, size, port_->addresses().broadcast};
    port_->send({&datagram, 1});
}

void ArtNetDiscovery::sendReply(IPv4Address to) {
    ArtPollReply reply = makeReply();
    ++repliesSent_;
    char report[64];
    std::snprintf(report, sizeof report, "#0001 [%04u] Marvo runs", repliesSent_ % 10000);
    reply.setNodeReport(report);
    std::byte space[ArtPollReply::encodedSize];
    const std::size_t size = encodeArtNet(reply, space);
    const ArtNetDatagram datagram{space, size, to};
    port_->send({&datagram, 1});
}

ArtPollReply ArtNetDiscovery::makeReply() const {
    const ArtNetAddresses& addresses = port_->addresses();
    ArtPollReply reply;
    reply.address = addresses.own;
    reply.bindAddress = addresses.own;
    reply.bindIndex = 1;
    reply.hardwareAddress = addresses.hardware;
    reply.version = 1;
    reply.status1 = ArtPollReply::indicatorsNormal | ArtPollReply::addressesByPanel;
    reply.status2 = ArtPollReply::fifteenBitAddresses;
    reply.style = ArtPollReply::styleController;
    reply.setShortName(shortName_);
    reply.setLongName(longName_);
    if (input_) {
        reply.numPorts = 1;
        reply.portTypes[0] = ArtPollReply::portIsOutput;
        reply.goodOutput[0] = ArtPollReply::portIsOutput; // data is passed on
        reply.subSwitch = static_cast<std::uint8_t>(input_->subnet);
        reply.swOut[0] = static_cast<std::uint8_t>(input_->universe);
    }
    return reply;
}

ArtNetRoutes ArtNetDiscovery::makeRoutes() const {
    ArtNetRoutes routes;
    routes.port = port_;
    routes.sync = sync_;
    std::array<std::vector<IPv4Address>, universeCount> subscribers;
    nodes_.collectSubscribers(subscribers);
    for (const ArtNetSentUniverse& one : sent_) {
        routes.leaving.insert(one.universe);
        ArtNetRoutes::Universe& route = routes.universes[static_cast<std::size_t>(one.universe)];
        route.repeat =
            one.sending.constantRate > 0
                ? std::max(Duration(1'000'000'000 / one.sending.constantRate), ArtNetSender::spacing)
                : ArtNetSender::keepAlive;
        route.first = static_cast<std::uint32_t>(routes.destinations.size());
        const auto& listening = subscribers[static_cast<std::size_t>(one.universe)];
        if (!port_) {
            // Nobody is there.
        } else if (one.sending.broadcast || listening.size() > mostUnicasts) {
            routes.destinations.push_back(port_->addresses().broadcast);
        } else {
            routes.destinations.insert(routes.destinations.end(), listening.begin(), listening.end());
        }
        route.end = static_cast<std::uint32_t>(routes.destinations.size());
    }
    return routes;
}

UniverseSet ArtNetDiscovery::servedOf(const ArtNetRoutes& routes) {
    UniverseSet served;
    routes.leaving.forEach([&](int universe) {
        if (!routes.destinationsOf(universe).empty()) served.insert(universe);
    });
    return served;
}

std::vector<std::string> ArtNetDiscovery::outputsWithoutListener(MonotonicTime now) const {
    std::vector<std::string> names;
    if (!port_) return names;
    const UniverseSet received = nodes_.received();
    for (std::size_t index = 0; index < sent_.size(); ++index) {
        const ArtNetSentUniverse& one = sent_[index];
        if (one.sending.broadcast || received.contains(one.universe)) continue;
        if (now - sentSince_[index] > patience) names.push_back(one.displayedName);
    }
    return names;
}

} // namespace marvo
