// What comes in.
#include "ArtNetWorld.h"

#include "endpoints/artnet/ArtNetInput.h"

#include <gmock/gmock.h>

namespace marvo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

struct Heard final : MarvoIncomingDMXHandler {
    std::vector<std::vector<DMXPair>> calls;
    void receivedDMX(std::span<const DMXPair> pairs) override {
        calls.emplace_back(pairs.begin(), pairs.end());
    }
};

struct Listening : ArtNetWorld {
    Listening() {
        begin();
        manager.inputSettingsChanged(true, 1, 2);
        manager.setIncomingDMXHandler(&heard);
        run(1);
    }
    ~Listening() { manager.setIncomingDMXHandler(nullptr); }

    void bring(std::vector<int> values, int sequence = 0, const char* from = "10.0.0.30", int universe = 18) {
        std::vector<std::byte> data;
        for (const int value : values) data.push_back(static_cast<std::byte>(value));
        transport.bring(
            ArtDmx{static_cast<std::uint8_t>(sequence), 0, static_cast<std::uint16_t>(universe), data}, from);
        run(1);
    }

    Heard heard;
};

TEST(ArtNetInput, BringsAllChannelsFirstAndThenWhatChanges) {
    Listening world;
    world.bring({0, 10, 20});
    world.bring({0, 10, 20});
    world.bring({0, 11, 20, 30});
    ASSERT_THAT(world.heard.calls, SizeIs(2));
    EXPECT_THAT(world.heard.calls[0], ElementsAre(DMXPair{0, 0}, DMXPair{1, 10}, DMXPair{2, 20}));
    EXPECT_THAT(world.heard.calls[1], ElementsAre(DMXPair{1, 11}, DMXPair{3, 30}));
}

TEST(ArtNetInput, ListensToItsUniverseOnly) {
    Listening world;
    world.bring({1}, 0, "10.0.0.30", 17);
    world.bring({1}, 0, "10.0.0.30", 18 + 256); // of another net
    EXPECT_THAT(world.heard.calls, IsEmpty());
    world.manager.inputSettingsChanged(true, 1, 1);
    world.bring({1}, 0, "10.0.0.30", 18);
    EXPECT_THAT(world.heard.calls, IsEmpty());
    world.bring({1}, 0, "10.0.0.30", 17);
    EXPECT_THAT(world.heard.calls, SizeIs(1));
}

TEST(ArtNetInput, ListensToNothingWhenItIsOff) {
    Listening world;
    world.manager.inputSettingsChanged(false, 1, 2);
    world.bring({1});
    EXPECT_THAT(world.heard.calls, IsEmpty());
}

TEST(ArtNetInput, DropsPacketsThatArriveLate) {
    Listening world;
    world.bring({1}, 250);
    world.bring({3}, 252);
    world.bring({2}, 251);
    world.bring({4}, 255);
    world.bring({5}, 1); // round
    world.bring({6}, 254);
    std::vector<int> values;
    for (const auto& call : world.heard.calls) values.push_back(call[0].value);
    EXPECT_THAT(values, ElementsAre(1, 3, 4, 5));
}

TEST(ArtNetInput, HearsSendersThatDoNotCountOrCountWrongly) {
    Listening world;
    for (const int value : {1, 2, 3}) world.bring({value}, 0);
    for (const int value : {4, 5}) world.bring({value}, 1);
    world.bring({6}, 200);
    world.bring({7}, 100); // begun anew
    EXPECT_THAT(world.heard.calls, SizeIs(7));
}

TEST(ArtNetInput, HearsOneSenderAtATimeUntilItIsSilent) {
    Listening world;
    world.bring({1}, 0, "10.0.0.30");
    world.bring({2}, 0, "10.0.0.31");
    EXPECT_THAT(world.heard.calls, SizeIs(1));
    world.run(2000);
    world.bring({1}, 0, "10.0.0.30");
    world.run(2000);
    world.bring({2}, 0, "10.0.0.31");
    EXPECT_THAT(world.heard.calls, SizeIs(1));
    world.run(600);
    world.bring({2}, 0, "10.0.0.31");
    EXPECT_THAT(world.heard.calls, SizeIs(2));
}

TEST(ArtNetInput, SurvivesAFloodWithoutGrowing) {
    Listening world;
    std::vector<std::byte> data(512);
    std::size_t count = 0;
    for (int millisecond = 0; millisecond < 500; ++millisecond) {
        for (int packet = 0; packet < 50; ++packet) {
            data[0] = static_cast<std::byte>(++count % 256);
            world.transport.bring(ArtDmx{0, 0, 18, data}, "10.0.0.30");
        }
        world.run(1);
    }
    EXPECT_TRUE(world.transport.isRead());
    ASSERT_FALSE(world.heard.calls.empty());
    EXPECT_EQ(world.heard.calls.back()[0].value, static_cast<int>(count % 256));
    for (std::size_t index = 1; index < world.heard.calls.size(); ++index)
        ASSERT_THAT(world.heard.calls[index], SizeIs(1));
}

TEST(DMXMonitor, ShowsWhatIsSentWhileItIsVisibleAndSomebodyListens) {
    ArtNetWorld world;
    MarvoDMXMonitorView view(world.main, 321, 161, {});
    world.manager.setMonitorView(&view);
    world.write(77, 1);
    world.manager.setMonitorVisible(true);
    world.manager.sendAllDMXData();
    EXPECT_EQ(view.cells()[0].value.get(), 0.0f) << "no network";
    world.begin({0});
    EXPECT_EQ(view.cells()[0].value.get(), 77.0f);
    world.manager.setMonitorVisible(false);
    world.write(78, 1);
    world.run(5);
    EXPECT_EQ(view.cells()[0].value.get(), 77.0f);
    world.manager.setMonitorVisible(true);
    world.run(5);
    EXPECT_EQ(view.cells()[0].value.get(), 78.0f);
    world.manager.dmxMonitorSettingsChanged(1, 2);
    EXPECT_EQ(view.cells()[0].value.get(), 0.0f);
    world.write(9, 1, 18);
    world.run(1);
    EXPECT_EQ(view.cells()[0].value.get(), 9.0f);
    world.manager.setMonitorView(nullptr);
}

TEST(DMXMonitor, ShowsNothingWithoutADeviceToSendTo) {
    ArtNetWorld world;
    MarvoDMXMonitorView view(world.main, 321, 161, {});
    world.manager.setMonitorView(&view);
    world.manager.setMonitorVisible(true);
    world.begin({5});
    world.write(77, 1);
    world.run(5);
    EXPECT_EQ(view.cells()[0].value.get(), 0.0f);
    world.manager.setMonitorView(nullptr);
}

} // namespace
} // namespace marvo
