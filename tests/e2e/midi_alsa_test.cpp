// MIDI over the sequencer of a kernel that has one. Run by scripts/alsa-vm.sh inside an emulated machine,
// where cards can be taken out and put in again.
#include "midi_suite.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace marvo::e2e {
namespace {

using testing::ElementsAre;

// A card without hardware: what is sent to it comes out of a file, byte for byte, and the other way round.
class Card {
public:
    static constexpr const char* driver = "/sys/bus/platform/drivers/snd_virmidi/";
    static constexpr const char* name = "snd_virmidi.0";

    static bool isIn() { return std::filesystem::exists(std::string(driver) + name); }
    static void takeOut() { std::ofstream(std::string(driver) + "unbind") << name << std::flush; }
    static void putIn() { std::ofstream(std::string(driver) + "bind") << name << std::flush; }

    Card() {
        for (const auto& entry : std::filesystem::directory_iterator("/dev/snd")) {
            const std::string file = entry.path().filename();
            if (file.starts_with("midiC") && file.ends_with("D0")) path_ = entry.path();
        }
        file_ = open(path_.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
        // It begins to listen with the first attempt to read.
        std::uint8_t byte = 0;
        [[maybe_unused]] const ssize_t result = ::read(file_, &byte, 1);
    }
    ~Card() { close(file_); }
    Card(const Card&) = delete;
    Card& operator=(const Card&) = delete;

    bool works() const { return file_ >= 0; }
    void write(const Bytes& bytes) const {
        [[maybe_unused]] const ssize_t result = ::write(file_, bytes.data(), bytes.size());
    }
    // Whether what is read comes to end with these bytes.
    bool readsUntil(const Bytes& end) const {
        Bytes all;
        return eventually(
            [&] {
                std::uint8_t space[4096];
                const ssize_t size = ::read(file_, space, sizeof space);
                if (size > 0) all.insert(all.end(), space, space + size);
                return all.size() >= end.size() && std::equal(end.rbegin(), end.rend(), all.rbegin());
            },
            bound);
    }
    Bytes read(std::size_t count) const {
        Bytes all;
        eventually(
            [&] {
                std::uint8_t space[4096];
                const ssize_t size = ::read(file_, space, sizeof space);
                if (size > 0) all.insert(all.end(), space, space + size);
                return all.size() >= count;
            },
            bound);
        return all;
    }

private:
    std::string path_;
    int file_ = -1;
};

class AlsaMIDI : public MIDIWorld {
protected:
    AlsaMIDI() : MIDIWorld("alsa") {}

