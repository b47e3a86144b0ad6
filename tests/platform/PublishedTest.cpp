#include "platform/Published.h"

#include "Eventually.h"
#include "RealtimeScope.h"

#include <atomic>
#include <gtest/gtest.h>
#include <memory>
#include <thread>
#include <vector>

using namespace marvo;

namespace {

// Both halves are equal in every value that was published; the mark is gone in one that was freed.
struct Pair {
    explicit Pair(int number = 0) : left(number), right(number) {}
    ~Pair() { mark = 0; }
    Pair(const Pair&) = delete;
    Pair& operator=(const Pair&) = delete;
    int left;
    int right;
    std::atomic<int> mark{0x5a5a};
};

} // namespace

TEST(Published, StartsWithADefaultValue) {
    const Published<Pair> value;
    EXPECT_EQ(value.read()->left, 0);
}

TEST(Published, ShowsANewValueToTheNextReader) {
    Published<Pair> value;
    value.publish(std::make_unique<Pair>(3));
    EXPECT_EQ(value.read()->right, 3);
    EXPECT_EQ((*value.read()).left, 3);
}

TEST(Published, FreesTheOldValueOnlyWhenNobodyReadsIt) {
    Published<std::shared_ptr<int>> value;
    const auto counted = std::make_shared<int>(1);
    value.publish(std::make_unique<std::shared_ptr<int>>(counted));
    std::atomic<bool> published{false};
    std::thread writer;
    {
        const auto reader = value.read();
        writer = std::thread([&] {
            value.publish(std::make_unique<std::shared_ptr<int>>());
            published.store(true);
        });
        // A new reader sees the new value while the old one is still held.
        EXPECT_TRUE(eventually([&] { return *value.read() == nullptr; }));
        EXPECT_EQ(counted.use_count(), 2);
        EXPECT_FALSE(published.load());
        EXPECT_EQ(**reader, 1);
    }
    writer.join();
    EXPECT_EQ(counted.use_count(), 1);
}

TEST(Published, NeverShowsHalfOfAValueOrAFreedOne) {
    Published<Pair> value;
    std::atomic<bool> stop{false};
    std::atomic<long> broken{0};
    std::atomic<long> reads{0};
    std::vector<std::thread> readers;
    for (int i = 0; i < 3; ++i) {
        readers.emplace_back([&] {
            int last = 0;
            while (!stop.load()) {
                const auto seen = value.read();
                if (seen->left != seen->right || seen->mark != 0x5a5a || seen->left < last)
                    broken.fetch_add(1);
                last = seen->left;
                reads.fetch_add(1);
            }
        });
    }
    EXPECT_TRUE(eventually([&] { return reads.load() > 100; }));
    for (int number = 1; number <= 300; ++number) value.publish(std::make_unique<Pair>(number));
    stop.store(true);
    for (std::thread& reader : readers) reader.join();
    EXPECT_EQ(broken.load(), 0);
    EXPECT_EQ(value.read()->left, 300);
}

TEST(Published, IsReadWithoutAllocatingOrWaiting) {
    const Published<Pair> value;
    std::size_t violations = 0;
    int sum = 0;
    {
        const RealtimeScope scope;
        for (int i = 0; i < 1000; ++i) sum += value.read()->left;
        violations = scope.violations();
    }
    EXPECT_EQ(violations, 0U);
    EXPECT_EQ(sum, 0);
}
