#include "endpoints/midi/MIDIKeeper.h"
#include "endpoints/midi/KeptMIDITransport.h"
#include "endpoints/midi/MIDICrashGuard.h"
#include "endpoints/midi/MarvoMIDIManager.h"

#include "Eventually.h"
#include "FakeMIDITransport.h"
#include "RealtimeScope.h"
#include "WoodenMIDISystem.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <iostream>
#include <thread>

using namespace marvo;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

MIDIFoundEndpoint device(const std::string& name, const std::string& address = "") {
    return {address.empty() ? "address of " + name : address, "key of " + name, name, true};
}

class KeptTransport : public testing::Test {
protected:
    void make() {
        std::vector<std::unique_ptr<MIDIBackend>> backends;
        backends.push_back(std::make_unique<WoodenBackend>(system));
        transport = std::make_unique<KeptMIDITransport>(std::move(backends));
        transport->onTrouble([this](const MIDITrouble& trouble) {
            const std::lock_guard hold(lock);
            troubles.push_back((trouble.port.empty() ? "" : trouble.port + ": ") + trouble.reason +
                               (trouble.began ? "" : " no more"));
        });
        transport->onSetupChanged([this] { ++setupChanges; });
    }
    std::unique_ptr<MIDIOutput> openSender(const std::string& name) {
        auto output = transport->makeVirtualSender(name);
        EXPECT_TRUE(eventually([&] { return system.isOpen(name); }));
        return output;
    }
    std::vector<std::string> takeTroubles() {
        const std::lock_guard hold(lock);
        return std::exchange(troubles, {});
    }
    bool hasTrouble(const std::string& text) {
        return eventually([&] {
            const std::lock_guard hold(lock);
            return std::find(troubles.begin(), troubles.end(), text) != troubles.end();
        });
    }
    void dieAndComeBack() {
        system.die();
        ASSERT_TRUE(eventually([&] { return transport->kind() == "away"; }));
        system.comeBack();
        ASSERT_TRUE(eventually([&] { return transport->kind() == "wood"; }));
    }
    // Plays until the line was there.
    bool plays(const std::string& line) {
        return eventually([&] {
            const auto lines = system.played();
            return std::find(lines.begin(), lines.end(), line) != lines.end();
        });
    }
    void send(MIDIOutput& output, const MIDIMessage& message) { output.send({&message, 1}, {}); }

    WoodenSystem system;
    std::unique_ptr<KeptMIDITransport> transport;
    std::mutex lock;
    std::vector<std::string> troubles;
    std::atomic<int> setupChanges{0};
    const MIDIMessage note{MIDIMessage::noteOn, 0, 60, 100};
    const MIDIMessage control{MIDIMessage::controlChange, 0, 7, 1};
};

TEST_F(KeptTransport, DevicesAreListedFromTheBeginning) {
    system.found = {{device("Pad")}, {device("Pad"), device("Synth")}};
    make();
    EXPECT_EQ(transport->kind(), "wood");
    EXPECT_THAT(transport->endpoints().sources, ElementsAre(MIDIEndpoint{"key of Pad", "Pad"}));
    EXPECT_EQ(transport->endpoints().destinations.size(), 2U);
    EXPECT_THAT(takeTroubles(), IsEmpty());
}

TEST_F(KeptTransport, WhatIsSentWhileThePortIsBeingOpenedIsNotLost) {
    make();
    const auto output = transport->makeVirtualSender("Out");
    send(*output, note);
    EXPECT_TRUE(plays("Out: 90 3c 64"));
}

TEST_F(KeptTransport, ADestinationIsOpenedByWhoeverSendsToIt) {
    system.found.destinations = {device("Synth")};
    make();
    const auto output = transport->openDestination(transport->endpoints().destinations.at(0));
    output->silence();
    EXPECT_FALSE(eventually([&] { return system.openCount() > 0; }, std::chrono::milliseconds(300)));
    send(*output, note);
    EXPECT_TRUE(plays("Synth: 90 3c 64"));
    EXPECT_EQ(system.outs.at(0).second, "address of Synth");
    EXPECT_FALSE(transport->openDestination({"key of Nobody", "Nobody"}));
}

