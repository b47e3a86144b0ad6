// The line of a curve, pixel by pixel, and how a lane uses it.
#include "ui/CurveStroke.h"

#include "Stage.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <set>
#include <vector>

using namespace marvo;
using namespace marvo::ui;
using namespace marvo::ui::testing;

namespace {

constexpr QSize canvas(60, 40);

class CurveStrokeTest : public ::testing::Test {
protected:
    QImage drawn(const std::vector<QPointF>& points, double width = 2.0) {
        QImage image = empty();
        stroke_.stroke(image, image.rect(), points, width, Qt::white);
        return image;
    }
    static QImage empty() {
        QImage image(canvas, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        return image;
    }
    // Covered pixels, whole or in part, of a row or of a column.
    static double coverOfColumn(const QImage& image, int x) {
        double sum = 0.0;
        for (int y = 0; y < image.height(); ++y) sum += qAlpha(image.pixel(x, y)) / 255.0;
        return sum;
    }
    static double coverOfRow(const QImage& image, int y) {
        double sum = 0.0;
        for (int x = 0; x < image.width(); ++x) sum += qAlpha(image.pixel(x, y)) / 255.0;
        return sum;
    }

private:
    CurveStroke stroke_;
};

} // namespace

TEST_F(CurveStrokeTest, IsAsWideWhereItIsSteepAsWhereItIsFlat) {
    for (const double angle : {0.0, 0.2, 0.5, 0.75, 0.8, 1.1, 1.5, std::acos(0.0)}) {
        const QPointF along(std::cos(angle), std::sin(angle));
        const QPointF middle(30.3, 20.6);
        const QImage image = drawn({middle - 40.0 * along, middle + 40.0 * along}, 1.7);
        // Through the middle, where neither end is near.
        const double across = std::abs(along.x()) >= std::abs(along.y())
                                  ? coverOfColumn(image, 30) * std::abs(along.x())
                                  : coverOfRow(image, 20) * std::abs(along.y());
        EXPECT_NEAR(across, 1.7, 0.02) << angle;
    }
}

TEST_F(CurveStrokeTest, HasNoHolesAndNoDarkerJoints) {
    // A wave in pieces of half a pixel and of three.
    for (const double step : {0.5, 3.0}) {
        std::vector<QPointF> points;
        for (double x = -4.0; x < 64.0; x += step) points.emplace_back(x, 20.0 + 15.0 * std::sin(x / 5.0));
        const QImage image = drawn(points, 2.0);
        for (int x = 0; x < canvas.width(); ++x) {
            const double slope = 3.0 * std::cos((x + 0.5) / 5.0);
            EXPECT_GE(coverOfColumn(image, x), 1.9) << x;
            EXPECT_LE(coverOfColumn(image, x), 2.0 * std::sqrt(1.0 + slope * slope) + 2.0) << x;
        }
    }
}

TEST_F(CurveStrokeTest, JumpsStraightUpAndMeetsItsCorners) {
    const QImage image = drawn({{5, 30}, {30, 30}, {30, 10}, {55, 10}});
    EXPECT_EQ(coverOfRow(image, 20), 2.0) << "the jump is two pixels wide";
    EXPECT_EQ(qAlpha(image.pixel(29, 20)), 255);
    EXPECT_EQ(qAlpha(image.pixel(30, 20)), 255);
    for (const QPoint corner : {QPoint(29, 29), QPoint(30, 10)}) EXPECT_EQ(qAlpha(image.pixel(corner)), 255);
    EXPECT_EQ(coverOfColumn(image, 15), 2.0);
}

TEST_F(CurveStrokeTest, HalfAPixelOfAPlaceIsHalfTheShareOfTwo) {
    const QImage image = drawn({{-5, 20.5}, {65, 20.5}}, 1.0);
    EXPECT_EQ(qAlpha(image.pixel(10, 20)), 255);
    const QImage between = drawn({{-5, 20.0}, {65, 20.0}}, 1.0);
    EXPECT_NEAR(qAlpha(between.pixel(10, 19)), 128, 1);
    EXPECT_NEAR(qAlpha(between.pixel(10, 20)), 128, 1);
}

TEST_F(CurveStrokeTest, IsCutOffAtItsEdgesHoweverFarItReaches) {
    const double far = 4e9;
    const QImage image = drawn({{-far, 20}, {far, 20}, {far, far}, {30, far}, {30, -far}});
    EXPECT_EQ(coverOfColumn(image, 0), 2.0);
    EXPECT_EQ(coverOfColumn(image, canvas.width() - 1), 2.0);
    EXPECT_EQ(coverOfRow(image, 0), 2.0);
    EXPECT_EQ(coverOfRow(image, canvas.height() - 1), 2.0);
}

TEST_F(CurveStrokeTest, LeavesOutWhatIsNoNumber) {
    const double none = std::numeric_limits<double>::quiet_NaN();
    const double endless = std::numeric_limits<double>::infinity();
    const QImage image = drawn({{0, none}, {none, 3}, {endless, 5}, {0, endless}, {10, 20}, {20, 20}});
    EXPECT_EQ(coverOfColumn(image, 15), 2.0);
    EXPECT_EQ(coverOfColumn(image, 40), 0.0);
}

TEST_F(CurveStrokeTest, LiesOnWhatWasThereAndKeepsNothingOfTheCurveBefore) {
    CurveStroke stroke;
    const std::vector<QPointF> first{{0, 10}, {60, 12}};
    const std::vector<QPointF> second{{0, 30}, {60, 30}};
    QImage image(canvas, QImage::Format_RGB32);
    stroke.stroke(image, image.rect(), first, 2.0, Qt::red);
    image.fill(QColor(0, 100, 200));
    stroke.stroke(image, image.rect(), second, 2.0, QColor(250, 0, 0));
    EXPECT_EQ(image.pixelColor(30, 10), QColor(0, 100, 200));
    EXPECT_EQ(image.pixelColor(30, 30), QColor(250, 0, 0));
    stroke.stroke(image, image.rect(), {{QPointF(0, 20.5), QPointF(60, 20.5)}}, 2.0, QColor(250, 0, 0));
    EXPECT_NEAR(image.pixelColor(30, 19).red(), 125, 1);
    EXPECT_NEAR(image.pixelColor(30, 19).green(), 50, 1);
    EXPECT_NEAR(image.pixelColor(30, 19).blue(), 100, 1);
}

TEST_F(CurveStrokeTest, AddsUpWithoutASeamWhereItIsPaintedInParts) {
    std::vector<QPointF> points;
    for (double x = -4.0; x < 64.0; x += 1.5) points.emplace_back(x, 20.0 + 17.0 * std::sin(x / 4.0));
    CurveStroke stroke;
    QImage parts = empty();
    for (const QRect part :
         {QRect(0, 0, 21, 17), QRect(21, 0, 39, 17), QRect(0, 17, 21, 23), QRect(21, 17, 90, 90)})
        stroke.stroke(parts, part, points, 2.0, Qt::white);
    EXPECT_EQ(parts, drawn(points));
}

namespace {

// The inks of a lane with one line from its lower to its upper edge, or with up and down all along.
std::set<QRgb> inksOf(Stage& stage, int keyframes, int top, int height) {
    std::vector<marvo::testing::Point> values;
    for (int i = 0; i < keyframes; ++i) values.push_back({600 * i / (keyframes - 1), i % 2 ? 100.0f : 0.0f});
    stage.load(marvo::testing::projectOf(
        {marvo::testing::compositionOf("Lines", 30, 20.0f, {marvo::testing::oscTrack("A", "/a", values)})}));
    stage.application().compositions.selectCompositionAtIndex(0);
    stage.frame();
    // Between the lines of the grid and away from the playhead and the keyframes.
    const QImage part = stage.lanes().grab(QRect(stage.laneX(100) + 3, top, 18, height)).toImage();
    std::set<QRgb> inks;
    for (int y = 0; y < part.height(); ++y) {
        for (int x = 0; x < part.width(); ++x) inks.insert(part.pixel(x, y));
    }
    return inks;
}

struct LaneLineTest : ::testing::Test, Stage {};

} // namespace

TEST_F(LaneLineTest, OfACurveIsSmooth) {
    EXPECT_GT(inksOf(*this, 5, 2, 114).size(), 8u) << "its edge mixes with the lane";
}

TEST_F(LaneLineTest, ThatGoesUpAndDownAllAlongIsDrawnTheQuickWay) {
    EXPECT_LE(inksOf(*this, 301, 40, 40).size(), 4u) << "where no keyframe is";
}
