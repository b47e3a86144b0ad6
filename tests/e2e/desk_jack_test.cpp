// A desk that is learnt: the application with its real MIDI transport on a JACK server, and a client of that
// server in another process whose controllers are given to controls, drive them, and hear of them.
#include "midi_jack_server.h"
#include "midi_suite.h"

#include "Show.h"
#include "headless/RenderThread.h"

#include <filesystem>

namespace marvo::e2e {
namespace {

using marvo::testing::compositionOf;
using marvo::testing::projectOf;
using ::testing::ElementsAre;
using ::testing::FloatEq;

constexpr std::uint8_t controller = 0xb3; // channel 4
constexpr std::uint8_t playKnob = 20;
constexpr std::uint8_t faderKnob = 21;
constexpr std::uint8_t spareKnob = 22;
constexpr std::uint8_t loopKey = 60;

// One run of the program. The test's thread is its main thread; ticks have a thread of their own.
class Program : private OSCMessageSink {
public:
    Program() : midi_(makeMIDITransport(MIDIChoice::jack, JackAdmission()).transport) {
        application.emplace(AppEnvironment{main, osc_, *midi_, artNet_, network_, preferences_, nullptr});
        application->applicationWillFinishLaunching();
    }
    ~Program() override {
        application->applicationWillTerminate();
        render_->stop();
        render_.reset();
        application.reset();
    }

    ProjectResult launch(const std::string& project) {
        const ProjectResult result = application->applicationDidFinishLaunching(project, nullptr);
        render_.emplace(*application);
        render_->start({.bestEffort = true});
        return result;
    }
    // Lives on until the condition holds.
    template <class Condition>
    bool waitFor(Condition condition) {
        return eventually(
            [&] {
                main.pump();
                return condition();
            },
            bound);
    }
    MarvoTimelineController& composition() { return application->compositions.at(0); }
    MarvoButton& play() { return composition().controls.playButton; }
    MarvoButton& loop() { return composition().controls.loopButton; }
    MarvoSlider& fader() { return application->artNetControls.masterFader; }
    std::vector<float> takeFaderReports() {
        const std::lock_guard hold(lock_);
        return std::exchange(faderReports_, {});
    }

    MonotonicClock clock;
    MainThread main{clock};
    std::optional<AppDelegate> application;

private:
    void messageSent(const std::string&, const OSCMessage& message, const SendOrigin& origin) override {
        if (!origin.feedback || message.address() != "/marvo/artnetcolormaster") return;
        const std::lock_guard hold(lock_);
        faderReports_.push_back(message.value()->floatValue());
    }

    std::mutex lock_;
    std::vector<float> faderReports_;
    PreferenceStore preferences_;
    RecordingOSCTransport osc_{*this};
    std::unique_ptr<MIDITransport> midi_;
    SilentArtNetTransport artNetTransport_;
    ArtNetServer artNet_{artNetTransport_, clock, {.ownThreads = false}};
    LoopbackOnly network_;
    std::optional<RenderThread> render_;
};

class Desk : public ::testing::Test {
protected:
    Desk() {
        server.start();
        desk = std::make_unique<Peer>("jack", "desk"); // returns when the server answers
        std::string name = (std::filesystem::temp_directory_path() / "marvo-desk-XXXXXX").string();
        folder = ::mkdtemp(name.data());
        std::ofstream out(folder + "/before.mrv", std::ios::binary);
        const PropertyList project = projectOf({compositionOf("Show", 50, 600.0f, {})}, "Out");
        writePropertyListXml(project,
                             [&](std::string_view piece) { return static_cast<bool>(out << piece); });
    }
    ~Desk() override { std::filesystem::remove_all(folder); }

    // Starts the program anew, waits until the desk is connected both ways, ticks its feedback if it is not.
    void start(const std::string& project) {
        program.reset();
        program.emplace();
        ASSERT_TRUE(program->launch(folder + "/" + project).done);
        MarvoMIDIManager& midi = program->application->midiManager();
        const auto row = [&] {
            const auto rows = midi.inputRows();
            for (std::size_t i = 0; i < rows.size(); ++i) {
                if (rows[i].name == "desk") return std::optional(i);
            }
            return std::optional<std::size_t>();
        };
        ASSERT_TRUE(program->waitFor([&] { return row() && midi.findRealDestNodeNamed("desk"); }));
        if (!midi.inputRows()[*row()].enabled) midi.toggleMidiPort(*row());
        tickWasSaved = midi.inputRows()[*row()].feedback;
        if (!tickWasSaved) midi.toggleMidiFeedback(*row());
        ASSERT_TRUE(program->waitFor([&] { return desk->isHeardByAnybody(); }));
    }
    void turn(std::uint8_t knob, std::uint8_t value) { desk->play({controller, knob, value}); }
    // Whether the desk is told this.
    bool isTold(const Bytes& bytes) {
        return program->waitFor([&] {
            for (const PeerEvent& event : desk->takeHeard()) {
                // A button may tell its state again.
                if (told.empty() || told.back() != event.bytes) told.push_back(event.bytes);
            }
            return !told.empty() && told.back() == bytes;
        });
    }
    // In learn mode: clicks the control, and plays until it has taken it.
    template <class Control>
    void teach(Control& control, const Bytes& bytes) {
        desk->play(bytes);
        EXPECT_TRUE(program->waitFor(
            [&] { return control.midiChannel() == (bytes[0] & 15) && control.midiControl() == bytes[1]; }));
    }
    void teachPlayLoopAndFader() {
        program->application->midiLearnToggle();
        program->play().click();
        teach(program->play(), {controller, playKnob, 127});
        program->fader().mouseDown();
        teach(program->fader(), {controller, faderKnob, 5});
        program->loop().click();
        teach(program->loop(), {0x93, loopKey, 100});
        EXPECT_FALSE(program->play().state() || program->loop().state()) << "a click while learning acts not";
        EXPECT_EQ(program->fader().value(), 1.0f) << "nor does what is learnt";
        program->application->midiLearnToggle();
    }

