// The messages of a flag track, one a keyframe, ready to be sent.
//
// Nothing in them depends on when they are sent, so they are made when a keyframe or a name changes. Part of
// the plan that the tick adopts; never changed once it is made.
#pragma once

#include "endpoints/osc/OSCMessage.h"
#include "tracks/KeyframePlan.h"

#include <cstddef>
#include <utility>
#include <vector>

namespace marvo {

class FlagMessages final : public PlanContent {
public:
    explicit FlagMessages(std::vector<OSCMessage> messages) : messages_(std::move(messages)) {}

    // Of the keyframe with that index in the plan.
    const OSCMessage& at(std::size_t index) const { return messages_[index]; }

private:
    std::vector<OSCMessage> messages_;
};

} // namespace marvo
