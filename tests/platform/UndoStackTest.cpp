#include "platform/UndoStack.h"

#include "InvariantCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

using namespace marvo;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

constexpr UndoTarget document{1};
constexpr UndoTarget other{2};

struct UndoStackTest : testing::Test {
    UndoStack stack;
    std::string text;

    // The way every undoable operation goes: change, register the inverse, name it.
    void set(const std::string& value) {
        const std::string old = text;
        text = value;
        stack.registerUndo(document, [this, old] { set(old); });
        stack.setActionName("Set Text");
    }
    void note(UndoTarget target, const std::string& mark) {
        stack.registerUndo(target, [this, mark] { text += mark; });
    }
};

} // namespace

TEST_F(UndoStackTest, TakesBackAndBringsBack) {
    set("a");
    set("b");
    EXPECT_TRUE(stack.undo());
    EXPECT_EQ(text, "a");
    EXPECT_TRUE(stack.undo());
    EXPECT_EQ(text, "");
    EXPECT_FALSE(stack.undo());
    EXPECT_TRUE(stack.redo());
    EXPECT_TRUE(stack.redo());
    EXPECT_EQ(text, "b");
    EXPECT_FALSE(stack.redo());
    EXPECT_TRUE(stack.undo());
    EXPECT_EQ(text, "a");
}

TEST_F(UndoStackTest, NamesWhatItWouldTakeBack) {
    EXPECT_EQ(stack.undoActionName(), "");
    set("a");
    note(document, "!");
    EXPECT_EQ(stack.undoActionName(), "") << "a name belongs to one step";
    stack.setActionName("First");
    stack.setActionName("Second");
    EXPECT_EQ(stack.undoActionName(), "Second");
    stack.undo();
    EXPECT_EQ(stack.undoActionName(), "Set Text");
}

TEST_F(UndoStackTest, CarriesTheNameOverUnlessTheUndoingSetsAnother) {
    stack.registerUndo(document, [this] { note(document, "x"); });
    stack.setActionName("Add Cue");
    stack.undo();
    EXPECT_EQ(stack.redoActionName(), "Add Cue");
    stack.registerUndo(document, [this] {
        note(document, "x");
        stack.setActionName("Remove Cue");
    });
    stack.setActionName("Add Cue");
    stack.undo();
    EXPECT_EQ(stack.redoActionName(), "Remove Cue");
}

TEST_F(UndoStackTest, DropsWhatCouldBeRedoneOnceSomethingNewIsDone) {
    set("a");
    stack.undo();
    EXPECT_TRUE(stack.canRedo());
    set("b");
    EXPECT_FALSE(stack.canRedo());
    EXPECT_EQ(stack.redoActionName(), "");
}

TEST_F(UndoStackTest, TakesAGroupBackAtOnceAndInReverse) {
    stack.beginUndoGrouping();
    note(document, "1");
    stack.beginUndoGrouping();
    note(document, "2");
    note(document, "3");
    stack.setActionName("Inner");
    stack.endUndoGrouping();
    note(document, "4");
    EXPECT_FALSE(stack.canUndo()) << "an open group cannot be taken back";
    EXPECT_FALSE(stack.undo());
    stack.endUndoGrouping();
    EXPECT_EQ(stack.undoActionName(), "Inner");
    EXPECT_TRUE(stack.undo());
    EXPECT_EQ(text, "4321");
    EXPECT_FALSE(stack.canUndo());
}

TEST_F(UndoStackTest, LeavesNoStepForAnEmptyGroup) {
    stack.beginUndoGrouping();
    stack.setActionName("Nothing");
    stack.endUndoGrouping();
    EXPECT_FALSE(stack.canUndo());
    { const UndoStack::EventGroup event(stack); }
    EXPECT_FALSE(stack.canUndo());
    note(document, "x");
    EXPECT_EQ(stack.undoActionName(), "") << "the empty group's name must not stick";
}

TEST_F(UndoStackTest, JoinsWhatOneEventOfTheUserDoes) {
    {
        const UndoStack::EventGroup event(stack);
        note(document, "1");
        const UndoStack::EventGroup nested(stack);
        stack.beginUndoGrouping();
        note(document, "2");
        stack.endUndoGrouping();
        stack.setActionName("Both");
        EXPECT_TRUE(stack.canUndo());
    }
    EXPECT_EQ(stack.undoActionName(), "Both");
    stack.undo();
    EXPECT_EQ(text, "21");
    EXPECT_FALSE(stack.canUndo());
}

