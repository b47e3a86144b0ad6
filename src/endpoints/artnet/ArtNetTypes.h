// What the Art-Net server and those above it exchange.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace marvo {

// One port of a discovered node.
struct ArtNetNode {
    std::string name;
    std::string ip;
    int port = 1; // of the node, from 1
    int subnet = 0;
    int universe = 0;
    std::string direction; // "Receiver" takes DMX from the network, "Sender" brings it

    bool isReceiver() const { return direction == "Receiver"; }
    bool operator==(const ArtNetNode&) const = default;
};

// The universe that is listened to.
struct ArtNetInputSettings {
    int subnet = 0;
    int universe = 0;

    int universeIndex() const { return subnet * 16 + universe; }
    bool operator==(const ArtNetInputSettings&) const = default;
};

// A channel that came in: index from 0, value from 0 to 255.
struct DMXPair {
    std::int32_t index = 0;
    std::int32_t value = 0;

    bool operator==(const DMXPair&) const = default;
};

// Something is wrong with Art-Net, or has become right again. Each change is told once.
struct ArtNetTrouble {
    std::string what; // one line for the user
    bool began = true;
};

// Told by the server, on a thread of its own.
class ArtNetServerDelegate {
public:
    virtual ~ArtNetServerDelegate() = default;
    virtual void updateNodeList() = 0;
    // The channels of the input universe that changed; all of them with the first packet. Never empty, valid
    // during the call only.
    virtual void artDMXReceived(std::span<const DMXPair> changes) = 0;
    virtual void artNetTrouble(const ArtNetTrouble& trouble) = 0;
};

} // namespace marvo
