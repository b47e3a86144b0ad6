#include "headless/CommandLine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace marvo {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

CommandLine parse(std::vector<const char*> words) {
    words.insert(words.begin(), "marvo-headless");
    return parseCommandLine(static_cast<int>(words.size()), words.data());
}

template <class Options>
Options options(const std::vector<const char*>& words) {
    const CommandLine line = parse(words);
    EXPECT_EQ(line.output, "");
    EXPECT_EQ(line.status, 0);
    const auto* found = std::get_if<Options>(&line.command);
    EXPECT_NE(found, nullptr);
    return found ? *found : Options();
}

// Wrong usage: status 2, a reason, and where to read more; nothing runs.
std::string refusal(const std::vector<const char*>& words) {
    const CommandLine line = parse(words);
    EXPECT_EQ(line.status, 2);
    EXPECT_TRUE(std::holds_alternative<std::monostate>(line.command));
    EXPECT_THAT(line.output, AllOf(StartsWith("marvo-headless"), HasSubstr("--help\n")));
    return line.output;
}

TEST(CommandLine, RunsWithoutAProjectAndWithoutOptions) {
    const auto run = options<RunOptions>({"run"});
    EXPECT_EQ(run.project, std::nullopt);
    EXPECT_FALSE(run.play || run.bestEffort || run.precise || run.stats || run.status);
    EXPECT_EQ(run.forSeconds, std::nullopt);
    EXPECT_EQ(run.bind, std::nullopt);
    EXPECT_EQ(run.configDir, std::nullopt);
}

TEST(CommandLine, TakesEveryOptionOfRun) {
    const auto run =
        options<RunOptions>({"run", "--play", "--for", "2.5", "--bind", "127.0.0.1", "--best-effort",
                             "--stats", "show.mrv", "--status", "--precise", "--midi", "none", "--audio",
                             "auto", "--config-dir", "/srv/marvo", "--pref", "rewindOnStop=true"});
    EXPECT_EQ(run.project, "show.mrv");
    EXPECT_TRUE(run.play && run.bestEffort && run.precise && run.stats && run.status);
    EXPECT_EQ(run.forSeconds, 2.5);
    EXPECT_EQ(run.bind, "127.0.0.1");
    EXPECT_EQ(run.configDir, "/srv/marvo");
    ASSERT_EQ(run.preferences.size(), 1U);
}

TEST(CommandLine, TakesEveryOptionOfTrace) {
    const auto trace = options<TraceOptions>({"trace", "show.mrv", "--seconds", "10", "--script", "cues.txt",
                                              "-o", "out.jsonl", "--play", "--config-dir", "conf"});
    EXPECT_EQ(trace.project, "show.mrv");
    EXPECT_EQ(trace.seconds, 10.0);
    EXPECT_EQ(trace.script, "cues.txt");
    EXPECT_EQ(trace.output, "out.jsonl");
    EXPECT_TRUE(trace.play);
    EXPECT_EQ(trace.configDir, "conf");
    EXPECT_EQ(options<TraceOptions>({"trace", "--output=x", "show.mrv"}).output, "x");
}

TEST(CommandLine, TakesTheProjectToCheck) {
    EXPECT_EQ(options<CheckOptions>({"check", "show.mrv"}).project, "show.mrv");
}

TEST(CommandLine, KeepsPreferencesInTheOrderGivenAndEverythingBehindTheFirstEqualsSign) {
    const auto run = options<RunOptions>({"run", "--pref", "a=1", "--pref=b=x=y", "--pref", "a="});
    ASSERT_EQ(run.preferences.size(), 3U);
    EXPECT_EQ(run.preferences[0].key + "|" + run.preferences[0].value, "a|1");
    EXPECT_EQ(run.preferences[1].key + "|" + run.preferences[1].value, "b|x=y");
    EXPECT_EQ(run.preferences[2].key + "|" + run.preferences[2].value, "a|");
}

TEST(CommandLine, TakesAValueBehindAnEqualsSign) {
    EXPECT_EQ(options<RunOptions>({"run", "--for=0"}).forSeconds, 0.0);
    EXPECT_EQ(options<RunOptions>({"run", "--bind=::1"}).bind, "::1");
}

