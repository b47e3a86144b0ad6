// Where the colours of a track go.
#pragma once

#include "platform/Colour.h"
#include "tracks/TrackOutput.h"

#include <optional>

namespace marvo {

enum class ColorComponent { red, green, blue, alpha };

class ColorOutput : public TrackOutput {
public:
    using TrackOutput::TrackOutput;

    // With one component named, only that one's message leaves, where components have messages of their own.
    // Realtime-safe.
    virtual void send(const Colour& color, Frame frame, std::optional<ColorComponent> only) = 0;
    // The colour is its only argument then. What it names lives as long as the output. Main thread.
    virtual DirectSend direct() const { return {}; }
};

} // namespace marvo
