#include "app/OSCPortRecords.h"

namespace marvo {
namespace {

constexpr std::int64_t highestPort = 65535;

std::optional<int> portFrom(const PropertyList& entry, const char* what, LoadReport* report) {
    const PropertyList* value = entry.isDictionary() ? entry.find("port") : nullptr;
    const std::int64_t port = value ? value->integerOr(-1) : -1;
    if (port >= 1 && port <= highestPort) return static_cast<int>(port);
    if (report) report->add(std::string("an OSC ") + what + " without a usable port was left out");
    return std::nullopt;
}

std::string textOf(const PropertyList& entry, std::string_view key) {
    const PropertyList* value = entry.find(key);
    return std::string(value ? value->stringOr("") : "");
}

} // namespace

PropertyList propertyListOf(const OSCPortsSnapshot& snapshot) {
    PropertyList inputs = PropertyList::array();
    for (const auto& input : snapshot.inputs) {
        PropertyList entry = PropertyList::dictionary();
        entry.set("port", static_cast<std::int64_t>(input.port));
        inputs.push_back(std::move(entry));
    }
    PropertyList outputs = PropertyList::array();
    for (const auto& output : snapshot.outputs) {
        PropertyList entry = PropertyList::dictionary();
        entry.set("address", output.address);
        entry.set("port", static_cast<std::int64_t>(output.port));
        entry.set("portLabel", output.label);
        outputs.push_back(std::move(entry));
    }
    PropertyList record = PropertyList::dictionary();
    record.set("inputs", std::move(inputs));
    record.set("outputs", std::move(outputs));
    if (snapshot.feedback) record.set("feedback", *snapshot.feedback);
    return record;
}

std::optional<OSCPortsSnapshot> oscPortsSnapshotFrom(const PropertyList& record, LoadReport* report) {
    if (!record.isDictionary()) {
        if (report) report->add("\"oscPorts\" is not a dictionary; the present ports stay");
        return std::nullopt;
    }
    OSCPortsSnapshot snapshot;
    if (const PropertyList* inputs = record.find("inputs")) {
        for (const PropertyList& entry : inputs->elements()) {
            if (const auto port = portFrom(entry, "input", report))
                snapshot.inputs.push_back({.port = *port});
        }
    }
    if (const PropertyList* outputs = record.find("outputs")) {
        for (const PropertyList& entry : outputs->elements()) {
            const auto port = portFrom(entry, "output", report);
            if (port)
                snapshot.outputs.push_back({textOf(entry, "address"), *port, textOf(entry, "portLabel")});
        }
    }
    if (const PropertyList* feedback = record.find("feedback"))
        snapshot.feedback = std::string(feedback->stringOr(""));
    return snapshot;
}

} // namespace marvo
