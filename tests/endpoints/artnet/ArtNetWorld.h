// A manager with everything around it made up by the test.
#pragma once

#include "ArtNetWire.h"

#include "endpoints/artnet/MarvoArtNetManager.h"

#include <map>
#include <set>
#include <string>
#include <vector>

namespace marvo {

class FakeNetwork final : public NetworkConfigurationSource {
public:
    std::optional<NetworkConfiguration> present =
        NetworkConfiguration{{"(Loopback Interface)", "127.0.0.1 (lo0)"}, {"Ethernet (en0)", "10.0.0.9"}};
    std::optional<NetworkConfiguration> networkConfiguration() override { return present; }
};

class FakeInterfacePreference final : public ArtNetInterfacePreference {
public:
    std::string title;
    std::vector<std::string> written;
    std::string lastArtNetNetworkInterface() const override { return title; }
    void setLastArtNetNetworkInterface(const std::string& text) override {
        title = text;
        written.push_back(text);
    }
};

class MemoryLog final : public LogSink {
public:
    std::vector<std::string> lines;
    void write(std::string_view line) override { lines.emplace_back(line); }
    std::string contents(std::size_t) override { return {}; }
    bool has(std::string_view text) const {
        for (const std::string& line : lines) {
            if (line.find(text) != std::string::npos) return true;
        }
        return false;
    }
};

class DMXStores final : public RecordingDMX {
public:
    struct Store {
        int universe = 0;
        int channel = 0;
        int value = 0;
        bool operator==(const Store&) const = default;
    };
    std::vector<Store> stores;
    const std::string* lastTrack = nullptr;
    void valueStored(int universe, int channel, int value, const SendOrigin& origin) override {
        stores.push_back({universe, channel, value});
        lastTrack = origin.track;
    }
};

struct ArtNetWorld {
    VirtualClock clock;
    MainThread main{clock};
    NotificationCenter center;
    Notifications notifications{center};
    MemoryLog lines;
    Log log{lines, clock};
    ArtNetWire transport{clock};
    FakeNetwork network;
    FakeInterfacePreference preference;
    DMXStores stores;
    ArtNetServer server{transport, clock, ArtNetServerOptions{.ownThreads = false}};
    int beeps = 0;
    std::vector<std::string> troubles; // "+" began, "-" is over
    std::vector<std::string> alerts;
    MarvoArtNetManager manager{
        ArtNetManagerServices{server, network, preference, center, notifications, main, &log}};

    ArtNetWorld() {
        server.setRecordingDMX(&stores);
        manager.userInterface.beep = [this] { ++beeps; };
        manager.userInterface.alert = [this](const std::string& title, const std::string& text) {
            alerts.push_back(title + ": " + text);
        };
        manager.userInterface.trouble = [this](const ArtNetTrouble& trouble) {
            troubles.push_back((trouble.began ? "+" : "-") + trouble.what);
        };
    }

    void write(int value, int channel, int universe = 0) { manager.setValue(value, channel, universe, {}); }
    int value(int channel, int universe = 0) const {
        return DMXBuffer::valueAt(server.dmx(universe) + channel - 1);
    }
    // As in a show: the render loop each millisecond, and what the server's threads would do.
    template <class Tick>
    void run(int milliseconds, Tick&& tick) {
        for (int count = 0; count < milliseconds; ++count) {
            clock.advance(Duration::ofMilliseconds(1));
            tick(count);
            manager.sendAllDMXData();
            while (server.runReceiver(clock.now()) <= clock.now()) {
            }
            server.runSender(clock.now());
            main.pump();
        }
    }
    void run(int milliseconds) {
        run(milliseconds, [](int) {});
    }
    // On the network 10.0.0.0/24 as 10.0.0.9, with a device at 10.0.0.1 that takes these universes and goes
    // on answering.
    void begin(std::initializer_list<int> universes = {0}) {
        preference.title = "Ethernet (en0) - 10.0.0.9";
        manager.refreshNetworkInterfaceList();
        transport.bring(nodeReply("10.0.0.1", universes), "10.0.0.1");
        run(1);
        run(100);
        transport.sent.clear();
    }

    std::vector<std::string> outputNames() const { return manager.artNetOutputNames(); }
    std::vector<std::string> titles() const {
        std::vector<std::string> all;
        for (const auto& item : manager.interfaceMenu().items()) {
            if (!item.isSeparator) all.push_back(item.title);
        }
        return all;
    }
    const std::string& selected() const { return manager.interfaceMenu().selected().title; }
};

} // namespace marvo
