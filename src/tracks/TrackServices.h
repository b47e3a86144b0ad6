// The shared objects that tracks work with, handed down by the application through the composition.
#pragma once

#include "controls/ControlHub.h"
#include "endpoints/artnet/DMXWriter.h"
#include "endpoints/midi/MIDIDestinations.h"
#include "endpoints/osc/MarvoOSCBundleManager.h"
#include "endpoints/osc/MarvoOSCManager.h"
#include "platform/Log.h"
#include "platform/MainThread.h"
#include "platform/Notifications.h"
#include "platform/SerialQueue.h"
#include "tracks/ColorTrackOptions.h"
#include "tracks/MarvoKeyframeHelper.h"
#include "tracks/PlaybackPreferences.h"
#include "tracks/ValueLane.h"

#include <functional>
#include <memory>
#include <string>

namespace marvo {

struct TrackServices {
    // Held by whatever touches run state: the tick, transport operations, bangs. See docs/decisions.
    SerialQueue& compQueue;
    MainThread& mainThread;
    NotificationCenter& notifications;
    const Notifications& names;
    const PlaybackPreferences& preferences;
    MarvoKeyframeHelper& keyframeHelper;
    MarvoOSCManager& oscManager;
    MarvoOSCBundleManager& bundles;
    MIDIDestinations& midi;
    DMXWriter& dmx;
    ControlHub& controls;
    Log* log = nullptr;
    // Label of the curve that new keyframes get. Main thread.
    std::function<std::string()> defaultInterpolation;
    // True while a project loads: a changed setting then sends nothing.
    std::function<bool()> shouldIgnoreRendering;
    // Null, and two empty texts, turn pasted values into greys.
    const ColorTrackOptions* colors = nullptr;
    // Shared by all tracks, so that those that are made together lie together. Main thread.
    std::shared_ptr<ValueLanePool> lanes = std::make_shared<ValueLanePool>();
};

} // namespace marvo
