// What the benchmarks share: contenders that take turns, medians, and bounds that decide the exit status.
//
// A figure of this machine alone says little, so every bound is a ratio between contenders of one run: they
// work in turn, a slice of a few milliseconds each, and what is compared are neighbouring slices. A
// disturbance of the machine then meets all of them, or falls out with the median. What is counted is the
// processor time of the calling thread, the system's part included, so that a machine which others use does
// not count their time as ours.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace marvo::bench {

// Makes the compiler believe that the value is used.
template <class T>
inline void keep(const T& value) {
    asm volatile("" : : "g"(&value) : "memory");
}

double median(std::vector<double> values);

// Contenders that do the same thing.
class Contest {
public:
    // work: does so many rounds. prepare: before each slice, not measured.
    Contest& add(std::string name, std::function<void(std::size_t rounds)> work,
                 std::function<void()> prepare = {});
    // Finds the number of rounds that fills a slice for each contender, and lets them take turns.
    void run(std::size_t slices, std::chrono::microseconds slice);

    // Nanoseconds a round.
    double nanoseconds(std::size_t contender) const { return median(contenders_[contender].slices); }
    // Median of the ratios of neighbouring slices.
    double ratio(std::size_t contender, std::size_t baseline) const;
    void print(const char* unit = "ns") const;

private:
    struct Contender {
        std::string name;
        std::function<void(std::size_t)> work;
        std::function<void()> prepare;
        std::size_t rounds = 1;
        std::vector<double> slices;
    };
    double timed(Contender& contender) const;

    std::vector<Contender> contenders_;
};

// One benchmark program: `--smoke` for a short run with the same bounds.
class Program {
public:
    // Ends the process with a usage line on anything but --smoke and the options named.
    Program(int argc, char** argv);

    bool smoke() const { return smoke_; }
    // The longer form in a full run.
    template <class T>
    T sized(T full, T short_) const {
        return smoke_ ? short_ : full;
    }

    // Runs one part, and up to twice again while a bound in it is broken: on a machine that others use, a
    // single broken bound is no finding, three in a row are. Every attempt is printed.
    void part(const std::string& name, const std::function<void()>& measure);
    // Inside a part.
    void atMost(const std::string& what, double value, double limit);
    void atLeast(const std::string& what, double value, double limit);
    // For what a few seconds are too few for, as rare ticks: bounded in the full run, in a smoke run only
    // shown.
    void atMostInFull(const std::string& what, double value, double limit);
    // What must simply hold, whatever the machine does.
    void must(const std::string& what, bool holds);

    // The exit status: 1 when a part broke its bounds in every attempt.
    int finish() const;

private:
    void judge(const std::string& what, double value, const char* relation, double limit, bool holds);

    bool smoke_ = false;
    std::vector<std::string> brokenHere_;
    std::vector<std::string> broken_;
};

} // namespace marvo::bench
