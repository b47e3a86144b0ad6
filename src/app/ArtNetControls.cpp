#include "app/ArtNetControls.h"

#include "tracks/ControlRecords.h"

namespace marvo {

ArtNetControls::ArtNetControls(ControlHub& hub, MarvoArtNetManager& manager, MarvoOSCManager& oscManager)
    : masterFader(hub), softPatchEnableButton(hub), manager_(manager), oscManager_(oscManager) {
    masterFader.setValue(manager.masterFader());
    masterFader.setAction([this](MarvoSlider& fader) {
        const bool moved = fader.value() != manager_.masterFader();
        changeDMXMasterFader();
        if (moved) tell();
    });
    softPatchEnableButton.setAction([this](MarvoButton& button) {
        manager_.setSoftPatchEnabled(button.state());
        tell();
    });

    ArtNetControlRecords& records = manager.controlRecords;
    records.saveSoftPatchEnableButton = [this] { return propertyListOf(softPatchEnableButton.saveData()); };
    records.loadSoftPatchEnableButton = [this](const PropertyList* record) {
        const std::optional<ControlRecord> saved = controlRecordFrom(record);
        // A project that does not say has no patch switched on, whatever the one before it had.
        if (!saved) softPatchEnableButton.setState(false);
        softPatchEnableButton.loadWithData(saved ? &*saved : nullptr);
        manager_.setSoftPatchEnabled(softPatchEnableButton.state());
    };
    records.saveMasterFader = [this] { return propertyListOf(masterFader.saveData()); };
    records.loadMasterFader = [this](const PropertyList* record) {
        const std::optional<ControlRecord> saved = controlRecordFrom(record);
        masterFader.loadWithData(saved ? &*saved : nullptr);
        changeDMXMasterFader();
    };
}

void ArtNetControls::setOSCAddresses() {
    masterFader.removeOSCListener();
    masterFader.setOSCAddress("/marvo/artnetcolormaster", "float (0-1)");
    masterFader.addOSCListener();
}

void ArtNetControls::changeDMXMasterFader() {
    manager_.setMasterFader(masterFader.value());
    if (!oscManager_.oscFeedbackEnabled()) return;
    OSCMessage message = OSCMessage::createWithAddress(masterFader.oscAddress());
    message.addFloat(masterFader.value());
    oscManager_.sendOSCFeedback(message);
}

} // namespace marvo
