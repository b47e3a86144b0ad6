// Where a track sends.
//
// Made on the main thread from the track's settings and handed to the tick whole; a change of settings makes
// a new one. Whoever sends holds the composition queue, so an output has one user at a time. Sending is
// realtime-safe and allocates nothing once it has been used.
#pragma once

#include "platform/SendOrigin.h"
#include "platform/TimelineTime.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace marvo {

class OSCOutPort;

// What some outputs boil down to: a constant OSC address and the value as its only argument. The tick then
// sends by itself, and does not touch the output.
struct DirectSend {
    const OSCOutPort* port = nullptr; // null: the output sends
    const char* address = nullptr;
    std::uint32_t addressSize = 0;
    float multiplier = 1.0f; // what a float argument is divided by
    char tag = 'f';          // f, i, T for a truth, or r for a colour
};

class TrackOutput {
public:
    TrackOutput(std::string_view compositionName, std::string_view trackName)
        : compositionName_(compositionName), trackName_(trackName) {}
    virtual ~TrackOutput() = default;
    TrackOutput(const TrackOutput&) = delete;
    TrackOutput& operator=(const TrackOutput&) = delete;

    const std::string& compositionName() const { return compositionName_; }
    const std::string& trackName() const { return trackName_; }

protected:
    SendOrigin originAt(Frame frame) const {
        return SendOrigin{&compositionName_, &trackName_, frame.value, false};
    }

private:
    std::string compositionName_;
    std::string trackName_;
};

class ValueOutput : public TrackOutput {
public:
    using TrackOutput::TrackOutput;

    // value: in the track's stored scale. Realtime-safe.
    virtual void send(float value, Frame frame) = 0;
    // The message is gathered with others before it leaves.
    virtual bool isGrouped() const { return false; }
    // The parts of it that it names live as long as the output. Main thread.
    virtual DirectSend direct() const { return {}; }
};

} // namespace marvo
