#include "tracks/Curves.h"

#include <cmath>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <set>
#include <sstream>
#include <string>

using namespace marvo;

namespace {

using Formula = std::function<long double(long double)>;
const long double pi = acosl(-1.0L);

long double bounce(long double p) {
    if (p < 4.0L / 11) return 121 * p * p / 16;
    if (p < 8.0L / 11) return 9.075L * p * p - 9.9L * p + 3.4L;
    if (p < 0.9L) return 12.066481994459833L * p * p - 19.63545706371191L * p + 8.898060941828255L;
    return 10.8L * p * p - 20.52L * p + 10.72L;
}

// "In" curves as plain formulas; the others follow from them where they mirror, and are written out where
// not.
std::map<std::string, Formula> formulas() {
    std::map<std::string, Formula> f;
    const auto power = [&](const std::string& name, int n) {
        f[name + " Ease-In"] = [n](long double p) { return powl(p, n); };
        f[name + " Ease-Out"] = [n](long double p) { return 1 - powl(1 - p, n); };
        f[name + " Ease-In-Out"] = [n](long double p) {
            return p < 0.5L ? powl(2 * p, n) / 2 : 1 - powl(2 - 2 * p, n) / 2;
        };
    };
    power("Quadratic", 2);
    power("Cubic", 3);
    power("Quartic", 4);
    power("Quintic", 5);
    f["Linear Interpolation"] = [](long double p) { return p; };
    f["Sine Ease-In"] = [](long double p) { return 1 - cosl(p * pi / 2); };
    f["Sine Ease-Out"] = [](long double p) { return sinl(p * pi / 2); };
    f["Sine Ease-In-Out"] = [](long double p) { return (1 - cosl(p * pi)) / 2; };
    f["Circular Ease-In"] = [](long double p) { return 1 - sqrtl(1 - p * p); };
    f["Circular Ease-Out"] = [](long double p) { return sqrtl((2 - p) * p); };
    f["Circular Ease-In-Out"] = [](long double p) {
        return p < 0.5L ? (1 - sqrtl(1 - 4 * p * p)) / 2 : (sqrtl(-(2 * p - 3) * (2 * p - 1)) + 1) / 2;
    };
    f["Exponential Ease-In"] = [](long double p) { return p == 0 ? 0 : exp2l(10 * (p - 1)); };
    f["Exponential Ease-Out"] = [](long double p) { return p == 1 ? 1 : 1 - exp2l(-10 * p); };
    f["Exponential Ease-In-Out"] = [](long double p) {
        if (p == 0 || p == 1) return p;
        return p < 0.5L ? exp2l(20 * p - 10) / 2 : 1 - exp2l(10 - 20 * p) / 2;
    };
    const auto elastic = [](long double p) { return sinl(13 * pi / 2 * p) * exp2l(10 * (p - 1)); };
    f["Elastic Ease-In"] = elastic;
    f["Elastic Ease-Out"] = [](long double p) { return sinl(-13 * pi / 2 * (p + 1)) * exp2l(-10 * p) + 1; };
    f["Elastic Ease-In-Out"] = [](long double p) {
        if (p < 0.5L) return sinl(13 * pi * p) * exp2l(10 * (2 * p - 1)) / 2;
        return (sinl(-13 * pi / 2 * (2 * p)) * exp2l(-10 * (2 * p - 1)) + 2) / 2;
    };
    const auto back = [](long double p) { return p * p * p - p * sinl(p * pi); };
    f["Back Ease-In"] = back;
    f["Back Ease-Out"] = [back](long double p) { return 1 - back(1 - p); };
    f["Back Ease-In-Out"] = [back](long double p) {
        return p < 0.5L ? back(2 * p) / 2 : (1 - back(2 - 2 * p)) / 2 + 0.5L;
    };
    f["Bounce Ease-In"] = [](long double p) { return 1 - bounce(1 - p); };
    f["Bounce Ease-Out"] = bounce;
    f["Bounce Ease-In-Out"] = [](long double p) {
        return p < 0.5L ? (1 - bounce(1 - 2 * p)) / 2 : bounce(2 * p - 1) / 2 + 0.5L;
    };
    return f;
}

} // namespace

