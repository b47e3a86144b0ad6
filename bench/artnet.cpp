// Sending DMX, writing it through the soft patch, and the render loop's call with nothing to do.
#include "Measure.h"
#include "endpoints/artnet/ArtNetPacket.h"
#include "endpoints/artnet/ArtNetSender.h"
#include "endpoints/artnet/ArtNetServer.h"
#include "endpoints/artnet/MarvoArtNetManager.h"
#include "endpoints/artnet/SilentArtNetTransport.h"
#include "endpoints/artnet/UdpArtNetTransport.h"
#include "platform/UdpSocket.h"

#include <arpa/inet.h>
#include <cstdio>
#include <memory>
#include <netinet/in.h>
#include <vector>

using namespace marvo;
using namespace marvo::bench;
using namespace std::chrono_literals;

namespace {

std::uint16_t freePort() {
    UdpSocket socket;
    socket.open(AF_INET);
    socket.bind(SocketAddress::any(0));
    return socket.localPort();
}

// Everything that a frame of all universes costs from the written values to the wire, hand-over included,
// beside the mere sending of the same packets, made beforehand.
struct Wire {
    static constexpr std::uint32_t ownAddress = 0x7f000002;
    static constexpr std::uint32_t nodeAddress = 0x7f000003;

    Wire() : port(freePort()), transport(port) {
        std::string reason;
        auto routes = std::make_unique<ArtNetRoutes>();
        routes->port = transport.open({ownAddress}, reason);
        opened = routes->port != nullptr;
        routes->destinations = {{nodeAddress}};
        for (int universe = 0; universe < universeCount; ++universe) {
            routes->leaving.insert(universe);
            routes->universes[static_cast<std::size_t>(universe)] = {0, 1, ArtNetSender::keepAlive};
        }
        leaving = routes->leaving;
        published.publish(std::move(routes));
        // Whoever listens lets the packets lie: one that nobody takes up is thrown away by the system, which
        // costs both ways of sending the same.
        node.open(AF_INET);
        node.bind(*SocketAddress::fromNumeric(IPv4Address{nodeAddress}.text(), port));
        bare.open(AF_INET);
        bare.bind(*SocketAddress::fromNumeric(IPv4Address{ownAddress + 2}.text(), port));
        target.sin_family = AF_INET;
        target.sin_port = htons(port);
        target.sin_addr.s_addr = htonl(nodeAddress);
        for (int universe = 0; universe < universeCount; ++universe) {
            std::array<std::byte, channelsOfAUniverse> values{};
            std::array<std::byte, ArtDmx::encodedSize> packet{};
            encodeArtNet(ArtDmx{1, 0, static_cast<std::uint16_t>(universe), values}, packet);
            packets.push_back(packet);
        }
    }

    // Frames at 44 a second on a clock that jumps from one to the next.
    void frames(std::size_t count) {
        for (std::size_t frame = 0; frame < count; ++frame) {
            now = now + ArtNetSender::spacing;
            ++value;
            for (int universe = 0; universe < universeCount; ++universe)
                buffer.store(static_cast<std::uint8_t>(value), 1, universe);
            handOver.capture(buffer, leaving);
            sender.run(now);
            ++framesMade;
        }
    }

    void bareFrames(std::size_t count) {
        for (std::size_t frame = 0; frame < count; ++frame) {
            for (const auto& packet : packets) {
                const ssize_t sent = ::sendto(bare.descriptor(), packet.data(), packet.size(), MSG_DONTWAIT,
                                              reinterpret_cast<const sockaddr*>(&target), sizeof target);
                if (sent != static_cast<ssize_t>(packet.size())) ++bareFailures;
            }
        }
    }

    void bareBatches(std::size_t count) {
        std::array<mmsghdr, universeCount> headers{};
        std::array<iovec, universeCount> parts{};
        for (std::size_t index = 0; index < packets.size(); ++index) {
            parts[index] = {packets[index].data(), packets[index].size()};
            headers[index].msg_hdr.msg_name = &target;
            headers[index].msg_hdr.msg_namelen = sizeof target;
            headers[index].msg_hdr.msg_iov = &parts[index];
            headers[index].msg_hdr.msg_iovlen = 1;
        }
        for (std::size_t frame = 0; frame < count; ++frame) {
            if (::sendmmsg(bare.descriptor(), headers.data(), universeCount, MSG_DONTWAIT) != universeCount)
                ++bareFailures;
        }
    }

