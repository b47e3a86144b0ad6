#include "platform/DatagramIntake.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

using namespace marvo;

namespace {

struct Pair {
    Pair() {
        in.open(AF_INET);
        in.bind(*SocketAddress::fromNumeric("127.0.0.1", 0));
        const int room = 1 << 20;
        ::setsockopt(in.descriptor(), SOL_SOCKET, SO_RCVBUF, &room, sizeof room);
        out.open(AF_INET);
        out.connect(*SocketAddress::fromNumeric("127.0.0.1", in.localPort()));
    }
    void send(const std::string& text) const {
        ASSERT_EQ(out.send(std::as_bytes(std::span<const char>(text))), static_cast<long>(text.size()));
    }
    std::vector<std::string> take() {
        std::vector<std::string> texts;
        for (const auto& packet : intake.take(in))
            texts.emplace_back(reinterpret_cast<const char*>(packet.data()), packet.size());
        return texts;
    }

    UdpSocket in;
    UdpSocket out;
    DatagramIntake intake;
};

TEST(DatagramIntake, TakesWhatWaitsInItsOrder) {
    Pair pair;
    pair.send("one");
    pair.send("");
    pair.send(std::string(65507, 'x')); // the largest that IPv4 carries
    pair.send("four");
    EXPECT_EQ(pair.take(), (std::vector<std::string>{"one", "", std::string(65507, 'x'), "four"}));
    EXPECT_TRUE(pair.take().empty());
}

TEST(DatagramIntake, LeavesTheRestForTheNextCall) {
    Pair pair;
    for (std::size_t i = 0; i <= DatagramIntake::most; ++i) pair.send(std::to_string(i));
    EXPECT_EQ(pair.take().size(), DatagramIntake::most);
    EXPECT_EQ(pair.take(), std::vector<std::string>{std::to_string(DatagramIntake::most)});
}

TEST(DatagramIntake, TakesNothingFromAClosedSocket) {
    Pair pair;
    pair.send("lost");
    pair.in.close();
    EXPECT_TRUE(pair.take().empty());
}

} // namespace
