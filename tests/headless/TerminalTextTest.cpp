#include "headless/TerminalText.h"

#include <gtest/gtest.h>

namespace marvo {
namespace {

TEST(TerminalText, CountsColumnsAndNotBytes) {
    EXPECT_EQ(terminalWidth("Storm"), 5);
    EXPECT_EQ(terminalWidth("Übung"), 5);
    EXPECT_EQ(terminalWidth("舞台"), 4);
    EXPECT_EQ(terminalWidth("🎭"), 2);
    EXPECT_EQ(terminalWidth("e\u0301"), 1); // an accent of its own
}

TEST(TerminalText, CutsWithAnEllipsisOnlyWhereItMust) {
    EXPECT_EQ(cutForTerminal("Storm", 5), "Storm");
    EXPECT_EQ(cutForTerminal("Storms", 5), "Stor…");
    EXPECT_EQ(cutForTerminal("Storm", 1), "…");
    EXPECT_EQ(cutForTerminal("Storm", 0), "");
    EXPECT_EQ(cutForTerminal("", 0), "");
}

TEST(TerminalText, NeverCutsACharacterInTwo) {
    EXPECT_EQ(cutForTerminal("ÜÜÜÜ", 3), "ÜÜ…");
    EXPECT_EQ(cutForTerminal("舞台裏", 4), "舞…");
    EXPECT_EQ(cutForTerminal("e\u0301e\u0301e\u0301", 2), "e\u0301…");
}

TEST(TerminalText, FillsToTheColumnWhateverTheCharactersTake) {
    EXPECT_EQ(padForTerminal("ab", 4), "ab  ");
    EXPECT_EQ(padForTerminal("舞", 4), "舞  ");
    EXPECT_EQ(padForTerminal("舞台", 3), "舞…");
    EXPECT_EQ(padForTerminal("舞台裏", 5), "舞台…");
    EXPECT_EQ(terminalWidth(padForTerminal("舞台裏", 4)), 4);
}

TEST(TerminalText, NoNameCanMoveTheCursorOrChangeTheColours) {
    EXPECT_EQ(cutForTerminal("\x1b[2Jx\r\n\x07", 20), "?[2Jx???");
    EXPECT_EQ(cutForTerminal("\u009b31m", 20), "?31m"); // the 8-bit form of the same
    EXPECT_EQ(cutForTerminal("\xff\xc3", 20), "??");
    EXPECT_EQ(cutForTerminal("a\u202eb", 20), "a?b"); // would turn the line around
}

} // namespace
} // namespace marvo
