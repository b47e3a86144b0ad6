// A whole application without a window, a network or a clock, and projects to put on it.
#pragma once

#include "app/AppDelegate.h"
#include "endpoints/artnet/ArtNetServer.h"
#include "endpoints/artnet/SilentArtNetTransport.h"
#include "endpoints/midi/SilentMIDITransport.h"
#include "endpoints/osc/OSCTransport.h"
#include "platform/Clock.h"
#include "platform/LoopbackOnly.h"
#include "platform/MainThread.h"
#include "platform/PreferenceStore.h"
#include "platform/PropertyList.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace marvo::bench {

struct StagePoint {
    std::int64_t time;
    float value;
    const char* curve;
};

PropertyList stageTrack(const std::string& name, const std::string& address,
                        const std::vector<StagePoint>& points);
// A lane of another type, with keyframes of whatever that type has.
PropertyList stageTrackOf(const std::string& type, const std::string& name,
                          const std::vector<PropertyList>& keyframes);
PropertyList stageComposition(const std::string& name, std::int64_t fps, float seconds,
                              const std::vector<PropertyList>& tracks, bool loop);
PropertyList stageProject(const std::vector<PropertyList>& compositions);

// Outputs that count what they are given and do nothing else, and inputs that never hear anything.
class NullTransport final : public OSCTransport {
public:
    std::unique_ptr<OSCWire> makeWire(const std::string& label, const std::string& address,
                                      int port) override;
    std::unique_ptr<OSCListener> makeListener(int port, OSCMessageReceiver& receiver) override;
    void onTrouble(std::function<void(const OutputTrouble&)>) override {}

    std::uint64_t sent = 0;
    double sum = 0.0; // of the first arguments, when asked for
    bool sums = false;
    std::function<void(const SendOrigin&)> onSend; // null asks nobody
};

class Stage {
public:
    explicit Stage(const PropertyList& project);
    // Plays over that transport; its own stays unused.
    Stage(const PropertyList& project, OSCTransport& other);
    ~Stage();
    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;

    void playAll();
    // One pass of the render loop, that long after the last one.
    void tick(Duration step) {
        now_ = now_ + step;
        application.renderTick(now_);
    }

    NullTransport transport;

private:
    OSCTransport* oscTransport_;

public:
    SilentMIDITransport midi;
    VirtualClock clock;
    MainThread main{clock};
    PreferenceStore preferences;
    SilentArtNetTransport artNetTransport;
    ArtNetServer artNet{artNetTransport, clock, {.ownThreads = false}};
    LoopbackOnly network;
    AppDelegate application{
        AppEnvironment{main, *oscTransport_, midi, artNet, network, preferences, nullptr}};

private:
    MonotonicTime now_;
};

} // namespace marvo::bench
