#include "midi_peer_ports.h"

#include <chrono>
#include <cstdio>
#include <iostream>
#include <sstream>
#include <thread>

namespace marvo::e2e {

namespace {

std::vector<std::uint8_t> bytesOf(const std::string& hex) {
    std::vector<std::uint8_t> bytes;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2)
        bytes.push_back(static_cast<std::uint8_t>(std::stoi(hex.substr(i, 2), nullptr, 16)));
    return bytes;
}

std::string hexOf(const std::vector<std::uint8_t>& bytes) {
    static constexpr char digits[] = "0123456789abcdef";
    std::string hex;
    for (const std::uint8_t byte : bytes) {
        hex += digits[byte >> 4];
        hex += digits[byte & 15];
    }
    return hex;
}

std::string answer(PeerPorts& ports, const std::string& line, std::vector<PeerEvent>& toPlay) {
    std::istringstream words(line);
    std::string command;
    std::string rest;
    words >> command >> std::ws;
    std::getline(words, rest);
    std::ostringstream out;
    if (command == "hear") {
        out << (ports.hearFrom(rest) ? "yes\n" : "no\n");
    } else if (command == "playto") {
        out << (ports.playTo(rest) ? "yes\n" : "no\n");
    } else if (command == "isheard") {
        out << (ports.isHeardByAnybody() ? "yes\n" : "no\n");
    } else if (command == "name") {
        out << ports.name() << '\n';
    } else if (command == "ports") {
        for (const std::string& port : ports.marvoPorts()) out << port << '\n';
    } else if (command == "take") {
        for (const PeerEvent& event : ports.takeHeard())
            out << event.frame << ' ' << hexOf(event.bytes) << '\n';
    } else if (command == "lost") {
        for (const std::uint64_t frame : ports.lostCycles()) out << frame << '\n';
    } else if (command == "event") {
        std::istringstream event(rest);
        PeerEvent one;
        std::string hex;
        event >> one.frame >> hex;
        one.bytes = bytesOf(hex);
        toPlay.push_back(one);
    } else if (command == "play") {
        ports.play(toPlay);
        toPlay.clear();
    }
    return out.str();
}

} // namespace

int runPeer(const std::string& system, const std::string& name) {
    const auto open = [&] { return system == "jack" ? openJackPeer(name) : openAlsaPeer(name); };
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    std::unique_ptr<PeerPorts> ports = open();
    while (!ports && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        ports = open();
    }
    if (!ports) return 1;
    std::cout << ".\n" << std::flush;
    std::string line;
    std::vector<PeerEvent> toPlay;
    while (std::getline(std::cin, line)) std::cout << answer(*ports, line, toPlay) << ".\n" << std::flush;
    return 0;
}

} // namespace marvo::e2e
