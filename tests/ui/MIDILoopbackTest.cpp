// A desk that takes our machine control and sends its own: confirming the settings asks before they chase
// each other.
#include "ui/CompositionSettingsDialog.h"

#include "Commands.h"
#include "Windows.h"

using namespace marvo;
using namespace marvo::ui;
using namespace marvo::ui::testing;

namespace {

// Records, and has one two-way device.
class DeskTransport final : public MIDITransport, private MIDIMessageSink {
public:
    std::string_view kind() const override { return "desk"; }
    std::unique_ptr<MIDIOutput> makeVirtualSender(const std::string& name) override {
        return ports_.makeVirtualSender(name);
    }
    std::unique_ptr<MIDIInput> makeVirtualReceiver(const std::string& name,
                                                   std::shared_ptr<MIDIInputReceiver> receiver) override {
        return ports_.makeVirtualReceiver(name, std::move(receiver));
    }
    MIDIEndpoints endpoints() const override { return {{{"1", "Desk"}}, {{"1", "Desk"}}}; }
    std::unique_ptr<MIDIOutput> openDestination(const MIDIEndpoint& endpoint) override {
        return ports_.openDestination(endpoint);
    }
    std::unique_ptr<MIDIInput> openSource(const MIDIEndpoint& endpoint,
                                          std::shared_ptr<MIDIInputReceiver> receiver) override {
        return ports_.openSource(endpoint, std::move(receiver));
    }
    void onSetupChanged(std::function<void()>) override {}
    void onTrouble(std::function<void(const MIDITrouble&)>) override {}

private:
    void messageSent(const std::string&, std::span<const std::uint8_t>, const SendOrigin&) override {}

    RecordingMIDITransport ports_{*this};
};

class NoMessages final : public OSCMessageSink {
    void messageSent(const std::string&, const OSCMessage&, const SendOrigin&) override {}
};

struct MIDILoopbackTest : ::testing::Test {
    MIDILoopbackTest() {
        application.applicationWillFinishLaunching();
        application.applicationDidFinishLaunching(std::nullopt, nullptr);
        application.newProject();
        application.prefs.changeListenToMMC(true);
        dialog = std::make_unique<CompositionSettingsDialog>(application, person,
                                                             application.compositions.at(0), nullptr);
        showAndWait(*dialog);
        dialog->destination().setCurrentText("Desk");
        click(dialog->transmitsMMC());
    }
    bool listensToDesk() { return application.midiManager().findSourceNodeNamed("Desk")->enabled(); }
    const CompositionSync& sync() { return application.compositions.at(0).sync; }

    VirtualClock clock;
    MainThread main{clock};
    PreferenceStore store;
    NoMessages nothing;
    RecordingOSCTransport osc{nothing};
    DeskTransport midi;
    SilentArtNetTransport artNetTransport;
    ArtNetServer artNet{artNetTransport, clock, {.ownThreads = false}};
    LoopbackOnly network;
    AppDelegate application{AppEnvironment{main, osc, midi, artNet, network, store, nullptr}};
    Operator person;
    std::unique_ptr<CompositionSettingsDialog> dialog;
};

} // namespace

TEST_F(MIDILoopbackTest, ItIsToldInFullAndChoosingAnotherPortStaysInTheDialog) {
    ASSERT_TRUE(listensToDesk());
    click(dialog->okButton());
    ASSERT_EQ(person.asked.size(), 1u);
    EXPECT_EQ(person.asked[0].message, "MIDI Loopback detected");
    EXPECT_EQ(
        person.asked[0].text,
        "The destination MIDI port for MMC Transmission is also listening for MMC input, so unexpected "
        "things may happen. Please choose a different MIDI port, or disable that port as a MIDI source in "
        "Marvo's MIDI Preferences.");
    EXPECT_EQ(person.asked[0].buttons,
              (std::vector<std::string>{"Disable Source MIDI Port", "Choose different MIDI Port"}));
    EXPECT_TRUE(dialog->isVisible());
    EXPECT_TRUE(listensToDesk());
    EXPECT_FALSE(sync().transmitsMMC);
}

TEST_F(MIDILoopbackTest, DisablingTheSourceGoesOn) {
    person.answers = {Answer::ok};
    click(dialog->okButton());
    EXPECT_FALSE(dialog->isVisible());
    EXPECT_FALSE(listensToDesk());
    EXPECT_TRUE(sync().transmitsMMC);
    EXPECT_EQ(sync().mtcOutDestination, "Desk");
}

TEST_F(MIDILoopbackTest, NothingIsAskedWhenNobodyListens) {
    application.prefs.changeListenToMMC(false);
    click(dialog->okButton());
    EXPECT_TRUE(person.asked.empty());
    EXPECT_TRUE(sync().transmitsMMC);
}
