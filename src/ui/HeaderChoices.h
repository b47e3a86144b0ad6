// The choices behind the fields of a track's header, and what a choice or a typed text does to the track.
// Main thread.
#pragma once

#include "composition/CompositionServices.h"
#include "composition/MarvoTimelineController.h"
#include "ui/TrackHeader.h"

#include <vector>

namespace marvo::ui {

struct HeaderChoice {
    QString title;
    bool enabled = true;
};

std::vector<HeaderChoice> choicesOf(MarvoTimelineTrackProtocol& track, HeaderPart part,
                                    const CompositionServices& services);
// What the menu calls a stored colour format; one that it does not offer stands as it is stored.
QString colorFormatTitle(const std::string& format);
// Both are undone where the composition has an edit for it.
void takeChoice(MarvoTimelineController& composition, MarvoTimelineTrackProtocol& track, HeaderPart part,
                const QString& title);
// False when the text cannot be what the field holds; nothing has changed then.
bool takeText(MarvoTimelineController& composition, MarvoTimelineTrackProtocol& track, HeaderPart part,
              const QString& text);

} // namespace marvo::ui
