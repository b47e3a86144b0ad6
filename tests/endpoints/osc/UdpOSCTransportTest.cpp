#include "endpoints/osc/UdpOSCTransport.h"

#include "Eventually.h"
#include "FakeTransport.h"
#include "RealtimeScope.h"
#include "endpoints/osc/UdpOSCListener.h"
#include "platform/UdpSocket.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

using namespace marvo;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const std::string here = "127.0.0.1";

OSCMessage numbered(int number) {
    OSCMessage message = OSCMessage::createWithAddress("/n");
    message.addInt(number);
    return message;
}

// Any free port, told by the system; free again when this returns.
int freePort() {
    UdpSocket socket;
    socket.open(AF_INET);
    socket.bind(*SocketAddress::fromNumeric(here, 0));
    return socket.localPort();
}

class Inbox final : public OSCMessageReceiver {
public:
    void receivedOSCMessage(const OSCMessage& message) override {
        const std::lock_guard hold(lock_);
        messages_.push_back(shown(message));
        last_ = message;
    }
    std::vector<std::string> messages() const {
        const std::lock_guard hold(lock_);
        return messages_;
    }
    std::size_t count() const { return messages().size(); }
    std::size_t valuesOfLast() const {
        const std::lock_guard hold(lock_);
        return last_.valueCount();
    }

private:
    mutable std::mutex lock_;
    std::vector<std::string> messages_;
    OSCMessage last_;
};

// An inbox behind a real socket on a port of its own.
class Peer {
public:
    Peer() {
        for (int tries = 0; tries < 20 && !listener_; ++tries) {
            listener_ = UdpOSCListener::open(here, freePort(), inbox);
        }
    }
    int port() const { return listener_->port(); }
    std::uint64_t malformed() const { return listener_->malformed(); }
    Inbox inbox;

private:
    std::unique_ptr<UdpOSCListener> listener_;
};

// Names that a test makes known or unknown.
class NameTable {
public:
    void set(const std::string& name, const std::string& address) {
        const std::lock_guard hold(lock_);
        known_[name] = address;
    }
    NameLookup lookup() {
        return [this](const std::string& name) -> LookupResult {
            const std::lock_guard hold(lock_);
            ++asked_;
            const auto found = known_.find(name);
            if (found == known_.end()) return {std::nullopt, "not known here"};
            return {found->second, {}};
        };
    }
    int asked() const {
        const std::lock_guard hold(lock_);
        return asked_;
    }

private:
    mutable std::mutex lock_;
    std::map<std::string, std::string> known_;
    int asked_ = 0;
};

class TroubleLog {
public:
    explicit TroubleLog(OSCTransport& transport) {
        transport.onTrouble([this](const OutputTrouble& trouble) {
            const std::lock_guard hold(lock_);
            lines_.push_back(trouble.label + (trouble.began ? ": " : " back") + trouble.reason);
        });
    }
    std::vector<std::string> lines() const {
        const std::lock_guard hold(lock_);
        return lines_;
    }

private:
    mutable std::mutex lock_;
    std::vector<std::string> lines_;
};

void sendBytes(int port, const std::string& bytes) {
    UdpSocket socket;
    ASSERT_EQ(socket.open(AF_INET), 0);
    ASSERT_EQ(socket.connect(*SocketAddress::fromNumeric(here, static_cast<std::uint16_t>(port))), 0);
    ASSERT_EQ(socket.send(std::as_bytes(std::span<const char>(bytes))), static_cast<long>(bytes.size()));
}

} // namespace

TEST(UdpOutput, SendsItsVeryFirstMessageToANumericAddress) {
    Peer peer;
    UdpOSCTransport transport(here);
    const auto wire = transport.makeWire("A", here, peer.port());
    wire->send(numbered(1), {});
    EXPECT_EQ(wire->counters().sent, 1U);
    EXPECT_EQ(wire->counters().dropped, 0U);
    EXPECT_EQ(wire->counters().bytes, 12U);
    EXPECT_TRUE(eventually([&] { return peer.inbox.count() == 1; }));
    EXPECT_THAT(peer.inbox.messages(), ElementsAre("/n 1"));
}

