#include "platform/UdpSocket.h"

#include "Eventually.h"
#include "RealtimeScope.h"
#include "platform/NetworkAddresses.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>

using namespace marvo;

namespace {

SocketAddress loopback(std::uint16_t port) {
    return *SocketAddress::fromNumeric("127.0.0.1", port);
}

// Bound to a port that the system chose.
UdpSocket boundSocket() {
    UdpSocket socket;
    EXPECT_EQ(socket.open(AF_INET), 0);
    EXPECT_EQ(socket.bind(loopback(0)), 0);
    EXPECT_NE(socket.localPort(), 0);
    return socket;
}

long sendText(const UdpSocket& socket, const std::string& text) {
    return socket.send(std::as_bytes(std::span<const char>(text)));
}

std::string receiveText(const UdpSocket& socket) {
    std::array<std::byte, 2000> space{};
    long got = -1;
    eventually([&] { return (got = socket.receive(space)) != -EAGAIN; });
    return got < 0 ? "error " + std::to_string(-got)
                   : std::string(reinterpret_cast<const char*>(space.data()), static_cast<std::size_t>(got));
}

} // namespace

TEST(SocketAddress, IsMadeOfNumbersOnly) {
    EXPECT_EQ(SocketAddress::fromNumeric("10.1.2.3", 9000)->text(), "10.1.2.3");
    EXPECT_EQ(SocketAddress::fromNumeric("10.1.2.3", 9000)->port(), 9000);
    EXPECT_EQ(SocketAddress::fromNumeric("10.1.2.3", 9000)->family(), AF_INET);
    EXPECT_EQ(SocketAddress::fromNumeric("fe80::1", 9000)->text(), "fe80::1");
    EXPECT_EQ(SocketAddress::fromNumeric("::1", 9001)->port(), 9001);
    EXPECT_EQ(SocketAddress::fromNumeric("::1", 9001)->family(), AF_INET6);
    EXPECT_EQ(SocketAddress::any(7).text(), "0.0.0.0");
    for (const char* text :
         {"", "localhost", "10.1.2", "10.1.2.3.4", "10.1.2.256", " 10.1.2.3", "10.1.2.3 "}) {
        EXPECT_FALSE(SocketAddress::fromNumeric(text, 1)) << text;
    }
}

TEST(UdpSocket, CarriesDatagramsWhole) {
    const UdpSocket receiver = boundSocket();
    UdpSocket sender;
    ASSERT_EQ(sender.open(AF_INET), 0);
    ASSERT_EQ(sender.connect(loopback(receiver.localPort())), 0);
    EXPECT_EQ(sendText(sender, "first"), 5);
    EXPECT_EQ(sendText(sender, ""), 0);
    EXPECT_EQ(sendText(sender, "third"), 5);
    EXPECT_EQ(receiveText(receiver), "first");
    EXPECT_EQ(receiveText(receiver), "");
    EXPECT_EQ(receiveText(receiver), "third");
}

TEST(UdpSocket, DoesNotWaitForDatagrams) {
    const UdpSocket socket = boundSocket();
    std::array<std::byte, 10> space{};
    std::size_t violations = 0;
    long got = 0;
    {
        const RealtimeScope scope;
        got = socket.receive(space);
        violations = scope.violations();
    }
    EXPECT_EQ(got, -EAGAIN);
    EXPECT_EQ(violations, 0U);
}

TEST(UdpSocket, NeverSharesAPort) {
    const UdpSocket first = boundSocket();
    UdpSocket second;
    ASSERT_EQ(second.open(AF_INET), 0);
    EXPECT_EQ(second.bind(loopback(first.localPort())), -EADDRINUSE);
    EXPECT_EQ(second.bind(SocketAddress::any(first.localPort())), -EADDRINUSE);
}

TEST(UdpSocket, GivesItsPortBackWhenItCloses) {
    UdpSocket first = boundSocket();
    const std::uint16_t port = first.localPort();
    first.close();
    EXPECT_FALSE(first.isOpen());
    UdpSocket second;
    ASSERT_EQ(second.open(AF_INET), 0);
    EXPECT_EQ(second.bind(loopback(port)), 0);
}

TEST(UdpSocket, ReportsErrorsAsNegativeNumbers) {
    const UdpSocket closed;
    std::array<std::byte, 10> space{};
    EXPECT_EQ(sendText(closed, "x"), -EBADF);
    EXPECT_EQ(closed.receive(space), -EBADF);
    EXPECT_EQ(closed.localPort(), 0);
    UdpSocket socket;
    ASSERT_EQ(socket.open(AF_INET), 0);
    EXPECT_EQ(socket.bind(*SocketAddress::fromNumeric("192.0.2.1", 9000)), -EADDRNOTAVAIL);
    EXPECT_EQ(sendText(socket, "x"), -EDESTADDRREQ);
}

TEST(UdpSocket, MayBroadcast) {
    UdpSocket socket;
    ASSERT_EQ(socket.open(AF_INET), 0);
    EXPECT_EQ(socket.connect(*SocketAddress::fromNumeric("127.255.255.255", 9)), 0);
}

TEST(UdpSocket, IsNotInheritedByOtherPrograms) {
    UdpSocket socket = boundSocket();
    EXPECT_NE(fcntl(socket.descriptor(), F_GETFD) & FD_CLOEXEC, 0);
    UdpSocket other = boundSocket();
    ASSERT_EQ(socket.replaceBy(std::move(other)), 0);
    EXPECT_NE(fcntl(socket.descriptor(), F_GETFD) & FD_CLOEXEC, 0);
}

TEST(UdpSocket, KeepsItsDescriptorWhenAnotherSocketTakesItsPlace) {
    const UdpSocket one = boundSocket();
    const UdpSocket other = boundSocket();
    UdpSocket sender;
    ASSERT_EQ(sender.open(AF_INET), 0);
    ASSERT_EQ(sender.connect(loopback(one.localPort())), 0);
    const int descriptor = sender.descriptor();
    UdpSocket fresh;
    ASSERT_EQ(fresh.open(AF_INET), 0);
    ASSERT_EQ(fresh.connect(loopback(other.localPort())), 0);
    ASSERT_EQ(sender.replaceBy(std::move(fresh)), 0);
    EXPECT_EQ(sender.descriptor(), descriptor);
    EXPECT_EQ(sendText(sender, "to the other"), 12);
    EXPECT_EQ(receiveText(other), "to the other");
}

TEST(UdpSocket, TakesTheDescriptorOfAnotherWhenItHasNone) {
    const UdpSocket receiver = boundSocket();
    UdpSocket fresh;
    ASSERT_EQ(fresh.open(AF_INET), 0);
    ASSERT_EQ(fresh.connect(loopback(receiver.localPort())), 0);
    UdpSocket sender;
    ASSERT_EQ(sender.replaceBy(std::move(fresh)), 0);
    EXPECT_TRUE(sender.isOpen());
    EXPECT_EQ(sendText(sender, "x"), 1);
    EXPECT_EQ(receiveText(receiver), "x");
}

TEST(NetworkAddresses, AreNumericWithLoopbackLast) {
    bool loopbackSeen = false;
    for (const std::string& address : hostIPv4Addresses()) {
        EXPECT_TRUE(SocketAddress::fromNumeric(address, 1)) << address;
        const bool isLoopback = address.starts_with("127.");
        EXPECT_TRUE(isLoopback || !loopbackSeen) << address;
        loopbackSeen = loopbackSeen || isLoopback;
    }
}
