#include "composition/CueControls.h"

#include "composition/CompositionServices.h"
#include "composition/MarvoTimelineController.h"
#include "tracks/ControlRecords.h"

namespace marvo {
namespace {

constexpr int typeInt = 1;
constexpr int typeString = 3;

void loadControl(MarvoButton& button, const PropertyList* record, std::string_view key) {
    const std::optional<ControlRecord> saved = controlRecordFrom(record ? record->find(key) : nullptr);
    button.loadWithData(saved ? &*saved : nullptr);
}

} // namespace

CueControls::CueControls(MarvoTimelineController& composition, CompositionServices& services)
    : enableButton(services.controls, toggleButtonType),
      nextCueButton(services.controls, momentaryButtonType),
      prevCueButton(services.controls, momentaryButtonType), composition_(composition), services_(services) {
    enableButton.setAction([this](MarvoButton&) {
        enableChanged();
        composition_.projectChanged();
    });
    nextCueButton.setAction([this](MarvoButton&) {
        services_.compQueue.sync([this] { composition_.cueController.jumpToNextCue(); });
    });
    prevCueButton.setAction([this](MarvoButton&) {
        services_.compQueue.sync([this] { composition_.cueController.jumpToPrevCue(); });
    });
    enableButton.setState(true);
    for (MarvoButton* button : {&enableButton, &nextCueButton, &prevCueButton})
        button->setComposition(&composition_);
}

void CueControls::enableChanged() {
    composition_.cueController.cueEnableStateChanged(enableButton.state());
    composition_.redrawCues();
}

void CueControls::setOSCAddresses(const std::string& oscNamespace) {
    struct Entry {
        MarvoButton* button;
        const char* part;
        const char* extraInfo;
    };
    for (const Entry& entry : {Entry{&enableButton, "/cueon", "integer 0-1"},
                               Entry{&nextCueButton, "/nextcue", "any value will trigger"},
                               Entry{&prevCueButton, "/prevcue", "any value will trigger"}}) {
        entry.button->removeOSCListener();
        entry.button->setOSCAddress(oscNamespace + entry.part, entry.extraInfo);
        entry.button->addOSCListener();
    }
    OSCCommands& commands = services_.commands;
    MarvoCueController& cues = composition_.cueController;
    commands.drop(&commands_);
    commands.listen(&commands_, oscNamespace + "/jumptocueatindex", "integer from 1",
                    [&cues](const OSCArgument& value) {
                        if (value.type == typeInt) cues.jumpToCueAtIndex(value.intValue);
                    });
    commands.listen(&commands_, oscNamespace + "/jumptocuewithname", "string",
                    [&cues](const OSCArgument& value) {
                        if (value.type == typeString) cues.jumpToCueWithName(value.text);
                    });
    commands.listen(&commands_, oscNamespace + "/playcueatindex", "integer from 1",
                    [&cues](const OSCArgument& value) {
                        if (value.type == typeInt) cues.playCueAtIndex(value.intValue);
                    });
    commands.listen(&commands_, oscNamespace + "/playcuewithname", "string",
                    [&cues](const OSCArgument& value) {
                        if (value.type == typeString) cues.playCueWithName(value.text);
                    });
    commands.listen(&commands_, oscNamespace + "/resetcuestates", "any value will trigger",
                    [&cues](const OSCArgument&) { cues.resetCueStates(); });
}

void CueControls::removeResources() {
    services_.commands.drop(&commands_);
    for (MarvoButton* button : {&enableButton, &nextCueButton, &prevCueButton}) button->removeResources();
}

void CueControls::saveInto(PropertyList& record) const {
    record.set("enableButton", propertyListOf(enableButton.saveData()));
    record.set("nextCueButton", propertyListOf(nextCueButton.saveData()));
    record.set("prevCueButton", propertyListOf(prevCueButton.saveData()));
}

void CueControls::loadFrom(const PropertyList* record) {
    loadControl(enableButton, record, "enableButton");
    loadControl(nextCueButton, record, "nextCueButton");
    loadControl(prevCueButton, record, "prevCueButton");
    enableChanged();
}

} // namespace marvo
