// What can be read on what: contrast as the accessibility guidelines measure it.
#include "ui/Look.h"

#include <cmath>
#include <gtest/gtest.h>

using namespace marvo::ui;

namespace {

double linear(double channel) {
    return channel <= 0.03928 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
}

double luminance(const QColor& color) {
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

double contrast(const QColor& a, const QColor& b) {
    const double one = luminance(a) + 0.05;
    const double other = luminance(b) + 0.05;
    return std::max(one, other) / std::min(one, other);
}

struct LookTest : ::testing::TestWithParam<const Look*> {};

} // namespace

TEST_P(LookTest, TextIsReadableOnEveryGround) {
    const Look& look = *GetParam();
    for (const QColor& ground : {look.window, look.panel, look.control}) {
        EXPECT_GE(contrast(look.text, ground), 7.0);
        EXPECT_GE(contrast(look.dimText, ground), 4.5);
        EXPECT_GE(contrast(look.faintText, ground), 3.0);
    }
}

TEST_P(LookTest, AnAccentStandsOutAndCanBeWrittenOn) {
    const Look& look = *GetParam();
    for (const QColor& accent : {look.plays, look.records, look.trouble, look.focus}) {
        EXPECT_GE(contrast(accent, look.window), 3.0);
        EXPECT_GE(contrast(accent, look.panel), 3.0);
        EXPECT_GE(contrast(look.onAccent, accent), 4.5);
    }
}

TEST_P(LookTest, TheGridIsSeenInEveryLaneAndIsNotLoud) {
    const Look& look = *GetParam();
    for (const auto& [line, lane] :
         {std::pair(look.faintLine, look.lane), std::pair(look.faintLineSelected, look.laneSelected)}) {
        EXPECT_GE(contrast(line, lane), 1.2);
        EXPECT_LE(contrast(line, lane), 1.6);
    }
}

INSTANTIATE_TEST_SUITE_P(Variants, LookTest, ::testing::Values(&Look::dark(), &Look::light()),
                         [](const auto& variant) {
                             return std::string(variant.index == 0 ? "Dark" : "Light");
                         });
