// What is told of a run that went wrong, in texts and in files.
#include "app/Reports.h"
#include "app/CrashReporter.h"

#include "Eventually.h"
#include "platform/Dates.h"
#include "platform/Paths.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

using namespace marvo;

namespace {

class KeptLines final : public LogSink {
public:
    void write(std::string_view line) override {
        const std::lock_guard hold(lock);
        text += std::string(line) + "\n";
    }
    std::string contents(std::size_t) override {
        const std::lock_guard hold(lock);
        return text;
    }
    std::mutex lock;
    std::string text;
};

class Journalled final : public SystemLog {
public:
    void walkBack(const std::string& programName, double since,
                  const std::function<bool(const SystemMessage&)>& more) override {
        asked = programName;
        for (const SystemMessage& message : newestFirst) {
            ++walked;
            if (message.time < since || !more(message)) return;
        }
    }
    std::vector<SystemMessage> newestFirst;
    int walked = 0;
    std::string asked;
};

struct ReportsTest : testing::Test {
    static std::string newFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "marvo-reports-XXXXXX").string();
        return ::mkdtemp(name.data());
    }
    ReportsTest() { preferences.set("compFPS", PropertyList(std::int64_t{25})); }
    ~ReportsTest() override { std::filesystem::remove_all(folder); }

    static std::string contents(const std::string& path) {
        std::ostringstream text;
        text << std::ifstream(path).rdbuf();
        return text.str();
    }
    std::vector<std::string> files() const {
        std::vector<std::string> found;
        std::error_code error;
        for (const auto& each : std::filesystem::directory_iterator(folder + "/Reports", error))
            found.push_back(each.path().string());
        return found;
    }
    // A run of before that died.
    void die() const {
        const pid_t child = ::fork();
        if (child == 0) {
            const RunMarker marker(folder, "the-other");
            ::_exit(1);
        }
        ::waitpid(child, nullptr, 0);
    }

    const std::string folder = newFolder();
    MonotonicClock clock;
    KeptLines sink;
    Log log{sink, clock};
    PreferenceStore preferences;
    Journalled journal;
    Reports reports{folder, "marvo", log, preferences, journal};
};

constexpr double aDate = 700'000'000.0; // 2023-03-08

} // namespace

TEST_F(ReportsTest, TheSystemsMessagesStandInTheirOrderWithTheirDates) {
    const double moment = aDate + secondsFrom1970To2001;
    journal.newestFirst = {{moment + 60, "second"}, {moment, "first"}, {moment - 1, "before"}};
    EXPECT_EQ(reports.logSince(aDate, std::nullopt), localMediumDateAndTime(aDate) + ": first\n" +
                                                         localMediumDateAndTime(aDate + 60) + ": second\n");
}

TEST_F(ReportsTest, TheNewestMessagesAreKeptWhenThereAreTooMany) {
    const double moment = aDate + secondsFrom1970To2001;
    for (int i = 0; i < 1000; ++i)
        journal.newestFirst.push_back({moment + 1000 - i, "message " + std::to_string(i)});
    const std::string text = reports.logSince(aDate, 500);
    EXPECT_GT(text.size(), 500U);
    EXPECT_LT(text.size(), 600U);
    EXPECT_TRUE(text.ends_with("message 0\n")) << text;
    EXPECT_LT(journal.walked, 30);
}

TEST_F(ReportsTest, ACrashReportHasSettingsLogAndSystemLogUnderTheirHeadings) {
    log.log("the last line");
    journal.newestFirst = {{aDate + secondsFrom1970To2001 + 1, "a word of the system"}};
    preferences.set("lastRun", PropertyList::date(aDate));
    const std::string text = reports.applicationLogForCrashManager(reports.crashMaterial("marvo"));
    EXPECT_TRUE(text.starts_with("PREFERENCES:  \n ")) << text;
    EXPECT_NE(text.find("<key>compFPS</key>"), std::string::npos) << text;
    EXPECT_NE(text.find(" \n\n ===== DDLOG: =====  \n the last line\n \n\n ===== APPLOG: =====  \n " +
                        localMediumDateAndTime(aDate + 1) + ": a word of the system\n \n\n"),
              std::string::npos)
        << text;
}

