// Everything between a track's DMX value and the network: fader, soft patch, outputs, choice of the
// interface, input and monitor.
//
// Main thread, except where marked. The learnable controls of its windows live above: they call
// setMasterFader, setSoftPatchEnabled and doBlackout, and save themselves through ArtNetControlRecords.
#pragma once

#include "endpoints/artnet/ArtNetInterfaceMenu.h"
#include "endpoints/artnet/ArtNetOutputs.h"
#include "endpoints/artnet/ArtNetServer.h"
#include "endpoints/artnet/DMXWriter.h"
#include "endpoints/artnet/MarvoDMXMonitorView.h"
#include "endpoints/artnet/SoftPatch.h"
#include "platform/Log.h"
#include "platform/MainThread.h"
#include "platform/NetworkConfiguration.h"
#include "platform/NotificationCenter.h"
#include "platform/Notifications.h"
#include "platform/PropertyList.h"
#include "platform/Relaxed.h"

#include <atomic>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace marvo {

// The preference "lastArtNetNetworkInterface": the title of the interface last started on; empty when unset.
class ArtNetInterfacePreference {
public:
    virtual ~ArtNetInterfacePreference() = default;
    virtual std::string lastArtNetNetworkInterface() const = 0;
    virtual void setLastArtNetNetworkInterface(const std::string& title) = 0;
};

class MarvoIncomingDMXHandler {
public:
    virtual ~MarvoIncomingDMXHandler() = default;
    // On the receiving thread; never empty, valid during the call.
    virtual void receivedDMX(std::span<const DMXPair> pairs) = 0;
};

// How the two learnable controls of the record are saved and restored. What is not set is kept as it was
// loaded. A load function gets null when the record has no such key, and is expected to call setMasterFader
// or setSoftPatchEnabled.
struct ArtNetControlRecords {
    std::function<PropertyList()> saveSoftPatchEnableButton;
    std::function<void(const PropertyList*)> loadSoftPatchEnableButton;
    std::function<PropertyList()> saveMasterFader;
    std::function<void(const PropertyList*)> loadMasterFader;
};

// What it asks of the user interface. All on the main thread; any may be empty.
struct ArtNetUserInterface {
    std::function<void()> beep;
    // A message with one button, "OK".
    std::function<void(const std::string& title, const std::string& text)> alert;
    std::function<void()> nodesChanged;
    std::function<void()> interfacesChanged; // menu, selection, or whether the controls are enabled
    // A start that failed is one, too, until one succeeds.
    std::function<void(const ArtNetTrouble&)> trouble;
};

struct ArtNetManagerServices {
    ArtNetServer& server;
    NetworkConfigurationSource& network;
    ArtNetInterfacePreference& preference;
    NotificationCenter& center;
    const Notifications& notifications;
    MainThread& main;
    Log* log = nullptr;
};

class MarvoArtNetManager final : public DMXWriter, private ArtNetServerDelegate {
public:
    explicit MarvoArtNetManager(const ArtNetManagerServices& services);
    ~MarvoArtNetManager() override;

    ArtNetUserInterface userInterface;
    ArtNetControlRecords controlRecords;

    // --- Values. Thread-safe and realtime-safe.
    void setValue(std::int32_t value, std::int32_t channel, std::int32_t universe,
                  const SendOrigin& origin) override;
    void setValueByColorTrack(std::int32_t value, std::int32_t channel, std::int32_t universe,
                              const SendOrigin& origin) override;
    // Once per pass of the render loop. False only when another thread was sending at that moment.
    bool sendAllDMXData();
    // Writes 0 to every channel of every output, through the patch, and sends. Not for the tick.
    void doBlackout();

    // --- Master fader of the colour tracks, 0 to 1.
    float masterFader() const { return masterFader_.load(std::memory_order_relaxed); }
    std::string masterFaderTitle() const; // "0.50"
    // Lets the colour tracks write anew; meanwhile nothing is sent, so that no half of it leaves.
    void setMasterFader(float value);

    // --- Outputs.
    const ArtNetOutputs& outputs() const { return outputs_; }
    std::vector<std::string> artNetOutputNames() const override;
    std::int32_t universeOfNodeWithDisplayedName(std::string_view displayedName) const override;
    void addArtNetOutput();
    void removeArtNetOutput(std::optional<std::size_t> selectedRow);
    void autoConfigureArtNetOutputs();
    bool isAvailableOutputName(std::string_view name) const { return outputs_.isAvailableOutputName(name); }
    std::string nextAvailableArtNetOutNameWithStart(std::int64_t number) const {
        return outputs_.nextAvailableArtNetOutNameWithStart(number);
    }
    // Edits of a cell of the table; false refuses the text. Column 0 is the name, 1 the subnet, 2 the
    // universe.
    bool controlTextShouldEndEditing(std::size_t row, int column, const std::string& text);
    void setOutputSending(std::size_t row, const ArtNetSending& sending);
    void setArtSync(bool sync);
    bool artSync() const { return artSync_; }

