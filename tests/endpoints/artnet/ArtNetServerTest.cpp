// Servers with their threads, over the loopback.
#include "Loopback.h"

#include "endpoints/artnet/ArtNetServer.h"

#include "Eventually.h"
#include "RealtimeScope.h"

#include <algorithm>
#include <atomic>
#include <fstream>
#include <gmock/gmock.h>
#include <mutex>
#include <thread>
#include <unistd.h>

namespace marvo {
namespace {

std::size_t residentBytes() {
    std::ifstream file("/proc/self/statm");
    std::size_t total = 0;
    std::size_t resident = 0;
    file >> total >> resident;
    return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

struct Receiver final : ArtNetServerDelegate {
    std::mutex lock;
    std::array<int, channelsOfAUniverse> values{};
    std::atomic<int> packets{0};
    void updateNodeList() override {}
    void artDMXReceived(std::span<const DMXPair> changes) override {
        const std::lock_guard hold(lock);
        for (const DMXPair& pair : changes) values[static_cast<std::size_t>(pair.index)] = pair.value;
        ++packets;
    }
    void artNetTrouble(const ArtNetTrouble&) override {}
    int value(int channel) {
        const std::lock_guard hold(lock);
        return values[static_cast<std::size_t>(channel - 1)];
    }
};

struct TwoEnds {
    explicit TwoEnds(const char* receiver = "127.0.0.3") {
        b.setDelegate(&heard);
        EXPECT_TRUE(b.startManagerWithIPAddress(receiver, ArtNetInputSettings{0, 5}));
        EXPECT_TRUE(a.startManagerWithIPAddress("127.0.0.2", std::nullopt));
        a.setSentUniverses({{5, {}, "out"}});
    }
    ~TwoEnds() { b.setDelegate(nullptr); }
    bool found() {
        return eventually([&] { return a.hasNodesToProcess(); });
    }

    const MonotonicClock clock;
    UdpArtNetTransport transport{freePort()};
    Receiver heard;
    ArtNetServer a{transport, clock};
    ArtNetServer b{transport, clock};
};

TEST(ArtNetServer, FindsAnotherAndSendsItTheLastOfManyValues) {
    TwoEnds ends;
    ASSERT_TRUE(ends.found());
    for (int value = 1; value <= 200; ++value) {
        ends.a.setValue(value, 9, 5, {});
        ends.a.sendAllDMXData();
        std::this_thread::sleep_for(std::chrono::microseconds(300));
    }
    EXPECT_TRUE(eventually([&] { return ends.heard.value(9) == 200; }));
    EXPECT_LT(ends.heard.packets, 60) << "and not each of them";
}

TEST(ArtNetServer, SendsAChangeAtOnceAfterItHasRested) {
    TwoEnds ends;
    ASSERT_TRUE(ends.found());
    std::vector<double> delays;
    for (int value = 1; value <= 9; ++value) {
        std::this_thread::sleep_for(std::chrono::milliseconds(40));
        const MonotonicTime written = ends.clock.now();
        ends.a.setValue(value, 1, 5, {});
        ends.a.sendAllDMXData();
        ASSERT_TRUE(eventually([&] { return ends.heard.value(1) == value; }));
        delays.push_back(milliseconds(written, ends.clock.now()));
    }
    std::sort(delays.begin(), delays.end());
    EXPECT_LT(delays[delays.size() / 2], 100) << "and not with the next repetition";
}

TEST(ArtNetServer, IsStartedAnewManyTimesWhileAShowSends) {
    TwoEnds ends;
    ASSERT_TRUE(ends.found());
    std::atomic<bool> stop{false};
    std::thread show([&] {
        for (int count = 0; !stop; ++count) {
            ends.a.setValue(count % 200, 9, 5, {});
            ends.a.sendAllDMXData();
            std::this_thread::sleep_for(std::chrono::microseconds(500));
        }
    });
    for (int round = 0; round < 20; ++round) {
        EXPECT_TRUE(ends.a.startManagerWithIPAddress(round % 3 == 0 ? "none" : "127.0.0.2", std::nullopt));
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    EXPECT_TRUE(ends.a.startManagerWithIPAddress("127.0.0.2", std::nullopt));
    stop = true;
    show.join();
    ends.a.setValue(222, 9, 5, {});
    ends.a.sendAllDMXData();
    EXPECT_TRUE(eventually([&] { return ends.heard.value(9) == 222; }));
}

TEST(ArtNetServer, WakesItsSenderWithoutAllocatingOrWaiting) {
    TwoEnds ends;
    ASSERT_TRUE(ends.found());
    for (int round = 0; round < 50; ++round) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        RealtimeScope scope;
        ends.a.setValue(round + 1, 1, 5, {});
        ends.a.sendAllDMXData();
        ASSERT_EQ(scope.violations(), 0u) << scope.report();
    }
}

TEST(ArtNetServer, EndsWhileItIsFlooded) {
    TwoEnds ends;
    UdpArtNetTransport& transport = ends.transport;
    const auto neighbour = opened(transport, "127.0.0.9");
    std::atomic<bool> stop{false};
    std::thread flood([&] {
        while (!stop) sendPoll(*neighbour, "127.0.0.3");
    });
    {
        Receiver other;
        ArtNetServer third(transport, ends.clock);
        third.setDelegate(&other);
        EXPECT_TRUE(third.startManagerWithIPAddress("127.0.0.3", ArtNetInputSettings{0, 1}));
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        third.setDelegate(nullptr);
    }
    stop = true;
    flood.join();
}

// 50,000 packets a second for a second: some false devices, some values, some rubbish.
TEST(ArtNetServer, NeitherGrowsNorFallsSilentWhileANeighbourFloodsIt) {
    TwoEnds ends;
    ASSERT_TRUE(ends.found());
    const auto neighbour = opened(ends.transport, "127.0.0.9");
    constexpr std::size_t perMillisecond = 50;
    std::vector<std::vector<std::byte>> packets;
    for (int kind = 0; kind < 50; ++kind) {
        std::vector<std::byte> space(600);
        const std::vector<std::byte> data(512, static_cast<std::byte>(kind));
        std::size_t size = 20;
        if (kind % 3 == 0) size = encodeArtNet(nodeReply("127.0.0.9", {kind % 16}), space);
        if (kind % 3 == 1) size = encodeArtNet(ArtDmx{0, 0, 77, data}, space);
        space.resize(size);
        packets.push_back(std::move(space));
    }
    std::vector<ArtNetDatagram> burst;
    for (std::size_t index = 0; index < perMillisecond; ++index)
        burst.push_back({packets[index].data(), packets[index].size(), address("127.0.0.2")});
    ends.a.setValue(1, 1, 5, {});
    ends.a.sendAllDMXData();
    ASSERT_TRUE(eventually([&] { return ends.heard.value(1) == 1; }));

    const std::size_t before = residentBytes();
    std::vector<double> delays;
    const MonotonicTime begun = ends.clock.now();
    for (int round = 0; round < 40; ++round) {
        const int value = round + 2;
        const MonotonicTime written = ends.clock.now();
        ends.a.setValue(value, 1, 5, {});
        ends.a.sendAllDMXData();
        bool arrived = false;
        for (int step = 1; step <= 25; ++step) {
            neighbour->send(burst);
            RealtimeThread::sleepUntil(begun + Duration::ofMilliseconds(round * 25 + step));
            if (!arrived && ends.heard.value(1) == value) {
                arrived = true;
                delays.push_back(milliseconds(written, ends.clock.now()));
            }
        }
    }
    EXPECT_TRUE(eventually([&] { return ends.heard.value(1) == 41; })) << "the last value";
    EXPECT_GE(delays.size(), 20u) << "many arrive within their 25 ms";
    // A sanitizer keeps what is freed, up to a quarter of a gigabyte.
    const std::size_t mayKeep = RealtimeScope::active() ? 8u << 20 : 300u << 20;
    EXPECT_LT(residentBytes(), before + mayKeep);
    EXPECT_LE(ends.a.listOfNodes().size(), 10u);
}

} // namespace
} // namespace marvo