TEST_F(ReportsTest, AFeedbackReportNamesTheProgramAndHasTheLog) {
    log.log(std::string(12'000, 'x'));
    const auto fields = reports.customParametersForFeedbackReport();
    ASSERT_EQ(fields.size(), 2U);
    EXPECT_EQ(fields[0], (std::pair<std::string, std::string>{"application", "Marvo"}));
    EXPECT_EQ(fields[1], (std::pair<std::string, std::string>{"DDLog", std::string(10'000, 'x')}));
    const Reports::Written written = reports.writeFeedbackReport("The lamp flickers.");
    EXPECT_EQ(written.error, "");
    const std::string text = contents(written.file);
    EXPECT_TRUE(text.starts_with("The lamp flickers.\n\napplication: Marvo\nDDLog: xxx")) << text;
}

TEST_F(ReportsTest, TenReportsOfAKindAreKept) {
    for (int i = 0; i < 12; ++i) {
        const Reports::Written written = reports.writeFeedbackReport(std::to_string(i));
        EXPECT_EQ(written.error, "");
        EXPECT_TRUE(std::filesystem::exists(written.file));
    }
    EXPECT_EQ(files().size(), Reports::reportsKept);
    EXPECT_EQ(reports.writeCrashReport(reports.crashMaterial("marvo")).error, "");
    EXPECT_EQ(files().size(), Reports::reportsKept + 1);
}

TEST_F(ReportsTest, AClockThatWasSetBackTakesNoNewReportAway) {
    const std::string first = reports.writeFeedbackReport("").file;
    for (int i = 0; i < 12; ++i)
        std::filesystem::copy_file(first, folder + "/Reports/feedback-2999010" + std::to_string(i) + ".txt");
    const std::string last = reports.writeFeedbackReport("").file;
    EXPECT_TRUE(std::filesystem::exists(last));
    EXPECT_EQ(files().size(), Reports::reportsKept);
}

TEST_F(ReportsTest, AReportThatCannotBeWrittenSaysWhichAndWhy) {
    std::ofstream(folder + "/Reports") << "in the way";
    const Reports::Written written = reports.writeFeedbackReport("");
    EXPECT_TRUE(written.file.empty());
    EXPECT_NE(written.error.find(folder + "/Reports"), std::string::npos) << written.error;
}

TEST_F(ReportsTest, ARunThatDiedIsReportedByTheNextOneAndNotByTheOneAfter) {
    log.log("what happened before");
    die();
    preferences.set("lastRun", PropertyList::date(aDate));
    journal.newestFirst = {{aDate + secondsFrom1970To2001 + 1, "it has died"}};
    {
        CrashReporter reporter(folder, reports, log, preferences);
        reporter.startManager(aDate + 100);
        log.log("::: Marvo starting");
    }
    ASSERT_EQ(files().size(), 1U);
    const std::string text = contents(files()[0]);
    EXPECT_NE(text.find("what happened before"), std::string::npos);
    EXPECT_NE(text.find("it has died"), std::string::npos);
    EXPECT_EQ(journal.asked, "the-other") << "both programs share the folder";
    EXPECT_EQ(text.find("::: Marvo starting"), std::string::npos);
    EXPECT_NE(sink.contents(0).find("a report is in " + files()[0] + ", nothing was sent"), std::string::npos)
        << sink.contents(0);
    EXPECT_EQ(preferences.find("lastRun")->dateSeconds(), aDate + 100);
    CrashReporter(folder, reports, log, preferences).startManager(aDate + 200);
    EXPECT_EQ(files().size(), 1U);
}

TEST_F(ReportsTest, ARunThatEndedByItselfIsNotReported) {
    CrashReporter(folder, reports, log, preferences).startManager(aDate);
    EXPECT_EQ(preferences.find("lastRun")->dateSeconds(), aDate);
    CrashReporter reporter(folder, reports, log, preferences);
    reporter.startManager(aDate + 1);
    reporter.end();
    EXPECT_TRUE(files().empty());
    EXPECT_EQ(preferences.find("lastRun")->dateSeconds(), aDate + 1);
}
