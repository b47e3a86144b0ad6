// Whoever passes on that a preference has changed: the application posts a notification for each call.
#pragma once

namespace marvo {

// Called on the main thread, after the change is stored and PlaybackPreferences follows it.
class MarvoPreferencesObserver {
public:
    virtual ~MarvoPreferencesObserver() = default;
    // "SettingsChanged"
    virtual void settingsChanged() = 0;
    // "RedrawViews"
    virtual void redrawViews() = 0;
};

} // namespace marvo
