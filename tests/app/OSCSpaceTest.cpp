#include "Show.h"

#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <set>
#include <sstream>

namespace marvo::testing {
namespace {

// What an address does, by its last part; of the application's own and of a composition's and a track's.
const std::map<std::string, std::string>& effects() {
    static const std::map<std::string, std::string> all = {
        {"loadproject", "loads the project of that path, without a question"},
        {"rotatehue", "multiplies the hue of all colour tracks; 1 leaves it"},
        {"triggercompatindex", "starts the composition at that place and selects it"},
        {"triggercompwithname", "starts the composition of that name and selects it"},
        {"selectcompatindex", "selects the composition at that place"},
        {"selectcompwithname", "selects the composition of that name"},
        {"stopcomps", "stops all compositions"},
        {"currentcompinfo", "answers with name and length of the selected composition"},
        {"countofcomps", "answers with the number of compositions"},
        {"compinfowithname", "answers with name and length of that composition"},
        {"compinfoatindex", "answers with name and length of the composition at that place"},
        {"countofcues", "answers with the number of cues"},
        {"nameofcueatindex", "answers with the name of that cue"},
        {"timeofcueatindex", "answers with the frame of that cue"},
        {"addcomposition", "adds a composition"},
        {"playall", "plays or stops all compositions; in queued and solo mode the selected one"},
        {"queuedmode", "compositions run one after the other"},
        {"queuedloop", "the queue begins again at its end"},
        {"solomode", "whoever starts stops the others"},
        {"rewindall", "rewinds all compositions"},
        {"autobang", "sends the values of all tracks that are to be assigned"},
        {"triggernextcomp", "starts the next composition that is enabled"},
        {"triggerprevcomp", "starts the one before that is enabled"},
        {"blackout", "writes 0 to every channel of every Art-Net output"},
        {"artnetcolormaster", "the fader of all Art-Net colour tracks"},
        {"play", "plays or stops"},
        {"loop", "loops the working area"},
        {"addtrack",
         "adds a track: 0 MIDI controller, 1 MIDI notes, 2 OSC value, 3 OSC colour, 4 audio file, "
         "5 and 6 Art-Net value"},
        {"record", "arms the recording of what comes in"},
        {"compbpm", "the tempo, 120 is real time; a number outside the range is taken as it comes"},
        {"rewind", "goes to the start of the working area"},
        {"enable", "on or off; off is muted"},
        {"zoomin", "shows less of the timeline"},
        {"zoomout", "shows more of the timeline"},
        {"syncout", "sends time code and machine control"},
        {"playhead", "goes to that share of the whole composition"},
        {"jumptoframe", "goes to that frame, held to the working area"},
        {"nextframe", "goes one frame on; behind the end, to the start"},
        {"prevframe", "goes one frame back; before the start, to the end"},
        {"cueon", "cues act or let the playhead pass"},
        {"nextcue", "goes to the next cue"},
        {"prevcue", "goes to the cue before"},
        {"jumptocueatindex", "goes to that cue"},
        {"jumptocuewithname", "goes to the cue of that name"},
        {"playcueatindex", "goes to that cue and plays"},
        {"playcuewithname", "goes to the cue of that name and plays"},
        {"resetcuestates", "every cue fires again, and loops count anew"},
        {"14bitmidi", "sends the controller in two halves"},
        {"16bitartnet", "sends the value in two channels"},
    };
    return all;
}

std::string lastPart(const std::string& address) {
    return address.substr(address.rfind('/') + 1);
}

std::string rowOf(const std::string& address, const std::string& info) {
    const auto effect = effects().find(lastPart(address));
    EXPECT_NE(effect, effects().end()) << "no word says what " << address << " does";
    return "| `" + address + "` | " + info + " | " + (effect == effects().end() ? "" : effect->second) +
           " |\n";
}

std::string replaced(std::string text, const std::string& from, const std::string& by) {
    const std::size_t at = text.find(from);
    return at == std::string::npos ? text : text.replace(at, from.size(), by);
}

std::string reference() {
    Show show(projectOf({compositionOf("zzcomp", 30, 60.0f, {oscTrack("zztrack", "/x", {})})}));
    std::string application, composition, track;
    for (const FixedOSCAddress& one : fixedOSCAddresses()) {
        const std::string address(one.address);
        const bool ofComposition = address.find("COMPOSITION") != std::string::npos;
        (ofComposition ? composition : application) += rowOf(address, std::string(one.extraInfo));
    }
    for (const OSCListenerTable::Entry& one : show.application.listeners().addresses()) {
        const std::string address =
            replaced(replaced(one.address, "zzcomp", "COMPOSITION"), "zztrack", "TRACK");
        if (address.find("TRACK/") != std::string::npos) {
            track += rowOf(address, one.extraInfo);
        } else if (address.find("COMPOSITION") != std::string::npos) {
            composition += rowOf(address, one.extraInfo);
        } else {
            application += rowOf(address, one.extraInfo);
        }
    }
    const std::string head = "\n| Address | Value | What it does |\n| --- | --- | --- |\n";
    return "# The OSC space\n\n"
           "Every address that Marvo listens on, written from the program's own registration. A message "
           "without a\n"
           "value counts as the integer 0. Names lose accents, capitals and blanks on their way into an "
           "address:\n"
           "\"My Comp 1\" is `mycomp1`.\n\n"
           "`/marvo/current/...` stands for the selected composition, `/marvo/all/...` for each of them. "
           "What an\n"
           "operator may do by mistake, and what a stranger may do, is told in [security](security.md).\n\n"
           "## The application\n" +
           head + application + "\n## A composition\n" + head + composition + "\n## A track\n" + head +
           track +
           "\n## What Marvo sends back\n\n"
           "To the output that is chosen for feedback, and only while one is.\n\n"
           "| Address | Value | When |\n| --- | --- | --- |\n"
           "| the address of any button above | integer 0-1 | its state was set; for the selected "
           "composition also "
           "below `/marvo/current` |\n"
           "| `/marvo/COMPOSITION/playhead` | float 0-1 | each frame while it plays, and at a jump; the "
           "share of the "
           "working area |\n"
           "| `/marvo/COMPOSITION/playheadastime` | string | likewise, as a time |\n"
           "| `/marvo/current/playhead`, `/marvo/current/playheadastime` | the same | for the selected "
           "composition "
           "|\n"
           "| `/marvo/COMPOSITION/loopedbycue`, `/marvo/current/loopedbycue` | string | a cue paused or "
           "looped; its "
           "name |\n"
           "| `/marvo/current/name` | string | a composition was selected |\n"
           "| `/marvo/artnetcolormaster` | float 0-1 | the fader moved |\n"
           "| `/marvo/compinfo/name`, `/marvo/compinfo/duration` | string; integer, seconds of the working "
           "area | "
           "answers |\n"
           "| `/marvo/compcount` | integer | answer |\n"
           "| `/marvo/COMPOSITION/cuecount` | integer | answer |\n"
           "| `/marvo/cuename`, `/marvo/cuetime` | string; integer, a frame | answers |\n";
}

// With MARVO_WRITE_DOCS set, writes the document instead of comparing it.
TEST(OSCSpace, TheReferenceListsEveryAddressThatIsListenedOn) {
    const std::string path = MARVO_SOURCE_DIR "/docs/osc.md";
    const std::string expected = reference();
    if (std::getenv("MARVO_WRITE_DOCS")) std::ofstream(path) << expected;
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    EXPECT_EQ(text.str(), expected) << "run this test with MARVO_WRITE_DOCS=1";
}

// The range that the address tells is for those who build a fader; the tempo itself has no bounds.
TEST(OSCSpace, ATempoIsTakenAsItComes) {
    Show show(projectOf({compositionOf("zzcomp", 100, 60.0f, {})}));
    for (const float tempo : {0.0f, 999.0f, 1200.0f, 0.5f, -60.0f}) {
        show.receive("/marvo/zzcomp/compbpm", tempo);
        EXPECT_EQ(show.composition().state.compBPM, tempo);
        EXPECT_EQ(show.composition().controls.compSpeed.floatValue(), tempo);
    }
    show.receive("/marvo/zzcomp/compbpm", 1200.0f);
    show.playAll();
    show.tick(1000);
    EXPECT_NEAR(static_cast<double>(show.frame()), 1000.0, 2.0) << "ten times as fast as real time";
    show.receive("/marvo/zzcomp/compbpm", std::string("120"));
    EXPECT_EQ(show.composition().state.compBPM, 1200.0f) << "a text is no tempo";
}

// Each address is sent in its documented form: none may crash, and all are heard.
TEST(OSCSpace, EveryAddressOfTheReferenceIsHeard) {
    Show show(projectOf({compositionOf("zzcomp", 30, 60.0f, {oscTrack("zztrack", "/x", {})}),
                         compositionOf("Other", 30, 60.0f, {})}));
    std::set<std::string> registered;
    for (const OSCListenerTable::Entry& one : show.application.listeners().addresses())
        registered.insert(one.address);
    for (const std::string& address : registered) {
        if (address.ends_with("/addcomposition")) continue;
        EXPECT_GE(show.application.listeners().dispatch(address, OSCArgument{1, 1, 1.0f}), 1U) << address;
        show.main.pump();
        show.tick(2);
    }
    EXPECT_GT(registered.size(), 50U);
}

} // namespace
} // namespace marvo::testing
