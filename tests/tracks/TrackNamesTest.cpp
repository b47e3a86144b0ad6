#include "tracks/TrackNames.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using marvo::availableTrackName;
using marvo::isAvailableTrackName;

namespace {
const std::vector<std::string> names = {"Fog", "Beam", "Fog (copy)"};
}

TEST(TrackNames, RefusesAnEmptyName) {
    EXPECT_FALSE(isAvailableTrackName("", names, 0, false));
    EXPECT_FALSE(isAvailableTrackName("", {}, std::nullopt, false));
}

TEST(TrackNames, LetsATrackKeepItsOwnName) {
    EXPECT_TRUE(isAvailableTrackName("Fog", names, 0, false));
    EXPECT_FALSE(isAvailableTrackName("Fog", names, 1, false));
    EXPECT_FALSE(isAvailableTrackName("Fog", names, std::nullopt, false));
    EXPECT_FALSE(isAvailableTrackName("Fog", names, 0, true)) << "not even its own";
}

TEST(TrackNames, TellsNamesApartByEveryCharacter) {
    EXPECT_TRUE(isAvailableTrackName("fog", names, 1, true));
    EXPECT_TRUE(isAvailableTrackName("Fog ", names, 1, true));
}

TEST(TrackNames, AppendsCopyUntilANameIsFree) {
    EXPECT_EQ(availableTrackName("Smoke", names, std::nullopt), "Smoke");
    EXPECT_EQ(availableTrackName("Beam", names, std::nullopt), "Beam (copy)");
    EXPECT_EQ(availableTrackName("Fog", names, std::nullopt), "Fog (copy) (copy)");
    EXPECT_EQ(availableTrackName("Fog", names, 0), "Fog");
    EXPECT_EQ(availableTrackName("", names, std::nullopt), " (copy)");
}
