// What run, trace and check share: a preference store, an application, and the outputs that a trace invents.
#pragma once

#include "app/AppDelegate.h"
#include "headless/CommandLine.h"
#include "platform/Log.h"
#include "platform/MainThread.h"
#include "platform/PreferenceStore.h"

#include <memory>
#include <string>
#include <vector>

namespace marvo {

// Preferences named on the command line. Returns an error text, empty when all were taken.
std::string applyPreferenceOverrides(PreferenceStore& store,
                                     const std::vector<PreferenceOverride>& overrides);

// Adds an output for every label that a track of the project names and no port bears, so that every name
// resolves.
void addOutputsNamedByTracks(MarvoOSCManager& manager, const PropertyList& root);

// Presses play-all as a click would.
void pressPlayAll(AppDelegate& application);

bool anyCompositionRuns(const AppDelegate& application);

} // namespace marvo
