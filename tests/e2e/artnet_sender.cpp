// Art-Net as the application uses it, driven by lines on standard input:
//
//     interface TITLE      chooses an item of the interface menu
//     outputs COUNT        as many outputs, on universes 0, 1, 2 and so on
//     set UNIVERSE CHANNEL VALUE
//     wave UNIVERSES       the render loop changes channel 1 of universes 0 to UNIVERSES - 1 each millisecond
//     broadcast ROW | rate ROW HZ | sync | auto | blackout | nodes | input SUBNET UNIVERSE | counts
//
// and telling on standard output what happens. The argument is the interface of the last time.
#include "endpoints/artnet/MarvoArtNetManager.h"
#include "endpoints/artnet/UdpArtNetTransport.h"
#include "platform/NetworkInterfaces.h"
#include "platform/RealtimeThread.h"

#include <atomic>
#include <cstdio>
#include <fcntl.h>
#include <iostream>
#include <mutex>
#include <sstream>
#include <unistd.h>

namespace {

using namespace marvo;

// Lines come from several threads.
void say(const std::string& line) {
    static std::mutex lock;
    const std::lock_guard hold(lock);
    std::cout << line << std::endl;
}

struct Preference final : ArtNetInterfacePreference {
    std::string title;
    std::string lastArtNetNetworkInterface() const override { return title; }
    void setLastArtNetNetworkInterface(const std::string& text) override { title = text; }
};

struct LinesOut final : LogSink {
    void write(std::string_view line) override { say("log " + std::string(line)); }
    std::string contents(std::size_t) override { return {}; }
};

struct Incoming final : MarvoIncomingDMXHandler {
    void receivedDMX(std::span<const DMXPair> pairs) override {
        std::string line = "in";
        for (const DMXPair& pair : pairs) {
            if (pairs.size() > 20 && pair.value == 0) continue;
            line += " " + std::to_string(pair.index) + "=" + std::to_string(pair.value);
        }
        say(line);
    }
};

struct Program {
    explicit Program(const char* lastInterface) {
        preference.title = lastInterface;
        manager.userInterface.alert = [](const std::string& title, const std::string& text) {
            say("alert " + title + ": " + text);
        };
        manager.userInterface.trouble = [](const ArtNetTrouble& trouble) {
            say(std::string("trouble ") + (trouble.began ? "+" : "-") + trouble.what);
        };
        manager.userInterface.nodesChanged = [this] { tellNodes(); };
        manager.userInterface.interfacesChanged = [this] {
            const std::string& now = manager.interfaceMenu().selected().title;
            if (now != told) say("selected " + now);
            told = now;
        };
        manager.setIncomingDMXHandler(&incoming);
        manager.refreshNetworkInterfaceList();
        for (const auto& item : manager.interfaceMenu().items()) {
            if (!item.isSeparator) say("menu " + item.title);
        }
        server.startDiscoverDevices();
    }

    void tellNodes() const {
        std::string line = "nodes";
        for (const ArtNetNode& node : manager.listOfNodes()) {
            line += " [" + node.name + " " + node.ip + " " + std::to_string(node.subnet) + "-" +
                    std::to_string(node.universe) + " " + node.direction + "]";
        }
        say(line);
    }

    void command(const std::string& line) {
        std::istringstream words(line);
        std::string what;
        words >> what;
        int a = 0;
        int b = 0;
        int c = 0;
        if (what == "interface") {
            std::string title;
            std::getline(words >> std::ws, title);
            manager.selectNetworkInterface(title);
            return;
        }
        words >> a >> b >> c;
        if (what == "outputs") {
            for (int universe = 1; universe < a; ++universe) manager.addArtNetOutput();
        } else if (what == "set") {
            manager.setValue(c, b, a, {});
        } else if (what == "wave") {
            waves = a;
        } else if (what == "broadcast") {
            manager.setOutputSending(static_cast<std::size_t>(a), {true, 0});
        } else if (what == "rate") {
            manager.setOutputSending(static_cast<std::size_t>(a), {false, b});
        } else if (what == "sync") {
            manager.setArtSync(true);
        } else if (what == "auto") {
            manager.autoConfigureArtNetOutputs();
            for (const std::string& name : manager.artNetOutputNames()) say("output " + name);
        } else if (what == "blackout") {
            manager.doBlackout();
        } else if (what == "nodes") {
            tellNodes();
        } else if (what == "input") {
            manager.inputSettingsChanged(true, a, b);
        } else if (what == "counts") {
            say("counts sent=" + std::to_string(server.packetsSent()) +
                " failed=" + std::to_string(server.packetsFailed()));
        }
    }

    void render(RealtimeThread& thread) {
        MonotonicTime next = clock.now();
        for (int tick = 0; !thread.stopRequested(); ++tick) {
            for (int universe = 0; universe < waves; ++universe)
                manager.setValue(tick % 256, 1, universe, {});
            manager.sendAllDMXData();
            next = next + Duration::ofMilliseconds(1);
            RealtimeThread::sleepUntil(next);
        }
    }

    void run() {
        RealtimeThread loop;
        RealtimeOptions options;
        options.bestEffort = true;
        options.lockMemory = false;
        options.holdCpuLatency = false;
        loop.start(options, [this](RealtimeThread& thread) { render(thread); });
        ::fcntl(STDIN_FILENO, F_SETFL, ::fcntl(STDIN_FILENO, F_GETFL) | O_NONBLOCK);
        main.watchDescriptor(STDIN_FILENO, [this] { readLines(); });
        say("ready");
        main.run();
        main.unwatchDescriptor(STDIN_FILENO);
        loop.requestStop();
        loop.join();
        manager.setIncomingDMXHandler(nullptr);
    }

    void readLines() {
        char space[4096];
        const ssize_t got = ::read(STDIN_FILENO, space, sizeof space);
        if (got == 0) main.quit();
        if (got <= 0) return;
        pending.append(space, static_cast<std::size_t>(got));
        for (std::size_t end = pending.find('\n'); end != std::string::npos; end = pending.find('\n')) {
            command(pending.substr(0, end));
            pending.erase(0, end + 1);
        }
    }

    const MonotonicClock clock;
    MainThread main{clock};
    NotificationCenter center;
    Notifications notifications{center};
    LinesOut lines;
    Log log{lines, clock};
    Preference preference;
    SystemNetworkConfiguration network;
    UdpArtNetTransport transport;
    ArtNetServer server{transport, clock};
    Incoming incoming;
    MarvoArtNetManager manager{{server, network, preference, center, notifications, main, &log}};
    NetworkConfigurationWatch watch{
        main, [this] { center.post(notifications.NetworkConfigurationDidChangeNotification); }};
    std::atomic<int> waves{0};
    std::string told;
    std::string pending;
};

} // namespace

int main(int count, char** arguments) {
    Program program(count > 1 ? arguments[1] : "");
    program.run();
}
