// Gathers the values of grouped tracks into one message per base address and output.
//
// A grouped address is "base#index"; what leaves is one plain message to the base whose arguments are the
// values of all indices, ordered as text ("10" before "2"). The store is shared by all compositions. Called
// with the composition queue held; no lock of its own. Realtime-safe once the memory has grown to the show's
// size.
#pragma once

#include "endpoints/osc/OSCMessage.h"
#include "endpoints/osc/OSCTransport.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace marvo {

class MarvoOSCManager;

class MarvoOSCBundleManager {
public:
    MarvoOSCBundleManager();

    // Null takes nothing and sends nothing.
    void setOSCManager(const MarvoOSCManager* manager) { manager_ = manager; }

    // False when the caller has to send the message itself: no manager, no output of that label, or an
    // address that is not exactly "base#index" with an index above 0.
    bool addMessage(const OSCMessage& message, std::string_view label, const SendOrigin& origin);
    // Sends what was gathered. Labels and bases leave in the order in which they were gathered first.
    void processGroupedOSCMessages(const SendOrigin& origin);
    void reset();

private:
    struct Group {
        std::string label;
        std::string base;
        std::size_t memberCount = 0;
        std::vector<OSCMessage> members; // reused; the address of a member is its index
        std::vector<std::size_t> order;
    };

    Group& groupFor(std::string_view label, std::string_view base);

    const MarvoOSCManager* manager_ = nullptr;
    std::vector<Group> groups_; // reused; the first groupCount_ are in use
    std::size_t groupCount_ = 0;
    OSCMessage gathered_;
};

} // namespace marvo
