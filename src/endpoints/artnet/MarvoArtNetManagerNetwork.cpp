// The choice of the interface, the nodes on it, and what comes in.
#include "endpoints/artnet/MarvoArtNetManager.h"

#include <utility>

namespace marvo {

// --- Network interfaces and nodes

void MarvoArtNetManager::refreshNetworkInterfaceList() {
    std::optional<NetworkConfiguration> configuration = network_.networkConfiguration();
    if (!configuration) {
        log(log_, "No IPv4 interfaces found....");
        return;
    }
    if (!currentNetworkConfiguration_) {
        currentNetworkConfiguration_ = std::move(configuration);
        rebuildNetworkInterfacesMenu();
        const std::string saved = preference_.lastArtNetNetworkInterface();
        if (!menu_.select(saved)) {
            if (const auto title = menu_.titleForOlder(saved)) {
                menu_.select(*title);
                preference_.setLastArtNetNetworkInterface(*title);
            }
        }
        // An interface that gets its address after the start of the program is waited for.
        if (!menu_.isDisabled()) {
            lastUsedDevice_ = menu_.selected().title;
        } else if (!saved.empty() && saved != ArtNetInterfaceMenu::disabledTitle) {
            lastUsedDevice_ = saved;
        }
        updateInterfaceControls();
        startArtNetServer();
        return;
    }
    if (*configuration == *currentNetworkConfiguration_) {
        log(log_, "no important changes in the network configuration, skip");
        return;
    }
    std::string text;
    for (const auto& [name, value] : *configuration) {
        if (!text.empty()) text += ", ";
        text += name + " = " + value;
    }
    log(log_, "new network config: " + text);
    currentNetworkConfiguration_ = std::move(configuration);
    rebuildNetworkInterfacesMenu();
    startArtNetServer();
}

void MarvoArtNetManager::rebuildNetworkInterfacesMenu() {
    const std::string remembered = lastUsedDevice_ ? *lastUsedDevice_ : menu_.selected().title;
    menu_.rebuild(currentNetworkConfiguration_ ? *currentNetworkConfiguration_ : NetworkConfiguration());
    if (menu_.select(remembered) && !menu_.isDisabled()) {
        selectNetworkInterface();
        return;
    }
    updateInterfaceControls();
}

void MarvoArtNetManager::updateInterfaceControls() {
    const bool enabled = !menu_.isDisabled();
    discoverEnabled_.store(enabled, std::memory_order_relaxed);
    if (!enabled) {
        if (std::exchange(inputEnabled_, false)) inputLostWithInterface_ = true;
    } else if (std::exchange(inputLostWithInterface_, false)) {
        inputEnabled_ = true;
    }
    if (userInterface.interfacesChanged) userInterface.interfacesChanged();
}

void MarvoArtNetManager::selectNetworkInterface(std::string_view title) {
    if (!menu_.select(title)) return;
    selectNetworkInterface();
    // What the user switches off stays off.
    if (menu_.isDisabled()) inputLostWithInterface_ = false;
}

void MarvoArtNetManager::selectNetworkInterface() {
    updateInterfaceControls();
    rememberSelectedInterface();
    start("Failed to start Art-Net Server", "The network interface " + menu_.selected().title +
                                                " may be in use by another Art-Net application.");
}

void MarvoArtNetManager::rememberSelectedInterface() {
    if (menu_.isDisabled()) {
        lastUsedDevice_.reset();
    } else {
        lastUsedDevice_ = menu_.selected().title;
    }
}

void MarvoArtNetManager::startArtNetServer() {
    start("Failed to start ArtNet Server", "The network interface " + menu_.selected().title +
                                               " may be in use by another ArtNet application.");
}

void MarvoArtNetManager::start(const char* alertTitle, const std::string& alertText) {
    const ArtNetInterfaceMenu::Item& item = menu_.selected();
    const bool started = server_.startManagerWithIPAddress(item.value, inputSettings());
    preference_.setLastArtNetNetworkInterface(item.title);
    if (started && !startTrouble_.empty()) {
        startTrouble_.clear();
        if (userInterface.trouble) userInterface.trouble({"Art-Net has started", false});
    }
    if (started || item.value == "0" || item.value == "1") return;
    log(log_, "Art-Net does not start on " + item.title + ": " + server_.startError());
    startTrouble_ = alertTitle + (": " + alertText);
    if (userInterface.alert) userInterface.alert(alertTitle, alertText);
    if (userInterface.trouble) userInterface.trouble({startTrouble_, true});
}

void MarvoArtNetManager::discoverNodes() {
    log(log_, "discoverNodes...");
    server_.startDiscoverDevices();
}

void MarvoArtNetManager::updateNodeList() {
    log(log_, "updateNodeList");
    nodesSignal_.post();
}

void MarvoArtNetManager::artNetTrouble(const ArtNetTrouble& trouble) {
    log(log_, trouble.what);
    {
        const std::lock_guard hold(troublesLock_);
        troubles_.push_back(trouble);
    }
    troublesSignal_.post();
}

void MarvoArtNetManager::tellTroubles() {
    std::deque<ArtNetTrouble> troubles;
    {
        const std::lock_guard hold(troublesLock_);
        troubles.swap(troubles_);
    }
    if (!userInterface.trouble) return;
    for (const ArtNetTrouble& trouble : troubles) userInterface.trouble(trouble);
    // Whatever else begins or ends: nothing is sent at all.
    if (!troubles.empty() && !startTrouble_.empty()) userInterface.trouble({startTrouble_, true});
}

// --- Input

std::optional<ArtNetInputSettings> MarvoArtNetManager::inputSettings() const {
    if (!inputEnabled_) return std::nullopt;
    return ArtNetInputSettings{inputSubNet_, inputUniverse_};
}

void MarvoArtNetManager::inputSettingsChanged(bool enabled, int subnet, int universe) {
    inputEnabled_ = enabled && !menu_.isDisabled();
    if (subnet >= 0 && subnet <= 15) inputSubNet_ = subnet;
    if (universe >= 0 && universe <= 15) inputUniverse_ = universe;
    startArtNetServer();
}

void MarvoArtNetManager::setIncomingDMXHandler(MarvoIncomingDMXHandler* handler) {
    const std::lock_guard hold(handlerLock_);
    incomingDMXHandler_ = handler;
}

void MarvoArtNetManager::artDMXReceived(std::span<const DMXPair> pairs) {
    if (pairs.empty()) return;
    const std::lock_guard hold(handlerLock_);
    if (incomingDMXHandler_) incomingDMXHandler_->receivedDMX(pairs);
}

} // namespace marvo
