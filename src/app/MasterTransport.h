// The transport that acts on all compositions at once: play all, rewind all, queued and solo mode, triggers.
//
// The modes live in the states of their buttons and nowhere else. Operations may come from any thread (a
// composition at its end, OSC, MIDI); they hold the composition queue while they work, and move only the
// selection to the main thread.
#pragma once

#include "app/CompositionSet.h"
#include "controls/MarvoButton.h"
#include "platform/MainThread.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <string_view>

namespace marvo {

class MasterTransport {
public:
    MasterTransport(CompositionSet& compositions, CompositionServices& services);

    MarvoButton togglePlayAllButton;
    MarvoButton queuedModeButton;
    MarvoButton queuedLoopButton;
    MarvoButton soloModeButton;
    MarvoButton rewindAllButton;
    MarvoButton triggerNextButton;
    MarvoButton triggerPrevButton;
    MarvoButton addCompositionButton;
    MarvoButton assignHelperButton;
    MarvoButton blackoutButton;

    // Zeroes every channel of every Art-Net output. Any thread.
    std::function<void()> doBlackout;

    // Gives every master button its address below "/marvo/" and its kind, and subscribes it.
    void setOSCAddresses();
    // With fewer than two compositions the modes cannot be on.
    void validateMasterControls();

    void togglePlayAll();
    void rewindAll();
    void stopCompositions();
    void soloModeChanged();
    void queuedModeChanged();
    void handleSoloMode();
    void switchPlayAllOff();
    void compositionEnds(MarvoTimelineController& composition);
    void triggerNextComposition();
    void triggerPrevComposition();
    // Position from 1; anything else is ignored, and so is an unknown name.
    void triggerCompositionAtIndex(std::int64_t position);
    void triggerCompositionWithName(std::string_view name);
    void doSoloComp(MarvoTimelineController& composition);
    void doMuteComps();
    void doUnmuteComps();

    MarvoTimelineController* currentQueuedComposition() const { return queued_; }
    void setCurrentQueuedComposition(MarvoTimelineController* composition) { queued_ = composition; }

private:
    // With the composition queue held; what it gives is selected afterwards.
    MarvoTimelineController* trigger(MarvoTimelineController* target);
    void select(const MarvoTimelineController* target);
    void addComposition();

    CompositionSet& compositions_;
    CompositionServices& services_;
    std::atomic<MarvoTimelineController*> queued_{nullptr};
    MainThread::Signal playAllOffSignal_;
};

} // namespace marvo
