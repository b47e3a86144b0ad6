#include "app/LinkDispatch.h"

#include "app/AppDelegate.h"

namespace marvo {
namespace {

constexpr std::uint8_t linkStop = 1;
constexpr std::uint8_t linkPlay = 2;
constexpr std::uint8_t linkLocate = 10;
constexpr std::size_t packetSize = 12;

} // namespace

LinkDispatch::LinkDispatch(AppDelegate& application)
    : application_(application), searchSignal_(application.mainThread(), [&application] {
          application.recorder.artNetFilters.searchMessages();
      }) {}

void LinkDispatch::receivedNMCMessage(std::span<const std::uint8_t> data) {
    if (data.size() < packetSize || application_.gate.shouldIgnoreRendering()) return;
    const std::uint8_t command = data[4];
    const std::int64_t seconds = data[7] + data[6] * 60 + data[5] * 3600;
    const Frame target(seconds * data[9] + data[8]);
    const std::uint8_t position = data[10];
    application_.services().compQueue.sync([&] {
        CompositionSet& compositions = application_.compositions;
        if (position > compositions.count()) return;
        MarvoTimelineController* composition =
            position == 0 ? compositions.selectedComposition() : &compositions.at(position - 1U);
        if (!composition) return;
        if (command == linkStop) {
            if (composition->isRunning()) composition->togglePlay();
            composition->markerDraggedToTime(target);
        } else if (command == linkPlay) {
            composition->markerDraggedToTime(target);
            if (!composition->isRunning()) composition->togglePlay();
        } else if (command == linkLocate) {
            composition->markerDraggedToTime(target);
        }
    });
}

void LinkDispatch::receivedDMX(std::span<const DMXPair> changes) {
    if (application_.gate.shouldIgnoreRendering()) return;
    const int universe = application_.artNetManager().inputUniverse();
    InboundRecorder& recorder = application_.recorder;
    bool added = false;
    for (const DMXPair& change : changes) {
        if (recorder.artNetFilters.add(MarvoArtNetFilterManager::keyOf(universe, change.index + 1)))
            added = true;
    }
    if (added) searchSignal_.post();
    recorder.takeDMX(universe, changes);
}

} // namespace marvo
