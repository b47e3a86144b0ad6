#include "headless/StatusScreen.h"

#include "headless/TerminalText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace marvo {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::Not;

StatusSnapshot show(std::size_t compositions, std::size_t tracks) {
    StatusSnapshot shown;
    shown.title = "Marvo - demo (01:06)";
    for (std::size_t i = 0; i < compositions; ++i) {
        StatusComposition one;
        one.name = "Composition " + std::to_string(i + 1);
        one.running = i == 0;
        one.playhead = "00:00:04:12";
        one.progress = 0.25F;
        one.fps = 25;
        one.tempo = "120";
        for (std::size_t t = 0; t < tracks; ++t) {
            one.tracks.push_back(
                {"Track " + std::to_string(t + 1), "/light/" + std::to_string(t + 1), "0.5000"});
        }
        shown.compositions.push_back(one);
    }
    shown.outputs = {{"Lights", "127.0.0.1:8000", 240, 0, ""}, {"Sound", "127.0.0.1:8001", 0, 0, ""}};
    shown.scheduling = "real-time (FIFO 70)";
    shown.lateness = "p50 3.0 us, p99 9.0 us, max 40.0 us";
    shown.hint = "listen with: oscdump -L PORT";
    return shown;
}

// The screen as a terminal shows it: attributes are taken out, and whatever else is left of a control
// sequence is a failure.
std::vector<std::string> rowsOf(const std::string& screen) {
    std::vector<std::string> rows(1);
    for (std::size_t i = 0; i < screen.size(); ++i) {
        if (screen[i] == '\x1b') {
            const std::size_t end = screen.find_first_not_of("0123456789;?", i + 2);
            EXPECT_EQ(screen[i + 1], '[');
            EXPECT_THAT("HKJm", Contains(screen[end]));
            i = end;
        } else if (screen[i] == '\r') {
            EXPECT_EQ(screen[++i], '\n');
            rows.emplace_back();
        } else {
            EXPECT_GE(static_cast<unsigned char>(screen[i]), 0x20);
            rows.back().push_back(screen[i]);
        }
    }
    return rows;
}

std::vector<std::string> draw(const StatusSnapshot& snapshot, int columns, int rows) {
    return rowsOf(drawStatusScreen(snapshot, columns, rows, true));
}

std::string joined(const std::vector<std::string>& rows) {
    std::string text;
    for (const std::string& row : rows) text += row + "\n";
    return text;
}

TEST(StatusScreen, ShowsWhatPlaysWhereItGoesAndHowTheTicksAre) {
    const std::string text = joined(draw(show(2, 2), 100, 40));
    EXPECT_THAT(text,
                AllOf(HasSubstr("Marvo - demo (01:06)"), HasSubstr("▶ Composition 1"),
                      HasSubstr("■ Composition 2"), HasSubstr("00:00:04:12"), HasSubstr("25 fps  120 bpm"),
                      HasSubstr("Track 2"), HasSubstr("/light/2"), HasSubstr("0.5000")));
    EXPECT_THAT(text,
                AllOf(HasSubstr("→ Lights"), HasSubstr("127.0.0.1:8000"), HasSubstr("240 msg/s"),
                      HasSubstr("p99 9.0 us"), HasSubstr("real-time (FIFO 70)"), HasSubstr("oscdump -L")));
    EXPECT_THAT(text, Not(HasSubstr("trouble")));
}

TEST(StatusScreen, NeverLeavesTheTerminalWhateverItsSize) {
    const StatusSnapshot shown = show(5, 12);
    for (int columns = 1; columns <= 130; columns += columns < 20 ? 1 : 17) {
        for (int rows = 1; rows <= 60; rows += rows < 12 ? 1 : 7) {
            const auto lines = draw(shown, columns, rows);
            ASSERT_LE(lines.size(), static_cast<std::size_t>(rows)) << columns << "x" << rows;
            for (const std::string& line : lines) {
                // One column less: behind the last one, erasing would take a character away.
                ASSERT_LT(terminalWidth(line), std::max(columns, 2))
                    << columns << "x" << rows << ": " << line;
            }
        }
    }
}