    // --- Soft patch.
    SoftPatch& softPatch() { return softPatch_; }
    const SoftPatch& softPatch() const { return softPatch_; }
    void setSoftPatchEnabled(bool enabled) { softPatch_.setEnabled(enabled); }
    bool softPatchEnabled() const { return softPatch_.isEnabled(); }
    // Replaces the table by one row for each channel that any track uses, onto itself.
    void autoFillSoftPatch();
    void processDMXAddressesReply(const DMXAddresses& addresses);
    void clearProject();
    std::string softPatchWindowFrame = "{{0, 0}, {0, 0}}";
    bool softPatchWindowState = false;

    // --- Network interfaces and nodes.
    const ArtNetInterfaceMenu& interfaceMenu() const { return menu_; }
    const std::optional<std::string>& lastUsedDevice() const { return lastUsedDevice_; }
    bool discoverButtonEnabled() const { return discoverEnabled_.load(std::memory_order_relaxed); }
    void refreshNetworkInterfaceList();
    // The user chose an item of the menu. An unknown title changes nothing.
    void selectNetworkInterface(std::string_view title);
    void startArtNetServer();
    void discoverNodes();
    // Art-Net packets that left. Any thread.
    std::uint64_t packetsSent() const { return server_.packetsSent(); }
    std::vector<ArtNetNode> listOfNodes() const { return server_.listOfNodes(); }

    // --- Input. The settings are what the server listens to.
    std::optional<ArtNetInputSettings> inputSettings() const;
    bool inputControlEnabled() const { return discoverButtonEnabled(); }
    bool inputEnabled() const { return inputEnabled_; }
    int inputSubNet() const { return inputSubNet_; }
    int inputUniverse() const { return inputUniverse_; }
    // Subnet and universe from 0 to 15; others leave what was there.
    void inputSettingsChanged(bool enabled, int subnet, int universe);
    // Null for nobody. When it returns, the former handler is not called any more.
    void setIncomingDMXHandler(MarvoIncomingDMXHandler* handler);
    // Any thread.
    void artDMXReceived(std::span<const DMXPair> pairs) override;

    // --- Monitor. The view outlives the manager or is set to null first, while nobody sends.
    void setMonitorView(MarvoDMXMonitorView* view) { monitor_.store(view); }
    void setMonitorVisible(bool visible) { monitorVisible_.store(visible); }
    void dmxMonitorSettingsChanged(int subnet, int universe);

    // --- Record "artNetManager".
    PropertyList saveData() const;
    // Null only lets sending begin.
    void loadData(const PropertyList* data);
    bool readyToUpdate() const { return readyToUpdate_.load(std::memory_order_relaxed); }

private:
    void updateNodeList() override;
    void artNetTrouble(const ArtNetTrouble& trouble) override;
    void tellTroubles();

    void outputsChanged();
    void updateSentUniverses();
    void rebuildNetworkInterfacesMenu();
    void selectNetworkInterface();
    void rememberSelectedInterface();
    void updateInterfaceControls();
    void start(const char* alertTitle, const std::string& alertText);
    void loadOutputs(const PropertyList& record);
    void loadSoftPatch(const PropertyList& record);
    void loadInterface(const PropertyList& record);

    ArtNetServer& server_;
    NetworkConfigurationSource& network_;
    ArtNetInterfacePreference& preference_;
    NotificationCenter& center_;
    const Notifications& notifications_;
    Log* const log_;

    std::atomic<bool> readyToUpdate_{true};
    std::atomic<float> masterFader_{1.0f};
    ArtNetOutputs outputs_;
    bool artSync_ = false;
    SoftPatch softPatch_;

    ArtNetInterfaceMenu menu_;
    std::optional<NetworkConfiguration> currentNetworkConfiguration_;
    std::optional<std::string> lastUsedDevice_; // chosen by the user, now or the last time, or by the project
    std::string startTrouble_;                  // of the last start; empty when it succeeded
    std::atomic<bool> discoverEnabled_{false};
    bool inputEnabled_ = false;
    bool inputLostWithInterface_ = false; // unticked because the interface went, not by the user
    int inputSubNet_ = 0;
    Relaxed<int> inputUniverse_ = 0; // read on the receiving thread, too

    std::mutex handlerLock_; // held while the handler is called
    MarvoIncomingDMXHandler* incomingDMXHandler_ = nullptr;

    std::atomic<MarvoDMXMonitorView*> monitor_{nullptr};
    std::atomic<bool> monitorVisible_{false};
    std::atomic<int> monitorUniverse_{0};

    PropertyList kept_ = PropertyList::dictionary(); // keys of the record that are not read here
    PropertyList loadedSoftPatchEnableButton_;
    PropertyList loadedMasterFader_;

    std::mutex troublesLock_;
    std::deque<ArtNetTrouble> troubles_;
    MainThread::Signal nodesSignal_;
    MainThread::Signal troublesSignal_;
    std::vector<Observation> observations_;
};

} // namespace marvo