TEST(UdpOutput, ReachesAHostByItsName) {
    Peer peer;
    NameTable names;
    names.set("desk", here);
    UdpOSCTransport transport(here, names.lookup());
    const auto wire = transport.makeWire("A", "desk", peer.port());
    EXPECT_TRUE(eventually([&] {
        wire->send(numbered(1), {});
        return peer.inbox.count() > 0;
    }));
}

TEST(UdpOutput, KeepsAskingForAnUnknownHostAndTellsOfItOnce) {
    Peer peer;
    NameTable names;
    UdpOSCTransport transport(here, names.lookup());
    const TroubleLog log(transport);
    const auto wire = transport.makeWire("A", "desk", peer.port());
    wire->send(numbered(1), {});
    EXPECT_EQ(wire->counters().dropped, 1U);
    ASSERT_TRUE(eventually([&] { return names.asked() >= 3; }));
    EXPECT_THAT(log.lines(), ElementsAre("A: the host \"desk\" is not found: not known here"));
    names.set("desk", here);
    EXPECT_TRUE(eventually([&] {
        wire->send(numbered(2), {});
        return peer.inbox.count() > 0 && log.lines().size() == 2;
    }));
    EXPECT_EQ(log.lines().back(), "A back");
    EXPECT_EQ(peer.inbox.messages().front(), "/n 2") << "old output must not come late";
}

TEST(UdpOutput, AsksForAnUnknownHostLessAndLessOften) {
    NameTable names;
    UdpOSCTransport transport(here, names.lookup());
    const auto wire = transport.makeWire("A", "desk", 9);
    ASSERT_TRUE(eventually([&] { return names.asked() >= 4; }, 10s));
    const auto start = std::chrono::steady_clock::now();
    ASSERT_TRUE(eventually([&] { return names.asked() >= 5; }, 10s));
    EXPECT_GT(std::chrono::steady_clock::now() - start, 1200ms);
}

TEST(UdpOutput, LeavesItsOldTargetAtOnceForOneThatIsNotFound) {
    Peer peer;
    NameTable names;
    UdpOSCTransport transport(here, names.lookup());
    const auto wire = transport.makeWire("A", here, peer.port());
    wire->send(numbered(1), {});
    wire->setTarget("nobody", peer.port());
    wire->send(numbered(2), {});
    EXPECT_EQ(wire->counters().dropped, 1U);
    wire->setTarget(here, peer.port());
    wire->send(numbered(3), {});
    EXPECT_TRUE(eventually([&] { return peer.inbox.count() == 2; }));
    EXPECT_THAT(peer.inbox.messages(), ElementsAre("/n 1", "/n 3"));
}

TEST(UdpOutput, GoesToItsNewPortFromTheNextMessageOn) {
    Peer old;
    Peer fresh;
    UdpOSCTransport transport(here);
    const auto wire = transport.makeWire("A", here, old.port());
    wire->send(numbered(1), {});
    wire->setTarget(here, fresh.port());
    wire->send(numbered(2), {});
    EXPECT_TRUE(eventually([&] { return old.inbox.count() == 1 && fresh.inbox.count() == 1; }));
    EXPECT_THAT(fresh.inbox.messages(), ElementsAre("/n 2"));
}

