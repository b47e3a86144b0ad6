#include "app/MasterTransport.h"

#include "platform/SerialQueue.h"

namespace marvo {

MasterTransport::MasterTransport(CompositionSet& compositions, CompositionServices& services)
    : togglePlayAllButton(services.controls), queuedModeButton(services.controls),
      queuedLoopButton(services.controls), soloModeButton(services.controls),
      rewindAllButton(services.controls), triggerNextButton(services.controls),
      triggerPrevButton(services.controls), addCompositionButton(services.controls),
      assignHelperButton(services.controls), blackoutButton(services.controls), compositions_(compositions),
      services_(services), playAllOffSignal_(services.mainThread, [this] {
          togglePlayAllButton.setState(togglePlayAllButton.state());
      }) {
    togglePlayAllButton.setAction([this](MarvoButton&) { togglePlayAll(); });
    const auto changed = [this] { services_.notifications.post(services_.names.ProjectChanged); };
    queuedModeButton.setAction([this, changed](MarvoButton&) {
        queuedModeChanged();
        changed();
    });
    queuedLoopButton.setAction([changed](MarvoButton&) { changed(); });
    soloModeButton.setAction([this, changed](MarvoButton&) {
        soloModeChanged();
        changed();
    });
    rewindAllButton.setAction([this](MarvoButton&) { rewindAll(); });
    triggerNextButton.setAction([this](MarvoButton&) { triggerNextComposition(); });
    triggerPrevButton.setAction([this](MarvoButton&) { triggerPrevComposition(); });
    blackoutButton.setAction([this](MarvoButton&) {
        if (doBlackout) doBlackout();
    });
    addCompositionButton.setAction([this](MarvoButton&) { addComposition(); });
}

void MasterTransport::setOSCAddresses() {
    struct Entry {
        MarvoButton* button;
        const char* address;
        const char* extraInfo;
        bool toggles;
    };
    const std::array<Entry, 10> entries = {{
        {&addCompositionButton, "/marvo/addcomposition", "no value assigned", false},
        {&togglePlayAllButton, "/marvo/playall", "integer 0-1", true},
        {&queuedModeButton, "/marvo/queuedmode", "integer 0-1", true},
        {&queuedLoopButton, "/marvo/queuedloop", "integer 0-1", true},
        {&soloModeButton, "/marvo/solomode", "integer 0-1", true},
        {&rewindAllButton, "/marvo/rewindall", "any value will trigger", false},
        {&assignHelperButton, "/marvo/autobang", "any value will trigger", false},
        {&triggerNextButton, "/marvo/triggernextcomp", "any value will trigger", false},
        {&triggerPrevButton, "/marvo/triggerprevcomp", "any value will trigger", false},
        {&blackoutButton, "/marvo/blackout", "any value will trigger", false},
    }};
    for (const Entry& entry : entries) {
        entry.button->setButtonType(entry.toggles ? toggleButtonType : momentaryButtonType);
        entry.button->removeOSCListener();
        entry.button->setOSCAddress(entry.address, entry.extraInfo);
        entry.button->addOSCListener();
    }
}

void MasterTransport::validateMasterControls() {
    const bool several = compositions_.count() >= 2;
    for (MarvoButton* button : {&queuedLoopButton, &queuedModeButton, &soloModeButton}) {
        if (!several) button->setState(false);
        button->setEnabled(several);
    }
    triggerNextButton.setEnabled(several);
    triggerPrevButton.setEnabled(several);
}

void MasterTransport::addComposition() {
    compositions_.createComposition();
    compositions_.clearLock();
    validateMasterControls();
}

void MasterTransport::togglePlayAll() {
    services_.compQueue.sync([this] {
        if (!togglePlayAllButton.state()) {
            stopCompositions();
            return;
        }
        MarvoTimelineController* selected = compositions_.selectedComposition();
        if (queuedModeButton.state()) {
            if (selected) selected->transport.playByPlayAll();
        } else if (soloModeButton.state()) {
            if (selected) selected->transport.togglePlay();
        } else {
            for (const auto& element : compositions_.all()) {
                MarvoTimelineController& composition = element->timelineController();
                if (composition.state.compState) composition.transport.playByPlayAll();
            }
        }
    });
}

void MasterTransport::rewindAll() {
    services_.compQueue.sync([this] {
        for (const auto& element : compositions_.all())
            element->timelineController().transport.toggleRewind();
    });
}

void MasterTransport::stopCompositions() {
    services_.compQueue.sync([this] {
        for (const auto& element : compositions_.all())
            element->timelineController().transport.stopByPlayAll();
    });
}

void MasterTransport::queuedModeChanged() {
    services_.compQueue.sync(
        [this] { queued_ = queuedModeButton.state() ? compositions_.selectedComposition() : nullptr; });
}

void MasterTransport::handleSoloMode() {
    if (!soloModeButton.state()) return;
    stopCompositions();
    if (services_.preferences.blackoutWhenSolo && doBlackout) doBlackout();
}

void MasterTransport::soloModeChanged() {
    services_.compQueue.sync([this] {
        if (!soloModeButton.state()) {
            if (togglePlayAllButton.state()) togglePlayAll();
            return;
        }
        MarvoTimelineController* selected = compositions_.selectedComposition();
        if (!selected || !selected->state.isRunning) return;
        selected->state.isRunning = false;
        togglePlayAllButton.setState(true);
        togglePlayAll();
    });
}

void MasterTransport::switchPlayAllOff() {
    togglePlayAllButton.setStateSilently(false);
    playAllOffSignal_.post();
}

void MasterTransport::compositionEnds(MarvoTimelineController& composition) {
    if (queuedModeButton.state() && queued_ == &composition) triggerNextComposition();
}

void MasterTransport::triggerNextComposition() {
    select(services_.compQueue.sync([this] {
        MarvoTimelineController* target =
            compositions_.nextEnabledCompositionFromIndex(compositions_.selectedCompositionIndex() + 1);
        if (!target && queuedModeButton.state() && queuedLoopButton.state()) {
            target = compositions_.nextEnabledCompositionFromIndex(0);
        }
        return trigger(target);
    }));
}

void MasterTransport::triggerPrevComposition() {
    select(services_.compQueue.sync([this] {
        return trigger(
            compositions_.prevEnabledCompositionFromIndex(compositions_.selectedCompositionIndex() - 1));
    }));
}

void MasterTransport::triggerCompositionAtIndex(std::int64_t position) {
    select(services_.compQueue.sync([this, position]() -> MarvoTimelineController* {
        if (position < 1 || position > static_cast<std::int64_t>(compositions_.count())) return nullptr;
        return trigger(&compositions_.at(static_cast<std::size_t>(position - 1)));
    }));
}

void MasterTransport::triggerCompositionWithName(std::string_view name) {
    select(
        services_.compQueue.sync([this, name] { return trigger(compositions_.compositionWithName(name)); }));
}

MarvoTimelineController* MasterTransport::trigger(MarvoTimelineController* target) {
    if (!target) return nullptr;
    if (queuedModeButton.state()) queued_ = target;
    if (!target->state.isRunning) target->transport.togglePlay();
    return target;
}

// What shows the selection is not to be waited for by the tick: after the queue is left.
void MasterTransport::select(const MarvoTimelineController* target) {
    if (!target) return;
    if (services_.mainThread.isCurrent()) {
        compositions_.selectComposition(target);
    } else {
        services_.mainThread.async([this, target] { compositions_.selectComposition(target); });
    }
}

void MasterTransport::doSoloComp(MarvoTimelineController& composition) {
    doMuteComps();
    composition.changeCompState();
    composition.state.shouldUpdateCompstate = true;
}

void MasterTransport::doMuteComps() {
    for (const auto& element : compositions_.all()) {
        MarvoTimelineController& composition = element->timelineController();
        if (!composition.state.compState) continue;
        composition.changeCompState();
        composition.state.shouldUpdateCompstate = true;
    }
}

void MasterTransport::doUnmuteComps() {
    for (const auto& element : compositions_.all()) {
        MarvoTimelineController& composition = element->timelineController();
        if (composition.state.compState) continue;
        composition.changeCompState();
        composition.state.shouldUpdateCompstate = true;
    }
}

} // namespace marvo
