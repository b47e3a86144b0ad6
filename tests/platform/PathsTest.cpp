#include "platform/Paths.h"

#include "TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace marvo {
namespace {

using testing::HasSubstr;

EnvironmentLookup environment(std::map<std::string, std::string> variables) {
    return [variables](const char* name) -> std::optional<std::string> {
        const auto found = variables.find(name);
        if (found == variables.end()) return std::nullopt;
        return found->second;
    };
}

TEST(Paths, LieBelowTheHomeFolderByDefault) {
    const Paths paths = Paths::fromEnvironment(environment({{"HOME", "/home/anna"}}));
    EXPECT_EQ(paths.config, "/home/anna/.config/Marvo");
    EXPECT_EQ(paths.data, "/home/anna/.local/share/Marvo");
    EXPECT_EQ(paths.state, "/home/anna/.local/state/Marvo");
    EXPECT_EQ(paths.presets(), "/home/anna/.local/share/Marvo/Presets");
    EXPECT_EQ(paths.preferenceFile(), "/home/anna/.config/Marvo/preferences.plist");
}

TEST(Paths, FollowTheBaseFoldersOfTheEnvironment) {
    const Paths paths = Paths::fromEnvironment(environment({{"HOME", "/home/anna"},
                                                            {"XDG_CONFIG_HOME", "/c/"},
                                                            {"XDG_DATA_HOME", "/d"},
                                                            {"XDG_STATE_HOME", "/s//"}}));
    EXPECT_EQ(paths.config, "/c/Marvo");
    EXPECT_EQ(paths.data, "/d/Marvo");
    EXPECT_EQ(paths.state, "/s/Marvo");
}

TEST(Paths, AnEmptyOrRelativeBaseFolderCountsAsNotSet) {
    const Paths paths = Paths::fromEnvironment(
        environment({{"HOME", "/home/anna/"}, {"XDG_CONFIG_HOME", ""}, {"XDG_DATA_HOME", "relative/data"}}));
    EXPECT_EQ(paths.config, "/home/anna/.config/Marvo");
    EXPECT_EQ(paths.data, "/home/anna/.local/share/Marvo");
}

TEST(Paths, WithoutAHomeInTheEnvironmentTheUserDatabaseTells) {
    const passwd* user = ::getpwuid(::getuid());
    ASSERT_TRUE(user);
    const std::string home = user->pw_dir;
    EXPECT_EQ(Paths::fromEnvironment(environment({})).config, home + "/.config/Marvo");
    EXPECT_EQ(Paths::fromEnvironment(environment({{"HOME", "here"}})).config, home + "/.config/Marvo");
}

TEST(Paths, AHomeAtTheRootMakesNoDoubleSlash) {
    EXPECT_EQ(Paths::fromEnvironment(environment({{"HOME", "/"}})).config, "/.config/Marvo");
    EXPECT_EQ(expandTilde("~/show.mrv", environment({{"HOME", "/"}})), "/show.mrv");
    EXPECT_EQ(expandTilde("~", environment({{"HOME", "/"}})), "/");
}

TEST(Paths, OneFolderMayHoldEverything) {
    const Paths paths = Paths::below("/venue/run/../run2/");
    EXPECT_EQ(paths.config, "/venue/run2");
    EXPECT_EQ(paths.preferenceFile(), "/venue/run2/preferences.plist");
    EXPECT_EQ(paths.data, "/venue/run2/data");
    EXPECT_EQ(paths.presets(), "/venue/run2/data/Presets");
    EXPECT_EQ(paths.state, "/venue/run2/state");
    EXPECT_EQ(Paths::below("run").config, std::filesystem::current_path().string() + "/run");
}

TEST(Paths, ATildeStandsForTheHomeFolder) {
    const EnvironmentLookup anna = environment({{"HOME", "/home/anna"}});
    EXPECT_EQ(expandTilde("~", anna), "/home/anna");
    EXPECT_EQ(expandTilde("~/shows/a.mrv", anna), "/home/anna/shows/a.mrv");
    EXPECT_EQ(expandTilde("/a/~/b", anna), "/a/~/b");
    EXPECT_EQ(expandTilde("", anna), "");
    const passwd* root = ::getpwuid(0);
    ASSERT_TRUE(root);
    EXPECT_EQ(expandTilde("~" + std::string(root->pw_name) + "/a", anna), std::string(root->pw_dir) + "/a");
    EXPECT_EQ(expandTilde("~nobody-of-this-name/a", anna), "~nobody-of-this-name/a");
}

TEST(Paths, ReadTheEnvironmentOfTheProcess) {
    ::setenv("MARVO_TEST_VARIABLE", "value", 1);
    EXPECT_EQ(processEnvironment("MARVO_TEST_VARIABLE"), "value");
    ::unsetenv("MARVO_TEST_VARIABLE");
    EXPECT_EQ(processEnvironment("MARVO_TEST_VARIABLE"), std::nullopt);
}

TEST(Paths, FoldersAreMadeForThisUserAlone) {
    const TemporaryFolder folder;
    EXPECT_EQ(makeFolder(folder.file("a/b/c")), "");
    struct stat status {};
    ASSERT_EQ(::stat(folder.file("a/b").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0700u);
    EXPECT_EQ(makeFolder(folder.file("a/b/c/")), "") << "it is there already";
    folder.write("file", "");
    EXPECT_THAT(makeFolder(folder.file("file")), HasSubstr("is not a folder"));
    EXPECT_THAT(makeFolder(folder.file("file/below")),
                HasSubstr("the folder cannot be made: Not a directory"));
}

} // namespace
} // namespace marvo
