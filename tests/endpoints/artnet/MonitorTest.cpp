#include "ArtNetWorld.h"

#include "endpoints/artnet/MarvoDIPSWitchManager.h"

#include <gmock/gmock.h>

namespace marvo {
namespace {

using testing::ElementsAre;

struct Grid {
    VirtualClock clock;
    MainThread main{clock};
    std::vector<DMXMonitorRect> drawn;
    MarvoDMXMonitorView view{main, 321, 161, [this](const DMXMonitorRect& rect) { drawn.push_back(rect); }};
};

TEST(DMXMonitor, ShowsTheChannelsInReadingOrder) {
    Grid grid;
    const auto& cells = grid.view.cells();
    ASSERT_EQ(cells.size(), 17u * 33u);
    for (int channel = 1; channel <= 512; ++channel) {
        const MarvoDMXMonitorViewCell& cell = cells[static_cast<std::size_t>(channel - 1)];
        ASSERT_EQ(cell.index, channel);
        const DMXMonitorRect place{(channel - 1) % 32 * 10.0, (channel - 1) / 32 * 10.0, 10, 10};
        ASSERT_EQ(cell.frame, place) << channel;
    }
}

TEST(DMXMonitor, KeepsTheCellsBeyondTheEdgesBehindTheChannels) {
    Grid grid;
    const auto& cells = grid.view.cells();
    for (std::size_t place = 512; place < cells.size(); ++place)
        EXPECT_TRUE(cells[place].frame.x >= 320 || cells[place].frame.y >= 160) << place;
}

TEST(DMXMonitor, RedrawsWhatDiffersAndNothingElse) {
    Grid grid;
    std::array<std::uint8_t, 512> bytes{};
    grid.view.setDataToDisplay(bytes.data());
    grid.main.pump();
    EXPECT_TRUE(grid.drawn.empty());
    bytes[0] = 255;
    bytes[33] = 51;
    grid.view.setDataToDisplay(bytes.data());
    grid.main.pump();
    EXPECT_THAT(grid.drawn, ElementsAre(DMXMonitorRect{0, 0, 20, 20}));
    EXPECT_EQ(grid.view.cells()[0].value.get(), 255.0f);
    EXPECT_EQ(grid.view.cells()[0].bar(), (DMXMonitorRect{0.5, 0.5, 9, 9}));
    const DMXMonitorRect bar = grid.view.cells()[33].bar();
    EXPECT_DOUBLE_EQ(bar.height, 9.0 * 51 / 255);
    EXPECT_DOUBLE_EQ(bar.y + bar.height, 19.5) << "bars stand at the bottom";
    EXPECT_EQ(grid.view.cellsWithin({15, 15, 1, 1}).size(), 1u);
    EXPECT_EQ(grid.view.cellsWithin({5, 5, 10, 10}).size(), 4u);
}

TEST(DMXMonitor, IsEmptyAtOnceWhenItIsCleared) {
    Grid grid;
    std::array<std::uint8_t, 512> bytes{};
    bytes[5] = 9;
    grid.view.setDataToDisplay(bytes.data());
    grid.view.clearMonitor();
    for (const auto& cell : grid.view.cells()) EXPECT_EQ(cell.value.get(), 0.0f);
    grid.main.pump();
    EXPECT_EQ(grid.drawn.back(), (DMXMonitorRect{0, 0, 321, 161}));
    grid.view.setDataToDisplay(bytes.data());
    EXPECT_EQ(grid.view.cells()[5].value.get(), 9.0f);
}

TEST(DIPSwitches, AddUpFromTheFirst) {
    MarvoDIPSWitchManager dip(9);
    EXPECT_EQ(dip.calculatedChannel(), "-");
    dip.switchChanged(0, true);
    EXPECT_EQ(dip.calculatedChannel(), "1");
    dip.switchChanged(8, true);
    dip.switchChanged(2, true);
    EXPECT_EQ(dip.calculatedChannel(), "261");
    for (const int index : {0, 2, 8}) dip.switchChanged(index, false);
    EXPECT_EQ(dip.calculatedChannel(), "-");
}

TEST(DIPSwitches, MayBeAnyNumber) {
    MarvoDIPSWitchManager dip(63);
    dip.switchChanged(62, true);
    EXPECT_EQ(dip.calculatedChannel(), "4611686018427387904");
    dip.switchChanged(63, true);
    dip.switchChanged(-1, true);
    EXPECT_EQ(dip.calculatedChannel(), "4611686018427387904");
    EXPECT_EQ(MarvoDIPSWitchManager(0).calculatedChannel(), "-");
}

} // namespace
} // namespace marvo
