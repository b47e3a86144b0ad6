// Any bytes as a packet from the network: what can be read must be written and read back to the same, and no
// packet may upset those who keep what they heard.
#include "endpoints/artnet/ArtNetInput.h"
#include "endpoints/artnet/ArtNetNodes.h"
#include "endpoints/artnet/ArtNetPacket.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

namespace {

void expect(bool holds) {
    if (!holds) std::abort();
}

template <class Message>
std::vector<std::byte> encoded(const Message& message) {
    std::vector<std::byte> space(600);
    const std::size_t size = encodeArtNet(message, space);
    expect(size != 0);
    space.resize(size);
    return space;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace marvo;
    const auto packet = std::as_bytes(std::span(data, size));
    const ArtNetOpcode opcode = artNetOpcodeOf(packet);
    const MonotonicTime now(1'000'000'000);
    const IPv4Address from{0x0a000005};

    ArtPoll poll;
    if (decodeArtNet(packet, poll)) {
        expect(opcode == ArtNetOpcode::poll);
        ArtPoll back;
        expect(decodeArtNet(encoded(poll), back) && back == poll);
    }
    ArtDmx dmx;
    if (decodeArtNet(packet, dmx)) {
        expect(opcode == ArtNetOpcode::dmx && !dmx.data.empty() && dmx.data.size() <= ArtDmx::largestData);
        const auto once = encoded(dmx);
        ArtDmx back;
        expect(decodeArtNet(once, back) && back.sequence == dmx.sequence &&
               back.portAddress == dmx.portAddress &&
               std::equal(back.data.begin(), back.data.end(), dmx.data.begin(), dmx.data.end()));
        ArtNetInput input;
        input.listenTo(dmx.portAddress);
        expect(input.received(dmx, from, now).size() == dmx.data.size());
        expect(input.received(dmx, from, now).empty());
    }
    ArtPollReply reply;
    if (decodeArtNet(packet, reply)) {
        expect(opcode == ArtNetOpcode::pollReply);
        ArtPollReply back;
        expect(decodeArtNet(encoded(reply), back) && back == reply);
        ArtNetNodes nodes;
        nodes.setNetwork({{0x0a000009}, {0xff000000}, {0x0affffff}, {}});
        expect(nodes.heard(reply, from, now) && !nodes.heard(reply, from, now));
        for (const ArtNetNode& node : nodes.list())
            expect(node.subnet >= 0 && node.subnet < 16 && node.universe >= 0 && node.universe < 16);
        auto subscribers = std::make_unique<std::array<std::vector<IPv4Address>, universeCount>>();
        nodes.collectSubscribers(*subscribers);
    }
    ArtSync sync;
    if (decodeArtNet(packet, sync)) expect(opcode == ArtNetOpcode::sync);
    return 0;
}
