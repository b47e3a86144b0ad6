#include "platform/RealtimeKit.h"

#include "platform/RealtimeThread.h"

#include "PrivateBus.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <mutex>
#include <sched.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <vector>

using namespace marvo;
using testing::HasSubstr;

namespace {

constexpr const char* busVariable = "DBUS_SYSTEM_BUS_ADDRESS";
constexpr const char* serviceName = "org.freedesktop.RealtimeKit1";

// A service that answers as the real one does, or as the test wants it to fail.
struct FakeRealtimeKit {
    bool silent = false;
    bool knowsProcessForm = true;
    bool liesAboutTheGrant = false;
    const char* refusal = nullptr;
    dbus_int64_t longestRun = 200'000; // us
    dbus_int32_t highest = 20;

    std::mutex lock;
    std::vector<std::string> calls;
    std::string path;
    dbus_uint64_t process = 0, thread = 0;
    dbus_uint32_t priority = 0;
    rlimit runLimit{};
    int policyWhenAsked = -1;

    DBusMessage* answer(DBusMessage* call) {
        const std::lock_guard hold(lock);
        calls.emplace_back(dbus_message_get_member(call));
        path = dbus_message_get_path(call);
        if (silent) return nullptr;
        if (std::strcmp(dbus_message_get_member(call), "Get") == 0) return property(call);
        const bool withProcess = dbus_message_has_signature(call, "ttu");
        if (withProcess && !knowsProcessForm)
            return dbus_message_new_error(call, DBUS_ERROR_UNKNOWN_METHOD, "no such method");
        if (withProcess)
            dbus_message_get_args(call, nullptr, DBUS_TYPE_UINT64, &process, DBUS_TYPE_UINT64, &thread,
                                  DBUS_TYPE_UINT32, &priority, DBUS_TYPE_INVALID);
        else if (dbus_message_has_signature(call, "tu"))
            dbus_message_get_args(call, nullptr, DBUS_TYPE_UINT64, &thread, DBUS_TYPE_UINT32, &priority,
                                  DBUS_TYPE_INVALID);
        else
            return dbus_message_new_error(call, DBUS_ERROR_INVALID_ARGS, "wrong arguments");
        getrlimit(RLIMIT_RTTIME, &runLimit);
        policyWhenAsked = sched_getscheduler(static_cast<pid_t>(thread));
        if (refusal) return dbus_message_new_error(call, DBUS_ERROR_ACCESS_DENIED, refusal);
        sched_param parameters{};
        parameters.sched_priority = static_cast<int>(priority);
        if (!liesAboutTheGrant)
            sched_setscheduler(static_cast<pid_t>(thread), SCHED_RR | SCHED_RESET_ON_FORK, &parameters);
        return dbus_message_new_method_return(call);
    }

    DBusMessage* property(DBusMessage* call) const {
        const char *interface = nullptr, *name = nullptr;
        dbus_message_get_args(call, nullptr, DBUS_TYPE_STRING, &interface, DBUS_TYPE_STRING, &name,
                              DBUS_TYPE_INVALID);
        DBusMessage* const reply = dbus_message_new_method_return(call);
        DBusMessageIter target, variant;
        dbus_message_iter_init_append(reply, &target);
        const bool run = std::strcmp(name, "RTTimeUSecMax") == 0;
        dbus_message_iter_open_container(&target, DBUS_TYPE_VARIANT, run ? "x" : "i", &variant);
        if (run)
            dbus_message_iter_append_basic(&variant, DBUS_TYPE_INT64, &longestRun);
        else
            dbus_message_iter_append_basic(&variant, DBUS_TYPE_INT32, &highest);
        dbus_message_iter_close_container(&target, &variant);
        return reply;
    }
};

struct RealtimeKitTest : testing::Test {
    RealtimeKitTest() { getrlimit(RLIMIT_RTTIME, &before); }
    // Where the hard limit cannot be raised again, the soft one goes back as far as it may.
    ~RealtimeKitTest() override {
        if (setrlimit(RLIMIT_RTTIME, &before) == 0) return;
        rlimit now{};
        getrlimit(RLIMIT_RTTIME, &now);
        now.rlim_cur = std::min(before.rlim_cur, now.rlim_max);
        setrlimit(RLIMIT_RTTIME, &now);
    }

    RealtimeResult start(Duration timeout = Duration::ofSeconds(5)) {
        RealtimeOptions options;
        options.lockMemory = false;
        options.holdCpuLatency = false;
        options.allowFifo = false;
        options.realtimeKitTimeout = timeout;
        const auto begin = std::chrono::steady_clock::now();
        RealtimeThread thread;
        const RealtimeResult result = thread.start(options, [this](RealtimeThread&) {
            threadId = static_cast<std::uint64_t>(syscall(SYS_gettid));
            policy = sched_getscheduler(0);
            if (work) work();
        });
        thread.join();
        took = std::chrono::steady_clock::now() - begin;
        return result;
    }

    rlimit before{};
    FakeRealtimeKit kit;
    std::function<void()> work; // of the thread's body
    std::uint64_t threadId = 0;
    int policy = -1;
    std::chrono::nanoseconds took{};
};

} // namespace

