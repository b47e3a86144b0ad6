// The other side of a MIDI connection: a process of its own, spoken to over pipes.
#pragma once

#include "midi_peer_ports.h"

#include <cstdio>
#include <string>
#include <sys/types.h>
#include <vector>

namespace marvo::e2e {

class Peer {
public:
    // "jack" or "alsa". Returns when the sound system has let it in; throws when it does not.
    Peer(const std::string& system, const std::string& name);
    ~Peer();
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    bool hearFrom(const std::string& marvoPort) { return saysYes("hear " + marvoPort); }
    bool playTo(const std::string& marvoPort) { return saysYes("playto " + marvoPort); }
    bool isHeardByAnybody() { return saysYes("isheard"); }
    std::string name() { return ask("name").at(0); }
    std::vector<std::string> marvoPorts() { return ask("ports"); }
    std::vector<PeerEvent> takeHeard();
    void play(const std::vector<PeerEvent>& events);
    void play(const std::vector<std::uint8_t>& bytes) { play(std::vector<PeerEvent>{{0, bytes}}); }

private:
    std::vector<std::string> ask(const std::string& command);
    std::vector<std::string> answer();
    bool saysYes(const std::string& command) { return ask(command) == std::vector<std::string>{"yes"}; }

    pid_t pid_ = 0;
    std::FILE* to_ = nullptr;
    std::FILE* from_ = nullptr;
};

// Starts this program again with other words, with these as its standard input and output.
pid_t spawnSelf(const std::vector<std::string>& words, int input, int output);

} // namespace marvo::e2e
