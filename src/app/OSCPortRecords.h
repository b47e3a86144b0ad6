// The OSC ports of a project between their plain form and property lists.
#pragma once

#include "endpoints/osc/MarvoOSCManager.h"
#include "platform/LoadReport.h"
#include "platform/PropertyList.h"

#include <optional>

namespace marvo {

PropertyList propertyListOf(const OSCPortsSnapshot& snapshot);
// None for anything but a dictionary; entries that are not usable are reported and left out.
std::optional<OSCPortsSnapshot> oscPortsSnapshotFrom(const PropertyList& record, LoadReport* report);

} // namespace marvo
