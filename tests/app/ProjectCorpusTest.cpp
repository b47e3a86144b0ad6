#include "ProjectRules.h"

#include <gtest/gtest.h>
#include <iterator>

using namespace marvo;
using namespace marvo::testing;

TEST(ProjectCorpus, EveryProjectThatWasFoundIsLoadedOrRefusedAndSavedWhole) {
    std::size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(MARVO_SOURCE_DIR "/fuzz/corpus/project")) {
        std::ifstream file(entry.path(), std::ios::binary);
        const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
        EXPECT_EQ(playAnyProject(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()), "")
            << entry.path().filename();
        ++count;
    }
    EXPECT_GT(count, 15u);
}
