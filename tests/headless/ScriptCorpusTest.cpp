// Everything the fuzzer of scripts starts from, replayed without it.
#include "ScriptRules.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace marvo {
namespace {

std::string contentsOf(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

TEST(ScriptCorpus, HoldsNoTextThatIsReadWrongly) {
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(MARVO_SOURCE_DIR "/fuzz/corpus/script")) {
        EXPECT_EQ(testing::brokenScriptRule(contentsOf(entry.path())), "") << entry.path();
        ++count;
    }
    EXPECT_GE(count, 12);
}

TEST(ScriptCorpus, NoBeginningOfAScriptIsReadWrongly) {
    for (const auto& entry : std::filesystem::directory_iterator(MARVO_SOURCE_DIR "/fuzz/corpus/script")) {
        const std::string text = contentsOf(entry.path());
        for (std::size_t size = 0; size < text.size(); ++size) {
            ASSERT_EQ(testing::brokenScriptRule(text.substr(0, size)), "")
                << entry.path() << " cut behind " << size;
        }
    }
}

} // namespace
} // namespace marvo
