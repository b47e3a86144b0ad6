#include "headless/HeadlessHost.h"

#include "app/PreferenceTable.h"

namespace marvo {

std::string applyPreferenceOverrides(PreferenceStore& store,
                                     const std::vector<PreferenceOverride>& overrides) {
    for (const PreferenceOverride& override : overrides) {
        const std::string error = setPreferenceOverride(store, override.key, override.value);
        if (!error.empty()) return error;
    }
    return {};
}

void addOutputsNamedByTracks(MarvoOSCManager& manager, const PropertyList& root) {
    for (const auto& [key, composition] : root.entries()) {
        const PropertyList* tracks = composition.isDictionary() ? composition.find("tracks") : nullptr;
        if (!tracks || !tracks->isDictionary()) continue;
        for (const auto& [name, track] : tracks->entries()) {
            const PropertyList* port = track.isDictionary() ? track.find("oscPortName") : nullptr;
            const std::string label(port ? port->stringOr("") : "");
            if (label.empty() || manager.findOutputWithLabel(label)) continue;
            manager.createNewOutputToAddress("127.0.0.1", 8000, label);
        }
    }
}

void pressPlayAll(AppDelegate& application) {
    MarvoButton& button = application.master.togglePlayAllButton;
    if (!button.state()) button.performClick();
}

bool anyCompositionRuns(const AppDelegate& application) {
    for (const auto& element : application.compositions.all()) {
        if (element->timelineController().state.isRunning) return true;
    }
    return false;
}

} // namespace marvo
