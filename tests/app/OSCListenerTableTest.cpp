#include "app/OSCListenerTable.h"

#include "platform/Clock.h"
#include "platform/MainThread.h"

#include <gtest/gtest.h>
#include <map>
#include <random>

namespace marvo::testing {
namespace {

struct Table {
    MonotonicClock clock;
    MainThread main{clock};
    InboundRendezvous rendezvous{main};
    SerialQueue queue{"com.selkar.compositions", QueueRank::compositions};
    OSCListenerTable table{rendezvous, queue};
};

// Some are longer than what stands beside the place in the table.
std::string addressOf(unsigned number) {
    return "/marvo/c" + std::to_string(number) + std::string(number % 5 * 9, 'x') + "/play";
}

TEST(OSCListenerTable, ThousandsOfListenersComeAndGoAndEachHearsItsOwn) {
    Table t;
    std::map<unsigned, int> owners; // owner's number to its address
    std::vector<char> keys(4000);
    std::vector<int> heard(keys.size());
    std::mt19937 random(3);
    for (unsigned step = 0; step < 12'000; ++step) {
        const unsigned owner = random() % static_cast<unsigned>(keys.size());
        if (owners.erase(owner) > 0) {
            t.table.drop(&keys[owner]);
            continue;
        }
        const int address = static_cast<int>(random() % 1500);
        owners[owner] = address;
        t.table.listen(&keys[owner], addressOf(static_cast<unsigned>(address)), "",
                       [&heard, owner](const OSCArgument&) { ++heard[owner]; });
    }
    std::map<int, std::size_t> expected;
    for (const auto& [owner, address] : owners) ++expected[address];
    for (int address = 0; address < 1500; ++address) {
        const std::string nobody = "/nobody" + std::to_string(address);
        const std::string text = addressOf(static_cast<unsigned>(address));
        t.table.prefetch(std::vector<std::string_view>(20, text));
        t.table.prefetch(std::vector<std::string_view>{nobody});
        EXPECT_EQ(t.table.dispatch(text, {}), expected.contains(address) ? expected[address] : 0u) << text;
    }
    for (unsigned owner = 0; owner < keys.size(); ++owner)
        EXPECT_EQ(heard[owner], owners.contains(owner) ? 1 : 0) << owner;
    EXPECT_EQ(t.table.addresses().size(), expected.size());
    for (unsigned owner = 0; owner < keys.size(); ++owner) t.table.drop(&keys[owner]);
    EXPECT_TRUE(t.table.addresses().empty());
}

TEST(OSCListenerTable, ThoseWhoShareAnAddressActInOrderAlsoWhenOneOfThemLeaves) {
    Table t;
    std::vector<int> acted;
    std::vector<char> keys(7);
    for (int i = 0; i < 7; ++i)
        t.table.listen(&keys[static_cast<std::size_t>(i)], "/shared", "",
                       [&acted, i](const OSCArgument&) { acted.push_back(i); });
    EXPECT_EQ(t.table.dispatch("/shared", {}), 7u);
    EXPECT_EQ(acted, (std::vector<int>{0, 1, 2, 3, 4, 5, 6}));
    t.table.drop(&keys[0]);
    t.table.drop(&keys[3]);
    t.table.drop(&keys[6]);
    acted.clear();
    EXPECT_EQ(t.table.dispatch("/shared", {}), 4u);
    EXPECT_EQ(acted, (std::vector<int>{1, 2, 4, 5}));
}

TEST(OSCListenerTable, AHandlerMayDropItselfAndOthersThatStillWait) {
    Table t;
    std::vector<int> acted;
    char first = 0, second = 0;
    t.table.listen(&first, "/x", "", [&](const OSCArgument&) {
        acted.push_back(1);
        t.table.drop(&first);
        t.table.drop(&second);
        t.table.listen(&first, "/x", "", [&](const OSCArgument&) { acted.push_back(3); });
    });
    t.table.listen(&second, "/x", "", [&](const OSCArgument&) { acted.push_back(2); });
    t.table.dispatch("/x", {});
    EXPECT_EQ(acted, (std::vector<int>{1}));
    t.table.dispatch("/x", {});
    EXPECT_EQ(acted, (std::vector<int>{1, 3}));
}

} // namespace
} // namespace marvo::testing
