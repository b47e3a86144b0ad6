// Painting the lanes: all of them, and the playhead alone, beside the barest painting that shows the same.
#include "Measure.h"
#include "Stage.h"
#include "ui/CompositionView.h"
#include "ui/LanesView.h"
#include "ui/Look.h"

#include <QApplication>
#include <QImage>
#include <QPaintEvent>
#include <QPainter>
#include <QWindow>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <random>
#include <string>

using namespace marvo;
using namespace marvo::bench;
using namespace std::chrono_literals;

namespace {

constexpr int width = 1600;
constexpr int height = 900;
constexpr int laneCount = 20;
constexpr std::int64_t fps = 60;
constexpr float seconds = 600.0f;
constexpr double lanePitch = 33.0;
constexpr double laneHeight = 32.0;

struct Key {
    double x; // 0 to 1
    double y; // 0 to 1
};

std::vector<std::vector<Key>> makeKeys(int all) {
    std::mt19937 random(7);
    std::vector<std::vector<Key>> lanes(laneCount);
    const int each = all / laneCount;
    for (auto& lane : lanes) {
        for (int i = 0; i < each; ++i) {
            const auto frame = std::floor(static_cast<double>(i) * static_cast<double>(fps) *
                                          static_cast<double>(seconds) / each);
            lane.push_back({frame / (static_cast<double>(fps) * static_cast<double>(seconds)),
                            static_cast<double>(random() % 1001) / 1000.0});
        }
    }
    return lanes;
}

PropertyList projectOf(const std::vector<std::vector<Key>>& lanes) {
    std::vector<PropertyList> tracks;
    for (std::size_t i = 0; i < lanes.size(); ++i) {
        std::vector<StagePoint> points;
        for (const Key& key : lanes[i]) {
            points.push_back({std::llround(key.x * static_cast<double>(fps) * static_cast<double>(seconds)),
                              static_cast<float>(key.y * 100.0), "Linear Interpolation"});
        }
        PropertyList track = stageTrack("Track " + std::to_string(i), "/track/" + std::to_string(i), points);
        track.set("isCollapsed", true);
        tracks.push_back(std::move(track));
    }
    return stageProject({stageComposition("Draw", fps, seconds, tracks, true)});
}

// At most two lines a column of pixels, drawn with a cosmetic pen, and sprites copied from one
// picture.
class BarePainting {
public:
    explicit BarePainting(const std::vector<std::vector<Key>>& lanes) : lanes_(lanes), sprite_(16, 16) {
        sprite_.fill(Qt::transparent);
        QPainter painter(&sprite_);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setBrush(Qt::white);
        painter.drawEllipse(QPointF(8, 8), 4.5, 4.5);
    }

    void paint(QPixmap& target) {
        const ui::Look& look = ui::Look::current();
        QPainter painter(&target);
        painter.fillRect(target.rect(), look.window);
        for (std::size_t i = 0; i < lanes_.size(); ++i) {
            const double top = static_cast<double>(i) * lanePitch;
            painter.fillRect(QRectF(0, top, width, laneHeight), look.lane);
            thinOut(lanes_[i], top + laneHeight);
            painter.setPen(QPen(look.curve, 0));
            painter.drawLines(lines_);
            painter.drawPixmapFragments(fragments_.data(), static_cast<int>(fragments_.size()), sprite_);
        }
    }

private:
    void thinOut(const std::vector<Key>& lane, double bottom) {
        lines_.clear();
        const Key* before = nullptr;
        fragments_.clear();
        double nextSprite = 0.0;
        for (std::size_t i = 0; i < lane.size();) {
            const double column = std::floor(lane[i].x * width);
            const Key* first = &lane[i];
            const Key* least = first;
            const Key* greatest = first;
            const Key* last = first;
            for (; i < lane.size() && std::floor(lane[i].x * width) == column; ++i) {
                last = &lane[i];
                if (last->y < least->y) least = last;
                if (last->y > greatest->y) greatest = last;
            }
            // One line down the column and one on to the next.
            const auto y = [bottom](const Key* key) { return bottom - key->y * laneHeight; };
            if (least != greatest) lines_.append(QLineF(column, y(least), column, y(greatest)));
            if (before) lines_.append(QLineF(before->x * width, y(before), first->x * width, y(first)));
            before = last;
            // Sprites are nine pixels wide: every fourth column has enough of them.
            if (column < nextSprite) continue;
            nextSprite = column + 4.0;
            for (const Key* key : {least, greatest}) {
                fragments_.push_back(QPainter::PixmapFragment::create(
                    QPointF(key->x * width, bottom - key->y * laneHeight), QRectF(0, 0, 16, 16)));
            }
        }
    }

