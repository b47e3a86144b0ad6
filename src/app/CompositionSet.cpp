#include "app/CompositionSet.h"

#include "composition/CompositionRecord.h"
#include "platform/Notifications.h"
#include "platform/SerialQueue.h"
#include "platform/Text.h"
#include "platform/UndoStack.h"

#include <algorithm>

namespace marvo {
namespace {

// Where an element stands after the one at `from` was taken out and put in at `destination`.
std::int64_t rowAfterMove(std::int64_t row, std::int64_t from, std::int64_t destination) {
    if (row == from) return destination;
    if (from < row && row <= destination) return row - 1;
    if (destination <= row && row < from) return row + 1;
    return row;
}

} // namespace

CompositionSet::CompositionSet(CompositionServices& services, std::function<CompositionDefaults()> defaults,
                               std::function<void()> changed)
    : services_(services), defaults_(std::move(defaults)), changed_(std::move(changed)) {}

CompositionSet::~CompositionSet() {
    removeAll();
}

MarvoTimelineController& CompositionSet::createComposition(bool refresh) {
    const CompositionDefaults defaults = defaults_();
    auto controller =
        std::make_unique<MarvoTimelineController>(services_, defaults, std::to_string(nextIdentifier_++));
    MarvoTimelineController& created = *controller;
    auto element = std::make_unique<MarvoTimelineViewController>(std::move(controller));
    std::vector<std::unique_ptr<MarvoTimelineViewController>> larger;
    larger.reserve(compositions_.size() + 1);
    services_.compQueue.sync([&] {
        for (auto& existing : compositions_) larger.push_back(std::move(existing));
        larger.push_back(std::move(element));
        compositions_.swap(larger);
    });
    created.setCompName(nameForNewComposition());
    created.controls.loopButton.setState(defaults.loop);
    created.setOSCAddresses();
    if (refresh) selectCompositionAtIndex(static_cast<std::int64_t>(compositions_.size()) - 1);
    changed_();
    return created;
}

std::string CompositionSet::nameForNewComposition() const {
    std::size_t number = compositions_.size();
    std::string name = "Composition " + std::to_string(number);
    while (!isAvailableCompName(name, true)) name = "Composition " + std::to_string(++number);
    return name;
}

bool CompositionSet::removeCompositionAtIndex(std::int64_t index) {
    if (index < 0 || index >= static_cast<std::int64_t>(compositions_.size())) return false;
    if (onCompositionGoes) onCompositionGoes(at(static_cast<std::size_t>(index)));
    std::vector<std::unique_ptr<MarvoTimelineViewController>> rest;
    std::unique_ptr<MarvoTimelineViewController> removed;
    rest.reserve(compositions_.size());
    const bool wasSelected = selected_ == index;
    services_.compQueue.sync([&] {
        for (std::size_t i = 0; i < compositions_.size(); ++i) {
            if (static_cast<std::int64_t>(i) == index) {
                removed = std::move(compositions_[i]);
            } else {
                rest.push_back(std::move(compositions_[i]));
            }
        }
        compositions_.swap(rest);
        if (services_.application.currentQueuedComposition() == &removed->timelineController()) {
            services_.application.setCurrentQueuedComposition(nullptr);
        }
        // Here, so that no tick reports another one as the current.
        const std::int64_t last = static_cast<std::int64_t>(compositions_.size()) - 1;
        if (selected_ > index || selected_ > last)
            selected_ = std::max<std::int64_t>(selected_ - 1, last >= 0 ? 0 : -1);
    });
    removed->timelineController().removeResources();
    if (compositions_.empty()) locked_ = false;
    for (const auto& element : compositions_) element->timelineController().tracks.setOscAddresses();
    if (wasSelected) {
        selectionChanged();
    } else {
        services_.application.updateInfoDisplay();
    }
    changed_();
    return true;
}

void CompositionSet::moveComposition(std::int64_t from, std::int64_t to) {
    const auto size = static_cast<std::int64_t>(compositions_.size());
    if (from < 0 || from >= size || to < 0 || to > size) return;
    const std::int64_t destination = to == size ? to - 1 : to;
    services_.compQueue.sync([&] {
        if (from < destination) {
            std::rotate(compositions_.begin() + from, compositions_.begin() + from + 1,
                        compositions_.begin() + destination + 1);
        } else {
            std::rotate(compositions_.begin() + destination, compositions_.begin() + from,
                        compositions_.begin() + from + 1);
        }
        selected_ = rowAfterMove(selected_, from, destination);
    });
    for (const auto& element : compositions_) element->timelineController().setOSCAddresses();
    // The undo repeats the move with the same numbers instead of reversing it.
    services_.undo.registerUndo(undoTargetOf(this),
                                [this, from, destination] { moveComposition(from, destination); });
    services_.undo.setActionName("Move Composition");
    // The selection is a row, and another composition may stand there now.
    services_.application.updateInfoDisplay();
    changed_();
}

void CompositionSet::duplicateComposition(std::int64_t index) {
    if (index < 0 || index >= static_cast<std::int64_t>(compositions_.size())) return;
    PropertyList record = saveComposition(at(static_cast<std::size_t>(index)));
    record.remove("compName");
    services_.undo.disableUndoRegistration();
    MarvoTimelineController& copy = createComposition();
    // As with every new composition; a locked project would take no tracks.
    clearLock();
    loadComposition(copy, services_, &record, false, nullptr);
    services_.undo.enableUndoRegistration();
    const auto copyIndex = static_cast<std::int64_t>(compositions_.size()) - 1;
    services_.undo.registerUndo(undoTargetOf(this), [this, copyIndex, index] {
        removeCompositionAtIndex(copyIndex);
        selectCompositionAtIndex(index);
        services_.undo.registerUndo(undoTargetOf(this), [this, index] { duplicateComposition(index); });
        services_.undo.setActionName("Duplicate Composition");
    });
    services_.undo.setActionName("Duplicate Composition");
    services_.application.updateInfoDisplay();
    changed_();
}

void CompositionSet::removeAll() {
    std::vector<std::unique_ptr<MarvoTimelineViewController>> gone;
    for (const auto& element : compositions_) {
        if (onCompositionGoes) onCompositionGoes(element->timelineController());
        element->timelineController().transport.stopByPlayAll();
    }
    services_.compQueue.sync([&] {
        gone.swap(compositions_);
        services_.application.setCurrentQueuedComposition(nullptr);
    });
    for (const auto& element : gone) element->timelineController().removeResources();
    selected_ = -1;
}

MarvoTimelineController* CompositionSet::selectedComposition() const {
    const std::int64_t index = selected_;
    if (index < 0 || index >= static_cast<std::int64_t>(compositions_.size())) return nullptr;
    return &compositions_[static_cast<std::size_t>(index)]->timelineController();
}

void CompositionSet::selectCompositionAtIndex(std::int64_t index) {
    if (index < 0 || index >= static_cast<std::int64_t>(compositions_.size()) || selected_ == index) return;
    selected_ = index;
    selectionChanged();
}

void CompositionSet::selectComposition(const MarvoTimelineController* composition) {
    for (std::size_t i = 0; i < compositions_.size(); ++i) {
        if (&at(i) == composition) selectCompositionAtIndex(static_cast<std::int64_t>(i));
    }
}

void CompositionSet::selectionChanged() {
    services_.application.updateInfoDisplay();
    services_.compQueue.sync([&] {
        if (MarvoTimelineController* composition = selectedComposition()) {
            composition->feedback.sendCurrentCompositionNameByFeedback();
        }
    });
}

void CompositionSet::selectOrClear(std::int64_t index) {
    const bool present = index >= 0 && index < static_cast<std::int64_t>(compositions_.size());
    if (present) {
        selectCompositionAtIndex(index);
    } else {
        selected_ = -1;
        services_.application.updateInfoDisplay();
    }
}

void CompositionSet::selectPreviousComposition() {
    selectCompositionAtIndex(selected_ - 1);
}

void CompositionSet::selectNextComposition() {
    selectCompositionAtIndex(selected_ + 1);
}

std::int64_t
CompositionSet::compositionIndexOfTimelineController(const MarvoTimelineController& composition) const {
    for (std::size_t i = 0; i < compositions_.size(); ++i) {
        if (&compositions_[i]->timelineController() == &composition) return static_cast<std::int64_t>(i);
    }
    return 0;
}

MarvoTimelineController* CompositionSet::compositionWithIdentifier(std::string_view identifier) const {
    for (const auto& element : compositions_) {
        if (element->timelineController().identifier() == identifier) return &element->timelineController();
    }
    return nullptr;
}

MarvoTimelineController* CompositionSet::compositionWithName(std::string_view name) const {
    for (const auto& element : compositions_) {
        if (element->timelineController().compName() == name) return &element->timelineController();
    }
    return nullptr;
}

MarvoTimelineController* CompositionSet::compositionWithOSCName(std::string_view name) const {
    for (const auto& element : compositions_) {
        if (replaceAll(element->timelineController().oscNamespace(), "/marvo/", "") == name) {
            return &element->timelineController();
        }
    }
    return nullptr;
}

std::vector<std::string> CompositionSet::compositionNames() const {
    std::vector<std::string> names;
    names.reserve(compositions_.size());
    for (const auto& element : compositions_) names.push_back(element->timelineController().compName());
    return names;
}

bool CompositionSet::isAvailableName(std::string_view name, const MarvoTimelineController* own) const {
    if (name.empty()) return false;
    return std::none_of(compositions_.begin(), compositions_.end(), [&](const auto& element) {
        const MarvoTimelineController& composition = element->timelineController();
        return composition.compName() == name && &composition != own;
    });
}

bool CompositionSet::isAvailableCompName(std::string_view name, bool ignoreCurrent) const {
    return isAvailableName(name, ignoreCurrent ? nullptr : selectedComposition());
}

bool CompositionSet::renameComposition(MarvoTimelineController& composition, const std::string& name) {
    if (!isAvailableName(name, &composition)) return false;
    composition.setCompName(name);
    composition.setOSCAddresses();
    services_.application.updateInfoDisplay();
    changed_();
    return true;
}

bool CompositionSet::renameSelectedComposition(const std::string& name) {
    MarvoTimelineController* composition = selectedComposition();
    return composition && renameComposition(*composition, name);
}

MarvoTimelineController* CompositionSet::nextEnabledCompositionFromIndex(std::int64_t index) const {
    for (std::int64_t i = std::max<std::int64_t>(index, 0);
         i < static_cast<std::int64_t>(compositions_.size()); ++i) {
        MarvoTimelineController& composition = at(static_cast<std::size_t>(i));
        if (composition.state.compState) return &composition;
    }
    return nullptr;
}

MarvoTimelineController* CompositionSet::prevEnabledCompositionFromIndex(std::int64_t index) const {
    for (std::int64_t i = std::min(index, static_cast<std::int64_t>(compositions_.size()) - 1); i >= 0; --i) {
        MarvoTimelineController& composition = at(static_cast<std::size_t>(i));
        if (composition.state.compState) return &composition;
    }
    return nullptr;
}

bool CompositionSet::hasEnabledComps() const {
    return std::any_of(compositions_.begin(), compositions_.end(), [](const auto& element) {
        return element->timelineController().state.compState.get();
    });
}

bool CompositionSet::hasMutedComps() const {
    return std::any_of(compositions_.begin(), compositions_.end(), [](const auto& element) {
        return !element->timelineController().state.compState.get();
    });
}

void CompositionSet::lockProject() {
    locked_ = !locked_;
}

} // namespace marvo
