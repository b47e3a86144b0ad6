#include "platform/WakeUp.h"

#include "RealtimeScope.h"

#include <gtest/gtest.h>
#include <thread>

namespace marvo {
namespace {

TEST(WakeUp, EndsASleepThatIsLong) {
    WakeUp wakeUp;
    const MonotonicClock clock;
    const MonotonicTime begun = clock.now();
    std::thread other([&] { wakeUp.wake(); });
    wakeUp.sleepUntil(begun + Duration::ofSeconds(60));
    other.join();
    EXPECT_LT(clock.now() - begun, Duration::ofSeconds(30));
}

TEST(WakeUp, CountsAlsoBeforeTheSleepAndOnce) {
    WakeUp wakeUp;
    const MonotonicClock clock;
    wakeUp.wake();
    wakeUp.wake();
    const MonotonicTime begun = clock.now();
    wakeUp.sleepUntil(begun + Duration::ofSeconds(60));
    EXPECT_LT(clock.now() - begun, Duration::ofSeconds(30));
    const MonotonicTime moment = clock.now() + Duration::ofMilliseconds(20);
    wakeUp.sleepUntil(moment);
    EXPECT_GE(clock.now(), moment) << "used up";
}

TEST(WakeUp, SleepsNotAtAllForAMomentThatHasPassed) {
    WakeUp wakeUp;
    const MonotonicClock clock;
    const MonotonicTime begun = clock.now();
    wakeUp.sleepUntil(MonotonicTime(1));
    EXPECT_LT(clock.now() - begun, Duration::ofSeconds(5));
}

TEST(WakeUp, CostsTheOneWhoWakesNoWait) {
    WakeUp wakeUp;
    RealtimeScope scope;
    for (int count = 0; count < 100; ++count) wakeUp.wake();
    EXPECT_EQ(scope.violations(), 0u) << scope.report();
}

} // namespace
} // namespace marvo
