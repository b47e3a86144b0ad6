// Undo and redo as stacks of named invocations.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace marvo {

// Whose state an invocation changes; chosen by the caller, any value.
enum class UndoTarget : std::uint64_t {};

// A step is what one undo() takes back: the outermost group, or a single registration when no group is open.
// Its invocations run in reverse order of registration. What they register in turn becomes the step of the
// other direction, so an operation that registers its own inverse can be redone without more ado.
//
// The name of a step is the one that was set last while it was built. A step that is built by undoing or
// redoing starts with the name of the step it comes from. Groups without a registration leave no step.
//
// Owner: the composition window's part of the application. Main thread only.
class UndoStack {
public:
    UndoStack() = default;
    UndoStack(const UndoStack&) = delete;
    UndoStack& operator=(const UndoStack&) = delete;

    // Outside of undo and redo a registration drops what could be redone. Ignored while registration is
    // disabled.
    void registerUndo(UndoTarget target, std::function<void()> invocation);

    // Names the open group, or else the step of the latest registration; without such a step, or while
    // registration is disabled, nothing.
    void setActionName(std::string name);

    // Groups nest and join their parent when they end. Ending one that was not begun reports "undo grouping".
    void beginUndoGrouping();
    void endUndoGrouping();
    std::size_t groupingLevel() const { return level_; }

    // Counted. Enabling more often than disabling reports "undo registration".
    void disableUndoRegistration();
    void enableUndoRegistration();
    bool isUndoRegistrationEnabled() const { return disabled_ == 0; }

    // False, and nothing done, when there is nothing to take back, when a group is open, or within an undo or
    // redo. A running event group ends before and a new one begins after it.
    bool undo();
    bool redo();
    bool canUndo() const;
    bool canRedo() const;
    bool isUndoing() const { return state_ == State::undoing; }
    bool isRedoing() const { return state_ == State::redoing; }

    // Of the step that undo() or redo() would take; empty without one.
    std::string undoActionName() const;
    std::string redoActionName() const;

    // Neither touches open groups' nesting nor the disabled count.
    void removeAllActions();
    void removeAllActionsWithTarget(UndoTarget target);

    // Called after each change of what can be undone or redone; for menus.
    void setChangeHandler(std::function<void()> changed) { changed_ = std::move(changed); }

    // All that is registered during one event of the user becomes one step. May nest; the outermost counts.
    class EventGroup {
    public:
        explicit EventGroup(UndoStack& stack);
        ~EventGroup();
        EventGroup(const EventGroup&) = delete;
        EventGroup& operator=(const EventGroup&) = delete;

    private:
        UndoStack& stack_;
    };

private:
    enum class State { idle, undoing, redoing };

    struct Invocation {
        UndoTarget target;
        std::function<void()> run;
    };

    struct Step {
        std::string name;
        std::vector<Invocation> invocations;
    };

    bool isCollecting() const { return level_ > 0 || events_ > 0 || state_ != State::idle; }
    std::vector<Step>& receivingStack();
    void commit();
    bool takeBack(std::vector<Step>& from, State direction);
    void changed() const;

    State state_ = State::idle;
    std::size_t level_ = 0;
    std::size_t events_ = 0;
    std::size_t disabled_ = 0;
    bool nameable_ = false; // the newest step was registered without a group and may still get its name
    Step open_;
    std::vector<Step> undo_;
    std::vector<Step> redo_;
    std::function<void()> changed_;
};

} // namespace marvo
