#include "endpoints/artnet/MarvoArtNetManager.h"

#include "platform/Numbers.h"
#include "platform/Saturate.h"

#include <algorithm>
#include <limits>
#include <map>
#include <thread>
#include <utility>

namespace marvo {

MarvoArtNetManager::MarvoArtNetManager(const ArtNetManagerServices& services)
    : server_(services.server), network_(services.network), preference_(services.preference),
      center_(services.center), notifications_(services.notifications), log_(services.log),
      nodesSignal_(services.main,
                   [this] {
                       if (userInterface.nodesChanged) userInterface.nodesChanged();
                   }),
      troublesSignal_(services.main, [this] { tellTroubles(); }) {
    softPatch_.onChanged = [this] { updateSentUniverses(); };
    observations_.push_back(center_.observe(notifications_.NetworkConfigurationDidChangeNotification,
                                            [this] { refreshNetworkInterfaceList(); }));
    observations_.push_back(
        center_.observe(notifications_.collectDMXAddressesReply,
                        [this](const DMXAddresses& addresses) { processDMXAddressesReply(addresses); }));
    updateSentUniverses();
    server_.setDelegate(this);
}

MarvoArtNetManager::~MarvoArtNetManager() {
    server_.setDelegate(nullptr);
}

// --- Values

void MarvoArtNetManager::setValue(std::int32_t value, std::int32_t channel, std::int32_t universe,
                                  const SendOrigin& origin) {
    softPatch_.forEachDestination(channel, universe, [&](std::int32_t toChannel, std::int32_t toUniverse) {
        server_.setValue(value, toChannel, toUniverse, origin);
    });
}

void MarvoArtNetManager::setValueByColorTrack(std::int32_t value, std::int32_t channel, std::int32_t universe,
                                              const SendOrigin& origin) {
    const float scaled = static_cast<float>(value) * masterFader();
    setValue(truncatedToInt32(scaled), channel, universe, origin);
}

bool MarvoArtNetManager::sendAllDMXData() {
    if (!readyToUpdate()) return true;
    const bool shows = server_.hasNodesToProcess() && discoverButtonEnabled();
    const bool done = server_.sendAllDMXData();
    if (shows && monitorVisible_.load(std::memory_order_relaxed)) {
        MarvoDMXMonitorView* const monitor = monitor_.load(std::memory_order_acquire);
        if (monitor) monitor->setDataToDisplay(server_.dmx(monitorUniverse_.load(std::memory_order_relaxed)));
    }
    return done;
}

void MarvoArtNetManager::doBlackout() {
    const SendOrigin nobody;
    for (const ArtNetOutput& output : outputs_.rows()) {
        if (!output.canSend()) continue;
        for (int channel = 1; channel <= channelsOfAUniverse; ++channel)
            setValue(0, channel, static_cast<std::int32_t>(output.universe), nobody);
    }
    // The render loop may be at it, which then may have looked before the zeros were there; it may also stand
    // still and never look again.
    for (int attempt = 0; attempt < 10'000 && !sendAllDMXData(); ++attempt) std::this_thread::yield();
}

std::string MarvoArtNetManager::masterFaderTitle() const {
    return std::string(formatFixed(static_cast<double>(masterFader()), 2).view());
}

void MarvoArtNetManager::setMasterFader(float value) {
    if (!(value >= 0.0f)) value = 0.0f;
    masterFader_.store(std::min(value, 1.0f), std::memory_order_relaxed);
    readyToUpdate_.store(false);
    center_.post(notifications_.ReprocessArtNetColorTracks);
    readyToUpdate_.store(true);
}

// --- Outputs

std::vector<std::string> MarvoArtNetManager::artNetOutputNames() const {
    return outputs_.displayedNames();
}

std::int32_t MarvoArtNetManager::universeOfNodeWithDisplayedName(std::string_view displayedName) const {
    const std::int64_t universe = outputs_.universeOfDisplayedName(displayedName);
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(
        universe, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()));
}

void MarvoArtNetManager::outputsChanged() {
    updateSentUniverses();
    center_.post(notifications_.artNetOutputsChanged);
}

void MarvoArtNetManager::updateSentUniverses() {
    std::map<int, ArtNetSentUniverse> leaving;
    softPatch_.destinationUniverses().forEach([&](int universe) {
        const std::string name = ArtNetOutput{"Soft patch", universe, {}}.displayedName();
        leaving[universe] = {universe, {}, name};
    });
    UniverseSet named;
    for (const ArtNetOutput& output : outputs_.rows()) {
        if (!output.canSend()) continue;
        const int universe = static_cast<int>(output.universe);
        ArtNetSentUniverse& one = leaving[universe];
        one.universe = universe;
        one.sending.broadcast = one.sending.broadcast || output.sending.broadcast;
        one.sending.constantRate = std::max(one.sending.constantRate, output.sending.constantRate);
        if (!named.contains(universe)) one.displayedName = output.displayedName();
        named.insert(universe);
    }
    std::vector<ArtNetSentUniverse> universes;
    for (auto& [universe, one] : leaving) universes.push_back(std::move(one));
    server_.setSentUniverses(std::move(universes));
}

void MarvoArtNetManager::addArtNetOutput() {
    if (outputs_.add()) outputsChanged();
}

void MarvoArtNetManager::removeArtNetOutput(std::optional<std::size_t> selectedRow) {
    if (!selectedRow || !outputs_.remove(*selectedRow)) {
        if (userInterface.beep) userInterface.beep();
        return;
    }
    outputsChanged();
}

void MarvoArtNetManager::autoConfigureArtNetOutputs() {
    const std::vector<ArtNetNode> nodes = listOfNodes();
    if (nodes.empty()) return;
    outputs_.clear();
    for (const ArtNetNode& node : nodes) {
        if (!node.isReceiver()) continue;
        std::string name(ArtNetOutputs::namePrefix);
        name += formatInteger(static_cast<std::int64_t>(outputs_.count()) + 1).view();
        outputs_.set({std::move(name), node.subnet * 16 + node.universe, {}});
    }
    if (outputs_.count() == 0) outputs_.add();
    outputsChanged();
}

bool MarvoArtNetManager::controlTextShouldEndEditing(std::size_t row, int column, const std::string& text) {
    ArtNetOutputs::Edit edit;
    if (column == 0) edit = outputs_.rename(row, text);
    if (column == 1) edit = outputs_.editSubnet(row, text);
    if (column == 2) edit = outputs_.editUniverse(row, text);
    if (edit.changed) outputsChanged();
    return edit.accepted;
}

void MarvoArtNetManager::setOutputSending(std::size_t row, const ArtNetSending& sending) {
    if (outputs_.setSending(row, sending)) updateSentUniverses();
}

void MarvoArtNetManager::setArtSync(bool sync) {
    artSync_ = sync;
    server_.setSync(sync);
}

// --- Soft patch

void MarvoArtNetManager::autoFillSoftPatch() {
    {
        const SoftPatch::Batch batch(softPatch_);
        softPatch_.removeAllSoftPatchItems();
        center_.post(notifications_.collectDMXAddresses);
    }
    softPatch_.sortSoftPatchItems();
}

void MarvoArtNetManager::processDMXAddressesReply(const DMXAddresses& addresses) {
    const auto patchOntoItself = [&](std::int64_t channel) {
        softPatch_.createSoftPatchItem(addresses.universe, channel, addresses.universe,
                                       std::string(formatInteger(channel).view()), -1);
    };
    const std::int64_t first = addresses.channel;
    const std::int64_t last = first + std::max<std::int64_t>(addresses.count, 1) - 1;
    {
        const SoftPatch::Batch batch(softPatch_);
        for (std::int64_t channel = first; channel < last && channel <= channelsOfAUniverse; ++channel)
            patchOntoItself(channel);
        // Twice the same row is avoided while the patch is on only.
        const bool isThere = softPatch_.isEnabled() && softPatch_.hasItemFor(last, addresses.universe);
        if (last <= channelsOfAUniverse && !isThere) patchOntoItself(last);
    }
    softPatch_.sortSoftPatchItems();
}

void MarvoArtNetManager::clearProject() {
    softPatch_.removeAllSoftPatchItems();
}

// --- Monitor

void MarvoArtNetManager::dmxMonitorSettingsChanged(int subnet, int universe) {
    const int index = subnet * 16 + universe;
    if (index < 0 || index >= universeCount) return;
    monitorUniverse_.store(index, std::memory_order_relaxed);
    if (MarvoDMXMonitorView* const monitor = monitor_.load(std::memory_order_acquire))
        monitor->clearMonitor();
}

} // namespace marvo
