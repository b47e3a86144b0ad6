// The display goes while the program runs: what is done before the process ends, and when nothing is.
#include "ui/DisplayLoss.h"

#include <QCoreApplication>
#include <QDebug>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <thread>
#include <unistd.h>

using marvo::ui::DisplayLoss;

namespace {

void say(const char* text) {
    std::fputs(text, stderr);
}

} // namespace

TEST(DisplayLossTest, AnEndThatNobodyAskedForIsHeardOnceAndEndsTheProcess) {
    EXPECT_EXIT(
        {
            DisplayLoss guard;
            guard.onLost = [] {
                say("kept.");
                std::atexit([] { say("not reached"); });
            };
            std::exit(0);
        },
        ::testing::ExitedWithCode(DisplayLoss::exitStatus), "^kept\\.$");
}

TEST(DisplayLossTest, TheToolkitsWarningIsEnough) {
    for (const char* warning : {"The X11 connection broke (error 1). Did the X11 server die?",
                                "The Wayland connection broke. Did the Wayland compositor die?",
                                "The Wayland connection experienced a fatal error: Protocol error"}) {
        EXPECT_EXIT(
            {
                DisplayLoss guard;
                guard.onLost = [] { say("kept."); };
                qWarning("Another trouble");
                say("goes on.");
                qWarning("%s", warning);
                ::_exit(7);
            },
            ::testing::ExitedWithCode(DisplayLoss::exitStatus), "Another trouble\ngoes on\\.The .*\nkept\\.$")
            << warning;
    }
}

TEST(DisplayLossTest, AnEndByTheReturnOfMainIsNoLoss) {
    EXPECT_EXIT(
        {
            {
                DisplayLoss guard;
                guard.onLost = [] { say("kept."); };
            }
            say("ended.");
            std::exit(7);
        },
        ::testing::ExitedWithCode(7), "^ended\\.$");
}

TEST(DisplayLossTest, AnEndFromAnotherThreadIsLeftAlone) {
    EXPECT_EXIT(
        {
            DisplayLoss guard;
            guard.onLost = [] { say("kept."); };
            std::thread([] {
                say("ended.");
                std::exit(7);
            }).join();
        },
        ::testing::ExitedWithCode(7), "^ended\\.");
}

TEST(DisplayLossTest, WhereAThreadOfTheToolkitNoticesItWaitsForTheMainThread) {
    EXPECT_EXIT(
        {
            DisplayLoss guard;
            guard.onLost = [main = std::this_thread::get_id()] {
                // Long enough for the other thread to get away, were it not held.
                std::this_thread::sleep_for(std::chrono::milliseconds(200));
                say(std::this_thread::get_id() == main ? "kept." : "elsewhere.");
            };
            std::thread noticing([] {
                qWarning("The Wayland connection broke. Did the Wayland compositor die?");
                ::_exit(7);
            });
            QCoreApplication::exec();
            noticing.join();
        },
        ::testing::ExitedWithCode(DisplayLoss::exitStatus), "^The .*\nkept\\.$");
}

TEST(DisplayLossTest, AMainThreadThatIsStuckIsNotWaitedForForEver) {
    EXPECT_EXIT(
        {
            DisplayLoss guard(std::chrono::milliseconds(50));
            guard.onLost = [] { say("kept."); };
            std::thread([] {
                qWarning("The Wayland connection broke. Did the Wayland compositor die?");
                ::_exit(7);
            }).join();
        },
        ::testing::ExitedWithCode(7), "die\\?\n$");
}