    // What the first port of the card is called; it is the same in both directions.
    std::string cardName() {
        for (const MIDIEndpoint& endpoint : transport->endpoints().destinations) {
            if (endpoint.name.find("Virtual") != std::string::npos ||
                endpoint.name.find("VirMIDI") != std::string::npos)
                return endpoint.name;
        }
        return {};
    }
    bool hasCard() {
        return eventually([&] { return !cardName().empty(); }, bound);
    }
};

TEST_F(AlsaMIDI, PortsAreSeenUnderTheirNames) {
    launch();
    EXPECT_EQ(transport->kind(), "alsa");
    EXPECT_EQ(reason, "");
    const auto one = transport->makeVirtualSender("Marvo Midi Out 1");
    const auto in = transport->makeVirtualReceiver("To Marvo", std::make_shared<Received>());
    const auto desk = peer("desk");
    EXPECT_TRUE(eventually([&] { return desk->marvoPorts().size() == 2; }, bound));
    EXPECT_THAT(desk->marvoPorts(), ElementsAre("Marvo Midi Out 1", "To Marvo"));
}

TEST_F(AlsaMIDI, TheSequencerGoesBeforeAServer) {
    const MIDITransportResult result = makeMIDITransport(MIDIChoice::automatic, JackAdmission());
    EXPECT_EQ(result.transport->kind(), "alsa");
}

TEST_F(AlsaMIDI, EveryMessageArrivesByteForByteAndInOrder) {
    everyMessageArrivesByteForByteAndInOrder();
}

TEST_F(AlsaMIDI, ABurstArrivesWhole) {
    aBurstArrivesWhole();
}

TEST_F(AlsaMIDI, ABurstComesInWhole) {
    aBurstComesInWhole();
}

TEST_F(AlsaMIDI, LongSystemExclusiveMessagesArriveWholeBothWays) {
    longSystemExclusiveMessagesArriveWholeBothWays();
}

TEST_F(AlsaMIDI, DevicesComeAndGo) {
    devicesComeAndGo();
}

TEST_F(AlsaMIDI, AHundredPortsComeAndGoWithoutATrace) {
    aHundredPortsComeAndGoWithoutATrace();
}

TEST_F(AlsaMIDI, NotesEndWhenThePortClosesAndWhenTheProgramEnds) {
    notesEndWhenThePortClosesAndWhenTheProgramEnds();
}

TEST_F(AlsaMIDI, NotesEndWhenTheProgramCrashes) {
    notesEndWhenTheProgramCrashes();
}

TEST_F(AlsaMIDI, TwoOfTheSameNameStayApart) {
    const auto one = peer("pad");
    const auto two = peer("pad");
    launch();
    MIDIEndpoints all = transport->endpoints();
    ASSERT_TRUE(find(all.destinations, "pad"));
    ASSERT_TRUE(find(all.destinations, "pad 2"));
    EXPECT_TRUE(find(all.sources, "pad 2"));
    const auto first = transport->openDestination(*find(all.destinations, "pad"));
    const auto second = transport->openDestination(*find(all.destinations, "pad 2"));
    send(*first, on(60));
    send(*second, on(61));
    EXPECT_TRUE(hears(*one, onBytes));
    EXPECT_TRUE(hears(*two, {0x90, 61, 100}));
    EXPECT_EQ(collected.size(), 2U);
}

TEST_F(AlsaMIDI, WhatIsSentToACardComesOutOfItByteForByte) {
    launch();
    ASSERT_TRUE(hasCard());
    const Card card;
    ASSERT_TRUE(card.works());
    const MIDIEndpoints all = transport->endpoints();
    const auto output = transport->openDestination(*find(all.destinations, cardName()));
    const Bytes payload{0x7e, 1, 2, 3};
    output->sendSysex(payload, {});
    send(*output, {MIDIMessage::controlChange, 3, 7, 99});
    send(*output, on(60));
    const Bytes expected{0xf0, 0x7e, 1, 2, 3, 0xf7, 0xb3, 7, 99, 0x90, 60, 100};
    EXPECT_EQ(card.read(expected.size()), expected);
}

TEST_F(AlsaMIDI, WhatACardReceivesComesIn) {
    launch();
    ASSERT_TRUE(hasCard());
    const MIDIEndpoints all = transport->endpoints();
    ASSERT_TRUE(find(all.sources, cardName()));
    const auto received = std::make_shared<Received>();
    const auto input = transport->openSource(*find(all.sources, cardName()), received);
    const Card card;
    ASSERT_TRUE(card.works());
    const Bytes payload = {0xf0, 0x7e, 1, 2, 3, 0xf7};
    EXPECT_TRUE(eventually(
        [&] {
            card.write(onBytes); // until the way in is open
            std::this_thread::sleep_for(milliseconds(20));
            return !received->all().empty();
        },
        bound));
    card.write(payload);
    EXPECT_TRUE(eventually([&] { return received->bytes().back() == payload; }, bound));
    EXPECT_EQ(received->bytes().front(), onBytes);
}

TEST_F(AlsaMIDI, ACardThatIsPluggedInAgainIsTheSameDevice) {
    launch();
    ASSERT_TRUE(hasCard());
    const std::string name = cardName();
    const std::string id = find(transport->endpoints().destinations, name)->id;
    const std::size_t count = transport->endpoints().destinations.size();
    for (int time = 1; time <= 10; ++time) {
        auto output = transport->openDestination(*find(transport->endpoints().destinations, name));
        {
            const Card card;
            ASSERT_TRUE(card.works());
            send(*output, on(60));
            // What ends the note of the time before may have left while nobody read.
            EXPECT_TRUE(card.readsUntil(onBytes)) << time;
        }
        Card::takeOut();
        ASSERT_TRUE(
            eventually([&] { return find(transport->endpoints().destinations, name) == nullptr; }, bound));
        output.reset(); // as the manager does
        Card::putIn();
        const auto back = std::chrono::steady_clock::now();
        ASSERT_TRUE(eventually([&] { return transport->endpoints().destinations.size() == count; }, bound));
        EXPECT_LT(std::chrono::steady_clock::now() - back, std::chrono::seconds(2));
        ASSERT_TRUE(find(transport->endpoints().destinations, name)) << time;
        EXPECT_EQ(find(transport->endpoints().destinations, name)->id, id);
    }
    EXPECT_TRUE(eventually([&] { return troubleCount() == 20; }, bound));
}

TEST_F(AlsaMIDI, APortThatTakesNothingHoldsUpNoOther) {
    launch();
    ASSERT_TRUE(hasCard());
    const auto desk = peer("desk");
    const auto other = heardSender(*desk);
    // Nobody reads the card: what it can hold is soon full.
    const Card card;
    const auto stuck = transport->openDestination(*find(transport->endpoints().destinations, cardName()));
    for (int i = 0; i < 20'000; ++i)
        send(*stuck, {MIDIMessage::controlChange, 0, 7, static_cast<std::uint8_t>(i & 127)});
    for (int i = 0; i < 100; ++i)
        send(*other, {MIDIMessage::controlChange, 0, 8, static_cast<std::uint8_t>(i)});
    EXPECT_EQ(collect(*desk, 100).size(), 100U);
}

TEST_F(AlsaMIDI, AToolOfOthersHearsTheSame) {
    launch();
    const auto output = transport->makeVirtualSender("Marvo Midi Out 1");
    const auto desk = peer("desk");
    ASSERT_TRUE(eventually([&] { return desk->marvoPorts().size() == 1; }, bound));
    int pipes[2];
    ASSERT_EQ(pipe2(pipes, 0), 0);
    const pid_t tool = fork();
    if (tool == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        dup2(pipes[1], 1);
        execlp("aseqdump", "aseqdump", "-p", "Marvo:0", nullptr);
        _exit(127);
    }
    close(pipes[1]);
    fcntl(pipes[0], F_SETFL, O_NONBLOCK);
    std::string text;
    EXPECT_TRUE(eventually(
        [&] {
            send(*output, {MIDIMessage::controlChange, 2, 21, 112});
            std::this_thread::sleep_for(milliseconds(10));
            char space[4096];
            const ssize_t size = read(pipes[0], space, sizeof space);
            if (size > 0) text.append(space, static_cast<std::size_t>(size));
            return text.find("Control change          2, controller 21, value 112") != std::string::npos;
        },
        bound))
        << text;
    kill(tool, SIGKILL);
    waitpid(tool, nullptr, 0);
    close(pipes[0]);
}

} // namespace
} // namespace marvo::e2e
