#include "endpoints/artnet/ArtNetNodes.h"

#include <algorithm>

namespace marvo {
namespace {

// What a device calls itself, fit for a table of one line.
std::string nameOf(const ArtPollReply& reply) {
    std::string name(reply.shortNameText());
    for (char& character : name) {
        if (character < ' ' || character > '~') character = '?';
    }
    return name;
}

} // namespace

void ArtNetNodes::setNetwork(const ArtNetAddresses& network) {
    const bool same = network_.own == network.own && network_.mask == network.mask;
    network_ = network;
    if (!same) clear();
}

bool ArtNetNodes::heard(const ArtPollReply& reply, IPv4Address from, MonotonicTime now) {
    Entry entry;
    entry.name = nameOf(reply);
    for (std::size_t index = 0; index < ArtPollReply::portCount && index < reply.numPorts; ++index) {
        // Nets other than 0 lie beyond the 256 universes.
        if ((reply.netSwitch & 0x7f) != 0) break;
        Port& port = entry.ports[index];
        port.isOutput = (reply.portTypes[index] & ArtPollReply::portIsOutput) != 0;
        port.isInput = (reply.portTypes[index] & ArtPollReply::portIsInput) != 0;
        if (port.isOutput)
            port.outputUniverse = static_cast<std::uint8_t>(reply.portAddressOf(reply.swOut[index]));
        if (port.isInput)
            port.inputUniverse = static_cast<std::uint8_t>(reply.portAddressOf(reply.swIn[index]));
    }
    const Key key{network_.isOnNetwork(reply.address) ? reply.address : from, reply.bindIndex};
    const auto known = entries_.find(key);
    if (known == entries_.end()) {
        if (entries_.size() >= largestCount) return false;
        entries_.emplace(key, Known{std::move(entry), now});
        return true;
    }
    known->second.heard = now;
    if (known->second.entry == entry) return false;
    known->second.entry = std::move(entry);
    return true;
}

bool ArtNetNodes::expire(MonotonicTime now) {
    return std::erase_if(entries_, [&](const auto& one) { return now - one.second.heard > timeOut; }) != 0;
}

std::vector<ArtNetNode> ArtNetNodes::list() const {
    std::vector<ArtNetNode> nodes;
    IPv4Address device;
    int number = 0;
    for (const auto& [key, known] : entries_) {
        if (key.first != device) number = 0;
        device = key.first;
        for (const Port& port : known.entry.ports) {
            if (!port.isOutput && !port.isInput) continue;
            ++number;
            const std::string ip = device.text();
            if (port.isOutput)
                nodes.push_back({known.entry.name, ip, number, port.outputUniverse / 16,
                                 port.outputUniverse % 16, "Receiver"});
            if (port.isInput)
                nodes.push_back({known.entry.name, ip, number, port.inputUniverse / 16,
                                 port.inputUniverse % 16, "Sender"});
        }
    }
    return nodes;
}

void ArtNetNodes::collectSubscribers(std::array<std::vector<IPv4Address>, universeCount>& subscribers) const {
    for (auto& list : subscribers) list.clear();
    const auto add = [&](std::uint8_t universe, IPv4Address address) {
        auto& list = subscribers[universe];
        // A device's entries stand together, so the same address can only be the last.
        if (list.empty() || list.back() != address) list.push_back(address);
    };
    for (const auto& [key, known] : entries_) {
        for (const Port& port : known.entry.ports) {
            if (port.isOutput) add(port.outputUniverse, key.first);
            if (port.isInput) add(port.inputUniverse, key.first);
        }
    }
}

UniverseSet ArtNetNodes::received() const {
    UniverseSet universes;
    for (const auto& [key, known] : entries_) {
        for (const Port& port : known.entry.ports) {
            if (port.isOutput) universes.insert(port.outputUniverse);
        }
    }
    return universes;
}

} // namespace marvo