TEST_F(KeptTransport, AClosedPortEndsItsNotesFirst) {
    make();
    auto output = openSender("Out");
    send(*output, note);
    system.played();
    output.reset();
    EXPECT_TRUE(plays("Out: 80 3c 00"));
    EXPECT_TRUE(eventually([&] {
        system.round();
        return !system.isOpen("Out");
    }));
}

TEST_F(KeptTransport, APortThatTheSystemNeverFeedsClosesAllTheSame) {
    make();
    auto output = openSender("Out");
    send(*output, note);
    output.reset();
    EXPECT_TRUE(eventually([&] { return !system.isOpen("Out"); }));
}

TEST_F(KeptTransport, ANewPortOfTheSameNameWaitsForTheOldOneToClose) {
    make();
    auto first = openSender("Out");
    send(*first, note);
    system.played();
    first.reset();
    const auto second = transport->makeVirtualSender("Out");
    send(*second, control);
    std::vector<std::string> lines;
    EXPECT_TRUE(eventually([&] {
        for (auto& line : system.played()) lines.push_back(line);
        EXPECT_LE(system.openCount(), 1U);
        return lines.size() >= 2;
    }));
    EXPECT_THAT(lines, ElementsAre("Out: 80 3c 00", "Out: b0 07 01"));
}

TEST_F(KeptTransport, TheEndOfTheTransportEndsAllNotes) {
    make();
    const auto output = openSender("Out");
    send(*output, note);
    system.played();
    std::atomic<bool> done{false};
    std::thread player([&] {
        while (!done.load()) system.round();
    });
    transport.reset();
    done = true;
    player.join();
    EXPECT_THAT(system.lines, ElementsAre("Out: 80 3c 00"));
    send(*output, note); // leads nowhere
    EXPECT_EQ(output->counters().dropped, 1U);
}

TEST_F(KeptTransport, ASystemThatIsAwayIsToldOnceAndPortsWorkWhenItComes) {
    system.isThere = false;
    make();
    EXPECT_EQ(transport->kind(), "away");
    EXPECT_EQ(transport->whyAway(), "it is away");
    const auto output = transport->makeVirtualSender("Out");
    send(*output, note); // nowhere to go
    EXPECT_EQ(output->counters().dropped, 1U);
    EXPECT_TRUE(eventually([&] { return system.attempts >= 4; }));
    EXPECT_THAT(takeTroubles(), ElementsAre("it is away"));
    system.comeBack();
    EXPECT_TRUE(hasTrouble("it is away no more"));
    EXPECT_TRUE(eventually([&] { return system.isOpen("Out"); }));
    EXPECT_EQ(transport->whyAway(), "");
    send(*output, control);
    EXPECT_TRUE(plays("Out: b0 07 01"));
}

TEST_F(KeptTransport, AfterALossPortsReturnAndWhatSoundedIsEnded) {
    make();
    const auto output = openSender("Out");
    send(*output, note);
    system.played();
    send(*output, {MIDIMessage::noteOn, 0, 61, 100}); // on its way when the system dies
    for (int time = 0; time < 3; ++time) {
        dieAndComeBack();
        ASSERT_TRUE(eventually([&] { return system.isOpen("Out"); }));
        EXPECT_THAT(system.played(), ElementsAre("Out: 80 3c 00"));
        send(*output, note);
        EXPECT_TRUE(plays("Out: 90 3c 64"));
    }
    EXPECT_THAT(takeTroubles(), ElementsAre("it has ended", "it has ended no more", "it has ended",
                                            "it has ended no more", "it has ended", "it has ended no more"));
}

