// How a session of ALSA opens and closes ports, and what it finds of the machine.
#include "endpoints/midi/AlsaMIDISession.h"
#include "endpoints/midi/MIDIDeviceName.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <map>

namespace marvo {

namespace {

constexpr unsigned readable = SND_SEQ_PORT_CAP_READ | SND_SEQ_PORT_CAP_SUBS_READ;
constexpr unsigned writable = SND_SEQ_PORT_CAP_WRITE | SND_SEQ_PORT_CAP_SUBS_WRITE;

// A card that has just come is in the sequencer before it can be asked who it is.
constexpr std::chrono::milliseconds longestUnknown{1000};

// What a card says of itself holds where it is plugged in; empty for a program.
std::string cardIdentity(int card) {
    char* name = nullptr;
    if (card < 0 || snd_card_get_longname(card, &name) < 0 || !name) return {};
    std::string text = name;
    std::free(name);
    return text;
}

struct SeenPort {
    int client = 0;
    int port = 0;
    unsigned capabilities = 0;
    std::string name;
    int card = -1;        // none: a program
    std::string identity; // of the card
};

std::vector<SeenPort> seenPorts(snd_seq_t* seq, int ownClient) {
    std::vector<SeenPort> seen;
    snd_seq_client_info_t* client = nullptr;
    snd_seq_port_info_t* port = nullptr;
    snd_seq_client_info_alloca(&client);
    snd_seq_port_info_alloca(&port);
    snd_seq_client_info_set_client(client, -1);
    while (snd_seq_query_next_client(seq, client) >= 0) {
        const int number = snd_seq_client_info_get_client(client);
        if (number == ownClient || number == SND_SEQ_CLIENT_SYSTEM) continue;
        const std::string clientName = snd_seq_client_info_get_name(client);
        const int card = snd_seq_client_info_get_card(client);
        const std::string identity = cardIdentity(card);
        snd_seq_port_info_set_client(port, number);
        snd_seq_port_info_set_port(port, -1);
        while (snd_seq_query_next_port(seq, port) >= 0) {
            const unsigned capabilities = snd_seq_port_info_get_capability(port);
            if ((capabilities & SND_SEQ_PORT_CAP_NO_EXPORT) != 0) continue;
            seen.push_back({number, snd_seq_port_info_get_port(port), capabilities,
                            midiDeviceName(clientName, snd_seq_port_info_get_name(port)), card, identity});
        }
    }
    return seen;
}

std::vector<MIDIFoundEndpoint> endpointsOf(const std::vector<SeenPort>& seen, unsigned capabilities) {
    std::vector<MIDIFoundEndpoint> found;
    std::map<std::string, int> identities;
    for (const SeenPort& port : seen) {
        if ((port.capabilities & capabilities) != capabilities) continue;
        const std::string address = std::to_string(port.client) + ":" + std::to_string(port.port);
        MIDIFoundEndpoint endpoint{address, port.name + " " + address, port.name, false};
        if (!port.identity.empty()) {
            endpoint.key = port.identity + " / " + port.name + " / " + std::to_string(port.port);
            endpoint.keyLasts = ++identities[endpoint.key] == 1;
            // Two cards that say the same of themselves.
            if (!endpoint.keyLasts) endpoint.key += " " + address;
        }
        found.push_back(std::move(endpoint));
    }
    return found;
}

bool parse(const std::string& address, int& client, int& port) {
    char* end = nullptr;
    client = static_cast<int>(std::strtol(address.c_str(), &end, 10));
    if (*end != ':') return false;
    port = static_cast<int>(std::strtol(end + 1, &end, 10));
    return *end == 0;
}

template <class List, class Port>
auto entryOf(List& list, const Port& port) {
    return std::find_if(list.begin(), list.end(), [&](const auto& each) { return each.port.get() == &port; });
}

} // namespace

MIDIFoundEndpoints AlsaMIDISession::look() {
    std::vector<SeenPort> seen = seenPorts(client_, clientNumber_);
    std::erase_if(seen, [this](const SeenPort& port) {
        return port.card >= 0 && !isSettled(port.card, !port.identity.empty());
    });
    return {endpointsOf(seen, readable), endpointsOf(seen, writable)};
}

bool AlsaMIDISession::isSettled(int card, bool isKnown) {
    if (isKnown) {
        unknownCards_.erase(card);
        return true;
    }
    const auto now = std::chrono::steady_clock::now();
    return now - unknownCards_.try_emplace(card, now).first->second >= longestUnknown;
}

int AlsaMIDISession::createPort(const std::string& name, unsigned capabilities) {
    return snd_seq_create_simple_port(client_, name.c_str(), capabilities,
                                      SND_SEQ_PORT_TYPE_MIDI_GENERIC | SND_SEQ_PORT_TYPE_SOFTWARE |
                                          SND_SEQ_PORT_TYPE_APPLICATION);
}

void AlsaMIDISession::publishPorts() {
    ports_.publish(std::make_unique<Ports>(held_));
}

std::string AlsaMIDISession::open(const std::shared_ptr<MIDIOutPort>& port, const std::string& address) {
    const bool isVirtual = address.empty();
    const int number =
        isVirtual ? createPort(port->name, readable)
                  : createPort("to " + port->name, SND_SEQ_PORT_CAP_READ | SND_SEQ_PORT_CAP_NO_EXPORT);
    if (number < 0) return std::string("the ALSA sequencer gives no port (") + snd_strerror(number) + ")";
    int client = 0;
    int theirs = 0;
    const int result = isVirtual ? 0
                       : !parse(address, client, theirs)
                           ? -EINVAL
                           : snd_seq_connect_to(client_, number, client, theirs);
    if (result < 0) {
        snd_seq_delete_simple_port(client_, number);
        return std::string("the ALSA sequencer does not connect it (") + snd_strerror(result) + ")";
    }
    held_.outs.push_back({port, number});
    publishPorts();
    host_.outputs.wake();
    return {};
}

std::string AlsaMIDISession::open(const std::shared_ptr<MIDIInPort>& port, const std::string& address) {
    const bool isVirtual = address.empty();
    const int number =
        isVirtual ? createPort(port->name, writable)
                  : createPort("from " + port->name, SND_SEQ_PORT_CAP_WRITE | SND_SEQ_PORT_CAP_NO_EXPORT);
    if (number < 0) return std::string("the ALSA sequencer gives no port (") + snd_strerror(number) + ")";
    lane_.add(port);
    held_.ins.push_back({port, number});
    publishPorts();
    int client = 0;
    int theirs = 0;
    const int result = isVirtual ? 0
                       : !parse(address, client, theirs)
                           ? -EINVAL
                           : snd_seq_connect_from(client_, number, client, theirs);
    if (result >= 0) return {};
    close(*port);
    return std::string("the ALSA sequencer does not connect it (") + snd_strerror(result) + ")";
}

void AlsaMIDISession::close(const MIDIOutPort& port) {
    const auto found = entryOf(held_.outs, port);
    if (found == held_.outs.end()) return;
    const int number = found->number;
    held_.outs.erase(found);
    publishPorts();
    snd_seq_delete_simple_port(client_, number);
}

void AlsaMIDISession::close(const MIDIInPort& port) {
    const auto found = entryOf(held_.ins, port);
    if (found == held_.ins.end()) return;
    const int number = found->number;
    held_.ins.erase(found);
    publishPorts();
    lane_.remove(port);
    snd_seq_delete_simple_port(client_, number);
}

} // namespace marvo