TEST(CommandLine, TheLastOfTwoValuesCounts) {
    EXPECT_EQ(options<TraceOptions>({"trace", "a", "--seconds", "1", "--seconds", "2"}).seconds, 2.0);
}

TEST(CommandLine, TakesAProjectThatLooksLikeAnOptionBehindTwoDashes) {
    EXPECT_EQ(options<CheckOptions>({"check", "--", "--help"}).project, "--help");
    EXPECT_EQ(options<RunOptions>({"run", "--play", "--", "-x.mrv"}).project, "-x.mrv");
}

TEST(CommandLine, SaysItsVersionAndItsHelpWithStatus0) {
    const CommandLine version = parse({"--version"});
    EXPECT_EQ(version.status, 0);
    EXPECT_THAT(version.output, ::testing::MatchesRegex("marvo-headless [0-9]+\\.[0-9]+\\.[0-9]+\n"));
    for (const std::vector<const char*>& words : {std::vector<const char*>{"--help"},
                                                  {"-h"},
                                                  {"run", "--help"},
                                                  {"trace", "--help"},
                                                  {"check", "--help"}}) {
        const CommandLine help = parse(words);
        EXPECT_EQ(help.status, 0);
        EXPECT_TRUE(std::holds_alternative<std::monostate>(help.command));
        EXPECT_THAT(help.output, HasSubstr("marvo-headless"));
        EXPECT_EQ(help.output.back(), '\n');
    }
}

