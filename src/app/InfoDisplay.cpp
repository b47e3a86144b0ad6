#include "app/InfoDisplay.h"

#include "app/CompositionSet.h"
#include "app/TimeText.h"

namespace marvo {

void InfoDisplay::updateInfoDisplay() {
    if (showsOSC_) return;
    if (compositions_.count() == 0) {
        show("No Compositions");
        return;
    }
    const MarvoTimelineController* selected = compositions_.selectedComposition();
    if (!selected) {
        show("");
        return;
    }
    const std::size_t tracks = selected->tracks.all().size();
    const std::string time = timeWithSeconds(selected->state.compTime, selected->state.compFPS);
    if (tracks == 0) {
        show(selected->compName() + " - No Tracks - " + time);
        return;
    }
    show(selected->compName() + " - " + std::to_string(tracks) + " Track" + (tracks > 1 ? "s" : "") + " - " +
         time);
}

void InfoDisplay::startShowOSC() {
    showsOSC_ = true;
    selectable_ = true;
    show("Click on a button to get it's OSC address");
}

void InfoDisplay::stopShowOSC() {
    showsOSC_ = false;
    selectable_ = false;
    updateInfoDisplay();
}

void InfoDisplay::showOSCOnInfoDisplay(std::string_view text) {
    show(std::string(text));
}

void InfoDisplay::show(std::string text) {
    text_ = std::move(text);
    if (onChange) onChange();
}

} // namespace marvo