TEST(UdpOutput, TakesNobodyListeningForNoTrouble) {
    UdpOSCTransport transport(here);
    const TroubleLog log(transport);
    const int port = freePort();
    const auto wire = transport.makeWire("A", here, port);
    for (int i = 0; i < 100; ++i) wire->send(numbered(i), {});
    EXPECT_EQ(wire->counters().dropped, 0U);
    EXPECT_EQ(wire->counters().sent, 100U);
    Inbox inbox;
    const auto late = UdpOSCListener::open(here, port, inbox);
    ASSERT_TRUE(late);
    wire->send(numbered(7), {});
    EXPECT_TRUE(eventually([&] { return inbox.count() == 1; }));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST(UdpOutput, DropsAMessageThatNoDatagramHoldsAndTellsOfItOnce) {
    Peer peer;
    NameTable names;
    UdpOSCTransport transport(here, names.lookup());
    const TroubleLog log(transport);
    const auto wire = transport.makeWire("A", here, peer.port());
    OSCMessage largest = OSCMessage::createWithAddress("/n");
    for (int i = 0; i < 13099; ++i) largest.addInt(i); // 65504 bytes, four below the limit rounded down
    OSCMessage tooLarge = largest;
    tooLarge.addInt(1);
    for (int i = 0; i < 3; ++i) wire->send(tooLarge, {});
    wire->send(largest, {});
    EXPECT_EQ(wire->counters().dropped, 3U);
    EXPECT_TRUE(eventually([&] { return peer.inbox.count() == 1; }));
    EXPECT_EQ(peer.inbox.valuesOfLast(), 13099U);
    EXPECT_TRUE(eventually([&] { return !log.lines().empty(); }));
    wire->send(tooLarge, {});
    // The trouble of another output shows that the first was looked at again.
    const auto other = transport.makeWire("B", "desk", 9);
    EXPECT_TRUE(eventually([&] { return log.lines().size() >= 2; }));
    EXPECT_THAT(log.lines(),
                ElementsAre(testing::HasSubstr("A: a message of 65508 bytes is too large for UDP"),
                            testing::HasSubstr("B: ")));
}

TEST(UdpOutput, SendsWhileALookUpIsStuckAndEndsWithoutIt) {
    struct Gate {
        std::mutex lock;
        std::condition_variable changed;
        bool open = false;
        bool entered = false;
        bool left = false;
    };
    const auto gate = std::make_shared<Gate>();
    {
        Peer peer;
        UdpOSCTransport transport(here, [gate](const std::string&) -> LookupResult {
            std::unique_lock hold(gate->lock);
            gate->entered = true;
            gate->changed.notify_all();
            gate->changed.wait(hold, [&] { return gate->open; });
            gate->left = true;
            gate->changed.notify_all();
            return {std::nullopt, "late"};
        });
        const auto stuck = transport.makeWire("stuck", "slow", 9);
        {
            std::unique_lock hold(gate->lock);
            ASSERT_TRUE(gate->changed.wait_for(hold, 5s, [&] { return gate->entered; }));
        }
        const auto wire = transport.makeWire("A", here, peer.port());
        wire->send(numbered(1), {});
        stuck->send(numbered(2), {});
        EXPECT_TRUE(eventually([&] { return peer.inbox.count() == 1; }));
    }
    std::unique_lock hold(gate->lock);
    EXPECT_FALSE(gate->left) << "the transport waited for the look-up";
    gate->open = true;
    gate->changed.notify_all();
    EXPECT_TRUE(gate->changed.wait_for(hold, 5s, [&] { return gate->left; }));
}

TEST(UdpOutput, TellsOfTroubleUnderItsPresentLabel) {
    NameTable names;
    UdpOSCTransport transport(here, names.lookup());
    const TroubleLog log(transport);
    const auto wire = transport.makeWire("old", "desk", 9);
    ASSERT_TRUE(eventually([&] { return log.lines().size() == 1; }));
    wire->setLabel("new");
    names.set("desk", here);
    EXPECT_TRUE(eventually([&] { return log.lines().size() == 2; }));
    EXPECT_EQ(log.lines().back(), "new back");
}

TEST(UdpOutput, NeitherAllocatesNorWaitsWhenItSends) {
    Peer peer;
    UdpOSCTransport transport(here);
    const auto wire = transport.makeWire("A", here, peer.port());
    const OSCMessage message = numbered(1);
    wire->send(message, {});
    std::size_t violations = 0;
    {
        const RealtimeScope scope;
        for (int i = 0; i < 200; ++i) wire->send(message, {});
        violations = scope.violations();
    }
    EXPECT_EQ(violations, 0U);
    EXPECT_EQ(wire->counters().sent + wire->counters().dropped, 201U);
}

TEST(UdpOutput, LosesNoCountWhileItsTargetChangesUnderASendingThread) {
    Peer one;
    Peer other;
    UdpOSCTransport transport(here);
    const auto wire = transport.makeWire("A", here, one.port());
    std::atomic<bool> stop{false};
    std::uint64_t calls = 0;
    std::thread sender([&] {
        const OSCMessage message = numbered(1);
        while (!stop.load()) {
            wire->send(message, {});
            ++calls;
            std::this_thread::yield();
        }
    });
    for (int i = 0; i < 300; ++i) wire->setTarget(here, i % 2 == 0 ? other.port() : one.port());
    stop.store(true);
    sender.join();
    EXPECT_EQ(wire->counters().sent + wire->counters().dropped, calls);
    wire->send(numbered(77), {});
    EXPECT_TRUE(eventually([&] {
        const auto got = one.inbox.messages();
        return !got.empty() && got.back() == "/n 77";
    }));
}

TEST(UdpInput, RefusesAPortThatIsTakenAndTakesItWhenItIsFree) {
    Inbox inbox;
    UdpOSCTransport transport(here);
    auto first = transport.makeListener(freePort(), inbox);
    ASSERT_TRUE(first);
    const int port = first->port();
    EXPECT_FALSE(transport.makeListener(port, inbox));
    first.reset();
    EXPECT_TRUE(transport.makeListener(port, inbox));
}

TEST(UdpInput, RefusesNumbersThatAreNoPortAndAddressesThatAreNotHere) {
    Inbox inbox;
    UdpOSCTransport transport(here);
    for (const int port : {0, -1, 65536, 70000}) EXPECT_FALSE(transport.makeListener(port, inbox)) << port;
    EXPECT_FALSE(UdpOSCListener::open("no address", 9123, inbox));
    EXPECT_FALSE(UdpOSCListener::open("192.0.2.1", 9123, inbox));
}

TEST(UdpInput, ListensOnAllAddressesUnlessOneIsGiven) {
    Inbox inbox;
    const int port = freePort();
    const auto all = UdpOSCListener::open("", port, inbox);
    ASSERT_TRUE(all);
    const auto address = SocketAddress::fromNumeric("127.0.0.9", static_cast<std::uint16_t>(port));
    UdpSocket socket;
    ASSERT_EQ(socket.open(AF_INET), 0);
    ASSERT_EQ(socket.connect(*address), 0);
    const std::string packet("/n\0\0", 4);
    socket.send(std::as_bytes(std::span<const char>(packet)));
    EXPECT_TRUE(eventually([&] { return inbox.count() == 1; }));
}

TEST(UdpInput, CountsBrokenPacketsAndReadsOn) {
    using namespace std::string_literals;
    Peer peer;
    sendBytes(peer.port(), "nonsense");
    sendBytes(peer.port(), "");
    sendBytes(peer.port(), "/a\0\0,i\0\0"s);
    sendBytes(peer.port(), "/ok\0,i\0\0\0\0\0\5"s);
    sendBytes(peer.port(), "#bundle\0\0\0\0\0\0\0\0\1\0\0\0\x04/b1\0\0\0\0\x04/b2\0"s);
    EXPECT_TRUE(eventually([&] { return peer.inbox.count() == 3; }));
    EXPECT_THAT(peer.inbox.messages(), ElementsAre("/ok 5", "/b1", "/b2"));
    EXPECT_EQ(peer.malformed(), 3U);
}

TEST(UdpInput, EndsInTheMiddleOfAFloodAndDeliversNothingAfter) {
    Inbox inbox;
    const int port = freePort();
    auto listener = UdpOSCListener::open(here, port, inbox);
    ASSERT_TRUE(listener);
    std::atomic<bool> stop{false};
    std::thread flood([&] {
        UdpOSCTransport transport(here);
        const auto wire = transport.makeWire("A", here, port);
        const OSCMessage message = numbered(1);
        while (!stop.load()) wire->send(message, {});
    });
    EXPECT_TRUE(eventually([&] { return inbox.count() > 100; }));
    listener.reset();
    const std::size_t atEnd = inbox.count();
    std::this_thread::yield();
    EXPECT_EQ(inbox.count(), atEnd);
    stop.store(true);
    flood.join();
    EXPECT_EQ(inbox.count(), atEnd);
}

TEST(SystemNameLookup, KnowsThisMachineAndSaysWhyItDoesNotKnowAnother) {
    EXPECT_EQ(systemNameLookup()("localhost").address, "127.0.0.1");
    const LookupResult unknown = systemNameLookup()("no such host.invalid");
    EXPECT_FALSE(unknown.address);
    EXPECT_FALSE(unknown.reason.empty());
}
