// The saved record of a composition.
//
// The order in which a record is read matters: settings before tracks, because a track's keyframes are
// measured against the length; the play button last but one, because with its saved state on it starts
// playing. Main thread.
#pragma once

#include "platform/LoadReport.h"
#include "platform/PropertyList.h"

namespace marvo {

class MarvoTimelineController;
struct CompositionServices;

PropertyList saveComposition(const MarvoTimelineController& composition);

// record: null or not a dictionary reads as an empty one. byImport: the name gets " (imp.)" until it is free.
void loadComposition(MarvoTimelineController& composition, CompositionServices& services,
                     const PropertyList* record, bool byImport, LoadReport* report);

} // namespace marvo
