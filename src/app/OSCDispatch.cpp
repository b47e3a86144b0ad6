#include "app/OSCDispatch.h"

#include "app/AppDelegate.h"
#include "platform/Numbers.h"
#include "platform/Paths.h"

#include <vector>

namespace marvo {
namespace {

constexpr std::string_view ownPart = "/marvo/";
constexpr std::string_view currentPart = "/marvo/current/";
constexpr std::string_view allPart = "/marvo/all/";

bool isInt(const OSCValue* value) {
    return value && value->type() == OSCValue::typeInt;
}
bool isText(const OSCValue* value) {
    return value && value->type() == OSCValue::typeString;
}

// Where the first of either part begins in an address.
struct Parts {
    std::size_t current = std::string_view::npos;
    std::size_t all = std::string_view::npos;
};

// Every message passes here: the v is the letter that other addresses have least of.
Parts partsOf(std::string_view address) {
    constexpr std::size_t anchor = ownPart.find('v');
    Parts parts;
    for (std::size_t at = address.find('v'); at != std::string_view::npos; at = address.find('v', at + 1)) {
        if (at < anchor) continue;
        const std::string_view from = address.substr(at - anchor);
        if (!from.starts_with(ownPart)) continue;
        if (parts.current == std::string_view::npos && from.starts_with(currentPart))
            parts.current = at - anchor;
        if (parts.all == std::string_view::npos && from.starts_with(allPart)) parts.all = at - anchor;
    }
    return parts;
}

OSCArgument argumentOf(const OSCValue* value) {
    OSCArgument argument;
    // A message without a value reaches listeners as integer 0.
    if (!value) return argument;
    argument.type = value->type();
    argument.intValue = value->intValue();
    argument.floatValue = value->floatValue();
    if (isText(value)) argument.text = value->stringValue();
    return argument;
}

} // namespace

std::span<const FixedOSCAddress> fixedOSCAddresses() {
    static constexpr FixedOSCAddress all[] = {
        {"/marvo/loadproject", "string, a path"},
        {"/marvo/rotatehue", "float"},
        {"/marvo/triggercompatindex", "integer from 1"},
        {"/marvo/triggercompwithname", "string"},
        {"/marvo/selectcompatindex", "integer from 1"},
        {"/marvo/selectcompwithname", "string"},
        {"/marvo/stopcomps", "any value will trigger"},
        {"/marvo/currentcompinfo", "any value will trigger"},
        {"/marvo/countofcomps", "any value will trigger"},
        {"/marvo/compinfowithname", "string"},
        {"/marvo/compinfoatindex", "integer from 1"},
        {"/marvo/COMPOSITION/countofcues", "any value will trigger"},
        {"/marvo/COMPOSITION/nameofcueatindex", "integer from 1"},
        {"/marvo/COMPOSITION/timeofcueatindex", "integer from 1"},
    };
    return all;
}

OSCDispatch::OSCDispatch(AppDelegate& application)
    : application_(application), replies_(application),
      searchSignal_(application.mainThread(),
                    [&application] { application.recorder.oscFilters.searchMessages(); }) {}

void OSCDispatch::receivedOSCMessage(const OSCMessage& message) {
    if (application_.gate.shouldIgnoreRendering()) return;
    noteAddress(message.address());
    if (application_.recorder.takesOSC(message)) return;
    std::string path;
    std::string_view address = message.address();
    Parts parts = partsOf(address);
    if (parts.current != std::string_view::npos && putSelectedInto(path, address, parts.current)) {
        address = path;
        parts = partsOf(address);
    }
    if (runFixedCommand(address, message.value())) return;
    if (replies_.answer(address, message.value())) return;
    route(address, parts.all, message.value());
}

void OSCDispatch::noteAddress(std::string_view address) {
    if (address.starts_with(ownPart)) return;
    if (application_.recorder.oscFilters.add(address)) searchSignal_.post();
}

bool OSCDispatch::putSelectedInto(std::string& path, std::string_view address, std::size_t current) const {
    return application_.services().compQueue.sync([&] {
        const MarvoTimelineController* selected = application_.compositions.selectedComposition();
        if (!selected) return false;
        path = address;
        path.replace(current, currentPart.size(), selected->oscNamespace() + "/");
        return true;
    });
}

// A value of the wrong type is no command; nobody listens on these addresses, so nothing comes of it.
bool OSCDispatch::runFixedCommand(std::string_view address, const OSCValue* value) {
    if (!address.starts_with(ownPart)) return false;
    const std::string_view command = address.substr(ownPart.size());
    if (command == "loadproject") {
        if (!isText(value)) return false;
        application_.loadProjectWithoutAsking(expandTilde(std::string(value->stringValue())));
    } else if (command == "rotatehue") {
        if (!value || value->type() != OSCValue::typeFloat) return false;
        application_.setHueRotateForColors(value->floatValue());
    } else if (command == "triggercompatindex") {
        if (!isInt(value)) return false;
        application_.master.triggerCompositionAtIndex(value->intValue());
        awaitSelection();
    } else if (command == "triggercompwithname") {
        if (!isText(value)) return false;
        application_.master.triggerCompositionWithName(value->stringValue());
        awaitSelection();
    } else if (command == "selectcompatindex") {
        if (!value) return false;
        selectComposition(isText(value) ? parseLeadingInt64(value->stringValue()) : value->intValue());
    } else if (command == "selectcompwithname") {
        if (!isText(value)) return false;
        selectComposition(std::string(value->stringValue()));
    } else if (command == "stopcomps") {
        application_.master.stopCompositions();
    } else {
        return false;
    }
    return true;
}

// The next message may speak of the current composition.
void OSCDispatch::awaitSelection() {
    application_.rendezvous().runOnMain([] {});
}

void OSCDispatch::selectComposition(std::int64_t position) {
    if (position < 1) return; // positions count from 1
    application_.mainThread().async(
        [this, position] { application_.compositions.selectCompositionAtIndex(position - 1); });
}

void OSCDispatch::selectComposition(std::string name) {
    application_.mainThread().async([this, name = std::move(name)] {
        CompositionSet& compositions = application_.compositions;
        if (const MarvoTimelineController* found = compositions.compositionWithName(name))
            compositions.selectCompositionAtIndex(compositions.compositionIndexOfTimelineController(*found));
    });
}

void OSCDispatch::route(std::string_view address, std::size_t all, const OSCValue* value) {
    const OSCArgument argument = argumentOf(value);
    if (all == std::string_view::npos) {
        application_.listeners().dispatch(address, argument);
        return;
    }
    std::vector<std::string> addresses;
    application_.services().compQueue.sync([&] {
        for (const auto& element : application_.compositions.all()) {
            std::string one(address);
            one.replace(all, allPart.size(), element->timelineController().oscNamespace() + "/");
            addresses.push_back(std::move(one));
        }
    });
    for (const std::string& one : addresses) application_.listeners().dispatch(one, argument);
}

} // namespace marvo
