// A network that the test makes up: keeps what leaves, brings what the test lets come in.
#pragma once

#include "endpoints/artnet/ArtNetPacket.h"
#include "endpoints/artnet/ArtNetTransport.h"

#include <cerrno>
#include <deque>
#include <limits>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace marvo {

inline IPv4Address address(const char* text) {
    return *IPv4Address::fromText(text);
}

inline double milliseconds(MonotonicTime since, MonotonicTime at) {
    return static_cast<double>((at - since).nanoseconds) / 1e6;
}

// One thread. Outlives its ports.
class ArtNetWire final : public ArtNetTransport {
public:
    struct Packet {
        MonotonicTime at;
        std::string to;
        std::vector<std::byte> bytes;

        ArtNetOpcode opcode() const { return artNetOpcodeOf(bytes); }
        ArtDmx dmx() const {
            ArtDmx dmx;
            decodeArtNet(bytes, dmx);
            return dmx;
        }
        ArtPollReply reply() const {
            ArtPollReply reply;
            decodeArtNet(bytes, reply);
            return reply;
        }
        int universe() const { return dmx().portAddress; }
        int value(int channel) const {
            return static_cast<int>(dmx().data[static_cast<std::size_t>(channel - 1)]);
        }
    };

    explicit ArtNetWire(const Clock& clock) : clock_(clock) {}

    std::set<std::string> busy; // held by other programs
    std::vector<std::string> opened;
    std::vector<Packet> sent;
    std::size_t room = std::numeric_limits<std::size_t>::max(); // datagrams until there is none
    int error = 0;                                              // of every send
    IPv4Address mask = address("255.255.255.0");

    std::unique_ptr<ArtNetPort> open(IPv4Address own, std::string& reason) override {
        if (busy.contains(own.text())) {
            reason = "port 6454 is in use";
            return nullptr;
        }
        opened.push_back(own.text());
        return std::make_unique<Port>(*this, own);
    }

    template <class Message>
    void bring(const Message& message, const char* from) {
        std::vector<std::byte> bytes(1500);
        bytes.resize(encodeArtNet(message, bytes));
        bringBytes(std::move(bytes), from);
    }
    void bringBytes(std::vector<std::byte> bytes, const char* from) {
        incoming_.emplace_back(std::move(bytes), address(from));
    }
    bool isRead() const { return incoming_.empty(); }

    std::vector<Packet> packets(ArtNetOpcode opcode, int universe = -1) const {
        std::vector<Packet> found;
        for (const Packet& packet : sent) {
            if (packet.opcode() == opcode && (universe < 0 || packet.universe() == universe))
                found.push_back(packet);
        }
        return found;
    }
    std::vector<Packet> dmx(int universe = -1) const { return packets(ArtNetOpcode::dmx, universe); }

private:
    class Port final : public ArtNetPort {
    public:
        Port(ArtNetWire& wire, IPv4Address own)
            : wire_(wire), addresses_{own, wire.mask, {own.value | ~wire.mask.value}, {2, 0, 0, 0, 0, 9}} {}
        const ArtNetAddresses& addresses() const override { return addresses_; }
        ArtNetSendResult send(std::span<const ArtNetDatagram> datagrams) override {
            ArtNetSendResult result;
            for (const ArtNetDatagram& datagram : datagrams) {
                if (wire_.error != 0) {
                    ++result.failed;
                    result.error = wire_.error;
                    continue;
                }
                if (wire_.room == 0) break;
                --wire_.room;
                ++result.sent;
                wire_.sent.push_back({wire_.clock_.now(), datagram.to.text(),
                                      std::vector(datagram.bytes, datagram.bytes + datagram.size)});
            }
            return result;
        }
        std::span<const ArtNetReceived> receive() override {
            read_.clear();
            list_.clear();
            while (!wire_.incoming_.empty() && read_.size() < largestBatch) {
                read_.push_back(std::move(wire_.incoming_.front()));
                wire_.incoming_.pop_front();
            }
            for (const auto& [bytes, from] : read_) list_.push_back({bytes, from});
            return list_;
        }
        void waitForInput(MonotonicTime) override {}
        void wake() override {}

    private:
        ArtNetWire& wire_;
        const ArtNetAddresses addresses_;
        std::deque<std::pair<std::vector<std::byte>, IPv4Address>> read_;
        std::vector<ArtNetReceived> list_;
    };

    const Clock& clock_;
    std::deque<std::pair<std::vector<std::byte>, IPv4Address>> incoming_;
};

// A device with ports that take these universes (of one subnet), as it answers a poll.
inline ArtPollReply nodeReply(const char* ip, std::initializer_list<int> universes, const char* name = "node",
                              int bindIndex = 1) {
    ArtPollReply reply;
    reply.address = address(ip);
    reply.bindIndex = static_cast<std::uint8_t>(bindIndex);
    reply.setShortName(name);
    for (const int universe : universes) {
        reply.subSwitch = static_cast<std::uint8_t>(universe / 16);
        reply.portTypes[reply.numPorts] = ArtPollReply::portIsOutput;
        reply.swOut[reply.numPorts] = static_cast<std::uint8_t>(universe % 16);
        ++reply.numPorts;
    }
    return reply;
}

} // namespace marvo