TEST_F(KeptTransport, WhatIsSentWhileTheSystemIsAwayDoesNotComeLate) {
    make();
    const auto output = openSender("Out");
    system.die();
    ASSERT_TRUE(eventually([&] { return transport->kind() == "away"; }));
    send(*output, control);
    system.comeBack();
    ASSERT_TRUE(eventually([&] { return system.isOpen("Out"); }));
    EXPECT_THAT(system.played(), IsEmpty());
}

TEST_F(KeptTransport, AnUnpluggedDeviceIsToldOnceAndBoundAgainWhenItReturns) {
    system.found.destinations = {device("Synth", "20:0")};
    make();
    auto output = transport->openDestination(transport->endpoints().destinations.at(0));
    send(*output, note);
    EXPECT_TRUE(plays("Synth: 90 3c 64"));
    system.unplug("Synth");
    EXPECT_TRUE(hasTrouble("Synth: it is not connected any more"));
    EXPECT_EQ(setupChanges, 1);
    EXPECT_THAT(transport->endpoints().destinations, IsEmpty());
    output.reset(); // as the manager does, who makes a new node then
    system.plug(device("Synth", "24:0"));
    EXPECT_TRUE(hasTrouble("Synth: it is not connected any more no more"));
    EXPECT_TRUE(plays("Synth: 80 3c 00")); // although nobody asked for it yet
    ASSERT_TRUE(eventually([&] { return setupChanges == 2; }));
    output = transport->openDestination(transport->endpoints().destinations.at(0));
    send(*output, control);
    EXPECT_TRUE(plays("Synth: b0 07 01"));
    EXPECT_EQ(system.outs.at(0).second, "24:0");
    EXPECT_EQ(takeTroubles().size(), 2U);
}

TEST_F(KeptTransport, ADeviceThatIsTakenUpAgainWhileItsNotesAreEndedIsHeard) {
    system.found.destinations = {device("Synth")};
    make();
    auto output = transport->openDestination(transport->endpoints().destinations.at(0));
    send(*output, note);
    EXPECT_TRUE(plays("Synth: 90 3c 64"));
    system.unplug("Synth");
    EXPECT_TRUE(eventually([&] { return transport->endpoints().destinations.empty(); }));
    output.reset();
    std::atomic<bool> taken{false};
    system.beforeOpening = [&] {
        if (taken) return;
        output = transport->openDestination({"key of Synth", "Synth"});
        taken = true;
    };
    system.plug(device("Synth"));
    ASSERT_TRUE(eventually([&] { return taken.load(); }));
    EXPECT_TRUE(plays("Synth: 80 3c 00"));
    ASSERT_TRUE(output);
    send(*output, control);
    EXPECT_TRUE(plays("Synth: b0 07 01"));
}

TEST_F(KeptTransport, ADeviceThatReturnsIsHeardAtOnceHoweverItIsTakenUpAgain) {
    make();
    for (int time = 0; time < 200; ++time) {
        system.plug(device("Synth"));
        ASSERT_TRUE(eventually([&] { return transport->endpoints().destinations.size() == 1; }));
        const auto output = transport->openDestination(transport->endpoints().destinations.at(0));
        send(*output, note);
        ASSERT_TRUE(plays("Synth: 90 3c 64")) << time;
        system.unplug("Synth");
        ASSERT_TRUE(eventually([&] { return transport->endpoints().destinations.empty(); }));
    }
}

TEST_F(KeptTransport, ADeviceThatReturnsAtAnotherAddressUnseenIsFollowed) {
    system.found.destinations = {device("Synth", "20:0")};
    make();
    const auto output = transport->openDestination(transport->endpoints().destinations.at(0));
    send(*output, note);
    EXPECT_TRUE(plays("Synth: 90 3c 64"));
    system.change([&] {
        system.found.destinations = {device("Synth", "24:0")};
        system.setupChanged = true;
    });
    EXPECT_TRUE(plays("Synth: 80 3c 00"));
    EXPECT_EQ(system.outs.at(0).second, "24:0");
}

