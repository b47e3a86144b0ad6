// What a peer process does: a program with one MIDI input and one output, as others write them.
//
// Shares nothing with Marvo's own way to the sound system but the system's library.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace marvo::e2e {

struct PeerEvent {
    std::uint64_t frame = 0; // on the clock of the sound system, where it has one
    std::vector<std::uint8_t> bytes;
};

class PeerPorts {
public:
    virtual ~PeerPorts() = default;
    // Connects to a port of Marvo's; false while it is not there.
    virtual bool hearFrom(const std::string& marvoPort) = 0;
    virtual bool playTo(const std::string& marvoPort) = 0;
    virtual bool isHeardByAnybody() = 0;
    virtual std::vector<PeerEvent> takeHeard() = 0;
    // At these frames behind a common beginning, where the sound system can; else at once. In order.
    virtual void play(const std::vector<PeerEvent>& events) = 0;
    virtual std::vector<std::string> marvoPorts() = 0;
    virtual std::string name() = 0;
    // Where the sound system itself missed its moment: what was heard next to these frames tells nothing of
    // time.
    virtual std::vector<std::uint64_t> lostCycles() { return {}; }
};

// Null when the sound system does not let it in.
std::unique_ptr<PeerPorts> openJackPeer(const std::string& name);
std::unique_ptr<PeerPorts> openAlsaPeer(const std::string& name);

// The life of a peer process: lines of standard input are commands, answers end with a line of a dot.
int runPeer(const std::string& system, const std::string& name);

} // namespace marvo::e2e
