// Encoding, decoding and sending OSC.
#include "Measure.h"
#include "OSCContenders.h"
#include "endpoints/osc/OSCCodec.h"
#include "endpoints/osc/UdpOSCTransport.h"
#include "platform/UdpSocket.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

using namespace marvo;
using namespace marvo::bench;
using namespace std::chrono_literals;

namespace {

constexpr char address[] = "/light/rgb";
constexpr std::array<float, 3> colour = {0.25f, 0.5f, 0.75f};

std::size_t encodeWithEngine(OSCMessage& message, std::span<const float> values, std::span<std::byte> space) {
    message.resetWithAddress(address);
    for (const float value : values) message.addFloat(value);
    return encodeOSC(message, space);
}

std::size_t fillAndEncodeByHand(HandMessage& message, std::span<const float> values,
                                std::span<std::byte> space) {
    message.address = address;
    message.count = 0;
    for (const float value : values) message.addFloat(value);
    return encodeByHand(message, space);
}

bool decodeAndReadByHand(std::span<const std::byte> packet, HandMessage& scratch, ThreeFloats& values) {
    if (!decodeByHand(packet, scratch) || scratch.count != 3) return false;
    for (std::size_t i = 0; i < 3; ++i) values.values[i] = static_cast<float>(scratch.arguments[i].real);
    return true;
}

bool decodeWithEngine(std::span<const std::byte> packet, OSCMessage& scratch, ThreeFloats& values) {
    bool fits = false;
    decodeOSC(packet, scratch, [&](const OSCMessage& message) {
        fits = message.valueCount() == 3;
        for (std::size_t i = 0; fits && i < 3; ++i) values.values[i] = message.valueAtIndex(i).floatValue();
    });
    return fits;
}

void encoding(Program& program) {
    OSCMessage message;
    HandMessage handMessage;
    std::array<std::byte, 256> space{};
    std::array<std::byte, 256> other{};
    const std::size_t size = encodeWithEngine(message, colour, space);
    const auto same = [&](std::size_t otherSize) {
        return otherSize == size && std::memcmp(space.data(), other.data(), size) == 0;
    };
    program.must("all encoders write the same bytes", same(fillAndEncodeByHand(handMessage, colour, other)) &&
                                                          same(encodeFloatsAlone(address, colour, other)) &&
                                                          same(encodeWithLiblo(address, colour, other)) &&
                                                          same(encodeWithOscpack(address, colour, other)));
    Contest contest;
    contest
        .add("engine: fill and encode",
             [&](std::size_t rounds) {
                 for (std::size_t i = 0; i < rounds; ++i) keep(encodeWithEngine(message, colour, space));
             })
        .add("by hand: fill and encode",
             [&](std::size_t rounds) {
                 for (std::size_t i = 0; i < rounds; ++i)
                     keep(fillAndEncodeByHand(handMessage, colour, other));
             })
        .add("liblo",
             [&](std::size_t rounds) {
                 for (std::size_t i = 0; i < rounds; ++i) keep(encodeWithLiblo(address, colour, other));
             })
        .add("oscpack",
             [&](std::size_t rounds) {
                 for (std::size_t i = 0; i < rounds; ++i) keep(encodeWithOscpack(address, colour, other));
             })
        .add("engine: encode alone",
             [&](std::size_t rounds) {
                 for (std::size_t i = 0; i < rounds; ++i) keep(encodeOSC(message, space));
             })
        .add("by hand: encode alone",
             [&](std::size_t rounds) {
                 for (std::size_t i = 0; i < rounds; ++i) keep(encodeByHand(handMessage, other));
             })
        .add("by hand, floats and nothing else", [&](std::size_t rounds) {
            for (std::size_t i = 0; i < rounds; ++i) keep(encodeFloatsAlone(address, colour, other));
        });
    contest.run(program.sized<std::size_t>(101, 21), 1ms);
    contest.print();
    program.atMost("encode alone / by hand", contest.ratio(4, 5), 1.5);
    program.atMost("fill and encode / liblo", contest.ratio(0, 2), 0.5);
    program.atMost("fill and encode / oscpack", contest.ratio(0, 3), 0.5);
}

void decoding(Program& program) {
    std::array<std::byte, 256> space{};
    const std::size_t size = encodeFloatsAlone(address, colour, space);
    const std::span<const std::byte> packet = std::span<const std::byte>(space).first(size);
    OSCMessage scratch;
    HandMessage handScratch;
    std::string_view found;
    ThreeFloats values{};
    const auto right = [&](bool decoded) {
        const bool is = decoded && std::memcmp(values.values, colour.data(), sizeof values) == 0;
        values = {};
        return is;
    };
    program.must("all decoders read the same values",
                 right(decodeWithEngine(packet, scratch, values)) && scratch.address() == address &&
                     right(decodeAndReadByHand(packet, handScratch, values)) &&
                     handScratch.address == address && right(decodeFloatsAlone(packet, found, values)) &&
                     found == address && right(decodeWithLiblo(packet, found, values)) && found == address &&
                     right(decodeWithOscpack(packet, found, values)) && found == address);
    Contest contest;
    contest
        .add("engine: decode and read",
             [&](std::size_t rounds) {
                 for (std::size_t i = 0; i < rounds; ++i) keep(decodeWithEngine(packet, scratch, values));
             })
        .add("by hand: decode and read",
             [&](std::size_t rounds) {
                 for (std::size_t i = 0; i < rounds; ++i)
                     keep(decodeAndReadByHand(packet, handScratch, values));
             })
        .add("liblo",
             [&](std::size_t rounds) {
                 for (std::size_t i = 0; i < rounds; ++i) keep(decodeWithLiblo(packet, found, values));
             })
        .add("oscpack",
             [&](std::size_t rounds) {
                 for (std::size_t i = 0; i < rounds; ++i) keep(decodeWithOscpack(packet, found, values));
             })
        .add("by hand, floats and nothing else", [&](std::size_t rounds) {
            for (std::size_t i = 0; i < rounds; ++i) keep(decodeFloatsAlone(packet, found, values));
        });
    contest.run(program.sized<std::size_t>(101, 21), 1ms);
    contest.print();
    program.atMost("decode / by hand", contest.ratio(0, 1), 1.5);
    program.atMost("decode / liblo", contest.ratio(0, 2), 0.5);
    program.atMost("decode / oscpack", contest.ratio(0, 3), 0.5);
}

// A port of this machine that nobody reads: once its few bytes of room are full, the system drops what
// arrives, the same for every contender and without a second thread.
class Sink {
public:
    Sink() {
        socket_.open(AF_INET);
        socket_.bind(*SocketAddress::fromNumeric("127.0.0.1", 0));
        const int room = 1;
        ::setsockopt(socket_.descriptor(), SOL_SOCKET, SO_RCVBUF, &room, sizeof room);
    }
    int port() const { return socket_.localPort(); }
    UdpSocket connected() const {
        UdpSocket result;
        result.open(AF_INET);
        result.connect(*SocketAddress::fromNumeric("127.0.0.1", socket_.localPort()));
        return result;
    }

private:
    UdpSocket socket_;
};

std::vector<std::byte> packetOf(const OSCMessage& message) {
    std::vector<std::byte> packet(encodedSize(message));
    encodeOSC(message, packet);
    return packet;
}

void sending(Program& program) {
    const Sink sink;
    UdpOSCTransport transport("127.0.0.1");
    const auto wire = transport.makeWire("bench", "127.0.0.1", sink.port());
    const UdpSocket bare = sink.connected();
    OSCMessage message;
    const auto fill = [&message] {
        message.resetWithAddress(address);
        for (const float value : colour) message.addFloat(value);
    };
    fill();
    const std::vector<std::byte> packet = packetOf(message);
    Contest contest;
    contest
        .add("engine: fill, encode and send",
             [&](std::size_t rounds) {
                 for (std::size_t i = 0; i < rounds; ++i) {
                     fill();
                     wire->send(message, {});
                 }
             })
        .add("bare send of the same bytes", [&](std::size_t rounds) {
            for (std::size_t i = 0; i < rounds; ++i) keep(bare.send(packet));
        });
    contest.run(program.sized<std::size_t>(201, 25), 3ms);
    contest.print();
    program.must("nothing was dropped before the network", wire->counters().dropped == 0);
    program.atMost("encode and send / bare send", contest.ratio(0, 1), 1.1);
}

// The addresses of a show: some are a few letters longer than others.
std::vector<OSCMessage> mixed(std::size_t count) {
    std::vector<OSCMessage> messages;
    for (std::size_t i = 0; i < count; ++i) {
        const std::string number = std::to_string(i + 1);
        const std::string group = i % 16 < 6    ? "/light/" + number + "/level"
                                  : i % 16 < 10 ? "/light/" + number + "/rgb"
                                  : i % 16 < 14 ? "/sound/fader/" + number
                                                : "/video/layer/" + number + "/opacity";
        messages.push_back(OSCMessage::createWithAddress(group));
        for (std::size_t k = 0; k < (i % 16 >= 6 && i % 16 < 10 ? 3u : 1u); ++k)
            messages.back().addFloat(0.5f);
    }
    return messages;
}

std::vector<OSCMessage> equal(std::size_t count) {
    OSCMessage message = OSCMessage::createWithAddress(address);
    for (const float value : colour) message.addFloat(value);
    return std::vector<OSCMessage>(count, message);
}

// Each longer than the one before, so that no two can leave as one row.
std::vector<OSCMessage> rising(std::size_t count) {
    std::vector<OSCMessage> messages;
    for (std::size_t i = 0; i < count; ++i) {
        messages.push_back(OSCMessage::createWithAddress("/" + std::string(7 + 4 * (i % 64), 'a')));
        messages.back().addFloat(0.5f);
    }
    return messages;
}

void sendingInATick(Program& program, const char* kind, const std::vector<OSCMessage>& messages,
                    double limit) {
    const Sink sink;
    UdpOSCTransport transport("127.0.0.1");
    const auto wire = transport.makeWire("bench", "127.0.0.1", sink.port());
    const UdpSocket bare = sink.connected();
    std::vector<std::vector<std::byte>> packets;
    for (const OSCMessage& message : messages) packets.push_back(packetOf(message));
    Contest contest;
    contest
        .add("engine: encode, send together",
             [&](std::size_t rounds) {
                 for (std::size_t i = 0; i < rounds; ++i) {
                     transport.beginTick();
                     for (const OSCMessage& message : messages) wire->send(message, {});
                     transport.flush();
                 }
             })
        .add("bare sends of the same bytes", [&](std::size_t rounds) {
            for (std::size_t i = 0; i < rounds; ++i) {
                for (const auto& packet : packets) keep(bare.send(packet));
            }
        });
    contest.run(program.sized<std::size_t>(101, 9), 2ms);
    const auto count = static_cast<double>(messages.size());
    std::printf("  %-32s %8.0f ns a message, single sends %8.0f ns\n", kind, contest.nanoseconds(0) / count,
                contest.nanoseconds(1) / count);
    program.must("nothing was dropped before the network", wire->counters().dropped == 0);
    program.atMost(std::string(kind) + " / single sends", contest.ratio(0, 1), limit);
}

} // namespace

int main(int argc, char** argv) {
    Program program(argc, argv);
    program.part("encoding /light/rgb with three floats", [&] { encoding(program); });
    program.part("decoding /light/rgb with three floats", [&] { decoding(program); });
    program.part("sending /light/rgb, one at a time", [&] { sending(program); });
    program.part("sending what one tick has for one output", [&] {
        for (const std::size_t count : {9u, 16u, 64u, 256u}) {
            const std::string of = std::to_string(count);
            sendingInATick(program, (of + " of equal length").c_str(), equal(count), 0.9);
            sendingInATick(program, (of + " as in a show").c_str(), mixed(count), 0.9);
            // No row to be made: no gain, and no loss.
            sendingInATick(program, (of + " each longer").c_str(), rising(count), 1.1);
        }
    });
    return program.finish();
}
