#include "surface/KeyframePainting.h"

#include "platform/Saturate.h"
#include "tracks/Curves.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace marvo {
namespace {

// Curves that swing are looked at more closely where they are short, or their swings would fall between two
// columns.
constexpr double shortSegment = 64.0; // pixels
constexpr double closeStep = 0.25;

bool swings(Curve curve) {
    return curve >= Curve::elasticIn && curve <= Curve::bounceInOut;
}

// Rows of a lane, and one for what lies at its upper end; higher lanes share the last ones.
constexpr std::size_t mostRows = 1024;

// The points that fall into one column of pixels, down to those that show.
class Column {
public:
    explicit Column(std::vector<LanePoint>& points) : points_(points) {}

    void add(LanePoint point) {
        const double column = std::floor(point.x);
        if (count_ == 0 || column != column_) {
            flush();
            column_ = column;
            first_ = least_ = greatest_ = last_ = {point, 0};
            count_ = 1;
            return;
        }
        last_ = {point, count_++};
        if (point.y < least_.point.y) least_ = last_;
        if (point.y > greatest_.point.y) greatest_ = last_;
    }

    void flush() {
        if (count_ == 0) return;
        std::array<Kept, 4> kept{first_, least_, greatest_, last_};
        if (kept[1].order > kept[2].order) std::swap(kept[1], kept[2]);
        std::size_t written = std::numeric_limits<std::size_t>::max();
        for (const Kept& one : kept) {
            if (one.order == written) continue;
            points_.push_back(one.point);
            written = one.order;
        }
        count_ = 0;
    }

private:
    struct Kept {
        LanePoint point;
        std::size_t order = 0;
    };

    std::vector<LanePoint>& points_;
    double column_ = 0.0;
    std::size_t count_ = 0;
    Kept first_, least_, greatest_, last_;
};

// One segment between two keyframes that stand in different columns.
class Segment {
public:
    Segment(const MarvoTimelineKeyframe& from, const MarvoTimelineKeyframe& to, const LaneScale& lane)
        : from_(from), to_(to), lane_(lane), unit_(lane.geometry.timeUnitInPixels(lane.width)),
          curve_(to.curveInUse()) {}

    Curve curve() const { return curve_; }

    LanePoint at(double x) const {
        if (isStepped(curve_)) return {x, heightOf(from_.value)};
        const double passed = x * unit_ - static_cast<double>(from_.time.value);
        const auto p = static_cast<float>(passed / static_cast<double>((to_.time - from_.time).value));
        const float range = std::max(from_.value, to_.value) - std::min(from_.value, to_.value);
        const float eased = easedProgress(curve_, std::clamp(p, 0.0f, 1.0f)) * range;
        return {x, heightOf(from_.value < to_.value ? from_.value + eased : from_.value - eased)};
    }

private:
    double heightOf(float value) const {
        return TimelineGeometry::pixelsForValue(value, to_.minValue, to_.maxValue, lane_.height);
    }

    const MarvoTimelineKeyframe& from_;
    const MarvoTimelineKeyframe& to_;
    const LaneScale& lane_;
    double unit_;
    Curve curve_;
};

// What lies between the two points, and within left and right, which reach a pixel beyond what is seen.
void addBetween(const Segment& segment, double fromX, double toX, double left, double right, Column& column) {
    const double begin = std::max(fromX, left);
    const double end = std::min(toX, right);
    if (begin > end) return;
    if (begin > fromX) column.add(segment.at(begin));
    if (isStepped(segment.curve())) {
        column.add(segment.at(end));
        return;
    }
    if (segment.curve() != Curve::linear) {
        const double step = swings(segment.curve()) && toX - fromX < shortSegment ? closeStep : 1.0;
        for (double x = std::floor(begin) + 1.0; x < end; x += step) column.add(segment.at(x));
    }
    if (end < toX) column.add(segment.at(end));
}

bool goesBefore(const MarvoTimelineKeyframe& keyframe, Frame time) {
    return keyframe.time < time;
}

} // namespace

void KeyframePainting::line(double left, double right, std::vector<LanePoint>& points) const {
    points.clear();
    const double unit = lane_.geometry.timeUnitInPixels(lane_.width);
    if (keyframes_.empty() || !(unit > 0.0) || !(right >= left)) return;
    const auto begin = keyframes_.begin();
    auto first = std::lower_bound(begin, keyframes_.end(), frameAtOrBefore(left, unit), goesBefore);
    if (first != begin) --first;

    Column column(points);
    const MarvoTimelineKeyframe* previous = nullptr;
    double previousX = 0.0;
    for (auto at = first; at != keyframes_.end(); ++at) {
        const SurfacePoint point = KeyframeGeometry::pointOf(*at, lane_);
        if (previous) {
            if (std::floor(point.x) != std::floor(previousX))
                addBetween(Segment(*previous, *at, lane_), previousX, point.x, left - 1.0, right + 1.0,
                           column);
            else if (isStepped(at->curveInUse()))
                column.add(Segment(*previous, *at, lane_).at(point.x));
        }
        if (point.x > right + 1.0) break;
        if (point.x >= left - 1.0) column.add({point.x, point.y});
        previous = &*at;
        previousX = point.x;
    }
    column.flush();
}

void KeyframePainting::sprites(double left, double right, std::vector<KeyframeSprite>& sprites,
                               double cell) const {
    sprites.clear();
    const double unit = lane_.geometry.timeUnitInPixels(lane_.width);
    if (!(unit > 0.0) || !(cell > 0.0)) return;
    // A sprite that is seen in part counts.
    const double reach = KeyframeGeometry::size + KeyframeGeometry::grownBy;
    const auto first = std::lower_bound(keyframes_.begin(), keyframes_.end(),
                                        frameAtOrBefore(left - reach, unit), goesBefore);

    // For each row the sprite that was put down last in it, which counts while its column is the present one.
    std::array<std::uint32_t, mostRows> lastInRow;
    std::array<double, mostRows> columnOfRow;
    columnOfRow.fill(-std::numeric_limits<double>::infinity());
    for (auto at = first; at != keyframes_.end(); ++at) {
        const SurfacePoint point = KeyframeGeometry::pointOf(*at, lane_);
        if (point.x > right + reach) break;
        const double column = std::floor(point.x / cell);
        const auto row = static_cast<std::size_t>(
            std::clamp(std::floor(point.y / cell), 0.0, static_cast<double>(mostRows - 1)));
        if (columnOfRow[row] == column) {
            KeyframeSprite& there = sprites[lastInRow[row]];
            if (at->selected || !there.keyframe->selected) there = {point, &*at};
            continue;
        }
        columnOfRow[row] = column;
        lastInRow[row] = static_cast<std::uint32_t>(sprites.size());
        sprites.push_back({point, &*at});
    }
}

Frame KeyframePainting::frameAtOrBefore(double x, double unit) {
    return Frame(truncatedToInt64(std::floor(x * unit)));
}

} // namespace marvo
