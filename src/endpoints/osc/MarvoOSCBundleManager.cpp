#include "endpoints/osc/MarvoOSCBundleManager.h"

#include "endpoints/osc/MarvoOSCManager.h"
#include "platform/Numbers.h"

#include <algorithm>

namespace marvo {
namespace {

struct GroupedAddress {
    std::string_view base;
    std::int64_t index = 0;
};

// "base#index", split at exactly one "#".
std::optional<GroupedAddress> split(std::string_view address) {
    const std::size_t mark = address.find('#');
    if (mark == std::string_view::npos || address.find('#', mark + 1) != std::string_view::npos)
        return std::nullopt;
    const std::int64_t index = parseLeadingInt64(address.substr(mark + 1));
    if (index <= 0) return std::nullopt;
    return GroupedAddress{address.substr(0, mark), index};
}

// What most shows need; more is found room for when it first comes.
constexpr std::size_t usualGroups = 32;
constexpr std::size_t usualMembers = 8;
constexpr std::size_t longestIndex = 20;  // digits
constexpr std::size_t usualLabel = 64;    // bytes
constexpr std::size_t usualAddress = 256; // bytes

} // namespace

MarvoOSCBundleManager::MarvoOSCBundleManager() : groups_(usualGroups) {
    for (Group& group : groups_) {
        group.label.reserve(usualLabel);
        group.base.reserve(usualAddress);
        group.order.reserve(usualMembers);
        group.members.resize(usualMembers);
        for (OSCMessage& member : group.members) member.makeRoom(longestIndex, 4, usualLabel);
    }
    gathered_.makeRoom(usualAddress, 4 * usualMembers, usualAddress);
}

MarvoOSCBundleManager::Group& MarvoOSCBundleManager::groupFor(std::string_view label, std::string_view base) {
    for (std::size_t i = 0; i < groupCount_; ++i) {
        if (groups_[i].base == base && groups_[i].label == label) return groups_[i];
    }
    if (groupCount_ == groups_.size()) groups_.emplace_back();
    Group& group = groups_[groupCount_++];
    group.label.assign(label);
    group.base.assign(base);
    group.memberCount = 0;
    return group;
}

bool MarvoOSCBundleManager::addMessage(const OSCMessage& message, std::string_view label, const SendOrigin&) {
    const std::optional<GroupedAddress> address = split(message.address());
    if (!manager_ || !address || !manager_->hasOutput(label)) return false;
    Group& group = groupFor(label, address->base);
    const NumberText index = formatInteger(address->index);
    std::size_t at = 0;
    while (at < group.memberCount && group.members[at].address() != index.view()) ++at;
    if (at == group.members.size()) group.members.emplace_back();
    if (at == group.memberCount) ++group.memberCount;
    // The last value of a pass wins.
    OSCMessage& member = group.members[at];
    member.resetWithAddress(index.view());
    for (const OSCValue& value : message.values()) member.addValue(value);
    return true;
}

void MarvoOSCBundleManager::processGroupedOSCMessages(const SendOrigin& origin) {
    if (!manager_) return;
    for (std::size_t g = 0; g < groupCount_; ++g) {
        Group& group = groups_[g];
        // A message needs an address.
        if (group.base.empty()) continue;
        group.order.clear();
        for (std::size_t i = 0; i < group.memberCount; ++i) group.order.push_back(i);
        // Indices are plain digits, for which text order is the same in every language.
        std::sort(group.order.begin(), group.order.end(), [&group](std::size_t a, std::size_t b) {
            return group.members[a].address() < group.members[b].address();
        });
        gathered_.resetWithAddress(group.base);
        for (const std::size_t i : group.order) {
            for (const OSCValue& value : group.members[i].values()) gathered_.addValue(value);
        }
        manager_->sendToOutput(group.label, gathered_, origin);
    }
    groupCount_ = 0;
}

void MarvoOSCBundleManager::reset() {
    groupCount_ = 0;
}

} // namespace marvo
