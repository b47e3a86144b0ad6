// A stranger floods the OSC input, half of it with garbage: the show ticks on, nothing grows, and the
// operator's commands in the middle of it are all obeyed.
#include "Measure.h"
#include "Stage.h"

#include "endpoints/osc/OSCCodec.h"
#include "endpoints/osc/UdpOSCTransport.h"
#include "platform/RealtimeThread.h"

#include <algorithm>
#include <arpa/inet.h>
#include <atomic>
#include <cstdio>
#include <fstream>
#include <poll.h>
#include <random>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

using namespace marvo;
using namespace marvo::bench;

namespace {

constexpr int perMillisecond = 50;
constexpr int commandsOfThem = 5;

std::size_t residentBytes() {
    std::ifstream file("/proc/self/statm");
    std::size_t total = 0;
    std::size_t resident = 0;
    file >> total >> resident;
    return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

int freePort() {
    const int probe = socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    bind(probe, reinterpret_cast<sockaddr*>(&address), sizeof address);
    socklen_t size = sizeof address;
    getsockname(probe, reinterpret_cast<sockaddr*>(&address), &size);
    close(probe);
    return ntohs(address.sin_port);
}

std::vector<std::byte> encoded(const OSCMessage& message) {
    std::vector<std::byte> packet(encodedSize(message));
    encodeOSC(message, packet);
    return packet;
}

// Sends fifty datagrams each millisecond with one call.
class Flood {
public:
    explicit Flood(int port) : socket_(socket(AF_INET, SOCK_DGRAM, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(static_cast<std::uint16_t>(port));
        connect(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address);
    }
    ~Flood() { close(socket_); }
    Flood(const Flood&) = delete;
    Flood& operator=(const Flood&) = delete;

    void run(double seconds) {
        const auto begun = std::chrono::steady_clock::now();
        const auto rounds = static_cast<std::int64_t>(seconds * 1000.0);
        for (std::int64_t round = 0; round < rounds; ++round) {
            sendRound();
            std::this_thread::sleep_until(begun + std::chrono::milliseconds(round + 1));
        }
    }
    std::uint64_t sent() const { return sent_; }
    std::uint64_t commands() const { return commands_; }

private:
    void sendRound() {
        std::vector<std::vector<std::byte>> packets;
        for (int i = 0; i < perMillisecond / 2; ++i) {
            std::vector<std::byte> garbage(random_() % 200);
            for (std::byte& one : garbage) one = static_cast<std::byte>(random_());
            // Some begin as a message does.
            if (!garbage.empty() && random_() % 2 == 0) garbage[0] = std::byte{'/'};
            packets.push_back(std::move(garbage));
        }
        while (packets.size() < perMillisecond - commandsOfThem) {
            OSCMessage unknown =
                OSCMessage::createWithAddress("/stranger/" + std::to_string(random_() % 50'000));
            unknown.addFloat(1.0f);
            packets.push_back(encoded(unknown));
        }
        for (int i = 0; i < commandsOfThem; ++i) {
            OSCMessage command = OSCMessage::createWithAddress("/counted");
            command.addInt(static_cast<std::int32_t>(++commands_));
            packets.push_back(encoded(command));
        }
        std::vector<iovec> pieces(packets.size());
        std::vector<mmsghdr> messages(packets.size());
        for (std::size_t i = 0; i < packets.size(); ++i) {
            pieces[i] = {packets[i].data(), packets[i].size()};
            messages[i].msg_hdr.msg_iov = &pieces[i];
            messages[i].msg_hdr.msg_iovlen = 1;
        }
        std::size_t done = 0;
        while (done < messages.size()) {
            const int now =
                sendmmsg(socket_, messages.data() + done, static_cast<unsigned>(messages.size() - done), 0);
            if (now <= 0) break;
            done += static_cast<std::size_t>(now);
        }
        sent_ += done;
    }

    const int socket_;
    std::mt19937 random_{11};
    std::uint64_t sent_ = 0;
    std::uint64_t commands_ = 0;
};

// How late the ticks were, while they were counted.
struct Lateness {
    std::vector<float> microseconds;
    double at(double share) {
        std::sort(microseconds.begin(), microseconds.end());
        return microseconds.empty() ? 0.0
                                    : static_cast<double>(microseconds[static_cast<std::size_t>(
                                          share * static_cast<double>(microseconds.size() - 1))]);
    }
    double shareLaterThan(float limit) const {
        const auto late =
            std::count_if(microseconds.begin(), microseconds.end(), [limit](float x) { return x > limit; });
        return microseconds.empty() ? 0.0
                                    : static_cast<double>(late) / static_cast<double>(microseconds.size());
    }
};

void flooding(Program& program) {
    const int port = freePort();
    PropertyList project = stageProject({stageComposition(
        "One", 30, 20.0f,
        {stageTrack("T", "/t", {{0, 0.0f, "Linear Interpolation"}, {600, 100.0f, "Linear Interpolation"}})},
        true)});
    PropertyList appData = *project.find("appData");
    PropertyList preferences = *appData.find("preferences");
    PropertyList ports = *preferences.find("oscPorts");
    PropertyList input = PropertyList::dictionary();
    input.set("port", port);
    PropertyList inputs = PropertyList::array();
    inputs.push_back(input);
    ports.set("inputs", inputs);
    preferences.set("oscPorts", ports);
    appData.set("preferences", preferences);
    project.set("appData", appData);

    UdpOSCTransport wire("127.0.0.1");
    Stage stage(project, wire);
    int place = 0;
    std::atomic<std::uint64_t> obeyed{0};
    std::atomic<std::int64_t> last{0};
    std::atomic<std::uint64_t> disordered{0};
    stage.application.listeners().listen(&place, "/counted", "", [&](const OSCArgument& argument) {
        const std::int64_t number = argument.intValue;
        if (number != last + 1) ++disordered;
        last = number;
        ++obeyed;
    });
    stage.playAll();

    std::atomic<int> slice{-1}; // which of the two is being recorded
    Lateness lateness[2];
    for (Lateness& one : lateness) one.microseconds.reserve(200'000);
    const MonotonicClock clock;
    RealtimeThread thread;
    RealtimeOptions options;
    options.bestEffort = true;
    const RealtimeResult grant = thread.start(options, [&](RealtimeThread& self) {
        MonotonicTime before = clock.now();
        while (!self.stopRequested()) {
            const MonotonicTime due = before + Duration::ofMilliseconds(1);
            RealtimeThread::sleepUntil(due);
            const MonotonicTime now = clock.now();
            const int here = slice.load();
            if (here >= 0 && lateness[here].microseconds.size() < lateness[here].microseconds.capacity())
                lateness[here].microseconds.push_back(static_cast<float>((now - due).nanoseconds) * 1e-3f);
            stage.tick(now - before);
            before = now;
        }
    });
    (void)grant;

    const double seconds = program.sized(20.0, 2.0);
    const double one = program.sized(5.0, 1.0);
    std::atomic<bool> over{false};
    Flood flood(port);
    std::size_t early = 0;
    std::thread sender([&] {
        for (double passed = 0; passed < seconds; passed += one) {
            slice = 0;
            std::this_thread::sleep_for(std::chrono::duration<double>(one));
            slice = 1;
            flood.run(one);
            slice = -1;
            if (early == 0) early = residentBytes();
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
        over = true;
    });
    pollfd wake{stage.main.wakeDescriptor(), POLLIN, 0};
    while (!over) {
        poll(&wake, 1, 20);
        stage.main.pump();
    }
    sender.join();
    thread.requestStop();
    thread.join();
    stage.application.listeners().drop(&place);

    std::printf("  %llu datagrams in %.0f s, %llu commands among them\n",
                static_cast<unsigned long long>(flood.sent()), seconds,
                static_cast<unsigned long long>(flood.commands()));
    std::printf("  ticks late, in the quiet and in the flood, us: p50 %.0f %.0f, p99 %.0f %.0f, p99.9 %.0f "
                "%.0f, most %.0f %.0f\n",
                lateness[0].at(0.5), lateness[1].at(0.5), lateness[0].at(0.99), lateness[1].at(0.99),
                lateness[0].at(0.999), lateness[1].at(0.999), lateness[0].at(1.0), lateness[1].at(1.0));
    std::printf("  %llu commands obeyed, %llu times not the one that was next\n",
                static_cast<unsigned long long>(obeyed.load()),
                static_cast<unsigned long long>(disordered.load()));
    program.atLeast("datagrams a second, thousands", static_cast<double>(flood.sent()) / seconds / 1000.0,
                    45.0);
    program.atMost("commands that were not obeyed",
                   static_cast<double>(flood.commands()) - static_cast<double>(obeyed), 0);
    program.atMost("commands out of their order", static_cast<double>(disordered), 0);
    program.atMost("share of ticks later than 1 ms, beyond the quiet, thousandths",
                   (lateness[1].shareLaterThan(1000.0f) - 1.3 * lateness[0].shareLaterThan(1000.0f)) * 1000.0,
                   1.0);
    program.atMost("growth after the first flood, MiB",
                   (static_cast<double>(residentBytes()) - static_cast<double>(early)) / 1048576.0, 1.0);
}

} // namespace

int main(int argc, char** argv) {
    Program program(argc, argv);
    program.part("fifty thousand datagrams a second", [&] { flooding(program); });
    return program.finish();
}
