// Scrolling while something is dragged to the edge of an area. Called again and again for as long as the drag
// goes on.
//
// Two flavours that stay different: lanes scroll before the pointer has left them, ruler and cue row once it
// has. Main thread.
#pragma once

#include "surface/ScrollArea.h"

namespace marvo {

// pointer: from the upper left corner of what is seen of the area, y downwards. y goes first, then x, each by
// itself. True when the area has moved.
bool handleScrollAtLocationOnLanes(ScrollArea& area, SurfacePoint pointer);
// x alone.
bool handleScrollAtLocationOnRow(ScrollArea& area, SurfacePoint pointer);

} // namespace marvo