TEST_F(KeptTransport, APortThatIsRefusedIsToldOnceAndTriedAgain) {
    system.refused = {"Out"};
    make();
    std::unique_ptr<MIDIOutput> output;
    {
        const std::lock_guard hold(system.lock); // so that what is sent waits when the port is refused
        output = transport->makeVirtualSender("Out");
        send(*output, note);
    }
    EXPECT_TRUE(hasTrouble("Out: refused"));
    ASSERT_TRUE(eventually([&] { return output->counters().dropped == 1; }));
    ASSERT_TRUE(eventually([&] {
        const std::uint64_t before = output->counters().dropped;
        send(*output, control);
        return output->counters().dropped > before;
    }));
    EXPECT_TRUE(eventually([&] { return system.attempts >= 4; }));
    EXPECT_THAT(takeTroubles(), ElementsAre("Out: refused"));
    system.change([&] { system.refused.clear(); });
    EXPECT_TRUE(hasTrouble("Out: refused no more"));
    EXPECT_THAT(system.played(), IsEmpty());
    send(*output, note);
    EXPECT_TRUE(plays("Out: 90 3c 64"));
}

TEST_F(KeptTransport, WhoIsToldThatAPortWorksAgainIsHeardAtOnce) {
    system.refused = {"Out"};
    make();
    const auto output = transport->makeVirtualSender("Out");
    EXPECT_TRUE(hasTrouble("Out: refused"));
    transport->onTrouble([&](const MIDITrouble& trouble) {
        if (!trouble.began) send(*output, control);
    });
    system.change([&] { system.refused.clear(); });
    EXPECT_TRUE(plays("Out: b0 07 01"));
    transport->onTrouble({});
}

TEST_F(KeptTransport, TroubleFromBeforeSomebodyListenedIsToldToo) {
    system.isThere = false;
    make();
    std::vector<std::string> told;
    transport->onTrouble([&](const MIDITrouble& trouble) { told.push_back(trouble.reason); });
    EXPECT_THAT(told, ElementsAre("it is away"));
}

TEST_F(KeptTransport, SourcesAndTheReceiverAreOpenedAndClosed) {
    class Nobody final : public MIDIInputReceiver {
        void receivedMIDI(std::span<const MIDIMessage>, MonotonicTime) override {}
        void receivedSysex(std::span<const std::uint8_t>, MonotonicTime) override {}
    };
    system.found.sources = {device("Pad", "20:0")};
    make();
    auto in = transport->makeVirtualReceiver("In", std::make_shared<Nobody>());
    auto source = transport->openSource(transport->endpoints().sources.at(0), std::make_shared<Nobody>());
    EXPECT_TRUE(eventually([&] { return system.openCount() == 2; }));
    dieAndComeBack();
    EXPECT_TRUE(eventually([&] { return system.openCount() == 2; }));
    in.reset();
    source.reset();
    EXPECT_TRUE(eventually([&] { return system.openCount() == 0; }));
    EXPECT_FALSE(transport->openSource({"key of Nobody", "Nobody"}, std::make_shared<Nobody>()));
}

TEST_F(KeptTransport, ManyPortsComeAndGoInAnyOrder) {
    make();
    for (int round = 0; round < 5; ++round) {
        std::vector<std::unique_ptr<MIDIOutput>> outputs;
        for (int i = 0; i < 100; ++i)
            outputs.push_back(transport->makeVirtualSender("Out " + std::to_string(i)));
        ASSERT_TRUE(eventually([&] { return system.openCount() >= 100; }));
        for (auto& output : outputs) send(*output, note);
        outputs.clear();
        ASSERT_TRUE(eventually([&] {
            system.played();
            return system.openCount() == 0;
        }));
    }
}

