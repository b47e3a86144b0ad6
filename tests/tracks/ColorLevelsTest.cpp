#include "tracks/ColorLevels.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

using namespace marvo;

namespace {

using Levels = std::vector<std::int32_t>;

Levels levelsOf(const Colour& color, const std::string& format, std::int32_t full = 255) {
    Levels levels(format.size());
    colorLevels(color, format, full, levels);
    return levels;
}

constexpr Colour red{1, 0, 0};

} // namespace

TEST(ColorLevels, EachLetterTakesItsComponentInTheOrderOfTheWord) {
    const Colour color{1.0, 0.5, 0.25};
    EXPECT_EQ(levelsOf(color, "RGB"), (Levels{255, 127, 63}));
    EXPECT_EQ(levelsOf(color, "BGR"), (Levels{63, 127, 255}));
    EXPECT_EQ(levelsOf(color, "BRG"), (Levels{63, 255, 127}));
    EXPECT_EQ(levelsOf(color, "GRB"), (Levels{127, 255, 63}));
    EXPECT_EQ(levelsOf(color, "GBR"), (Levels{127, 63, 255}));
    EXPECT_EQ(levelsOf(color, "RGB", 65535), (Levels{65535, 32767, 16383}));
}

TEST(ColorLevels, WhiteTakesOverWhatAllThreeHaveInCommon) {
    EXPECT_EQ(levelsOf(Colour::white(), "RGBW"), (Levels{0, 0, 0, 255}));
    EXPECT_EQ(levelsOf(red, "RGBW"), (Levels{255, 0, 0, 0}));
    EXPECT_EQ(levelsOf(Colour::black(), "RGBW"), (Levels{0, 0, 0, 0}));
    EXPECT_EQ(levelsOf(Colour::white(), "RGBW", 65535), (Levels{0, 0, 0, 65535}));
    EXPECT_EQ(levelsOf({1.0, 0.5, 0.5}, "RGBW"), (Levels{128, 0, 0, 127})) << "127 of each is white";
    EXPECT_EQ(convertToRGBW(Colour::grey(0.5)), (std::array<std::int32_t, 4>{0, 0, 0, 127}));
}

TEST(ColorLevels, AWhiteWithoutItsWordFadesWithTheSaturation) {
    EXPECT_EQ(levelsOf(Colour::white(), "W"), (Levels{255}));
    EXPECT_EQ(levelsOf(Colour::black(), "W"), (Levels{0}));
    // Saturated: (255 + 0 + 0) * (255 - 100) / 255 / 3.
    EXPECT_EQ(levelsOf(red, "W"), (Levels{51}));
    EXPECT_EQ(levelsOf(red, "RGB+W"), (Levels{255, 0, 0, 0, 51}));
    EXPECT_EQ(levelsOf(Colour::white(), "W", 65535), (Levels{65535}));
}

TEST(ColorLevels, AmberIsWhatRedAndGreenShare) {
    EXPECT_EQ(levelsOf({1.0, 0.5, 0.0}, "RGBA"), (Levels{255, 127, 0, 127}));
    EXPECT_EQ(levelsOf({0.25, 0.5, 0.0}, "A"), (Levels{63}));
    EXPECT_EQ(levelsOf(Colour::white(), "RGBWA"), (Levels{0, 0, 0, 255, 255}));
}

TEST(ColorLevels, TheWholeWordIsTheFormatEvenWhereItIsSpelledOut) {
    // R, G, B, nothing, A, and four letters without a rule.
    EXPECT_EQ(levelsOf(Colour::white(), "RGB+Amber"), (Levels{255, 255, 255, 0, 255, 0, 0, 0, 0}));
}

TEST(ColorLevels, InkLeavesTheBlackOutThatTheFormatDoesNotUse) {
    EXPECT_EQ(levelsOf(Colour::black(), "CMY"), (Levels{0, 0, 0}));
    EXPECT_EQ(levelsOf(red, "CMY"), (Levels{0, 255, 255}));
    EXPECT_EQ(levelsOf({0.5, 0.25, 0.0}, "CMY"), (Levels{0, 127, 255}));
}

TEST(ColorLevels, GreyIsAsBrightAsTheColourLooks) {
    EXPECT_EQ(levelsOf(red, "L"), (Levels{76}));
    EXPECT_EQ(levelsOf({0, 1, 0}, "L"), (Levels{150}));
    EXPECT_EQ(levelsOf(Colour::white(), "L"), (Levels{255}));
}
