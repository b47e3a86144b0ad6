#include "composition/CueRecords.h"

#include "platform/Text.h"
#include "tracks/KeptKeys.h"

#include <algorithm>
#include <vector>

namespace marvo {
namespace {

constexpr std::string_view controllerKeys[] = {"cues", "enableButton", "nextCueButton", "prevCueButton"};
constexpr std::string_view cueKeys[] = {"time", "cueName", "type", "repeat", "numberOfLoopsNeeded", "ratio"};

} // namespace

PropertyList propertyListOf(const CueRecord& cue) {
    PropertyList record = PropertyList::dictionary();
    record.set("time", cue.time);
    if (cue.cueName) record.set("cueName", *cue.cueName);
    if (cue.type) record.set("type", *cue.type);
    if (cue.repeat) record.set("repeat", *cue.repeat);
    if (cue.numberOfLoopsNeeded) record.set("numberOfLoopsNeeded", *cue.numberOfLoopsNeeded);
    if (cue.ratio) record.set("ratio", *cue.ratio);
    appendKeptKeys(record, cue.kept);
    return record;
}

CueRecord cueRecordFrom(const PropertyList& record) {
    CueRecord cue;
    if (const PropertyList* value = record.find("time")) cue.time = value->integerOr(0);
    if (const PropertyList* value = record.find("cueName")) cue.cueName = std::string(value->stringOr(""));
    if (const PropertyList* value = record.find("type")) cue.type = value->integerOr(1);
    if (const PropertyList* value = record.find("repeat")) cue.repeat = value->integerOr(0);
    if (const PropertyList* value = record.find("numberOfLoopsNeeded"))
        cue.numberOfLoopsNeeded = value->unsignedOr(1);
    if (const PropertyList* value = record.find("ratio")) cue.ratio = static_cast<float>(value->realOr(0.0));
    cue.kept = keptKeysOf(record, cueKeys);
    return cue;
}

PropertyList saveCues(const MarvoCueController& controller, const PropertyList& kept) {
    PropertyList cues = PropertyList::dictionary();
    for (const CueRecord& cue : controller.saveData())
        cues.set(std::to_string(cues.size()), propertyListOf(cue));
    PropertyList record = PropertyList::dictionary();
    appendKeptKeys(record, kept);
    record.set("cues", std::move(cues));
    return record;
}

PropertyList loadCues(MarvoCueController& controller, SerialQueue& compQueue, const PropertyList* record,
                      Frame end, const std::string& where, LoadReport* report) {
    if (!record || !record->isDictionary()) return PropertyList::dictionary();
    const PropertyList* saved = record->find("cues");
    std::vector<CueRecord> cues;
    std::vector<const PropertyList::Entry*> entries;
    if (saved) {
        for (const PropertyList::Entry& entry : saved->entries()) entries.push_back(&entry);
    }
    std::stable_sort(entries.begin(), entries.end(), [](const auto* a, const auto* b) {
        return localizedCaseInsensitiveCompare(a->key.view(), b->key.view()) < 0;
    });
    for (const PropertyList::Entry* entry : entries) {
        const std::string name = where + ": cue " + escapeForLog(entry->key.view());
        if (!entry->value.isDictionary()) {
            if (report) report->add(name + " is not a dictionary; it was dropped");
            continue;
        }
        const CueRecord cue = cueRecordFrom(entry->value);
        if (Frame(cue.time) > end && report) report->add(name + " lies past the end; it was dropped");
        cues.push_back(cue);
    }
    compQueue.sync([&] { controller.loadData(cues); });
    return keptKeysOf(*record, controllerKeys);
}

} // namespace marvo