TEST_F(UndoStackTest, CanTakeBackWithinAnEvent) {
    set("a");
    {
        const UndoStack::EventGroup event(stack);
        set("b");
        EXPECT_TRUE(stack.undo());
        EXPECT_EQ(text, "a");
        EXPECT_TRUE(stack.undo());
        EXPECT_EQ(text, "");
    }
    EXPECT_TRUE(stack.redo());
    EXPECT_EQ(text, "a");
}

TEST_F(UndoStackTest, TakesEachLoneRegistrationBackByItself) {
    note(document, "1");
    note(document, "2");
    stack.undo();
    EXPECT_EQ(text, "2");
}

TEST_F(UndoStackTest, IgnoresRegistrationsWhileDisabledHoweverOften) {
    set("a");
    stack.disableUndoRegistration();
    stack.disableUndoRegistration();
    set("b");
    stack.enableUndoRegistration();
    EXPECT_FALSE(stack.isUndoRegistrationEnabled());
    set("c");
    stack.setActionName("Hidden");
    stack.enableUndoRegistration();
    EXPECT_TRUE(stack.isUndoRegistrationEnabled());
    EXPECT_EQ(stack.undoActionName(), "Set Text");
    stack.undo();
    EXPECT_EQ(text, "");
}

TEST_F(UndoStackTest, KeepsWhatCanBeRedoneWhenADisabledRegistrationPasses) {
    set("a");
    stack.undo();
    stack.disableUndoRegistration();
    set("b");
    stack.enableUndoRegistration();
    EXPECT_TRUE(stack.canRedo());
}

TEST_F(UndoStackTest, SaysWhetherItIsUndoingOrRedoing) {
    std::string seen;
    std::function<void()> look = [&] {
        seen += stack.isUndoing() ? "u" : "";
        seen += stack.isRedoing() ? "r" : "";
        EXPECT_FALSE(stack.undo()) << "not within an undo";
        stack.registerUndo(document, look);
    };
    note(document, "below");
    stack.registerUndo(document, look);
    stack.undo();
    stack.redo();
    EXPECT_EQ(seen, "ur");
    EXPECT_EQ(text, "") << "the step below was not touched";
    EXPECT_FALSE(stack.isUndoing());
}

TEST_F(UndoStackTest, ForgetsEverything) {
    set("a");
    set("b");
    stack.undo();
    stack.removeAllActions();
    EXPECT_FALSE(stack.canUndo());
    EXPECT_FALSE(stack.canRedo());
}

TEST_F(UndoStackTest, ForgetsWhatIsAimedAtOneTarget) {
    stack.beginUndoGrouping();
    note(document, "1");
    note(other, "2");
    stack.endUndoGrouping();
    note(other, "3");
    note(document, "4");
    stack.removeAllActionsWithTarget(other);
    stack.undo();
    stack.undo();
    EXPECT_EQ(text, "41");
    EXPECT_FALSE(stack.canUndo()) << "a step without invocations is none";
}

TEST_F(UndoStackTest, ReportsUnbalancedCalls) {
    const InvariantCapture capture;
    stack.endUndoGrouping();
    stack.enableUndoRegistration();
    EXPECT_THAT(capture.rules(), ElementsAre(HasSubstr("undo grouping"), HasSubstr("undo registration")));
    set("a");
    EXPECT_TRUE(stack.undo()) << "and goes on working";
}

TEST_F(UndoStackTest, ClosesAGroupThatAnInvocationLeftOpen) {
    const InvariantCapture capture;
    stack.registerUndo(document, [this] { stack.beginUndoGrouping(); });
    stack.undo();
    EXPECT_THAT(capture.rules(), ElementsAre(HasSubstr("left a group open")));
    set("a");
    EXPECT_TRUE(stack.undo());
}

TEST_F(UndoStackTest, TellsTheMenusOfEachChange) {
    int changes = 0;
    stack.setChangeHandler([&] { ++changes; });
    set("a");
    EXPECT_GT(changes, 0);
    changes = 0;
    stack.undo();
    EXPECT_GT(changes, 0);
    changes = 0;
    stack.removeAllActions();
    EXPECT_EQ(changes, 1);
}
