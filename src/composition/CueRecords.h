// The cues of a composition between their plain form and saved records. Main thread.
#pragma once

#include "composition/MarvoCueController.h"
#include "platform/LoadReport.h"
#include "platform/PropertyList.h"
#include "platform/SerialQueue.h"

#include <string>

namespace marvo {

// kept: keys of the record that the controller does not hold, as loadCues returned them.
PropertyList saveCues(const MarvoCueController& controller, const PropertyList& kept);
PropertyList loadCues(MarvoCueController& controller, SerialQueue& compQueue, const PropertyList* record,
                      Frame end, const std::string& where, LoadReport* report);
// One cue, as undo and the trim of a composition keep it.
PropertyList propertyListOf(const CueRecord& record);
CueRecord cueRecordFrom(const PropertyList& record);

} // namespace marvo
