#include "platform/MainThread.h"

#include "Eventually.h"

#include <atomic>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace marvo;

TEST(MainThreadRun, RunsUntilItIsToldToQuit) {
    const MonotonicClock clock;
    MainThread main(clock);
    std::atomic<int> ran{0};
    std::thread other([&] {
        main.async([&] { ++ran; });
        main.asyncAfter(Duration::ofMilliseconds(5), [&] {
            ++ran;
            main.quit();
        });
    });
    main.run();
    other.join();
    EXPECT_EQ(ran, 2);
}

TEST(MainThreadRun, ReturnsAtOnceWhenToldToQuitBefore) {
    const MonotonicClock clock;
    MainThread main(clock);
    bool ran = false;
    main.async([&] { ran = true; });
    main.quit();
    main.run();
    EXPECT_TRUE(ran);
}

TEST(MainThreadRun, CallsBackForDescriptors) {
    const MonotonicClock clock;
    MainThread main(clock);
    const int descriptor = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    int calls = 0;
    main.watchDescriptor(descriptor, [&] {
        std::uint64_t count = 0;
        EXPECT_EQ(read(descriptor, &count, sizeof count), 8);
        if (++calls == 2) {
            main.unwatchDescriptor(descriptor);
            main.quit();
        }
    });
    std::thread other([&] {
        const std::uint64_t one = 1;
        EXPECT_EQ(write(descriptor, &one, sizeof one), 8);
        EXPECT_TRUE(eventually([&] {
            pollfd polled{descriptor, POLLIN, 0};
            return poll(&polled, 1, 0) == 0;
        }));
        EXPECT_EQ(write(descriptor, &one, sizeof one), 8);
    });
    main.run();
    other.join();
    close(descriptor);
    EXPECT_EQ(calls, 2);
}

TEST(MainThreadRun, LosesNoPostUnderLoad) {
    const MonotonicClock clock;
    MainThread main(clock);
    constexpr int perThread = 3000;
    std::vector<int> last(3, -1);
    int blocks = 0;
    bool inOrder = true;
    std::atomic<int> posted{0};
    int seen = 0;
    MainThread::Signal signal(main, [&] { seen = posted.load(); });
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 3; ++thread)
        threads.emplace_back([&, thread] {
            for (int each = 0; each < perThread; ++each) {
                main.async([&, thread, each] {
                    inOrder = inOrder && last[static_cast<std::size_t>(thread)] == each - 1;
                    last[static_cast<std::size_t>(thread)] = each;
                    if (++blocks == 3 * perThread) main.quit();
                });
                ++posted;
                signal.post();
            }
        });
    main.run();
    for (auto& thread : threads) thread.join();
    main.pump();
    EXPECT_TRUE(inOrder);
    EXPECT_EQ(blocks, 3 * perThread);
    EXPECT_EQ(seen, 3 * perThread) << "the last post of a signal is never swallowed";
}
