#include "platform/Log.h"
#include "platform/Text.h"

#include "Eventually.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

using namespace marvo;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

class CapturedLines final : public LogSink {
public:
    void write(std::string_view line) override { lines.emplace_back(line); }
    std::string contents(std::size_t) override { return text; }

    std::vector<std::string> lines;
    std::string text;
};

struct LogTest : testing::Test {
    CapturedLines sink;
    VirtualClock clock;
    Log log{sink, clock, 5};
};

constexpr std::size_t everything = std::numeric_limits<std::size_t>::max();

// The wall clock of the file tests, which the sink's thread reads.
std::atomic<std::int64_t> wallSeconds{0};

struct LogFileTest : testing::Test {
    LogFileTest() {
        char name[] = "/tmp/marvo-log-XXXXXX";
        folder = mkdtemp(name);
        wallSeconds = 1'000'000;
    }
    ~LogFileTest() override { std::filesystem::remove_all(folder); }

    LogFileOptions options() const {
        return {folder, false, 3600, [] { return wallSeconds.load(); }};
    }
    std::vector<std::string> files() const {
        std::vector<std::string> names;
        for (const auto& each : std::filesystem::directory_iterator(folder))
            names.push_back(each.path().filename().string());
        return names;
    }

    std::filesystem::path folder;
};

} // namespace

TEST_F(LogTest, SaysLinesAsTheyAre) {
    log.log("::: Marvo starting");
    marvo::log(&log, "load project: %s {} \xc3\xa4");
    marvo::log(nullptr, "a log that is off");
    EXPECT_THAT(sink.lines, ElementsAre("::: Marvo starting", "load project: %s {} \xc3\xa4"));
}

TEST_F(LogTest, SaysARecurringTroubleOnceAndItsEndOnce) {
    EXPECT_TRUE(log.logOnce("port-7000", "cannot send to port 7000"));
    EXPECT_FALSE(log.logOnce("port-7000", "cannot send to port 7000"));
    EXPECT_TRUE(log.logOnce("port-7001", "cannot send to port 7001"));
    EXPECT_FALSE(log.logOnce("port-7000", "cannot send to port 7000"));
    EXPECT_TRUE(log.forget("port-7000", "port 7000 is back"));
    EXPECT_FALSE(log.forget("port-7000", "port 7000 is back"));
    EXPECT_TRUE(log.logOnce("port-7000", "cannot send to port 7000"));
    EXPECT_TRUE(log.forget("port-7001"));
    EXPECT_THAT(sink.lines, ElementsAre("cannot send to port 7000", "cannot send to port 7001",
                                        "port 7000 is back (it came 3 times)", "cannot send to port 7000"));
}

TEST_F(LogTest, CutsAFloodAndSaysHowMuch) {
    for (int each = 0; each < 100; ++each) log.log("again");
    EXPECT_EQ(sink.lines.size(), 5u);
    clock.advance(Duration::ofMilliseconds(999));
    log.log("still the same second");
    EXPECT_EQ(sink.lines.size(), 5u);
    clock.advance(Duration::ofMilliseconds(1));
    log.log("calm");
    log.log("calmer");
    ASSERT_EQ(sink.lines.size(), 8u);
    EXPECT_EQ(sink.lines[5], "(96 lines left out)");
    EXPECT_EQ(sink.lines[6], "calm");
    EXPECT_EQ(sink.lines[7], "calmer");
}

TEST_F(LogTest, KeepsItsWholeTextUpToTheAskedSize) {
    sink.text = "abcdef";
    EXPECT_EQ(log.logFileContents(7), "abcdef");
    EXPECT_EQ(log.logFileContents(6), "abcdef");
}

TEST_F(LogTest, DropsTheLastCharacterOfATextThatIsTooLong) {
    sink.text = "abcdef";
    EXPECT_EQ(log.logFileContents(5), "abcde");
    EXPECT_EQ(log.logFileContents(2), "de");
    EXPECT_EQ(log.logFileContents(0), "");
}

