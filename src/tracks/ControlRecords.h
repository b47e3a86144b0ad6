// Control records between their plain form and property lists.
#pragma once

#include "controls/ControlRecord.h"
#include "platform/PropertyList.h"

#include <optional>

namespace marvo {

PropertyList propertyListOf(const ControlRecord& record);
// None for null and for anything but a dictionary: a control then keeps its defaults.
std::optional<ControlRecord> controlRecordFrom(const PropertyList* record);

} // namespace marvo