    const std::uint16_t port;
    UdpArtNetTransport transport;
    bool opened = false;
    UniverseSet leaving;
    DMXBuffer buffer;
    DMXHandOver handOver;
    Published<ArtNetRoutes> published;
    ArtNetSender sender{handOver, published};
    MonotonicTime now{1'000'000'000};
    std::uint64_t value = 0;
    std::uint64_t framesMade = 0;
    UdpSocket node;
    UdpSocket bare;
    sockaddr_in target{};
    std::vector<std::array<std::byte, ArtDmx::encodedSize>> packets;
    std::size_t bareFailures = 0;
};

void sending(Program& program) {
    const auto wire = std::make_unique<Wire>();
    program.must("the port can be had", wire->opened);
    if (!wire->opened) return;
    wire->frames(1);
    program.must("a frame is one packet for each universe",
                 wire->sender.packetsSent() == universeCount && wire->sender.packetsFailed() == 0);
    Contest contest;
    contest
        .add("engine: write, hand over, send 256 universes",
             [&](std::size_t rounds) { wire->frames(rounds); })
        .add("256 single sendto calls", [&](std::size_t rounds) { wire->bareFrames(rounds); })
        .add("for orientation: sendmmsg alone", [&](std::size_t rounds) { wire->bareBatches(rounds); });
    contest.run(program.sized<std::size_t>(201, 61), 4ms);
    contest.print();
    program.must("every packet left", wire->sender.packetsFailed() == 0 && wire->bareFailures == 0 &&
                                          wire->sender.packetsSent() == universeCount * wire->framesMade);
    program.atMost("256 universes, to single calls", contest.ratio(0, 1), 0.85);
}

struct FixedNetwork final : NetworkConfigurationSource {
    std::optional<NetworkConfiguration> networkConfiguration() override {
        return NetworkConfiguration{{"(Loopback Interface)", "127.0.0.1 (lo0)"}};
    }
};

struct NoPreference final : ArtNetInterfacePreference {
    std::string lastArtNetNetworkInterface() const override { return {}; }
    void setLastArtNetNetworkInterface(const std::string&) override {}
};

struct Manager {
    VirtualClock clock;
    MainThread main{clock};
    NotificationCenter center;
    Notifications notifications{center};
    SilentArtNetTransport transport;
    FixedNetwork network;
    NoPreference preference;
    ArtNetServer server{transport, clock, ArtNetServerOptions{.ownThreads = false}};
    MarvoArtNetManager manager{{server, network, preference, center, notifications, main, nullptr}};
};

void writing(Program& program) {
    constexpr int items = 2000;
    const auto world = std::make_unique<Manager>();
    MarvoArtNetManager& manager = world->manager;
    {
        const SoftPatch::Batch batch(manager.softPatch());
        for (int item = 0; item < items; ++item) {
            manager.softPatch().createSoftPatchItem(item / 512, item % 512 + 1, 100 + item / 512,
                                                    std::to_string(512 - item % 512), item);
        }
    }
    // Each write changes its channel, and they go through the whole table.
    int value = 0;
    const auto write = [&](std::size_t rounds) {
        for (std::size_t round = 0; round < rounds; ++round) {
            value = (value + 1) & 255;
            for (int item = 0; item < items; ++item)
                manager.setValue(value, item % 512 + 1, item / 512, SendOrigin{});
        }
    };
    Contest contest;
    contest.add("patch on", write, [&] { manager.setSoftPatchEnabled(true); }).add("patch off", write, [&] {
        manager.setSoftPatchEnabled(false);
    });
    contest.run(program.sized<std::size_t>(201, 61), 2ms);
    const double on = contest.nanoseconds(0) / items;
    const double off = contest.nanoseconds(1) / items;
    manager.setSoftPatchEnabled(true);
    write(1);
    program.must("the patch applies",
                 world->server.dmx(100)[511] == value && world->server.dmx(100)[0] == value);
    std::printf("  with 2,000 rows %.1f ns, with the patch off %.1f ns\n", on, off);
    program.atMost("a write through 2,000 rows, nanoseconds", on, 50);
}

void nothingToDo(Program& program) {
    const auto world = std::make_unique<Manager>();
    for (int count = 0; count < 255; ++count) world->manager.addArtNetOutput();
    world->manager.sendAllDMXData();
    Contest contest;
    contest.add("sendAllDMXData with nothing to do, 256 outputs", [&](std::size_t rounds) {
        for (std::size_t round = 0; round < rounds; ++round) keep(world->manager.sendAllDMXData());
    });
    contest.run(program.sized<std::size_t>(201, 61), 1ms);
    contest.print();
    program.atMost("nanoseconds", contest.nanoseconds(0), 100);
}

} // namespace

int main(int argc, char** argv) {
    Program program(argc, argv);
    program.part("sending", [&] { sending(program); });
    program.part("writing", [&] { writing(program); });
    program.part("nothing to do", [&] { nothingToDo(program); });
    return program.finish();
}
