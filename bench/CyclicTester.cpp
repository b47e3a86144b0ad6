#include "CyclicTester.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <map>
#include <spawn.h>
#include <string>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace marvo::bench {
namespace {

constexpr int largestBin = 200'000; // microseconds; what is later counts as the maximum
constexpr int late = 1000;          // microseconds

struct Histogram {
    std::map<int, std::uint64_t> bins; // lateness in whole microseconds, cut, to wake-ups
    std::uint64_t wakeUps = 0;
    std::uint64_t beyond = 0; // wake-ups later than the largest bin; in wakeUps, too
    double maximum = 0.0;
};

bool run(std::vector<std::string> words, int output) {
    std::vector<char*> arguments;
    for (std::string& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output, STDERR_FILENO);
    pid_t child = -1;
    const int number = ::posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    int status = -1;
    return number == 0 && ::waitpid(child, &status, 0) == child && WIFEXITED(status) &&
           WEXITSTATUS(status) == 0;
}

std::string readAll(int descriptor) {
    std::string text;
    char piece[4096];
    ::lseek(descriptor, 0, SEEK_SET);
    for (ssize_t got = 0; (got = ::read(descriptor, piece, sizeof piece)) > 0;)
        text.append(piece, static_cast<std::size_t>(got));
    return text;
}

// With -q and -h it prints a line for each bin, the bin and its count, and the summary behind a '#'.
Histogram parse(std::string_view text) {
    Histogram histogram;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        const std::string line(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
        int bin = 0;
        unsigned long long count = 0;
        double maximum = 0.0;
        if (std::sscanf(line.c_str(), "# Max Latencies: %lf", &maximum) == 1) histogram.maximum = maximum;
        unsigned long long beyond = 0;
        if (std::sscanf(line.c_str(), "# Histogram Overflows: %llu", &beyond) == 1) {
            histogram.beyond += beyond;
            histogram.wakeUps += beyond;
        }
        if (line.empty() || line.front() == '#') continue;
        if (std::sscanf(line.c_str(), "%d %llu", &bin, &count) != 2 || count == 0) continue;
        histogram.bins[bin] += count;
        histogram.wakeUps += count;
    }
    return histogram;
}

double percentile(const Histogram& histogram, double share) {
    const auto wanted = static_cast<std::uint64_t>(std::ceil(share * static_cast<double>(histogram.wakeUps)));
    std::uint64_t seen = 0;
    for (const auto& [bin, count] : histogram.bins) {
        seen += count;
        if (seen >= wanted) return bin;
    }
    return histogram.maximum;
}

} // namespace

std::optional<Lateness> runCyclicTester(int seconds, int priority) {
    std::FILE* const output = std::tmpfile();
    if (!output) return std::nullopt;
    const bool ran =
        run({"cyclictest", "--quiet", "--mlockall", "--threads=1", "--clock=0", "--interval=1000",
             "--policy=fifo", "--priority=" + std::to_string(priority),
             "--histogram=" + std::to_string(largestBin), "--duration=" + std::to_string(seconds)},
            ::fileno(output));
    const Histogram histogram = parse(readAll(::fileno(output)));
    std::fclose(output);
    if (!ran || histogram.wakeUps == 0) return std::nullopt;
    std::uint64_t lateOnes = histogram.beyond;
    for (const auto& [bin, count] : histogram.bins) lateOnes += bin >= late ? count : 0;
    return Lateness{percentile(histogram, 0.5),
                    percentile(histogram, 0.99),
                    percentile(histogram, 0.999),
                    histogram.maximum,
                    static_cast<double>(histogram.wakeUps),
                    static_cast<double>(lateOnes)};
}

} // namespace marvo::bench
