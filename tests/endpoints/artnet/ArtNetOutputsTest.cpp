#include "ArtNetWorld.h"

#include <gmock/gmock.h>

namespace marvo {
namespace {

using testing::ElementsAre;

struct ChangesOfOutputs {
    explicit ChangesOfOutputs(ArtNetWorld& world)
        : observation(world.center.observe(world.notifications.artNetOutputsChanged, [this] { ++count; })) {}
    int count = 0;
    Observation observation;
};

std::size_t rowOf(const ArtNetWorld& world, std::string_view name) {
    const auto& rows = world.manager.outputs().rows();
    for (std::size_t row = 0; row < rows.size(); ++row) {
        if (rows[row].name == name) return row;
    }
    return rows.size();
}

TEST(ArtNetOutputs, BeginWithOneOnUniverseZero) {
    ArtNetWorld world;
    EXPECT_THAT(world.outputNames(), ElementsAre("Marvo Art-Net Out 1 (0-0)"));
}

TEST(ArtNetOutputs, TakeTheLowestFreeUniverseFromOneUpward) {
    ArtNetWorld world;
    const ChangesOfOutputs changes(world);
    world.manager.addArtNetOutput();
    world.manager.addArtNetOutput();
    EXPECT_EQ(changes.count, 2);
    // Outputs on 1 and 2 and nothing on 0.
    world.manager.removeArtNetOutput(rowOf(world, "Marvo Art-Net Out 1"));
    world.manager.addArtNetOutput();
    EXPECT_THAT(world.outputNames(), ElementsAre("Marvo Art-Net Out 2 (0-1)", "Marvo Art-Net Out 3 (0-2)",
                                                 "Marvo Art-Net Out 4 (0-3)"));
}

TEST(ArtNetOutputs, AreAddedUntilAllUniversesAreInUseAndThenSilentlyNoMore) {
    ArtNetWorld world;
    for (int count = 0; count < 300; ++count) world.manager.addArtNetOutput();
    EXPECT_EQ(world.manager.outputs().count(), 256u);
    EXPECT_EQ(world.beeps, 0);
    EXPECT_TRUE(world.alerts.empty());
}

TEST(ArtNetOutputs, SkipNamesThatAreTaken) {
    ArtNetWorld world;
    EXPECT_TRUE(world.manager.controlTextShouldEndEditing(0, 0, "Marvo Art-Net Out 2"));
    world.manager.addArtNetOutput();
    EXPECT_NE(world.manager.outputs().find("Marvo Art-Net Out 3"), nullptr);
    EXPECT_EQ(world.manager.nextAvailableArtNetOutNameWithStart(1), "Marvo Art-Net Out 1");
}

TEST(ArtNetOutputs, AreKeptWhenThereIsOnlyOneOrNoneIsSelected) {
    ArtNetWorld world;
    world.manager.removeArtNetOutput(0);
    EXPECT_EQ(world.beeps, 1);
    world.manager.addArtNetOutput();
    world.manager.removeArtNetOutput(std::nullopt);
    EXPECT_EQ(world.beeps, 2);
    EXPECT_EQ(world.manager.outputs().count(), 2u);
    world.manager.removeArtNetOutput(0);
    EXPECT_EQ(world.beeps, 2);
    EXPECT_EQ(world.manager.outputs().count(), 1u);
}

TEST(ArtNetOutputs, ShowSubnetAndUniverseInTheirNames) {
    ArtNetWorld world;
    EXPECT_TRUE(world.manager.controlTextShouldEndEditing(0, 1, "1"));
    EXPECT_TRUE(world.manager.controlTextShouldEndEditing(0, 2, "2"));
    EXPECT_EQ(world.manager.outputs().rows()[0].universe, 18);
    EXPECT_THAT(world.outputNames(), ElementsAre("Marvo Art-Net Out 1 (1-2)"));
    EXPECT_EQ(world.manager.universeOfNodeWithDisplayedName("Marvo Art-Net Out 1 (1-2)"), 18);
    EXPECT_EQ(world.manager.universeOfNodeWithDisplayedName("Marvo Art-Net Out 1"), 0);
    // Each column leaves the other half alone.
    EXPECT_TRUE(world.manager.controlTextShouldEndEditing(0, 1, "15"));
    EXPECT_EQ(world.manager.outputs().rows()[0].universe, 242);
    EXPECT_TRUE(world.manager.controlTextShouldEndEditing(0, 2, "0"));
    EXPECT_EQ(world.manager.outputs().rows()[0].universe, 240);
}

TEST(ArtNetOutputs, RefuseNumbersThatAreNoSubnetOrUniverse) {
    ArtNetWorld world;
    const ChangesOfOutputs changes(world);
    for (const int column : {1, 2}) {
        for (const char* text : {"16", "-1", "", "a", "1.5", "3x", "99999999999999999999"})
            EXPECT_FALSE(world.manager.controlTextShouldEndEditing(0, column, text)) << text;
    }
    EXPECT_FALSE(world.manager.controlTextShouldEndEditing(5, 1, "1"));
    EXPECT_FALSE(world.manager.controlTextShouldEndEditing(0, 3, "1"));
    EXPECT_EQ(changes.count, 0);
    EXPECT_THAT(world.outputNames(), ElementsAre("Marvo Art-Net Out 1 (0-0)"));
}

TEST(ArtNetOutputs, RefuseTheNameOfAnotherWithoutABeep) {
    ArtNetWorld world;
    world.manager.addArtNetOutput();
    const ChangesOfOutputs changes(world);
    EXPECT_FALSE(world.manager.controlTextShouldEndEditing(0, 0, "Marvo Art-Net Out 2"));
    EXPECT_TRUE(world.manager.controlTextShouldEndEditing(0, 0, "Marvo Art-Net Out 1")) << "unchanged";
    EXPECT_EQ(changes.count, 0);
    EXPECT_EQ(world.beeps, 0);
    EXPECT_TRUE(world.manager.controlTextShouldEndEditing(0, 0, "Front"));
    EXPECT_EQ(changes.count, 1);
    EXPECT_TRUE(world.manager.isAvailableOutputName("front")) << "names are told apart by case";
}

TEST(ArtNetOutputs, StandInTheTableByNumberAndInTracksByText) {
    ArtNetWorld world;
    for (int count = 0; count < 10; ++count) world.manager.addArtNetOutput();
    const auto& rows = world.manager.outputs().rows();
    EXPECT_EQ(rows[1].name, "Marvo Art-Net Out 2");
    EXPECT_EQ(rows[10].name, "Marvo Art-Net Out 11");
    EXPECT_EQ(world.outputNames()[1], "Marvo Art-Net Out 10 (0-9)");
}

} // namespace
} // namespace marvo