TEST(CommandLine, OfTheWindowIsARunUnderItsOwnName) {
    const auto parseWindow = [](std::vector<const char*> words) {
        words.insert(words.begin(), "marvo");
        return parseWindowCommandLine(static_cast<int>(words.size()), words.data());
    };
    const CommandLine line = parseWindow({"show.mrv", "--play", "--midi", "jack"});
    const auto* run = std::get_if<RunOptions>(&line.command);
    ASSERT_TRUE(run) << line.output;
    EXPECT_EQ(run->project, "show.mrv");
    EXPECT_EQ(run->midi, "jack");
    EXPECT_TRUE(run->play);
    EXPECT_TRUE(std::holds_alternative<RunOptions>(parseWindow({}).command));
    EXPECT_THAT(parseWindow({"--version"}).output,
                ::testing::MatchesRegex("marvo [0-9]+\\.[0-9]+\\.[0-9]+\n"));
    const CommandLine help = parseWindow({"show.mrv", "--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_THAT(help.output,
                AllOf(StartsWith("Usage: marvo ["), HasSubstr("--best-effort"), Not(HasSubstr("--status"))));
    for (const char* wrong : {"--status", "--nonsense"}) {
        const CommandLine refused = parseWindow({wrong});
        EXPECT_EQ(refused.status, 2);
        EXPECT_THAT(refused.output,
                    AllOf(StartsWith("marvo: unknown option "), HasSubstr("See marvo --help\n")));
    }
}

TEST(CommandLine, EachCommandExplainsItsOwnOptions) {
    const std::string run = parse({"run", "--help"}).output;
    for (const char* option : {"--play", "--for", "--midi", "--audio", "--bind", "--best-effort", "--precise",
                               "--stats", "--status", "--pref", "--config-dir", "ready osc-in="}) {
        EXPECT_THAT(run, HasSubstr(option));
    }
    const std::string trace = parse({"trace", "--help"}).output;
    for (const char* option :
         {"--play", "--seconds", "--script", "-o", "--pref", "--config-dir", "TIME_MS midi"}) {
        EXPECT_THAT(trace, HasSubstr(option));
    }
    EXPECT_THAT(run, Not(HasSubstr("--script")));
    EXPECT_THAT(trace, Not(HasSubstr("--best-effort")));
    EXPECT_THAT(parse({"check", "--help"}).output, Not(HasSubstr("--play")));
}

TEST(CommandLine, HelpFitsATerminal) {
    for (const std::vector<const char*>& words :
         {std::vector<const char*>{"--help"}, {"run", "--help"}, {"trace", "--help"}, {"check", "--help"}}) {
        std::size_t column = 0;
        for (const char c : parse(words).output) {
            column = c == '\n' ? 0 : column + 1;
            ASSERT_LE(column, 100U);
        }
    }
}

TEST(CommandLine, OffersOnlyWhatIsBuilt) {
    const std::string help = parse({"--help"}).output;
    EXPECT_THAT(help, Not(HasSubstr("render PROJECT")));
    EXPECT_THAT(help, Not(HasSubstr("export-midi")));
    EXPECT_THAT(refusal({"render", "a.mrv", "b.xml"}), HasSubstr("unknown command \"render\""));
    EXPECT_THAT(refusal({"export-midi", "a.mrv", "b.mid"}), HasSubstr("unknown command \"export-midi\""));
}

TEST(CommandLine, RefusesMidiAndAudioSystemsItCannotServeInsteadOfPlayingInSilence) {
    EXPECT_THAT(refusal({"run", "--audio=pulse"}), HasSubstr("not in this version"));
    EXPECT_THAT(refusal({"run", "--midi", "pulse"}), HasSubstr("does not know \"pulse\""));
    EXPECT_THAT(refusal({"run", "--audio", ""}), HasSubstr("does not know \"\""));
}

TEST(CommandLine, RefusesWrongUsageWithStatus2AndTheReason) {
    EXPECT_THAT(refusal({}), HasSubstr("a command is needed"));
    EXPECT_THAT(refusal({"play"}), HasSubstr("unknown command \"play\""));
    EXPECT_THAT(refusal({"run", "a.mrv", "b.mrv"}), HasSubstr("one project"));
    EXPECT_THAT(refusal({"run", ""}), HasSubstr("not empty"));
    EXPECT_THAT(refusal({"run", "--loud"}), HasSubstr("unknown option --loud"));
    EXPECT_THAT(refusal({"run", "--play=1"}), HasSubstr("--play takes no value"));
    EXPECT_THAT(refusal({"run", "--for"}), HasSubstr("--for needs a value"));
    EXPECT_THAT(refusal({"run", "--script", "x"}), HasSubstr("unknown option --script"));
    EXPECT_THAT(refusal({"run", "--bind", "localhost"}), HasSubstr("numeric address"));
    EXPECT_THAT(refusal({"run", "--config-dir", ""}), HasSubstr("not empty"));
    EXPECT_THAT(refusal({"trace"}), HasSubstr("one project, not 0"));
    EXPECT_THAT(refusal({"trace", "a", "b"}), HasSubstr("one project, not 2"));
    EXPECT_THAT(refusal({"trace", "a", "--best-effort"}), HasSubstr("unknown option"));
    EXPECT_THAT(refusal({"trace", "a", "-o"}), HasSubstr("-o needs a value"));
    EXPECT_THAT(refusal({"check"}), HasSubstr("one project, not 0"));
    EXPECT_THAT(refusal({"check", "a", "--play"}), HasSubstr("unknown option --play"));
}

TEST(CommandLine, RefusesNumbersThatAreNoLength) {
    for (const char* text : {"", "ten", "-1", "1s", "1,5", "inf", "nan", "1e10", " 1"}) {
        EXPECT_THAT(refusal({"run", "--for", text}), HasSubstr("number of seconds")) << text;
        EXPECT_THAT(refusal({"trace", "a", "--seconds", text}), HasSubstr("number of seconds")) << text;
    }
}

TEST(CommandLine, RefusesPreferencesWithoutAKey) {
    EXPECT_THAT(refusal({"run", "--pref", "rewindOnStop"}), HasSubstr("KEY=VALUE"));
    EXPECT_THAT(refusal({"run", "--pref", "=true"}), HasSubstr("KEY=VALUE"));
}

TEST(CommandLine, ARefusalShowsNoControlCharacterOfWhatWasTyped) {
    EXPECT_EQ(refusal({"run", "--\x1b[31m"}).find('\x1b'), std::string::npos);
}

} // namespace
} // namespace marvo
