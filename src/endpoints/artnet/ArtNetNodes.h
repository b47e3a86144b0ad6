// The devices that have answered, and which universes they asked for. One thread at a time.
//
// A device that is not heard for ten seconds is gone: three questions went unanswered. The table is bounded;
// when it is full, those who are in it stay and newcomers wait.
#pragma once

#include "endpoints/artnet/ArtNetPacket.h"
#include "endpoints/artnet/ArtNetTypes.h"
#include "endpoints/artnet/UniverseSet.h"
#include "platform/Clock.h"

#include <array>
#include <cstddef>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace marvo {

class ArtNetNodes {
public:
    static constexpr Duration timeOut = Duration::ofSeconds(10);
    static constexpr std::size_t largestCount = 1024;

    // The network that replies may speak for; an address outside of it is replaced by the sender's. Another
    // network than before has other devices.
    void setNetwork(const ArtNetAddresses& network);

    // Each tells whether list() has changed.
    bool heard(const ArtPollReply& reply, IPv4Address from, MonotonicTime now);
    bool expire(MonotonicTime now);
    void clear() { entries_.clear(); }

    std::size_t count() const { return entries_.size(); }
    std::vector<ArtNetNode> list() const;
    // For each universe the addresses that asked for it, each once: by an output port, or, as the standard
    // has it, by an input port.
    void collectSubscribers(std::array<std::vector<IPv4Address>, universeCount>& subscribers) const;
    // The universes that some output port takes.
    UniverseSet received() const;

private:
    struct Port {
        bool isOutput = false;
        bool isInput = false;
        std::uint8_t outputUniverse = 0;
        std::uint8_t inputUniverse = 0;
        bool operator==(const Port&) const = default;
    };
    // A device with more than four ports answers several times, each with a number of its own.
    struct Entry {
        std::string name;
        std::array<Port, ArtPollReply::portCount> ports{};
        bool operator==(const Entry&) const = default;
    };
    struct Known {
        Entry entry;
        MonotonicTime heard;
    };
    using Key = std::pair<IPv4Address, std::uint8_t>;

    std::map<Key, Known> entries_;
    ArtNetAddresses network_;
};

} // namespace marvo