TEST(StatusScreen, DrawsOverTheLastScreenWithoutClearingItFirst) {
    const std::string screen = drawStatusScreen(show(1, 1), 80, 24, true);
    EXPECT_TRUE(screen.starts_with("\x1b[H"));
    EXPECT_TRUE(screen.ends_with("\x1b[K\x1b[J"));
    EXPECT_EQ(screen.find("\x1b[2J"), std::string::npos);
    EXPECT_NE(screen.back(), '\n'); // would scroll a full screen
    for (std::size_t at = screen.find("\r\n"); at != std::string::npos; at = screen.find("\r\n", at + 1)) {
        EXPECT_EQ(screen.substr(at - 3, 3), "\x1b[K");
    }
}

TEST(StatusScreen, SaysHowManyTracksAreNotShownAndKeepsOutputsAndTicks) {
    const auto rows = draw(show(2, 20), 100, 24);
    const std::string text = joined(rows);
    EXPECT_EQ(rows.size(), 24U);
    EXPECT_THAT(text, AllOf(HasSubstr("▶ Composition 1"), HasSubstr("■ Composition 2"), HasSubstr("→ Sound"),
                            HasSubstr("ticks:")));
    const auto shown = static_cast<std::size_t>(std::count_if(
        rows.begin(), rows.end(), [](const auto& row) { return row.starts_with("    Track"); }));
    EXPECT_GT(shown, 10U);
    std::size_t hidden = 0;
    for (const std::string& row : rows) {
        if (const std::size_t at = row.find("  +"); at != std::string::npos)
            hidden += std::stoul(row.substr(at + 3));
    }
    EXPECT_EQ(shown + hidden, 40U);
}

TEST(StatusScreen, TracksOfWhatPlaysComeBeforeThoseOfWhatStands) {
    StatusSnapshot shown = show(2, 12);
    shown.compositions[0].running = false;
    shown.compositions[1].running = true;
    shown.compositions[1].tracks[0].name = "Playing";
    const std::string text = joined(draw(shown, 100, 24));
    EXPECT_THAT(text, AllOf(HasSubstr("    Playing"), HasSubstr("■ Composition 1"), HasSubstr("+")));
    const auto rows = draw(shown, 100, 24);
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (rows[i].starts_with("▶ Composition 2")) {
            EXPECT_THAT(rows[i], Not(HasSubstr("+")));
        }
    }
}

TEST(StatusScreen, SaysHowManyCompositionsAreNotShown) {
    const std::string text = joined(draw(show(30, 0), 100, 20));
    EXPECT_THAT(
        text, AllOf(HasSubstr("▶ Composition 1"), ::testing::ContainsRegex("and [0-9]+ compositions more")));
}

TEST(StatusScreen, SaysThatThereIsNothing) {
    StatusSnapshot nothing;
    EXPECT_THAT(joined(draw(nothing, 80, 24)), HasSubstr("No compositions"));
    EXPECT_THAT(joined(draw(nothing, 1, 1)), Not(HasSubstr("x")));
}

TEST(StatusScreen, TroubleIsMarkedByMoreThanColourAndNamedAtTheTop) {
    StatusSnapshot shown = show(1, 1);
    shown.outputs[1].trouble = "connection refused";
    shown.outputs[1].dropped = 12;
    const auto rows = draw(shown, 100, 24);
    EXPECT_THAT(rows.front(), HasSubstr("! 1 output in trouble"));
    EXPECT_THAT(rows, Contains(AllOf(HasSubstr("! Sound"), HasSubstr("connection refused"),
                                     HasSubstr("dropped 12"))));
}