    const std::vector<std::vector<Key>>& lanes_;
    QPixmap sprite_;
    QVector<QLineF> lines_;
    std::vector<QPainter::PixmapFragment> fragments_;
};

// What a widget needs to show a part of a picture.
class BlittingWidget : public QWidget {
public:
    explicit BlittingWidget(const QPixmap& picture) : picture_(picture) {
        setAttribute(Qt::WA_OpaquePaintEvent);
        resize(picture.size());
    }

protected:
    void paintEvent(QPaintEvent* event) override {
        QPainter painter(this);
        painter.drawPixmap(event->rect(), picture_, event->rect());
    }

private:
    const QPixmap& picture_;
};

class NoView final : public SurfaceView {
    void needsDisplay(SurfaceArea, const SurfaceRect&) override {}
    void scrolled(SurfaceArea) override {}
    void resized(SurfaceArea) override {}
    void reflectScrolledClipView(SurfaceArea) override {}
    void lanesMoved(bool) override {}
    void laneResized(MarvoTimelineTrackProtocol&) override {}
    void displayActualTime() override {}
};

// A window that is not exposed paints nothing, and would look fast.
void show(Program& program, QWidget& widget) {
    widget.show();
    for (int i = 0; i < 100 && !(widget.windowHandle() && widget.windowHandle()->isExposed()); ++i)
        QApplication::processEvents();
    program.must("the window is exposed", widget.windowHandle()->isExposed());
}

void painting(Program& program, int keyframes, double limit) {
    const auto lanes = makeKeys(keyframes);
    const auto stage = std::make_unique<Stage>(projectOf(lanes));
    MarvoTimelineController& composition = stage->application.compositions.at(0);
    const SurfacePreferences preferences;
    NoView noView;
    TimelineSurface surface(composition, stage->application.services(), preferences, noView);
    ui::LanesView view(composition, nullptr);
    view.resize(width, height);
    surface.setViewport({{width, height}, 330.0, 44.0, 26.0});
    view.setSurface(&surface);
    std::size_t shown = 0;
    for (const auto& track : composition.tracks.all()) shown += track->keyframeCount();
    program.must("every keyframe is there", shown == static_cast<std::size_t>(keyframes));
    program.must("twenty lanes can be seen", surface.lanes().lanes().size() == laneCount);
    show(program, view);

    QPixmap target(width, height);
    BarePainting bare(lanes);
    Contest contest;
    contest
        .add("the lanes, painted anew and shown",
             [&](std::size_t rounds) {
                 for (std::size_t i = 0; i < rounds; ++i) {
                     view.contentChanged();
                     view.repaint();
                 }
             })
        .add("thinned lines and sprites, and the picture shown", [&](std::size_t rounds) {
            QPixmap screen(width, height);
            for (std::size_t i = 0; i < rounds; ++i) {
                bare.paint(target);
                QPainter(&screen).drawPixmap(0, 0, target);
            }
        });
    contest.run(program.sized<std::size_t>(41, 15), 40ms);
    contest.print();
    program.atMost(std::to_string(keyframes) + " keyframes, to bare painting", contest.ratio(0, 1), limit);
}

void playhead(Program& program) {
    const auto lanes = makeKeys(10'000);
    const auto stage = std::make_unique<Stage>(projectOf(lanes));
    MarvoTimelineController& composition = stage->application.compositions.at(0);
    const SurfacePreferences preferences;
    NoView noView;
    TimelineSurface surface(composition, stage->application.services(), preferences, noView);
    ui::LanesView view(composition, nullptr);
    view.resize(width, height);
    surface.setViewport({{width, height}, 330.0, 44.0, 26.0});
    view.setSurface(&surface);
    show(program, view);
    view.repaint();
    const QPixmap picture = view.grab();
    BlittingWidget blit(picture);
    show(program, blit);
    const SurfaceRect column = surface.markerColumn(SurfaceArea::lanes);
    const QRect part = ui::toQt(column).toAlignedRect().adjusted(-1, -1, 1, 1).intersected(view.rect());
    Contest contest;
    contest
        .add("the playhead's column",
             [&](std::size_t rounds) {
                 for (std::size_t i = 0; i < rounds; ++i) view.repaint(part);
             })
        .add("one copy of it", [&](std::size_t rounds) {
            for (std::size_t i = 0; i < rounds; ++i) blit.repaint(part);
        });
    contest.run(program.sized<std::size_t>(101, 41), 5ms);
    contest.print("ns");
    program.atMost("the playhead's column, to one copy of it", contest.ratio(0, 1), 2.0);
}

} // namespace

int main(int argc, char** argv) {
    Program program(argc, argv);
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    ui::applyLook(application, ui::Variant::dark);
    program.part("10,000 keyframes", [&] { painting(program, 10'000, 2.0); });
    program.part("100,000 keyframes", [&] { painting(program, 100'000, 2.5); });
    program.part("playhead", [&] { playhead(program); });
    return program.finish();
}