TEST_F(RealtimeKitTest, AsksForTheThreadOfThisProcessWithAllThatTheServiceDemands) {
    const PrivateBus bus(busVariable);
    const ScriptedService service(bus, serviceName, [this](DBusMessage* call) { return kit.answer(call); });
    ASSERT_TRUE(bus.isUp() && service.isUp());
    const RealtimeResult result = start();
    EXPECT_EQ(result.grant, RealtimeGrant::realtimeKit) << result.error;
    EXPECT_EQ(result.priority, 20) << "no more than the service allows";
    EXPECT_EQ(kit.path, "/org/freedesktop/RealtimeKit1");
    EXPECT_EQ(kit.process, static_cast<dbus_uint64_t>(getpid()));
    EXPECT_EQ(kit.thread, threadId);
    EXPECT_EQ(kit.priority, 20u);
    EXPECT_EQ(kit.runLimit.rlim_max, 200'000u) << "RLIMIT_RTTIME comes before the request";
    EXPECT_EQ(kit.runLimit.rlim_cur, 150'000u);
    EXPECT_TRUE(kit.policyWhenAsked & SCHED_RESET_ON_FORK);
    EXPECT_EQ(policy, SCHED_RR | SCHED_RESET_ON_FORK) << "granted before the body starts";
}

TEST_F(RealtimeKitTest, KeepsALowerRunLimitThatIsAlreadySet) {
    rlimit lower = before;
    lower.rlim_cur = 120'000;
    ASSERT_EQ(setrlimit(RLIMIT_RTTIME, &lower), 0);
    const PrivateBus bus(busVariable);
    const ScriptedService service(bus, serviceName, [this](DBusMessage* call) { return kit.answer(call); });
    EXPECT_EQ(start().grant, RealtimeGrant::realtimeKit);
    EXPECT_EQ(kit.runLimit.rlim_cur, 120'000u);
}

TEST_F(RealtimeKitTest, TakesTheGrantFromAThreadThatNeverSleepsInsteadOfDying) {
    const PrivateBus bus(busVariable);
    const ScriptedService service(bus, serviceName, [this](DBusMessage* call) { return kit.answer(call); });
    const unsigned demotedBefore = realtimeDemotionCount();
    int policyAfterwards = -1;
    work = [&] {
        const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(260);
        while (std::chrono::steady_clock::now() < end) {
        }
        policyAfterwards = sched_getscheduler(0);
    };
    EXPECT_EQ(start().grant, RealtimeGrant::realtimeKit);
    EXPECT_EQ(policyAfterwards, SCHED_OTHER | SCHED_RESET_ON_FORK);
    EXPECT_EQ(realtimeDemotionCount(), demotedBefore + 1);
}

TEST_F(RealtimeKitTest, SpeaksTheOlderFormToAServiceThatKnowsOnlyThat) {
    kit.knowsProcessForm = false;
    const PrivateBus bus(busVariable);
    const ScriptedService service(bus, serviceName, [this](DBusMessage* call) { return kit.answer(call); });
    EXPECT_EQ(start().grant, RealtimeGrant::realtimeKit);
    EXPECT_EQ(kit.calls.back(), "MakeThreadRealtime");
    EXPECT_EQ(kit.thread, threadId);
}

TEST_F(RealtimeKitTest, SaysTheServicesOwnReasonForARefusal) {
    kit.refusal = "not while the moon is full";
    const PrivateBus bus(busVariable);
    const ScriptedService service(bus, serviceName, [this](DBusMessage* call) { return kit.answer(call); });
    const RealtimeResult result = start();
    EXPECT_EQ(result.grant, RealtimeGrant::refused);
    EXPECT_THAT(result.error, HasSubstr("not while the moon is full"));
    EXPECT_EQ(kit.calls.back(), "MakeThreadRealtimeWithPID") << "a refusal is not asked about twice";
    EXPECT_EQ(threadId, 0u) << "the body does not run";
}

TEST_F(RealtimeKitTest, BelievesAGrantOnlyWhenTheSchedulerHasChanged) {
    kit.liesAboutTheGrant = true;
    const PrivateBus bus(busVariable);
    const ScriptedService service(bus, serviceName, [this](DBusMessage* call) { return kit.answer(call); });
    const RealtimeResult result = start();
    EXPECT_EQ(result.grant, RealtimeGrant::refused);
    EXPECT_THAT(result.error, HasSubstr("has not changed"));
}

TEST_F(RealtimeKitTest, GivesUpOnAServiceThatDoesNotAnswer) {
    kit.silent = true;
    const PrivateBus bus(busVariable);
    const ScriptedService service(bus, serviceName, [this](DBusMessage* call) { return kit.answer(call); });
    const RealtimeResult result = start(Duration::ofMilliseconds(200));
    EXPECT_EQ(result.grant, RealtimeGrant::refused);
    EXPECT_THAT(result.error, HasSubstr("does not answer"));
    EXPECT_GE(took, std::chrono::milliseconds(150));
    EXPECT_LT(took, std::chrono::seconds(3));
}

TEST_F(RealtimeKitTest, GivesUpOnABusThatHangs) {
    PrivateBus bus(busVariable);
    bus.freeze();
    const RealtimeResult result = start(Duration::ofMilliseconds(200));
    EXPECT_EQ(result.grant, RealtimeGrant::refused);
    EXPECT_NE(result.error, "");
    EXPECT_LT(took, std::chrono::seconds(3));
}

TEST_F(RealtimeKitTest, SaysThatThereIsNoServiceOrNoBus) {
    {
        const PrivateBus bus(busVariable);
        const RealtimeResult result = start();
        EXPECT_EQ(result.grant, RealtimeGrant::refused);
        EXPECT_NE(result.error, "");
    }
    const EnvironmentValue nowhere(busVariable, "unix:path=/nonexistent/marvo-test-bus");
    const RealtimeResult result = start();
    EXPECT_EQ(result.grant, RealtimeGrant::refused);
    EXPECT_THAT(result.error, HasSubstr("/nonexistent/marvo-test-bus"));
}
