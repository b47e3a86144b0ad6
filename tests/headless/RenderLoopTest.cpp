#include "headless/RenderLoop.h"

#include "RealtimeScope.h"
#include "headless/RunStatistics.h"
#include "platform/Clock.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace marvo {
namespace {

using testing::ElementsAre;

// A machine whose wake-ups are as late, and whose ticks are as long, as the test says: one number a pass, in
// microseconds; passes beyond them are punctual and take no time.
class Machine {
public:
    Machine() {
        ticks_.reserve(64);
        deadlines_.reserve(64);
    }

    std::vector<std::int64_t> lengths;
    std::vector<std::int64_t> delays; // of the wake-up behind each pass

    void run(int passes) {
        RenderLoop loop(clock_,
                        {.begin = [this](MonotonicTime now) { begun_ = now; },
                         .tick = [this](MonotonicTime now) { tick(now); },
                         .sleepUntil = [this](MonotonicTime deadline) { sleepUntil(deadline); }},
                        statistics);
        const RealtimeScope scope;
        for (int i = 0; i < passes; ++i) loop.pass();
        violations = scope.violations();
    }
    // From the beginning, in microseconds.
    std::vector<std::int64_t> ticks() const { return sinceBegun(ticks_); }
    std::vector<std::int64_t> deadlines() const { return sinceBegun(deadlines_); }

    RunStatistics statistics;
    std::size_t violations = 0;

private:
    void tick(MonotonicTime now) {
        if (ticks_.size() < lengths.size()) clock_.advance(Duration::ofMicroseconds(lengths[ticks_.size()]));
        ticks_.push_back(now);
    }
    void sleepUntil(MonotonicTime deadline) {
        const std::size_t pass = deadlines_.size();
        if (clock_.now() < deadline) clock_.set(deadline);
        if (pass < delays.size()) clock_.advance(Duration::ofMicroseconds(delays[pass]));
        deadlines_.push_back(deadline);
    }
    std::vector<std::int64_t> sinceBegun(const std::vector<MonotonicTime>& moments) const {
        std::vector<std::int64_t> result;
        for (const MonotonicTime moment : moments) result.push_back((moment - begun_).nanoseconds / 1000);
        return result;
    }

    VirtualClock clock_;
    MonotonicTime begun_;
    std::vector<MonotonicTime> ticks_;
    std::vector<MonotonicTime> deadlines_;
};

TEST(RenderLoop, TicksEachMillisecondHoweverLongATickTakes) {
    Machine machine;
    machine.lengths = {300, 999, 0, 700};
    machine.run(5);
    EXPECT_THAT(machine.ticks(), ElementsAre(0, 1000, 2000, 3000, 4000));
    EXPECT_EQ(machine.statistics.lateness().maximum(), Duration());
    EXPECT_EQ(machine.statistics.length().maximum(), Duration::ofMicroseconds(999));
}

TEST(RenderLoop, TheNextDeadlineCountsFromTheStartOfThePass) {
    Machine machine;
    machine.lengths = {100, 100, 100};
    machine.delays = {50, 20};
    machine.run(3);
    EXPECT_THAT(machine.ticks(), ElementsAre(0, 1050, 2070));
    EXPECT_THAT(machine.deadlines(), ElementsAre(1000, 2050, 3070));
    EXPECT_EQ(machine.statistics.lateness().maximum(), Duration::ofMicroseconds(50));
}

TEST(RenderLoop, ALateTickIsFollowedByOrdinaryOnesAndNeverByABurst) {
    Machine machine;
    machine.delays = {0, 7300};
    machine.run(5);
    // One step of 8.3 ms, then the rhythm again: seven passes have not been, and are not made up for.
    EXPECT_THAT(machine.ticks(), ElementsAre(0, 1000, 9300, 10300, 11300));
    EXPECT_EQ(machine.statistics.lateness().count(), 5U);
    EXPECT_EQ(machine.statistics.lateness().maximum(), Duration::ofMicroseconds(7300));
}

TEST(RenderLoop, ATickLongerThanAMillisecondIsFollowedAtOnceByTheNext) {
    Machine machine;
    machine.lengths = {0, 2600};
    machine.run(4);
    EXPECT_THAT(machine.ticks(), ElementsAre(0, 1000, 3600, 4600));
    EXPECT_EQ(machine.statistics.lateness().maximum(), Duration::ofMicroseconds(1600));
    EXPECT_EQ(machine.statistics.length().maximum(), Duration::ofMicroseconds(2600));
}

TEST(RenderLoop, AllocatesNothingToKeepItsRecord) {
    Machine machine;
    machine.delays = {10, 2000, 30};
    machine.run(20);
    EXPECT_EQ(machine.violations, 0U);
    EXPECT_EQ(machine.statistics.lateness().count(), 20U);
}

} // namespace
} // namespace marvo