TEST(Curves, FollowTheirFormulasOverTheWholeSegment) {
    const auto expected = formulas();
    ASSERT_EQ(expected.size(), 31u);
    for (const auto& [label, formula] : expected) {
        const Curve curve = curveWithLabel(label);
        ASSERT_NE(curve, Curve::unknown) << label;
        for (int i = 0; i <= 1000; ++i) {
            const float p = static_cast<float>(i) / 1000.0f;
            EXPECT_NEAR(easedProgress(curve, p), static_cast<double>(formula(static_cast<long double>(p))),
                        3e-6)
                << label << " at " << p;
        }
    }
}

TEST(Curves, BeginAtNothingAndEndAtOne) {
    for (const std::string_view label : allCurveLabels()) {
        const Curve curve = curveWithLabel(label);
        if (isStepped(curve)) continue;
        const float slack = label.starts_with("Elastic") || label.starts_with("Exponential") ? 1e-3f : 1e-6f;
        EXPECT_NEAR(easedProgress(curve, 0.0f), 0.0f, slack) << label;
        EXPECT_NEAR(easedProgress(curve, 1.0f), 1.0f, slack) << label;
    }
}

TEST(Curves, TakeTheSecondHalfFromExactlyOneHalf) {
    EXPECT_EQ(easedProgress(Curve::quadraticInOut, 0.5f), 0.5f);
    EXPECT_EQ(easedProgress(Curve::exponentialInOut, 0.5f), 0.5f);
    const float below = std::nextafterf(0.5f, 0.0f);
    EXPECT_EQ(easedProgress(Curve::cubicInOut, below), 4.0f * below * below * below);
}

TEST(Curves, ExponentialCurvesAreExactAtTheirEnds) {
    EXPECT_EQ(easedProgress(Curve::exponentialIn, 0.0f), 0.0f);
    EXPECT_EQ(easedProgress(Curve::exponentialOut, 1.0f), 1.0f);
    EXPECT_EQ(easedProgress(Curve::exponentialInOut, 0.0f), 0.0f);
    EXPECT_EQ(easedProgress(Curve::exponentialInOut, 1.0f), 1.0f);
    EXPECT_GT(easedProgress(Curve::exponentialIn, std::nextafterf(0.0f, 1.0f)), 0.0009f);
}

TEST(Curves, ElasticAndBackLeaveTheRangeOfTheSegment) {
    float highest = 0.0f;
    float lowest = 0.0f;
    for (int i = 0; i <= 100; ++i) {
        highest = std::fmax(highest, easedProgress(Curve::elasticOut, static_cast<float>(i) / 100.0f));
        lowest = std::fmin(lowest, easedProgress(Curve::backIn, static_cast<float>(i) / 100.0f));
    }
    EXPECT_GT(highest, 1.05f);
    EXPECT_LT(lowest, -0.05f);
}

TEST(Curves, AnUnknownLabelStepsLikeNoInterpolation) {
    EXPECT_EQ(curveWithLabel("Wobbly"), Curve::unknown);
    EXPECT_EQ(curveWithLabel("linear interpolation"), Curve::unknown);
    EXPECT_TRUE(std::isinf(easedProgress(Curve::unknown, 0.5f)));
    EXPECT_TRUE(std::isinf(easedProgress(Curve::none, 0.5f)));
}

TEST(Curves, OutsideNamesGoThereAndBackAndUnknownOnesAreNone) {
    std::set<std::string_view> names;
    for (const std::string_view label : allCurveLabels()) {
        EXPECT_EQ(easingFromSafeName(safeNameOfEasing(label)), label);
        names.insert(safeNameOfEasing(label));
    }
    EXPECT_EQ(names.size(), 32u);
    EXPECT_EQ(safeNameOfEasing("Back Ease-In-Out"), "back-in-out");
    EXPECT_EQ(safeNameOfEasing("Wobbly"), "none");
    EXPECT_EQ(easingFromSafeName("wobbly"), "No Interpolation");
}

// Every build must agree to the bit: shows compare their traces.
TEST(Curves, GiveTheSameBitsInEveryBuild) {
    std::ostringstream text;
    text << std::hexfloat;
    for (const std::string_view label : allCurveLabels()) {
        text << label << "\n";
        for (int i = 0; i <= 32; ++i)
            text << easedProgress(curveWithLabel(label), static_cast<float>(i) / 32.0f) << "\n";
    }
    const std::string path = std::string(MARVO_TEST_FOLDER) + "/golden/curves.txt";
    std::ifstream file(path);
    std::ostringstream golden;
    golden << file.rdbuf();
    if (golden.str() != text.str()) std::ofstream(path + ".actual") << text.str();
    EXPECT_EQ(golden.str(), text.str());
}
