#include "tracks/ControlRecords.h"

namespace marvo {

PropertyList propertyListOf(const ControlRecord& record) {
    PropertyList result = PropertyList::dictionary();
    if (record.midiChannel) result.set("midiChannel", *record.midiChannel);
    if (record.midiControl) result.set("midiControl", *record.midiControl);
    if (record.state) result.set("state", *record.state);
    if (record.volume) result.set("volume", *record.volume);
    return result;
}

std::optional<ControlRecord> controlRecordFrom(const PropertyList* record) {
    if (!record || !record->isDictionary()) return std::nullopt;
    ControlRecord result;
    if (const PropertyList* value = record->find("midiChannel")) result.midiChannel = value->integerOr(-1);
    if (const PropertyList* value = record->find("midiControl")) result.midiControl = value->integerOr(-1);
    if (const PropertyList* value = record->find("state")) result.state = value->boolOr(false);
    if (const PropertyList* value = record->find("volume"))
        result.volume = static_cast<float>(value->realOr(0.0));
    return result;
}

} // namespace marvo
