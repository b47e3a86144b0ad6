#include "BareApplication.h"
#include "Show.h"

#include "app/RangeSelectPanel.h"

#include <gtest/gtest.h>

using namespace marvo;
using namespace marvo::testing;

namespace {

class RangePanel : public ::testing::Test {
protected:
    RangePanel() { application.selected = &show.composition(); }
    void playheadTo(std::int64_t frame) { show.composition().transport.markerDraggedToTime(Frame(frame)); }
    std::vector<std::int64_t> selectedTimes() {
        std::vector<std::int64_t> times;
        for (const KeyframePlace& place : show.track().keyframes().selectedKeyframes())
            times.push_back(place.time.value);
        return times;
    }

    Show show{projectOf({compositionOf("One", 30, 200.0f,
                                       {oscTrack("A", "/a", {{30, 1}, {150, 2}, {4000, 3}, {5000, 4}})})})};
    BareApplication application;
    RangeSelectPanel panel{application};
};

} // namespace

TEST_F(RangePanel, TakesBothEndsFromThePlayheadAndShowsThemInFourNumbers) {
    playheadTo(150);
    panel.setRangeStartFromPlayhead();
    playheadTo(4017);
    panel.setRangeEndFromPlayhead();
    EXPECT_EQ(panel.displayRangeStartTime(), (RangeSelectPanel::TimeTexts{"0", "0", "5", "0"}));
    EXPECT_EQ(panel.displayRangeEndTime(), (RangeSelectPanel::TimeTexts{"0", "2", "13", "27"}));
    show.track().setSelected(true);
    panel.selectRange();
    EXPECT_EQ(selectedTimes(), (std::vector<std::int64_t>{150, 4000}));
    EXPECT_EQ(application.beeps, 0);
}

TEST_F(RangePanel, BeepsForARangeThatEndsWhereItStartsOrBefore) {
    show.track().setSelected(true);
    panel.selectRange();
    EXPECT_EQ(application.beeps, 1);
    playheadTo(200);
    panel.setRangeStartFromPlayhead();
    panel.selectRange();
    EXPECT_EQ(application.beeps, 2);
    EXPECT_TRUE(selectedTimes().empty());
}

TEST_F(RangePanel, BeepsWithoutASelectedComposition) {
    application.selected = nullptr;
    panel.setRangeStartFromPlayhead();
    panel.setRangeEndFromPlayhead();
    panel.updateRangeDisplays();
    panel.selectRange();
    EXPECT_EQ(application.beeps, 4);
}
