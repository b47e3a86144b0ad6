#include "platform/Colour.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

using namespace marvo;

namespace {

void expectNear(const Colour& colour, const Colour& expected, double error = 1e-12) {
    EXPECT_NEAR(colour.red, expected.red, error);
    EXPECT_NEAR(colour.green, expected.green, error);
    EXPECT_NEAR(colour.blue, expected.blue, error);
    EXPECT_NEAR(colour.alpha, expected.alpha, error);
}

// What a lamp or a port is given for one component.
std::uint32_t byteOf(double component) {
    return packedRGBA({component, 0, 0, 0}) >> 24;
}

} // namespace

TEST(Colour, AComponentBecomesAByteByCutting) {
    EXPECT_EQ(byteOf(0.5), 127u);
    EXPECT_EQ(byteOf(0.999), 254u);
    EXPECT_EQ(byteOf(1.0), 255u);
    EXPECT_EQ(byteOf(-0.2), 0u);
    EXPECT_EQ(byteOf(7.0), 255u);
    EXPECT_EQ(byteOf(std::numeric_limits<double>::quiet_NaN()), 0u);
    for (int i = 0; i < 256; ++i) EXPECT_EQ(byteOf(i / 255.0), static_cast<std::uint32_t>(i));
}

TEST(Colour, HueTurnsFromRedOverGreenAndBlueBackToRed) {
    EXPECT_EQ((Colour{1, 0, 0}.hsb().hue), 0.0);
    EXPECT_DOUBLE_EQ((Colour{1, 1, 0}.hsb().hue), 1.0 / 6);
    EXPECT_DOUBLE_EQ((Colour{0, 1, 0}.hsb().hue), 1.0 / 3);
    EXPECT_DOUBLE_EQ((Colour{0, 0, 1}.hsb().hue), 2.0 / 3);
    EXPECT_DOUBLE_EQ((Colour{1, 0, 1}.hsb().hue), 5.0 / 6);
    expectNear(Colour::fromHSB({1.0, 1.0, 1.0}), {1, 0, 0});
    expectNear(Colour::fromHSB({0.5, 1.0, 0.5}, 0.25), {0, 0.5, 0.5, 0.25});
}

TEST(Colour, EveryHueIsAColourAlsoOneThatIsNoNumber) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    for (const double hue : {std::numeric_limits<double>::quiet_NaN(), infinity, -infinity})
        EXPECT_EQ(Colour::fromHSB({hue, 1.0, 1.0}), (Colour{1, 0, 0})) << hue;
    EXPECT_EQ(Colour::fromHSB({-1e-20, 1.0, 1.0}), (Colour{1, 0, 0}))
        << "and not its neighbour of a whole turn";
    for (const double hue : {1e300, -1e300, 1e16, -7.0, 3.0})
        EXPECT_EQ(Colour::fromHSB({hue, 1.0, 1.0}), (Colour{1, 0, 0})) << hue;
    expectNear(Colour::fromHSB({-0.5, 1.0, 1.0}), {0, 1, 1});
}

TEST(Colour, AGreyHasNoSaturationAndNoHue) {
    for (const double level : {0.0, 0.3, 1.0}) {
        const HSB hsb = Colour::grey(level).hsb();
        EXPECT_EQ(hsb.saturation, 0.0);
        EXPECT_EQ(hsb.hue, 0.0);
        EXPECT_EQ(hsb.brightness, level);
    }
}

TEST(Colour, EveryColourComesBackFromItsHueSaturationAndBrightness) {
    for (int r = 0; r <= 10; ++r) {
        for (int g = 0; g <= 10; ++g) {
            for (int b = 0; b <= 10; ++b) {
                const Colour colour{r / 10.0, g / 10.0, b / 10.0, 0.5};
                expectNear(Colour::fromHSB(colour.hsb(), 0.5), colour);
                expectNear(Colour::fromCMYK(colour.cmyk(), 0.5), colour);
            }
        }
    }
}

TEST(Colour, BlackIsPrintedWithBlackInkAlone) {
    const CMYK black = Colour::black().cmyk();
    EXPECT_EQ(black.cyan, 0.0);
    EXPECT_EQ(black.magenta, 0.0);
    EXPECT_EQ(black.yellow, 0.0);
    EXPECT_EQ(black.black, 1.0);
    const CMYK dark = Colour{0.5, 0.25, 0.0}.cmyk();
    EXPECT_EQ(dark.black, 0.5);
    EXPECT_EQ(dark.cyan, 0.0);
    EXPECT_EQ(dark.magenta, 0.5);
    EXPECT_EQ(dark.yellow, 1.0);
}

TEST(Colour, GreyWeighsTheComponentsAsTheEyeDoes) {
    EXPECT_DOUBLE_EQ((Colour{1, 0, 0}.grey()), 0.30);
    EXPECT_DOUBLE_EQ((Colour{0, 1, 0}.grey()), 0.59);
    EXPECT_DOUBLE_EQ((Colour{0, 0, 1}.grey()), 0.11);
    for (int i = 0; i < 256; ++i) EXPECT_EQ(Colour::grey(i / 255.0).grey(), i / 255.0);
}

TEST(Colour, AWayBackHoldsTheColoursOfTheWayThere) {
    const Colour from{0, 1, 0.2, 0};
    const Colour to{1, 0, 0.2, 1};
    for (int i = 0; i <= 255; ++i) {
        const Colour there = from.mixedWith(to, i, 255);
        EXPECT_EQ(there, to.mixedWith(from, 255 - i, 255));
        EXPECT_EQ(byteOf(there.red), static_cast<std::uint32_t>(i));
        EXPECT_EQ(byteOf(there.green), static_cast<std::uint32_t>(255 - i));
        EXPECT_EQ(there.blue, 0.2) << "what does not move stays to the bit";
    }
    EXPECT_EQ(from.mixedWith(to, 0, 7), from);
    EXPECT_EQ(from.mixedWith(to, 7, 7), to);
}
