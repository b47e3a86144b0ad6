#include "Measure.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <time.h>

namespace marvo::bench {
namespace {

constexpr int attempts = 3;

double processorNanoseconds() {
    timespec now{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

} // namespace

double median(std::vector<double> values) {
    if (values.empty()) return std::numeric_limits<double>::quiet_NaN();
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

Contest& Contest::add(std::string name, std::function<void(std::size_t)> work,
                      std::function<void()> prepare) {
    contenders_.push_back({std::move(name), std::move(work), std::move(prepare), 1, {}});
    return *this;
}

double Contest::timed(Contender& contender) const {
    if (contender.prepare) contender.prepare();
    const double start = processorNanoseconds();
    contender.work(contender.rounds);
    return processorNanoseconds() - start;
}

void Contest::run(std::size_t slices, std::chrono::microseconds slice) {
    const double wanted = std::chrono::duration<double, std::nano>(slice).count();
    for (Contender& contender : contenders_) {
        contender.slices.clear();
        contender.rounds = 1;
        for (double took = timed(contender); took < wanted / 2; took = timed(contender)) {
            const double factor = std::clamp(wanted / std::max(took, 1.0), 1.5, 10.0);
            contender.rounds = static_cast<std::size_t>(static_cast<double>(contender.rounds) * factor) + 1;
        }
    }
    for (std::size_t i = 0; i < slices; ++i) {
        for (Contender& contender : contenders_)
            contender.slices.push_back(timed(contender) / static_cast<double>(contender.rounds));
    }
}

double Contest::ratio(std::size_t contender, std::size_t baseline) const {
    std::vector<double> ratios;
    for (std::size_t i = 0; i < contenders_[contender].slices.size(); ++i)
        ratios.push_back(contenders_[contender].slices[i] / contenders_[baseline].slices[i]);
    return median(std::move(ratios));
}

void Contest::print(const char* unit) const {
    for (std::size_t i = 0; i < contenders_.size(); ++i)
        std::printf("  %-44s %10.1f %s\n", contenders_[i].name.c_str(), nanoseconds(i), unit);
}

Program::Program(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--smoke") != 0) {
            std::fprintf(stderr, "usage: %s [--smoke]\n", argv[0]);
            std::exit(2);
        }
        smoke_ = true;
    }
}

void Program::part(const std::string& name, const std::function<void()>& measure) {
    for (int attempt = 1; attempt <= attempts; ++attempt) {
        std::printf("%s%s\n", name.c_str(), attempt > 1 ? " (again, a bound was broken)" : "");
        brokenHere_.clear();
        measure();
        std::fflush(stdout);
        if (brokenHere_.empty()) return;
    }
    for (const std::string& what : brokenHere_) broken_.push_back(name + ": " + what);
}

void Program::judge(const std::string& what, double value, const char* relation, double limit, bool holds) {
    std::printf("  %-44s %10.3f    %s %g%s\n", what.c_str(), value, relation, limit, holds ? "" : "  BROKEN");
    if (!holds) brokenHere_.push_back(what);
}

void Program::atMost(const std::string& what, double value, double limit) {
    judge(what, value, "at most", limit, value <= limit);
}

void Program::atMostInFull(const std::string& what, double value, double limit) {
    if (smoke_) {
        std::printf("  %-44s %10.3f    in a full run at most %g\n", what.c_str(), value, limit);
    } else {
        atMost(what, value, limit);
    }
}

void Program::atLeast(const std::string& what, double value, double limit) {
    judge(what, value, "at least", limit, value >= limit);
}

void Program::must(const std::string& what, bool holds) {
    if (holds) return;
    std::printf("  %s: does not hold\n", what.c_str());
    broken_.push_back(what);
}

int Program::finish() const {
    for (const std::string& what : broken_) std::printf("broken: %s\n", what.c_str());
    std::printf(broken_.empty() ? "all bounds hold\n" : "bounds are broken\n");
    return broken_.empty() ? 0 : 1;
}

} // namespace marvo::bench
