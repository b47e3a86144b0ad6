#include "platform/UndoStack.h"

#include "platform/Invariant.h"

#include <algorithm>
#include <utility>

namespace marvo {

void UndoStack::registerUndo(UndoTarget target, std::function<void()> invocation) {
    if (disabled_ > 0) return;
    open_.invocations.push_back({target, std::move(invocation)});
    if (state_ == State::idle) redo_.clear();
    if (isCollecting()) return changed();
    commit();
    nameable_ = true;
}

void UndoStack::setActionName(std::string name) {
    if (disabled_ > 0) return;
    if (isCollecting())
        open_.name = std::move(name);
    else if (nameable_)
        undo_.back().name = std::move(name);
    else
        return;
    changed();
}

void UndoStack::beginUndoGrouping() {
    nameable_ = false;
    ++level_;
}

void UndoStack::endUndoGrouping() {
    if (level_ == 0) return invariantFailed("undo grouping", "ended a group that was not begun");
    --level_;
    if (!isCollecting()) commit();
}

void UndoStack::disableUndoRegistration() {
    ++disabled_;
}

void UndoStack::enableUndoRegistration() {
    if (disabled_ == 0) return invariantFailed("undo registration", "enabled more often than disabled");
    --disabled_;
}

bool UndoStack::undo() {
    return takeBack(undo_, State::undoing);
}

bool UndoStack::redo() {
    return takeBack(redo_, State::redoing);
}

bool UndoStack::canUndo() const {
    return state_ == State::idle && level_ == 0 && (!undo_.empty() || !open_.invocations.empty());
}

bool UndoStack::canRedo() const {
    return state_ == State::idle && level_ == 0 && !redo_.empty() && open_.invocations.empty();
}

std::string UndoStack::undoActionName() const {
    if (state_ == State::idle && !open_.invocations.empty()) return open_.name;
    return undo_.empty() ? std::string() : undo_.back().name;
}

std::string UndoStack::redoActionName() const {
    return redo_.empty() ? std::string() : redo_.back().name;
}

void UndoStack::removeAllActions() {
    undo_.clear();
    redo_.clear();
    open_.invocations.clear();
    nameable_ = false;
    changed();
}

void UndoStack::removeAllActionsWithTarget(UndoTarget target) {
    const auto strip = [target](Step& step) {
        std::erase_if(step.invocations, [target](const Invocation& each) { return each.target == target; });
        return step.invocations.empty();
    };
    std::erase_if(undo_, strip);
    std::erase_if(redo_, strip);
    strip(open_);
    nameable_ = false;
    changed();
}

std::vector<UndoStack::Step>& UndoStack::receivingStack() {
    return state_ == State::undoing ? redo_ : undo_;
}

// Moves what is open to the stack it belongs on.
void UndoStack::commit() {
    Step step = std::exchange(open_, {});
    nameable_ = false;
    if (step.invocations.empty()) return;
    receivingStack().push_back(std::move(step));
    changed();
}

bool UndoStack::takeBack(std::vector<Step>& from, State direction) {
    if (state_ != State::idle || level_ > 0) return false;
    commit();
    if (from.empty()) return false;
    const Step step = std::move(from.back());
    from.pop_back();
    state_ = direction;
    open_.name = step.name;
    for (auto each = step.invocations.rbegin(); each != step.invocations.rend(); ++each) each->run();
    // A group that an invocation left open would swallow every later step.
    if (level_ > 0) {
        invariantFailed("undo grouping", "an invocation left a group open");
        level_ = 0;
    }
    commit();
    state_ = State::idle;
    changed();
    return true;
}

void UndoStack::changed() const {
    if (changed_) changed_();
}

UndoStack::EventGroup::EventGroup(UndoStack& stack) : stack_(stack) {
    stack_.nameable_ = false;
    ++stack_.events_;
}

UndoStack::EventGroup::~EventGroup() {
    --stack_.events_;
    if (!stack_.isCollecting()) stack_.commit();
}

} // namespace marvo
