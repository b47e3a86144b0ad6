// The journal as its own tool tells it.
#include "platform/SystemLog.h"

#include "CommaLocale.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

using namespace marvo;
using namespace std::string_literals;

namespace {

struct JournalTest : testing::Test {
    JournalTest() {
        std::string name = (std::filesystem::temp_directory_path() / "marvo-journal-XXXXXX").string();
        folder = ::mkdtemp(name.data());
    }
    ~JournalTest() override { std::filesystem::remove_all(folder); }
    // A tool that notes what it was asked for, and tells what stands in a file.
    std::string tool(const std::string& tells, const std::string& last = "") const {
        std::ofstream(folder + "/export", std::ios::binary) << tells;
        const std::string path = folder + "/tool";
        std::ofstream(path) << "#!/bin/sh\nprintf '%s\\n' \"$@\" > " << folder << "/asked\ncat " << folder
                            << "/export\n"
                            << last;
        std::filesystem::permissions(path, std::filesystem::perms::owner_all);
        return path;
    }
    std::string asked() const {
        std::ostringstream text;
        text << std::ifstream(folder + "/asked").rdbuf();
        return text.str();
    }
    static std::vector<std::string> messages(SystemLog& log, double since) {
        std::vector<std::string> texts;
        log.walkBack("no-such-program", since, [&](const SystemMessage& message) {
            texts.push_back(message.text);
            return true;
        });
        return texts;
    }
    std::string folder;
};

constexpr Duration patience = Duration::ofSeconds(60);
const std::string twoEntries =
    "__REALTIME_TIMESTAMP=1700000002500000\nMESSAGE=later\n_COMM=marvo\n\n"
    "__REALTIME_TIMESTAMP=1700000001000000\nMESSAGE\n\x05\0\0\0\0\0\0\0a\nb=c\n\n"s;

} // namespace

TEST_F(JournalTest, MessagesComeNewestFirstAlsoThoseOfSeveralLines) {
    const auto log = makeJournal({tool(twoEntries), patience});
    EXPECT_EQ(messages(*log, 1.7e9), (std::vector<std::string>{"later", "a\nb=c"}));
}

TEST_F(JournalTest, TheProgramAndTheMomentAreAskedFor) {
    const auto log = makeJournal({tool(""), patience});
    EXPECT_TRUE(messages(*log, 1700000000.25).empty());
    EXPECT_NE(asked().find("_COMM=no-such-program\n"), std::string::npos) << asked();
    EXPECT_NE(asked().find("--since=@1700000000.250000\n"), std::string::npos) << asked();
    EXPECT_NE(asked().find("--reverse\n"), std::string::npos) << asked();
}

TEST_F(JournalTest, ALanguageWithADecimalCommaAsksTheSame) {
    const CommaLocale german;
    ASSERT_TRUE(CommaLocale::isSet());
    const auto log = makeJournal({tool(""), patience});
    messages(*log, 1700000000.25);
    EXPECT_NE(asked().find("--since=@1700000000.250000\n"), std::string::npos) << asked();
}

TEST_F(JournalTest, WhoHasEnoughIsToldNoMore) {
    const auto log = makeJournal({tool(twoEntries), patience});
    int told = 0;
    log->walkBack("marvo", 0.0, [&](const SystemMessage&) { return ++told < 1; });
    EXPECT_EQ(told, 1);
}

TEST_F(JournalTest, WhereThereIsNoJournalThereAreNoMessages) {
    EXPECT_TRUE(messages(*makeJournal({"no-such-tool-on-this-machine"}), 0.0).empty());
    EXPECT_TRUE(messages(*makeJournal(), 1.7e9).empty());
}

TEST_F(JournalTest, AToolThatDoesNotEndIsNotWaitedForLong) {
    const auto log = makeJournal({tool(twoEntries, "exec sleep 60\n"), Duration::ofSeconds(4)});
    const MonotonicClock clock;
    const MonotonicTime began = clock.now();
    EXPECT_EQ(messages(*log, 0.0).size(), 2U);
    EXPECT_LT(clock.now() - began, Duration::ofSeconds(20));
}

TEST_F(JournalTest, AnEntryThatIsCutShortIsNone) {
    for (std::size_t size = 0; size < twoEntries.size(); ++size) {
        const std::string cut = twoEntries.substr(0, size);
        std::string_view rest = cut;
        int entries = 0;
        while (takeJournalEntry(rest)) ASSERT_LE(++entries, 2);
    }
    const std::string tooLong = "MESSAGE\n\xff\xff\xff\xff\xff\xff\xff\xff"s + "abc\n\n";
    std::string_view rest = tooLong;
    EXPECT_FALSE(takeJournalEntry(rest));
}
