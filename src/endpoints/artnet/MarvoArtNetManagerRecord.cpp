// The record "artNetManager" of a project.
#include "endpoints/artnet/MarvoArtNetManager.h"

#include <algorithm>
#include <array>

namespace marvo {
namespace {

constexpr std::array<std::string_view, 12> knownKeys{
    "outputNodes",    "selectedInterface",    "softPatchEnableButton", "masterFader",
    "softPatchItems", "softPatchWindowFrame", "softPatchWindowState",  "inputEnabled",
    "inputSubNet",    "inputUniverse",        "outputSending",         "artSync"};

// By name, for the outputs that do not send as usual.
PropertyList savedSending(const ArtNetOutputs& outputs) {
    PropertyList all = PropertyList::dictionary();
    for (const ArtNetOutput& output : outputs.rows()) {
        if (output.sending == ArtNetSending{}) continue;
        PropertyList one = PropertyList::dictionary();
        one.set("broadcast", output.sending.broadcast);
        one.set("constantRate", output.sending.constantRate);
        all.set(output.name, std::move(one));
    }
    return all;
}

ArtNetSending loadedSending(const PropertyList* all, std::string_view name) {
    const PropertyList* const one = all ? all->find(name) : nullptr;
    if (!one) return {};
    ArtNetSending sending;
    if (const PropertyList* const broadcast = one->find("broadcast"))
        sending.broadcast = broadcast->boolOr(false);
    if (const PropertyList* const rate = one->find("constantRate"))
        sending.constantRate =
            static_cast<int>(std::clamp<std::int64_t>(rate->integerOr(0), 0, ArtNetSending::highestRate));
    return sending;
}

std::int64_t integerOf(const PropertyList& record, std::string_view key, std::int64_t fallback) {
    const PropertyList* const value = record.find(key);
    return value ? value->integerOr(fallback) : fallback;
}

} // namespace

PropertyList MarvoArtNetManager::saveData() const {
    PropertyList outputNodes = PropertyList::dictionary();
    for (const ArtNetOutput& output : outputs_.rows()) outputNodes.set(output.name, output.universe);
    PropertyList items = PropertyList::array();
    for (const SoftPatchItem& item : softPatch_.softPatchItems()) {
        PropertyList one = PropertyList::dictionary();
        one.set("itemPosition", item.itemPosition);
        one.set("sourceUniverse", item.sourceUniverse);
        one.set("sourceChannel", item.sourceChannel);
        one.set("destinationUniverse", item.destinationUniverse);
        one.set("destinationChannels", item.destinationChannels);
        items.push_back(std::move(one));
    }

    PropertyList record = PropertyList::dictionary();
    record.set("outputNodes", std::move(outputNodes));
    record.set("selectedInterface", menu_.selected().title);
    PropertyList button = controlRecords.saveSoftPatchEnableButton
                              ? controlRecords.saveSoftPatchEnableButton()
                              : loadedSoftPatchEnableButton_;
    if (!button.isNone()) record.set("softPatchEnableButton", std::move(button));
    PropertyList fader =
        controlRecords.saveMasterFader ? controlRecords.saveMasterFader() : loadedMasterFader_;
    if (!fader.isNone()) record.set("masterFader", std::move(fader));
    record.set("softPatchItems", std::move(items));
    record.set("softPatchWindowFrame", softPatchWindowFrame);
    record.set("softPatchWindowState", softPatchWindowState);
    record.set("inputEnabled", inputEnabled_);
    record.set("inputSubNet", inputSubNet_);
    record.set("inputUniverse", inputUniverse_.get());
    PropertyList sending = savedSending(outputs_);
    if (sending.size() != 0) record.set("outputSending", std::move(sending));
    if (artSync_) record.set("artSync", true);
    for (const auto& [key, value] : kept_.entries()) record.set(key, value);
    return record;
}

void MarvoArtNetManager::loadData(const PropertyList* data) {
    if (!data || !data->isDictionary()) {
        readyToUpdate_.store(true);
        return;
    }
    readyToUpdate_.store(false);
    outputs_.clear();
    {
        const SoftPatch::Batch batch(softPatch_);
        softPatch_.removeAllSoftPatchItems();
        if (data->find("outputNodes")) setSoftPatchEnabled(false);
    }
    kept_ = PropertyList::dictionary();
    loadOutputs(*data);
    if (data->find("outputNodes")) {
        for (const auto& [key, value] : data->entries()) {
            if (std::find(knownKeys.begin(), knownKeys.end(), key.view()) == knownKeys.end())
                kept_.set(key, value);
        }
        loadSoftPatch(*data);
        const PropertyList* const sync = data->find("artSync");
        setArtSync(sync && sync->boolOr(false));
    }
    outputsChanged();
    if (const PropertyList* const enabled = data->find("inputEnabled")) {
        inputEnabled_ = enabled->boolOr(false);
        inputLostWithInterface_ = false;
        const std::int64_t subnet = integerOf(*data, "inputSubNet", inputSubNet_);
        if (subnet >= 0 && subnet <= 15) inputSubNet_ = static_cast<int>(subnet);
        const std::int64_t universe = integerOf(*data, "inputUniverse", inputUniverse_.get());
        if (universe >= 0 && universe <= 15) inputUniverse_ = static_cast<int>(universe);
    }
    loadInterface(*data);
    const PropertyList* const fader = data->find("masterFader");
    loadedMasterFader_ = fader ? *fader : PropertyList();
    if (controlRecords.loadMasterFader) controlRecords.loadMasterFader(fader);
    setMasterFader(masterFader());
    startArtNetServer();
    readyToUpdate_.store(true);
}

void MarvoArtNetManager::loadOutputs(const PropertyList& record) {
    const PropertyList* const nodes = record.find("outputNodes");
    const PropertyList* const sending = nodes ? record.find("outputSending") : nullptr;
    for (const auto& [name, universe] : (nodes ? *nodes : record).entries()) {
        if (!universe.isNumber()) continue;
        outputs_.set({std::string(name.view()), universe.integerOr(0), loadedSending(sending, name)});
    }
}

void MarvoArtNetManager::loadSoftPatch(const PropertyList& record) {
    if (const PropertyList* const items = record.find("softPatchItems")) {
        const SoftPatch::Batch batch(softPatch_);
        for (const PropertyList& item : items->elements()) {
            if (!item.isDictionary()) continue;
            std::string channels;
            if (const PropertyList* const several = item.find("destinationChannels"))
                channels = several->stringOr("");
            if (const PropertyList* const one = item.find("destinationChannel"))
                channels = std::to_string(one->integerOr(1));
            softPatch_.createSoftPatchItem(integerOf(item, "sourceUniverse", 0),
                                           integerOf(item, "sourceChannel", 1),
                                           integerOf(item, "destinationUniverse", 0), std::move(channels),
                                           integerOf(item, "itemPosition", -1));
        }
    }
    softPatch_.deselectAllSoftPatchItems();
    const PropertyList* const button = record.find("softPatchEnableButton");
    loadedSoftPatchEnableButton_ = button ? *button : PropertyList();
    if (controlRecords.loadSoftPatchEnableButton) controlRecords.loadSoftPatchEnableButton(button);
    if (const PropertyList* const frame = record.find("softPatchWindowFrame"))
        softPatchWindowFrame = frame->stringOr(softPatchWindowFrame);
    if (const PropertyList* const state = record.find("softPatchWindowState"))
        softPatchWindowState = state->boolOr(false);
}

void MarvoArtNetManager::loadInterface(const PropertyList& record) {
    const PropertyList* const selected = record.find("selectedInterface");
    if (selected) {
        const std::string_view title = selected->stringOr("");
        bool isThere = menu_.select(title);
        if (!isThere) {
            if (const auto older = menu_.titleForOlder(title)) isThere = menu_.select(*older);
        }
        // Like a choice by hand, so that no later change of the network undoes it.
        if (isThere) rememberSelectedInterface();
    }
    updateInterfaceControls();
}

} // namespace marvo
