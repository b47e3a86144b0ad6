// The way of an OSC message from the socket to whoever listens on its address.
#include "Measure.h"
#include "Stage.h"
#include "endpoints/osc/OSCCodec.h"
#include "endpoints/osc/OSCIntake.h"
#include "endpoints/osc/UdpOSCTransport.h"
#include "platform/RealtimeThread.h"
#include "platform/UdpSocket.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <ctime>
#include <random>
#include <string>
#include <vector>

using namespace marvo;
using namespace marvo::bench;

namespace {

constexpr std::size_t addressCount = 5000;
constexpr std::size_t compositionCount = 8;
constexpr const char* loopback = "127.0.0.1";

PropertyList show() {
    std::vector<PropertyList> compositions;
    for (std::size_t c = 0; c < compositionCount; ++c) {
        std::vector<PropertyList> tracks;
        for (std::size_t t = 0; t < 16; ++t) {
            const std::string name = "T" + std::to_string(t);
            tracks.push_back(stageTrack(name, "/" + name,
                                        {{0, 0, "Linear Interpolation"},
                                         {45, 100, "Bounce Ease-Out"},
                                         {90, 0, "Linear Interpolation"}}));
        }
        compositions.push_back(stageComposition("C" + std::to_string(c), 60, 2.0f, tracks, true));
    }
    return stageProject(compositions);
}

std::string addressOf(std::size_t number) {
    return "/marvo/composition" + std::to_string(number % 50) + "/track" + std::to_string(number / 50) +
           "/enable";
}

std::vector<std::byte> packetOf(const OSCMessage& message) {
    std::vector<std::byte> packet(encodedSize(message));
    encodeOSC(message, packet);
    return packet;
}

// An application with five thousand listeners that count and do nothing else.
class House {
public:
    House() {
        for (std::size_t i = 0; i < addressCount; ++i) {
            stage.application.listeners().listen(
                this, addressOf(i), "float", [this](const OSCArgument& value) {
                    heard_.store(heard_.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
                    sum_ += static_cast<double>(value.floatValue);
                });
        }
    }
    ~House() { stage.application.listeners().drop(this); }

    std::uint64_t heard() const { return heard_.load(std::memory_order_relaxed); }
    double sum() const { return sum_; }
    OSCMessageReceiver& door() { return stage.application.oscManager(); }

    Stage stage{show()};

private:
    std::atomic<std::uint64_t> heard_{0}; // one thread at a time counts
    double sum_ = 0.0;
};

// In no order that a cache could learn.
std::vector<std::vector<std::byte>> packets(std::size_t different) {
    std::vector<std::vector<std::byte>> all;
    for (std::size_t i = 0; i < different; ++i) {
        OSCMessage message = OSCMessage::createWithAddress(addressOf(i * (addressCount / different)));
        message.addFloat(0.5f);
        all.push_back(packetOf(message));
    }
    std::shuffle(all.begin(), all.end(), std::mt19937(7));
    return all;
}

double processorSeconds() {
    timespec time{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

// Datagrams that lie ready in a socket, so that what is measured is taking them out and nothing else.
class Mailbox {
public:
    Mailbox() {
        in_.open(AF_INET);
        in_.bind(*SocketAddress::fromNumeric(loopback, 0));
        const int room = 1 << 20;
        ::setsockopt(in_.descriptor(), SOL_SOCKET, SO_RCVBUF, &room, sizeof room);
        out_.open(AF_INET);
        out_.connect(*SocketAddress::fromNumeric(loopback, in_.localPort()));
    }

    // Seconds for a batch. takeSome: whether it has found any datagrams.
    template <class TakeSome>
    double timed(const std::vector<std::vector<std::byte>>& packets, TakeSome&& takeSome) {
        for (std::size_t i = 0; i < batch; ++i) out_.send(packets[next_++ % packets.size()]);
        const double begin = processorSeconds();
        while (takeSome()) {
        }
        return processorSeconds() - begin;
    }
    // The barest way: one datagram a call.
    template <class Receive>
    bool takeOne(Receive&& receive) {
        const long got = in_.receive(space_);
        if (got < 0) return false;
        decodeOSC(std::span<const std::byte>(space_).first(static_cast<std::size_t>(got)), scratch_, receive);
        return true;
    }
    const UdpSocket& socket() const { return in_; }
    static constexpr std::size_t batch = 250;

private:
    UdpSocket in_;
    UdpSocket out_;
    std::vector<std::byte> space_ = std::vector<std::byte>(65536);
    OSCMessage scratch_;
    std::size_t next_ = 0;
};

void cost(Program& program, std::size_t different) {
    House house;
    Mailbox mailbox;
    const auto all = packets(different);
    std::uint64_t bareCount = 0;
    double bareSum = 0.0;
    const auto bare = [&](const OSCMessage& message) {
        ++bareCount;
        bareSum += static_cast<double>(message.value()->floatValue());
    };
    const auto takeBare = [&] { return mailbox.takeOne(bare); };
    OSCIntake intake(house.door());
    const std::atomic<bool> stopping{false};
    const auto takeEngine = [&] { return intake.takeFrom(mailbox.socket(), stopping); };
    // In turn batch by batch, each pair in the other order than the one before: what disturbs the machine
    // for longer than a fifth of a millisecond meets both alike.
    constexpr std::size_t warming = 40;
    const auto batches = program.sized<std::size_t>(2001, 601);
    std::vector<double> engineTimes, bareTimes, ratios;
    for (std::size_t i = 0; i < warming + batches; ++i) {
        double one = 0.0;
        double other = 0.0;
        if (i % 2 == 0) one = mailbox.timed(all, takeEngine);
        other = mailbox.timed(all, takeBare);
        if (i % 2 == 1) one = mailbox.timed(all, takeEngine);
        if (i < warming) continue;
        engineTimes.push_back(one);
        bareTimes.push_back(other);
        ratios.push_back(one / other);
    }
    constexpr double perMessage = 1e9 / static_cast<double>(Mailbox::batch);
    std::printf("  socket to listener %8.0f ns a message\n  bare receive and decode %8.0f ns a message\n",
                median(engineTimes) * perMessage, median(bareTimes) * perMessage);
    program.must("every message reached its listener and nobody else's",
                 house.heard() == bareCount && house.sum() == bareSum &&
                     bareCount == (warming + batches) * Mailbox::batch);
    program.atMost("socket to listener / bare", median(ratios), 1.5);
}

int freePort() {
    UdpSocket socket;
    socket.open(AF_INET);
    socket.bind(*SocketAddress::fromNumeric(loopback, 0));
    return socket.localPort();
}

// Ticks the application each millisecond, and keeps the longest of everything.
class Ticks {
public:
    explicit Ticks(AppDelegate& application) {
        RealtimeOptions options;
        options.bestEffort = true;
        grant_ =
            thread_.start(options, [this, &application](RealtimeThread& self) { loop(self, application); });
    }
    bool isRealtime() const { return grant_.grant != RealtimeGrant::bestEffort; }
    // Ends the ticks.
    void stop() {
        thread_.requestStop();
        thread_.join();
    }
    std::uint64_t count = 0;
    std::uint64_t lateWakes = 0; // by more than a period
    std::uint64_t longWork = 0;  // more than a period
    std::int64_t latest = 0;     // ns
    std::int64_t longest = 0;    // ns

private:
    void loop(RealtimeThread& self, AppDelegate& application) {
        constexpr Duration period = Duration::ofMilliseconds(1);
        const MonotonicClock clock;
        MonotonicTime deadline = clock.now();
        application.startRendering(deadline);
        while (!self.stopRequested()) {
            const MonotonicTime begin = clock.now();
            application.renderTick(begin);
            const std::int64_t late = (begin - deadline).nanoseconds;
            const std::int64_t work = (clock.now() - begin).nanoseconds;
            ++count;
            lateWakes += late > period.nanoseconds ? 1 : 0;
            longWork += work > period.nanoseconds ? 1 : 0;
            latest = std::max(latest, late);
            longest = std::max(longest, work);
            deadline = begin + period;
            RealtimeThread::sleepUntil(deadline);
        }
    }

    RealtimeThread thread_;
    RealtimeResult grant_;
};

void printTicks(const char* when, const Ticks& ticks) {
    std::printf("  %-10s %7llu ticks: woken at most %6.0f us late, %llu by more than 1 ms; at most %6.0f us "
                "of work\n",
                when, static_cast<unsigned long long>(ticks.count),
                static_cast<double>(ticks.latest) / 1000.0, static_cast<unsigned long long>(ticks.lateWakes),
                static_cast<double>(ticks.longest) / 1000.0);
}

// Twenty messages each millisecond, one of them a jump of a composition that plays.
void load(Program& program) {
    House house;
    UdpOSCTransport transport(loopback);
    const int port = freePort();
    const auto listener = transport.makeListener(port, house.door());
    program.must("the input is bound", listener != nullptr);
    if (!listener) return;
    UdpSocket sender;
    sender.open(AF_INET);
    sender.connect(*SocketAddress::fromNumeric(loopback, static_cast<std::uint16_t>(port)));
    house.stage.playAll();
    const auto all = packets(addressCount);
    std::vector<std::vector<std::byte>> jumps;
    for (std::size_t c = 0; c < compositionCount; ++c) {
        OSCMessage jump = OSCMessage::createWithAddress("/marvo/c" + std::to_string(c) + "/jumptoframe");
        jump.addInt(static_cast<std::int32_t>(c * 7));
        jumps.push_back(packetOf(jump));
    }
    const MonotonicClock clock;
    const auto milliseconds = program.sized<std::int64_t>(30'000, 3'000);
    {
        Ticks quiet(house.stage.application);
        RealtimeThread::sleepUntil(clock.now() + Duration::ofMilliseconds(milliseconds / 10));
        quiet.stop();
        printTicks("quiet", quiet);
    }
    Ticks ticks(house.stage.application);
    std::uint64_t sent = 0;
    std::uint64_t refused = 0;
    std::uint64_t counted = 0;
    const std::uint64_t outBefore = house.stage.transport.sent;
    MonotonicTime next = clock.now();
    const MonotonicTime begin = next;
    for (std::int64_t ms = 0; ms < milliseconds; ++ms) {
        for (std::size_t i = 0; i < 20; ++i) {
            const bool isJump = i == 19;
            const auto& packet =
                isJump ? jumps[static_cast<std::size_t>(ms) % jumps.size()] : all[sent % all.size()];
            refused += sender.send(packet) < 0 ? 1 : 0;
            ++sent;
            counted += isJump ? 0 : 1;
        }
        next = next + Duration::ofMilliseconds(1);
        RealtimeThread::sleepUntil(next);
    }
    const double seconds = static_cast<double>((clock.now() - begin).nanoseconds) * 1e-9;
    for (int i = 0; i < 2000 && house.heard() < counted; ++i)
        RealtimeThread::sleepUntil(clock.now() + Duration::ofMilliseconds(1));
    ticks.stop();
    printTicks("under load", ticks);
    std::printf(
        "  %llu messages in %.1f s, %.0f a second, %llu refused; of %llu to listeners %llu arrived%s\n",
        static_cast<unsigned long long>(sent), seconds, static_cast<double>(sent) / seconds,
        static_cast<unsigned long long>(refused), static_cast<unsigned long long>(counted),
        static_cast<unsigned long long>(house.heard()),
        ticks.isRealtime() ? "" : "; ticks without real-time rights");
    program.must("nothing is lost", refused == 0 && house.heard() == counted);
    program.must("the show plays on", house.stage.transport.sent > outBefore + 1000);
    program.atLeast("messages a second", static_cast<double>(sent) / seconds, 19'000);
    program.atMost("ticks that took longer than their period", static_cast<double>(ticks.longWork), 0.0);
}

} // namespace

int main(int argc, char** argv) {
    Program program(argc, argv);
    program.part("from the socket to one of 5,000 listeners", [&] { cost(program, addressCount); });
    program.part("from the socket to one of 64 of 5,000 listeners", [&] { cost(program, 64); });
    program.part("20,000 messages a second beside the render thread", [&] { load(program); });
    return program.finish();
}