TEST_F(KeptTransport, ASystemThatDoesNotReturnHoldsUpNobodyForLong) {
    make();
    const auto output = openSender("Out");
    system.change([&] { system.answers = false; });
    const auto began = std::chrono::steady_clock::now();
    send(*output, note);
    auto other = transport->makeVirtualSender("Other");
    other.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - began, std::chrono::milliseconds(500));
    transport.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - began, MIDIKeeper::longestStop + std::chrono::seconds(1));
    system.change([&] { system.answers = true; });
    EXPECT_TRUE(eventually([&] { return system.openCount() == 0; })); // the thread has found its end
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
}

TEST_F(KeptTransport, TheFirstSystemThatIsThereIsTaken) {
    WoodenSystem other;
    system.isThere = false;
    std::vector<std::unique_ptr<MIDIBackend>> backends;
    backends.push_back(std::make_unique<WoodenBackend>(system));
    backends.push_back(std::make_unique<WoodenBackend>(other));
    transport = std::make_unique<KeptMIDITransport>(std::move(backends));
    EXPECT_EQ(other.sessions, 1);
    system.comeBack();
    other.die();
    EXPECT_TRUE(eventually([&] {
        const std::lock_guard hold(system.lock);
        return system.sessions == 1;
    }));
    transport.reset();
}

TEST_F(KeptTransport, SendingIsFitForTheTick) {
    system.found.destinations = {device("Synth")};
    make();
    const auto sender = openSender("Out");
    const auto destination = transport->openDestination(transport->endpoints().destinations.at(0));
    const std::vector<std::uint8_t> payload(100, 1);
    RealtimeScope scope;
    for (MIDIOutput* output : {sender.get(), destination.get()}) {
        for (int i = 0; i < 5000; ++i) output->send({&note, 1}, {});
        output->sendSysex(payload, {});
        output->silence();
        output->prepare();
    }
    EXPECT_EQ(scope.violations(), 0U) << scope.report();
    EXPECT_GT(sender->counters().dropped, 0U);
}

using KeptTransportDeathTest = KeptTransport;

TEST_F(KeptTransportDeathTest, ACrashLetsNotesEnd) {
    for (const int number : {SIGSEGV, SIGABRT, SIGBUS, SIGILL, SIGFPE}) {
        const auto crash = [&] {
            std::signal(number, SIG_DFL); // a sanitizer has its own
            make();
            const auto output = openSender("Out");
            std::thread([this] {
                for (;;) {
                    for (const std::string& line : system.played()) std::cerr << line << std::endl;
                }
            }).detach();
            send(*output, note);
            while (output->counters().sent == 0) std::this_thread::yield();
            const MIDICrashGuard guard(*transport);
            raise(number);
        };
        EXPECT_EXIT(crash(), testing::KilledBySignal(number), "Out: 90 3c 64\nOut: 80 3c 00");
    }
}

TEST_F(KeptTransportDeathTest, ACrashDoesNotHangWhereNobodyFeedsThePorts) {
    const auto crash = [&] {
        std::signal(SIGSEGV, SIG_DFL);
        make();
        const auto output = openSender("Out");
        const MIDICrashGuard guard(*transport);
        raise(SIGSEGV);
    };
    const auto began = std::chrono::steady_clock::now();
    EXPECT_EXIT(crash(), testing::KilledBySignal(SIGSEGV), "");
    EXPECT_LT(std::chrono::steady_clock::now() - began, std::chrono::seconds(3));
}

TEST_F(KeptTransport, AGuardThatHasGoneLeavesTheHandlersThatWereThere) {
    struct sigaction before {};
    sigaction(SIGSEGV, nullptr, &before);
    make();
    { const MIDICrashGuard guard(*transport); }
    struct sigaction after {};
    sigaction(SIGSEGV, nullptr, &after);
    EXPECT_EQ(before.sa_handler, after.sa_handler);
}

} // namespace