TEST_F(LogTest, CountsCharactersNotBytes) {
    sink.text = "a\xc3\xa4\xe2\x82\xac!?"; // a, a umlaut, euro sign, ! and ?
    EXPECT_EQ(log.logFileContents(5), sink.text);
    EXPECT_EQ(log.logFileContents(3), "\xc3\xa4\xe2\x82\xac!");
    EXPECT_EQ(log.logFileContents(2), "\xe2\x82\xac!");
}

TEST_F(LogFileTest, WritesLinesToTheFile) {
    const auto sink = makeLogFileSink(options());
    sink->write("first {} %s");
    sink->write("second");
    const std::string text = sink->contents(everything);
    EXPECT_THAT(text, HasSubstr("first {} %s\n"));
    EXPECT_LT(text.find("first"), text.find("second"));
    EXPECT_THAT(files(), ElementsAre("marvo-1000000.log"));
}

TEST_F(LogFileTest, OfALongLogTheEndIsReadAndNoHalfCharacter) {
    const auto sink = makeLogFileSink(options());
    for (int i = 0; i < 1000; ++i) sink->write("Zeile \u00fc\u00fc\u00fc " + std::to_string(i));
    std::string all;
    ASSERT_TRUE(eventually([&] {
        all = sink->contents(everything);
        return all.ends_with("999\n");
    }));
    for (std::size_t bytes = 40; bytes < 80; ++bytes) {
        const std::string end = sink->contents(bytes);
        EXPECT_GE(end.size(), bytes);
        EXPECT_LT(end.size(), bytes + 4);
        EXPECT_TRUE(all.ends_with(end));
        EXPECT_TRUE(isValidUtf8(end));
    }
}

TEST_F(LogFileTest, BeginsANewFileEachHourAndKeepsOne) {
    const auto sink = makeLogFileSink(options());
    sink->write("old");
    ASSERT_THAT(sink->contents(everything), HasSubstr("old"));
    wallSeconds += 3599;
    sink->write("late");
    EXPECT_THAT(sink->contents(everything), HasSubstr("old"));
    wallSeconds += 1;
    sink->write("new");
    const std::string text = sink->contents(everything);
    EXPECT_THAT(text, HasSubstr("new"));
    EXPECT_THAT(text, Not(HasSubstr("old")));
    EXPECT_THAT(files(), ElementsAre("marvo-1003600.log"));
}

TEST_F(LogFileTest, GoesOnInTheSameFileAfterARestartWithinTheHour) {
    makeLogFileSink(options())->write("before");
    wallSeconds += 100;
    {
        const auto sink = makeLogFileSink(options());
        sink->write("after");
        EXPECT_THAT(sink->contents(everything), testing::AllOf(HasSubstr("before"), HasSubstr("after")));
    }
    wallSeconds += 86'400;
    const auto sink = makeLogFileSink(options());
    sink->write("next day");
    EXPECT_THAT(sink->contents(everything), Not(HasSubstr("before")));
    EXPECT_EQ(files().size(), 1u);
}

TEST_F(LogFileTest, LeavesTheFilesOfOthersAlone) {
    std::ofstream(folder / "notes.txt") << "mine";
    std::ofstream(folder / "marvo-crash.log") << "mine too";
    const auto sink = makeLogFileSink(options());
    sink->write("line");
    EXPECT_THAT(sink->contents(everything), Not(HasSubstr("mine")));
    EXPECT_EQ(files().size(), 3u);
}

TEST_F(LogFileTest, EndsWithEverythingWritten) {
    {
        const auto sink = makeLogFileSink(options());
        for (int each = 0; each < 1000; ++each) sink->write("line " + std::to_string(each));
    }
    std::ifstream file(folder / "marvo-1000000.log");
    std::string line;
    int count = 0;
    while (std::getline(file, line)) ++count;
    EXPECT_EQ(count, 1000);
}

TEST_F(LogFileTest, GoesOnWithoutAFolder) {
    std::ofstream(folder / "file") << "in the way";
    LogFileOptions blocked = options();
    blocked.folder = folder / "file" / "below";
    const auto sink = makeLogFileSink(blocked);
    sink->write("nowhere");
    EXPECT_EQ(sink->contents(everything), "");
}