TEST(StatusScreen, WhatHasNoRateShowsNone) {
    StatusSnapshot shown = show(1, 1);
    shown.outputs = {{"Desk", "", 0, 0, "it is unplugged", ""},
                     {"Art-Net", "2 nodes answer", 86, 0, "", "pkt/s"}};
    const auto rows = draw(shown, 100, 24);
    EXPECT_THAT(rows,
                Contains(AllOf(HasSubstr("! Desk"), HasSubstr("it is unplugged"), Not(HasSubstr("0 ")))));
    EXPECT_THAT(rows, Contains(AllOf(HasSubstr("Art-Net"), HasSubstr("86 pkt/s"))));
    EXPECT_THAT(drawStatusScreen(shown, 100, 24, false), HasSubstr("; Desk, TROUBLE: it is unplugged; "));
}

TEST(StatusScreen, AnOutputInTroubleIsNotTheOneLeftOut) {
    StatusSnapshot shown = show(1, 1);
    for (int i = 0; i < 30; ++i) shown.outputs.push_back({"Out " + std::to_string(i), "x:1", 0, 0, ""});
    shown.outputs.back().trouble = "no route";
    const std::string text = joined(draw(shown, 100, 20));
    EXPECT_THAT(text, AllOf(HasSubstr("! Out 29"), HasSubstr("no route"), HasSubstr("outputs more")));
}

TEST(StatusScreen, ShowsProgressInHalfStepsAndSurvivesWhatIsNoProgress) {
    StatusSnapshot shown = show(1, 0);
    const auto barAt = [&](float progress) {
        shown.compositions[0].progress = progress;
        return draw(shown, 200, 24).at(2);
    };
    EXPECT_THAT(barAt(0.0F), AllOf(HasSubstr("────"), Not(HasSubstr("━")), Not(HasSubstr("╸"))));
    EXPECT_THAT(barAt(1.0F), AllOf(HasSubstr("━━━━"), Not(HasSubstr("─"))));
    EXPECT_THAT(barAt(1.0F / 80.0F), HasSubstr("╸─"));
    EXPECT_EQ(barAt(NAN), barAt(0.0F));
    EXPECT_EQ(barAt(INFINITY), barAt(0.0F));
    EXPECT_EQ(barAt(7.0F), barAt(1.0F));
    EXPECT_EQ(barAt(-7.0F), barAt(0.0F));
}

TEST(StatusScreen, NoNameReachesTheTerminalAsAControlSequence) {
    StatusSnapshot shown = show(1, 1);
    const std::string evil = "\x1b]0;x\x07\r\n\x1b[2J\xff";
    shown.title = shown.compositions[0].name = shown.compositions[0].playhead = evil;
    shown.compositions[0].tracks[0] = {evil, evil, evil};
    shown.outputs[0] = {evil, evil, 0, 0, evil};
    shown.lateness = shown.scheduling = shown.hint = evil;
    const std::string text = joined(draw(shown, 100, 40)); // rowsOf checks each sequence
    EXPECT_THAT(text, HasSubstr("?]0;x?"));
    const std::string line = drawStatusScreen(shown, 100, 40, false);
    EXPECT_EQ(line.find_first_of("\x1b\x07\r"), std::string::npos);
    EXPECT_EQ(line.find('\n'), line.size() - 1);
}

TEST(StatusScreen, AwayFromATerminalItIsOnePlainLine) {
    StatusSnapshot shown = show(2, 3);
    shown.compositions[1].enabled = false;
    shown.outputs[1].trouble = "no route";
    EXPECT_EQ(drawStatusScreen(shown, 100, 40, false),
              "Composition 1 playing 00:00:04:12 25%; Composition 2 muted 00:00:04:12 25%; Lights 240 msg/s; "
              "Sound 0 msg/s, "
              "TROUBLE: no route; ticks: p50 3.0 us, p99 9.0 us, max 40.0 us; real-time (FIFO 70)\n");
}

} // namespace
} // namespace marvo
