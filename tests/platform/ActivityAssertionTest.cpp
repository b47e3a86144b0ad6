#include "platform/ActivityAssertion.h"

#include "PrivateBus.h"

#include <chrono>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>
#include <vector>

using namespace marvo;
using testing::ElementsAre;

namespace {

std::vector<std::string> stringsOf(DBusMessage* call) {
    std::vector<std::string> texts;
    DBusMessageIter argument;
    if (!dbus_message_iter_init(call, &argument)) return texts;
    do {
        const char* text = "";
        if (dbus_message_iter_get_arg_type(&argument) == DBUS_TYPE_STRING)
            dbus_message_iter_get_basic(&argument, &text);
        texts.emplace_back(text);
    } while (dbus_message_iter_next(&argument));
    return texts;
}

bool hungUp(int descriptor, int milliseconds) {
    pollfd polled{descriptor, POLLIN, 0};
    return poll(&polled, 1, milliseconds) == 1 && (polled.revents & POLLHUP);
}

} // namespace

TEST(ActivityAssertion, HoldsSleepAndIdlingAsLongAsItLives) {
    const EnvironmentValue noSession("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/session");
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0); // the bus daemon must not inherit it
    std::vector<std::string> arguments;
    const PrivateBus bus("DBUS_SYSTEM_BUS_ADDRESS");
    const ScriptedService login(bus, "org.freedesktop.login1", [&](DBusMessage* call) {
        arguments = stringsOf(call);
        DBusMessage* const reply = dbus_message_new_method_return(call);
        dbus_message_append_args(reply, DBUS_TYPE_UNIX_FD, &ends[1], DBUS_TYPE_INVALID);
        close(ends[1]);
        return reply;
    });
    {
        const ActivityAssertion assertion("rendering");
        EXPECT_TRUE(assertion.report().sleepHeld) << assertion.report().sleepReason;
        EXPECT_EQ(assertion.report().sleepReason, "");
        EXPECT_THAT(arguments, ElementsAre("idle:sleep", "Marvo", "rendering", "block"));
        EXPECT_FALSE(hungUp(ends[0], 20));
        EXPECT_FALSE(assertion.report().screenHeld);
        EXPECT_NE(assertion.report().screenReason, "");
    }
    EXPECT_TRUE(hungUp(ends[0], 5000));
    close(ends[0]);
}

TEST(ActivityAssertion, HoldsTheScreenSaverOnTheSessionBus) {
    const EnvironmentValue noSystem("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/system");
    std::vector<std::string> arguments;
    const PrivateBus bus("DBUS_SESSION_BUS_ADDRESS");
    const ScriptedService saver(bus, "org.freedesktop.ScreenSaver", [&](DBusMessage* call) {
        arguments = stringsOf(call);
        DBusMessage* const reply = dbus_message_new_method_return(call);
        const dbus_uint32_t cookie = 7;
        dbus_message_append_args(reply, DBUS_TYPE_UINT32, &cookie, DBUS_TYPE_INVALID);
        return reply;
    });
    const ActivityAssertion assertion("rendering");
    EXPECT_TRUE(assertion.report().screenHeld) << assertion.report().screenReason;
    EXPECT_THAT(arguments, ElementsAre("Marvo", "rendering"));
    EXPECT_FALSE(assertion.report().sleepHeld);
    EXPECT_NE(assertion.report().sleepReason, "");
}

TEST(ActivityAssertion, GoesOnWithoutAnyBus) {
    const EnvironmentValue noSystem("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/system");
    const EnvironmentValue noSession("DBUS_SESSION_BUS_ADDRESS", "");
    const EnvironmentValue noRuntime("XDG_RUNTIME_DIR", "");
    const ActivityAssertion assertion("rendering");
    EXPECT_NE(assertion.report().sleepReason, "");
    EXPECT_EQ(assertion.report().screenReason, "there is no session bus");
}

TEST(ActivityAssertion, SaysTheReasonOfARefusal) {
    const EnvironmentValue noSession("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/session");
    const PrivateBus bus("DBUS_SYSTEM_BUS_ADDRESS");
    const ScriptedService login(bus, "org.freedesktop.login1", [](DBusMessage* call) {
        return dbus_message_new_error(call, DBUS_ERROR_ACCESS_DENIED, "somebody else decides");
    });
    const ActivityAssertion assertion("rendering");
    EXPECT_FALSE(assertion.report().sleepHeld);
    EXPECT_EQ(assertion.report().sleepReason, "somebody else decides");
}

TEST(ActivityAssertion, WaitsNoLongerThanItsTimeOutForBusesThatHang) {
    PrivateBus system("DBUS_SYSTEM_BUS_ADDRESS");
    PrivateBus session("DBUS_SESSION_BUS_ADDRESS");
    system.freeze();
    session.freeze();
    const auto begin = std::chrono::steady_clock::now();
    const ActivityAssertion assertion("rendering", Duration::ofMilliseconds(300));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(1000));
    EXPECT_FALSE(assertion.report().sleepHeld);
    EXPECT_FALSE(assertion.report().screenHeld);
}
