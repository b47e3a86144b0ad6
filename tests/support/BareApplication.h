// What a composition finds around it where no application runs: one composition among two names, nothing
// queued or recorded, and beeps that can be counted.
#pragma once

#include "composition/CompositionApplication.h"
#include "composition/OSCCommands.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace marvo::testing {

class BareApplication final : public CompositionApplication {
public:
    MarvoTimelineController* selected = nullptr;
    bool locked = false;
    int beeps = 0;

    void handleSoloMode() override {}
    bool isSoloMode() const override { return false; }
    bool isQueuedMode() const override { return false; }
    bool isQueuedLoop() const override { return false; }
    bool isPlayAllOn() const override { return false; }
    void switchPlayAllOff() override {}
    MarvoTimelineController* currentQueuedComposition() const override { return nullptr; }
    void setCurrentQueuedComposition(MarvoTimelineController*) override {}
    void compositionEnds(MarvoTimelineController&) override {}
    MarvoTimelineController* selectedComposition() const override { return selected; }
    std::int64_t compositionIndexOfTimelineController(const MarvoTimelineController&) const override {
        return 0;
    }
    bool isAvailableCompName(std::string_view, bool) const override { return true; }
    std::vector<std::string> compositionNames() const override { return {"Main", "Other"}; }
    bool isProjectLocked() const override { return locked; }
    bool shouldIgnoreRendering() const override { return false; }
    bool ignorePlayButtonsOnLoading() const override { return true; }
    void startRecord(MarvoTimelineController&) override {}
    void stopRecord() override {}
    void forgetRecording(const MarvoTimelineController&) override {}
    void updateInfoDisplay() override {}
    void beep() override { ++beeps; }
};

class NoCommands final : public OSCCommands {
public:
    void listen(const void*, std::string, std::string, std::function<void(const OSCArgument&)>) override {}
    void drop(const void*) override {}
};

} // namespace marvo::testing
