#include "platform/PropertyList.h"

#include "AllocationCount.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <thread>
#include <vector>

namespace marvo {
namespace {

using Kind = PropertyList::Kind;

PropertyList keyframe(std::string_view curve, std::int64_t time, float value) {
    PropertyList record = PropertyList::dictionary();
    record.set("interpolation", curve);
    record.set("time", time);
    record.set("value", value);
    return record;
}

std::string keysOf(const PropertyList& dictionary) {
    std::string keys;
    for (const auto& [key, value] : dictionary.entries()) keys.append(key).append(" ");
    return keys;
}

TEST(PropertyList, KnowsTheKindOfWhatItWasMadeFrom) {
    EXPECT_EQ(PropertyList().kind(), Kind::none);
    EXPECT_EQ(PropertyList(true).kind(), Kind::boolean);
    EXPECT_EQ(PropertyList(7).kind(), Kind::integer);
    EXPECT_EQ(PropertyList(7u).kind(), Kind::integer);
    EXPECT_EQ(PropertyList(7LL).kind(), Kind::integer);
    EXPECT_EQ(PropertyList(std::uint64_t{1} << 63).kind(), Kind::unsignedInteger);
    EXPECT_EQ(PropertyList(std::uint64_t{5}).kind(), Kind::integer);
    EXPECT_EQ(PropertyList(0.5).kind(), Kind::real);
    EXPECT_EQ(PropertyList(0.5f).kind(), Kind::real32);
    EXPECT_EQ(PropertyList("text").kind(), Kind::string);
    EXPECT_EQ(PropertyList::date(0).kind(), Kind::date);
    EXPECT_EQ(PropertyList::data({}).kind(), Kind::data);
    EXPECT_EQ(PropertyList::array().kind(), Kind::array);
    EXPECT_EQ(PropertyList::dictionary().kind(), Kind::dictionary);
}

TEST(PropertyList, AStrayPointerDoesNotBecomeTrue) {
    EXPECT_FALSE((std::is_convertible_v<int*, PropertyList>));
    EXPECT_FALSE((std::is_convertible_v<void*, PropertyList>));
}

TEST(PropertyList, ReadsNumbersTolerantly) {
    EXPECT_EQ(PropertyList(true).integerOr(9), 1);
    EXPECT_EQ(PropertyList(false).realOr(9), 0.0);
    EXPECT_EQ(PropertyList(2.9).integerOr(9), 2);
    EXPECT_EQ(PropertyList(-2.9f).integerOr(9), -2);
    EXPECT_EQ(PropertyList(7).realOr(0), 7.0);
    EXPECT_EQ(PropertyList(" 12 frames").integerOr(9), 12);
    EXPECT_EQ(PropertyList("0.25x").realOr(9), 0.25);
    EXPECT_EQ(PropertyList("no number").integerOr(9), 0);
    EXPECT_TRUE(PropertyList(0.5).boolOr(false));
    EXPECT_TRUE(PropertyList(-1).boolOr(false));
    EXPECT_FALSE(PropertyList("0").boolOr(true));
    EXPECT_TRUE(PropertyList("1").boolOr(false));
}

TEST(PropertyList, SaturatesRealsThatAreNoIntegers) {
    EXPECT_EQ(PropertyList(1e300).integerOr(0), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(PropertyList(-1e300).integerOr(0), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(PropertyList(0x1p63).integerOr(0), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(PropertyList(-0x1p63).integerOr(0), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(PropertyList(std::nan("")).integerOr(5), 0);
    EXPECT_FALSE(PropertyList(std::nan("")).boolOr(true));
    EXPECT_EQ(PropertyList(std::uint64_t{1} << 63).integerOr(0), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(PropertyList(std::uint64_t{1} << 63).unsignedOr(0), std::uint64_t{1} << 63);
    EXPECT_EQ(PropertyList(-4).unsignedOr(77), 77u);
}

TEST(PropertyList, GivesTheFallbackForAWrongKind) {
    const PropertyList array = PropertyList::array();
    EXPECT_EQ(array.integerOr(3), 3);
    EXPECT_EQ(array.realOr(0.5), 0.5);
    EXPECT_TRUE(array.boolOr(true));
    EXPECT_EQ(array.stringOr("none"), "none");
    EXPECT_EQ(PropertyList(4).stringOr("none"), "none");
    EXPECT_EQ(PropertyList().integerOr(8), 8);
    EXPECT_EQ(array.find("key"), nullptr);
    EXPECT_EQ(PropertyList(4).size(), 0u);
    EXPECT_TRUE(PropertyList("text").dataBytes().empty());
    EXPECT_EQ(PropertyList(1.0).dateSeconds(), 0.0);
}

TEST(PropertyList, ReadsStrictlyWhereAsked) {
    EXPECT_EQ(PropertyList(7).asInteger(), 7);
    EXPECT_EQ(PropertyList(7.0).asInteger(), std::nullopt);
    EXPECT_EQ(PropertyList(true).asInteger(), std::nullopt);
    EXPECT_EQ(PropertyList("7").asInteger(), std::nullopt);
    EXPECT_EQ(PropertyList(std::uint64_t{1} << 63).asInteger(), std::nullopt);
    EXPECT_EQ(PropertyList(7).asReal(), 7.0);
    EXPECT_EQ(PropertyList(0.5f).asReal(), 0.5);
    EXPECT_EQ(PropertyList(true).asReal(), std::nullopt);
    EXPECT_EQ(PropertyList(true).asBool(), true);
    EXPECT_EQ(PropertyList(1).asBool(), std::nullopt);
    EXPECT_EQ(PropertyList("a").asString(), "a");
    EXPECT_EQ(PropertyList(1).asString(), std::nullopt);
}

TEST(PropertyList, ACopyDoesNotFollowTheOriginal) {
    PropertyList original = keyframe("Linear Interpolation", 10, 0.5f);
    const PropertyList copy = original;
    original.set("time", 11);
    original.set("note", "new");
    original.remove("value");
    EXPECT_EQ(copy, keyframe("Linear Interpolation", 10, 0.5f));
    EXPECT_EQ(original.find("time")->integerOr(0), 11);

    PropertyList list = PropertyList::array();
    list.push_back(1);
    const PropertyList listCopy = list;
    list.push_back(2);
    EXPECT_EQ(listCopy.size(), 1u);
    EXPECT_EQ(list.size(), 2u);
}

TEST(PropertyList, ADeepCopyPartsOnlyWhereItIsChanged) {
    PropertyList outer = PropertyList::dictionary();
    outer.set("inner", keyframe("a", 1, 1));
    PropertyList copy = outer;
    PropertyList inner = *copy.find("inner");
    inner.set("time", 2);
    copy.set("inner", inner);
    EXPECT_EQ(outer.find("inner")->find("time")->integerOr(0), 1);
    EXPECT_EQ(copy.find("inner")->find("time")->integerOr(0), 2);
}

TEST(PropertyList, KeepsTheOrderInWhichKeysWereSet) {
    PropertyList record = PropertyList::dictionary();
    for (const char* key : {"zebra", "apple", "mango"}) record.set(key, 1);
    EXPECT_EQ(keysOf(record), "zebra apple mango ");
    record.set("apple", 2);
    EXPECT_EQ(keysOf(record), "zebra apple mango ");
    record.remove("zebra");
    record.set("zebra", 3);
    EXPECT_EQ(keysOf(record), "apple mango zebra ");
    record.remove("unknown");
    EXPECT_EQ(record.size(), 3u);
}

TEST(PropertyList, FindsEveryKeyOfALargeDictionary) {
    constexpr int count = 5000;
    PropertyList record = PropertyList::dictionary();
    for (int i = 0; i < count; ++i) record.set("Comp-" + std::to_string(i), i);
    for (int i = 0; i < count; i += 2) record.remove("Comp-" + std::to_string(i * 2 % count));
    int found = 0;
    for (int i = 0; i < count; ++i) {
        const PropertyList* value = record.find("Comp-" + std::to_string(i));
        const bool removed = i % 4 == 0;
        ASSERT_EQ(value == nullptr, removed) << i;
        if (value) {
            ASSERT_EQ(value->integerOr(-1), i);
            ++found;
        }
    }
    EXPECT_EQ(record.size(), static_cast<std::size_t>(found));
}

TEST(PropertyList, TurnsIntoAContainerWhenItIsFilled) {
    PropertyList value = 5;
    value.set("key", 1);
    EXPECT_TRUE(value.isDictionary());
    value.push_back(2);
    EXPECT_TRUE(value.isArray());
    EXPECT_EQ(value.size(), 1u);
    EXPECT_EQ(value.at(0)->integerOr(0), 2);
    EXPECT_EQ(value.at(1), nullptr);
}

TEST(PropertyList, CanHoldACopyOfItself) {
    PropertyList value = keyframe("a", 1, 1);
    value.set("before", value);
    EXPECT_EQ(*value.find("before"), keyframe("a", 1, 1));
    value.set("self", std::move(value));
    EXPECT_EQ(value.size(), 1u);
    EXPECT_EQ(value.find("self")->size(), 4u);

    PropertyList list = PropertyList::array();
    for (int i = 0; i < 20; ++i) list.push_back(list);
    EXPECT_EQ(list.at(19)->size(), 19u);
}

TEST(PropertyList, TakesAKeyThatLiesInItself) {
    PropertyList value = PropertyList::dictionary();
    for (int i = 0; i < 40; ++i)
        value.set("a key too long to be shared between values, number " + std::to_string(i), i);
    const PropertyList shared = value;
    for (int i = 0; i < 40; ++i) {
        value.set(value.entries()[static_cast<std::size_t>(i)].key, i + 100);
        value.remove(shared.entries()[static_cast<std::size_t>(i)].key);
        value.set(shared.entries()[static_cast<std::size_t>(i)].key, i + 200);
        value.remove(value.entries()[0].key);
        value.set(shared.entries()[static_cast<std::size_t>(i)].key, i + 300);
    }
    EXPECT_EQ(shared.size(), 40u);
    EXPECT_EQ(shared.find(shared.entries()[7].key)->integerOr(0), 7);
}

TEST(PropertyList, ComparesByWhatIsThere) {
    EXPECT_EQ(PropertyList(0.5f), PropertyList(0.5));
    EXPECT_EQ(PropertyList(3), PropertyList(3.0));
    EXPECT_EQ(PropertyList(std::nan("")), PropertyList(std::nan("")));
    EXPECT_NE(PropertyList(0.1f), PropertyList(0.1));
    EXPECT_NE(PropertyList(1), PropertyList(true));
    EXPECT_NE(PropertyList("1"), PropertyList(1));
    EXPECT_NE(PropertyList(), PropertyList(false));
    EXPECT_EQ(PropertyList(), PropertyList());
    EXPECT_NE(PropertyList::array(), PropertyList::dictionary());
    EXPECT_NE(PropertyList(std::uint64_t{1} << 63), PropertyList(std::numeric_limits<std::int64_t>::min()));
    EXPECT_EQ(PropertyList(std::uint64_t{1} << 63), PropertyList(0x1p63));
    // 2^53 + 1 has no double of its own.
    EXPECT_NE(PropertyList((std::int64_t{1} << 53) + 1), PropertyList(0x1p53));
    EXPECT_NE(PropertyList(std::numeric_limits<std::int64_t>::max()), PropertyList(0x1p63));
}

TEST(PropertyList, ComparesDictionariesWhateverTheOrderOfTheirKeys) {
    PropertyList a = PropertyList::dictionary();
    a.set("x", 1);
    a.set("y", 2);
    PropertyList b = PropertyList::dictionary();
    b.set("y", 2);
    b.set("x", 1);
    EXPECT_EQ(a, b);
    b.set("x", 3);
    EXPECT_NE(a, b);
    PropertyList c = PropertyList::dictionary();
    c.set("x", 1);
    EXPECT_NE(a, c);
    c.set("z", 2);
    EXPECT_NE(a, c);
}

TEST(PropertyList, ComparesArraysElementByElement) {
    PropertyList a = PropertyList::array();
    PropertyList b = PropertyList::array();
    EXPECT_EQ(a, b);
    a.push_back(1);
    EXPECT_NE(a, b);
    b.push_back(2);
    EXPECT_NE(a, b);
}

TEST(PropertyList, TheLastOfSeveralEntriesWithOneKeyWins) {
    std::vector<PropertyList::Entry> entries;
    entries.push_back({SharedText("a"), 1});
    entries.push_back({SharedText("b"), 2});
    entries.push_back({SharedText("a"), 3});
    const PropertyList record = PropertyList::dictionaryOf(entries);
    EXPECT_EQ(keysOf(record), "a b ");
    EXPECT_EQ(record.find("a")->integerOr(0), 3);
}

TEST(PropertyList, LettingGoOfADeepValueDoesNotOverflowTheStack) {
    constexpr int depth = 500'000;
    PropertyList value = 1;
    for (int i = 0; i < depth; ++i) {
        PropertyList outer = i % 2 == 0 ? PropertyList::array() : PropertyList::dictionary();
        if (i % 2 == 0) {
            outer.push_back(std::move(value));
        } else {
            outer.set("inner", std::move(value));
        }
        value = std::move(outer);
    }
    value = PropertyList();
    EXPECT_TRUE(value.isNone());
}

TEST(PropertyList, ManySmallRecordsStaySmall) {
    constexpr std::size_t count = 10'000;
    std::vector<PropertyList> records;
    records.reserve(count);
    const SharedText interpolation("interpolation"), time("time"), value("value"),
        curve("Linear Interpolation");
    const AllocationCount before = allocationsOfThisThread();
    for (std::size_t i = 0; i < count; ++i) {
        PropertyList::Entry entries[] = {{interpolation, PropertyList(curve)}, {time, i}, {value, 0.5f}};
        records.push_back(PropertyList::dictionaryOf(entries));
    }
    const AllocationCount after = allocationsOfThisThread();
    EXPECT_EQ(after.blocks - before.blocks, count);
    EXPECT_LE(after.bytes - before.bytes, count * 88);
}

TEST(PropertyList, RecordsBuiltKeyByKeyShareTheirKeys) {
    constexpr std::size_t count = 10'000;
    PropertyList first = keyframe("a", 1, 1);
    for (std::size_t i = 0; i < count; ++i) {
        const PropertyList other = keyframe("b", 2, 2);
        for (std::size_t key = 0; key < 3; ++key) {
            ASSERT_TRUE(first.entries()[key].key.sameBlock(other.entries()[key].key));
        }
    }
}

TEST(PropertyList, CopyingAllocatesNothing) {
    const PropertyList record = keyframe("Linear Interpolation", 1, 1);
    const AllocationCount before = allocationsOfThisThread();
    for (int i = 0; i < 1000; ++i) {
        const PropertyList copy = record;
        ASSERT_EQ(copy.size(), 3u);
    }
    EXPECT_EQ(allocationsOfThisThread().blocks, before.blocks);
}

TEST(PropertyList, ThreadsMayChangeTheirCopiesOfOneValue) {
    PropertyList shared = PropertyList::array();
    for (int i = 0; i < 100; ++i) shared.push_back(keyframe("Linear Interpolation", i, 0));
    std::vector<std::thread> threads;
    std::vector<std::int64_t> sums(4);
    for (std::size_t t = 0; t < sums.size(); ++t) {
        threads.emplace_back([copy = shared, t, &sums]() mutable {
            for (int round = 0; round < 50; ++round) {
                PropertyList mine = copy;
                mine.push_back(static_cast<std::int64_t>(t));
                PropertyList record = *mine.at(0);
                record.set("time", round);
                sums[t] += static_cast<std::int64_t>(mine.size()) + record.find("time")->integerOr(0);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    for (const std::int64_t sum : sums) EXPECT_EQ(sum, 50 * 101 + 49 * 25);
    EXPECT_EQ(shared.size(), 100u);
}

} // namespace
} // namespace marvo