    JackServer server;
    std::unique_ptr<Peer> desk;
    std::string folder;
    std::optional<Program> program;
    bool tickWasSaved = false;
    std::vector<Bytes> told; // all that came to the desk
};

const Bytes playIsOn{controller, playKnob, 127};
const Bytes playIsOff{controller, playKnob, 0};

TEST_F(Desk, WhatIsLearntPlaysAndFadesAndIsToldToTheDesk) {
    start("before.mrv");
    teachPlayLoopAndFader();
    program->takeFaderReports();
    // Pressed and let go: only the latter plays, or the state would be back at once.
    turn(playKnob, 127);
    turn(playKnob, 0);
    EXPECT_TRUE(isTold(playIsOn));
    EXPECT_TRUE(program->composition().isRunning());
    EXPECT_TRUE(program->waitFor([&] { return program->composition().state.currentTime.get().value > 5; }))
        << "it plays";
    turn(faderKnob, 64);
    std::vector<float> reports; // the last step of a fader that moves
    EXPECT_TRUE(program->waitFor([&] {
        reports = program->takeFaderReports();
        return !reports.empty();
    }));
    EXPECT_THAT(reports, ElementsAre(FloatEq(64.0f / 127.0f)));
    EXPECT_EQ(program->fader().value(), 64.0f / 127.0f);
    desk->play({0x93, loopKey, 0});
    EXPECT_TRUE(isTold({0x93, loopKey, 127})) << "a note is answered by a note";
    EXPECT_TRUE(program->loop().state());
    // Other channels and numbers reach nothing; the last message shows that they have been handled.
    desk->play({0xb2, playKnob, 0});
    turn(spareKnob, 0);
    turn(playKnob, 0);
    EXPECT_TRUE(isTold(playIsOff));
    EXPECT_FALSE(program->composition().isRunning());
    EXPECT_THAT(told, ElementsAre(playIsOn, Bytes{0x93, loopKey, 127}, playIsOff));
}

TEST_F(Desk, LearnModeTakesTheDeskAwayFromWhatItDrives) {
    start("before.mrv");
    teachPlayLoopAndFader();
    turn(playKnob, 0);
    EXPECT_TRUE(isTold(playIsOn));
    program->application->midiLearnToggle();
    // Something else learns, so that it is known when all of this has been handled.
    MarvoButton& target = program->composition().controls.rewindButton;
    target.click();
    turn(playKnob, 0);
    turn(faderKnob, 10);
    desk->play({0x93, loopKey, 100});
    teach(target, {controller, spareKnob, 1});
    EXPECT_TRUE(program->composition().isRunning());
    EXPECT_FALSE(program->loop().state());
    EXPECT_EQ(program->fader().value(), 1.0f);
    program->application->midiLearnToggle();
    turn(playKnob, 0);
    turn(faderKnob, 0);
    EXPECT_TRUE(isTold(playIsOff));
    EXPECT_FALSE(program->composition().isRunning());
    EXPECT_TRUE(program->waitFor([&] { return program->fader().value() == 0.0f; }));
    EXPECT_THAT(told, ElementsAre(playIsOn, playIsOff)) << "nothing was told while learning";
}

TEST_F(Desk, WhatWasLearntIsThereAfterASaveAndANewStart) {
    start("before.mrv");
    teachPlayLoopAndFader();
    turn(faderKnob, 64);
    ASSERT_TRUE(program->waitFor([&] { return program->fader().value() == 64.0f / 127.0f; }));
    ASSERT_TRUE(program->application->projectFile.processSaveWithURL(folder + "/after.mrv").done);
    start("after.mrv");
    EXPECT_EQ(program->fader().value(), 64.0f / 127.0f);
    EXPECT_TRUE(tickWasSaved) << "the desk gets its feedback without another tick";
    turn(playKnob, 127);
    turn(playKnob, 0);
    EXPECT_TRUE(isTold(playIsOn));
    EXPECT_TRUE(program->composition().isRunning());
    turn(faderKnob, 127);
    EXPECT_TRUE(program->waitFor([&] { return program->fader().value() == 1.0f; }));
    turn(playKnob, 0);
    EXPECT_TRUE(isTold(playIsOff));
}

} // namespace
} // namespace marvo::e2e
