// Every address of the OSC space in a rehearsal: each is sent once, at its time, to a show, and what the
// trace then tells is compared with the trace of the same show without it.
#include "headless/TraceCommand.h"

#include "Show.h"
#include "TrackRecords.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <sstream>

namespace marvo::testing {
namespace {

// What is to be seen. Texts are parts of lines of the trace.
enum class Seen {
    more,   // such lines are there that were not, or more of them
    fewer,  // some or all of such lines are gone
    nothing // the trace is the same; the text tells why it must be
};

struct Row {
    const char* address;  // as the reference writes it; TRACK is the one that the row names
    const char* argument; // of the script, empty for none
    Seen seen;
    const char* text;
    const char* before = ""; // script lines before it, separated by semicolons, without times
    const char* after = "";  // and behind it
    const char* track = "zzvalue";
    const char* seconds = "1";
};

constexpr const char* headAtHalf =
    R"("kind":"feedback","address":"/marvo/zzcomp/playhead","types":"f","args":[0.5])";
constexpr const char* headAtFirstCue =
    R"("kind":"feedback","address":"/marvo/zzcomp/playhead","types":"f","args":[0.25])";
constexpr const char* headAtSecondCue =
    R"("kind":"feedback","address":"/marvo/zzcomp/playhead","types":"f","args":[0.75])";
constexpr const char* headAtStart =
    R"("kind":"feedback","address":"/marvo/zzcomp/playhead","types":"f","args":[0])";
constexpr const char* otherPlays = R"("composition":"Other","track":"zzother")";
constexpr const char* showPlays = R"("composition":"zzcomp","track":"zzvalue")";
constexpr const char* otherIsSelected = R"("address":"/marvo/current/name","types":"s","args":["Other"])";
constexpr const char* otherIsNamed = R"("address":"/marvo/compinfo/name","types":"s","args":["Other"])";
constexpr const char* playShow = "osc /marvo/zzcomp/play i:1";
constexpr const char* playAll = "osc /marvo/playall i:1";
constexpr const char* selectOther = "osc /marvo/selectcompatindex i:2";
constexpr const char* jumpToHalf = "osc /marvo/zzcomp/jumptoframe i:30";
// The cues of the show let nothing pass; these rows want to see it pass.
constexpr const char* playPastCues = "osc /marvo/zzcomp/cueon i:0;osc /marvo/zzcomp/play i:1";

// One row for each address. zzcomp is selected, lasts 60 frames at 30 a second and has pausing cues at 15 and
// 45; Other has as many frames and no cue. PROJECT is a project that plays as soon as it is loaded.
constexpr Row rows[] = {
    {"/marvo/loadproject", "s:PROJECT", Seen::more, R"("composition":"Loaded")"},
    {"/marvo/rotatehue", "f:0.5", Seen::more, R"("address":"/colour","types":"r","args":["#00ff00ff"])", "",
     playShow},
    {"/marvo/triggercompatindex", "i:2", Seen::more, otherPlays},
    {"/marvo/triggercompwithname", "s:Other", Seen::more, otherPlays},
    {"/marvo/selectcompatindex", "i:2", Seen::more, otherIsSelected},
    {"/marvo/selectcompwithname", "s:Other", Seen::more, otherIsSelected},
    {"/marvo/stopcomps", "", Seen::fewer, otherPlays, playAll},
    {"/marvo/currentcompinfo", "", Seen::more,
     R"("address":"/marvo/compinfo/name","types":"s","args":["zzcomp"])"},
    {"/marvo/countofcomps", "", Seen::more, R"("address":"/marvo/compcount","types":"i","args":[2])"},
    {"/marvo/compinfowithname", "s:Other", Seen::more, otherIsNamed},
    {"/marvo/compinfoatindex", "i:2", Seen::more, otherIsNamed},
    {"/marvo/addcomposition", "", Seen::more, R"("address":"/marvo/compcount","types":"i","args":[3])", "",
     "osc /marvo/countofcomps"},
    {"/marvo/artnetcolormaster", "f:0.5", Seen::more,
     R"("track":"zzlamp","frame":0,"universe":0,"channel":11,"value":127)", "", playShow},
    {"/marvo/autobang", "", Seen::nothing, "which tracks are to be assigned is chosen in a window"},
    {"/marvo/blackout", "", Seen::more, R"("kind":"dmx","universe":0,"channel":512,"value":0)"},
    {"/marvo/playall", "i:1", Seen::more, otherPlays},
    {"/marvo/queuedloop", "i:1", Seen::more, showPlays, "osc /marvo/queuedmode i:1",
     "osc /marvo/zzcomp/cueon i:0;osc /marvo/playall i:1", "zzvalue", "6"},
    {"/marvo/queuedmode", "i:1", Seen::fewer, otherPlays, "", playAll},
    {"/marvo/rewindall", "", Seen::more, headAtStart, jumpToHalf},
    {"/marvo/solomode", "i:1", Seen::fewer, otherPlays, "", playAll},
    {"/marvo/triggernextcomp", "", Seen::more, otherPlays},
    {"/marvo/triggerprevcomp", "", Seen::more, showPlays, selectOther},
    {"/marvo/COMPOSITION/countofcues", "", Seen::more,
     R"("address":"/marvo/zzcomp/cuecount","types":"i","args":[2])"},
    {"/marvo/COMPOSITION/nameofcueatindex", "i:2", Seen::more,
     R"("address":"/marvo/cuename","types":"s","args":["Cue2"])"},
    {"/marvo/COMPOSITION/timeofcueatindex", "i:2", Seen::more,
     R"("address":"/marvo/cuetime","types":"i","args":[45])"},
    {"/marvo/COMPOSITION/addtrack", "i:2", Seen::more,
     R"("address":"/marvo/zzcomp/track6/enable","types":"i","args":[0])", "",
     "osc /marvo/zzcomp/track6/enable i:0"},
    {"/marvo/COMPOSITION/compbpm", "f:240", Seen::more, R"("track":"zzvalue","frame":40)", "", playPastCues},
    {"/marvo/COMPOSITION/cueon", "i:0", Seen::more, R"("track":"zzvalue","frame":20)", "", playShow},
    {"/marvo/COMPOSITION/enable", "i:0", Seen::fewer, showPlays, "", playShow},
    {"/marvo/COMPOSITION/jumptocueatindex", "i:2", Seen::more, headAtSecondCue},
    {"/marvo/COMPOSITION/jumptocuewithname", "s:Cue2", Seen::more, headAtSecondCue},
    {"/marvo/COMPOSITION/jumptoframe", "i:30", Seen::more, headAtHalf},
    {"/marvo/COMPOSITION/loop", "i:1", Seen::more, R"("track":"zzvalue","frame":1,)", "", playPastCues,
     "zzvalue", "3"},
    {"/marvo/COMPOSITION/nextcue", "", Seen::more, headAtFirstCue},
    {"/marvo/COMPOSITION/nextframe", "", Seen::more, headAtHalf, "osc /marvo/zzcomp/jumptoframe i:29"},
    {"/marvo/COMPOSITION/play", "i:1", Seen::more, showPlays},
    {"/marvo/COMPOSITION/playcueatindex", "i:2", Seen::more, R"("track":"zzvalue","frame":50)"},
    {"/marvo/COMPOSITION/playcuewithname", "s:Cue2", Seen::more, R"("track":"zzvalue","frame":50)"},
    {"/marvo/COMPOSITION/playhead", "f:0.5", Seen::more, headAtHalf},
    {"/marvo/COMPOSITION/prevcue", "", Seen::more, headAtFirstCue, jumpToHalf},
    {"/marvo/COMPOSITION/prevframe", "", Seen::more, headAtHalf, "osc /marvo/zzcomp/jumptoframe i:31"},
    {"/marvo/COMPOSITION/record", "i:1", Seen::more,
     R"("address":"/marvo/zzcomp/record","types":"i","args":[1])"},
    // A cue that lets a start pass by fires all the same when it is armed again before the next tick.
    {"/marvo/COMPOSITION/resetcuestates", "", Seen::more,
     R"("address":"/marvo/zzcomp/loopedbycue","types":"s","args":["Cue1"])",
     "osc /marvo/zzcomp/playcueatindex i:1"},
    {"/marvo/COMPOSITION/rewind", "", Seen::more, headAtStart, jumpToHalf},
    {"/marvo/COMPOSITION/syncout", "i:1", Seen::more,
     R"("address":"/marvo/zzcomp/syncout","types":"i","args":[1])"},
    {"/marvo/COMPOSITION/zoomin", "", Seen::nothing, "how much of a timeline is shown is a window's"},
    {"/marvo/COMPOSITION/zoomout", "", Seen::nothing, "how much of a timeline is shown is a window's"},
    {"/marvo/COMPOSITION/TRACK/14bitmidi", "i:1", Seen::more,
     R"("track":"zzknob","frame":0,"node":"Synth","bytes":[176,39,)", "", playShow, "zzknob"},
    {"/marvo/COMPOSITION/TRACK/16bitartnet", "i:1", Seen::more,
     R"("track":"zzdimmer","frame":0,"universe":0,"channel":6,)", "", playShow, "zzdimmer"},
    {"/marvo/COMPOSITION/TRACK/enable", "i:0", Seen::fewer, showPlays, "", playShow},
};

PropertyList named(PropertyList track, const std::string& name) {
    track.set("trackName", name);
    return track;
}

PropertyList keyframesOfColour(const Colour& colour) {
    const std::string archive = archivedColour(colour);
    return listOf({keyframeOf(0, "colorValue", PropertyList::data(std::as_bytes(std::span(archive))))});
}

PropertyList showProject() {
    const PropertyList ramp = keyframesOf({{0, 100}, {59, 1000}});
    PropertyList colour = named(trackOf("OSCColor", keyframesOfColour({0, 0, 1})), "zzcolour");
    colour.set("trackOSCAddress", "/colour");
    colour.set("trackOSCType", std::int64_t{0});
    PropertyList knob = named(trackOf("MidiCCValue", keyframesOf({{0, 1}, {59, 100}})), "zzknob");
    knob.set("midiChannel", "1");
    knob.set("midiCC", "7");
    knob.set("midiNodeName", "Synth");
    PropertyList lamp = named(trackOf("ArtNetColor", keyframesOfColour(Colour::white())), "zzlamp");
    lamp.set("artNetChannel", "11");
    PropertyList show =
        compositionOf("zzcomp", 30, 2.0f,
                      {oscTrack("zzvalue", "/x", {{0, 0}, {59, 100}}), colour, knob,
                       named(trackOf("ArtNetValue", keyframesOf({{0, 1}, {59, 200}})), "zzdimmer"), lamp});
    PropertyList cues = PropertyList::dictionary();
    for (const std::int64_t time : {15, 45}) {
        PropertyList cue = PropertyList::dictionary();
        cue.set("time", time);
        cues.set(std::to_string(cues.size()), cue);
    }
    PropertyList cueController = PropertyList::dictionary();
    cueController.set("cues", cues);
    cueController.set("enableButton", buttonOf(true));
    show.set("cueController", cueController);
    const PropertyList other =
        compositionOf("Other", 30, 2.0f, {oscTrack("zzother", "/y", {{0, 0}, {59, 100}})});
    PropertyList project = projectOf({show, other}, "Out");
    return project;
}

std::string replaced(std::string text, const std::string& from, const std::string& by) {
    const std::size_t at = text.find(from);
    return at == std::string::npos ? text : text.replace(at, from.size(), by);
}

// As the reference writes it.
std::string general(std::string address) {
    for (const char* name : {"zzcomp", "other"})
        address = replaced(address, "/marvo/" + std::string(name) + "/", "/marvo/COMPOSITION/");
    for (const char* name : {"zzvalue", "zzcolour", "zzknob", "zzdimmer", "zzlamp", "zzother"})
        address = replaced(address, "/" + std::string(name) + "/", "/TRACK/");
    return address;
}

std::string special(const Row& row) {
    return replaced(replaced(row.address, "COMPOSITION", "zzcomp"), "TRACK", row.track);
}

// Every address that is listened on, as the program registers it, with what it says about its value.
std::map<std::string, std::string> registered(Show& show) {
    std::map<std::string, std::string> all;
    for (const FixedOSCAddress& one : fixedOSCAddresses()) all[std::string(one.address)] = one.extraInfo;
    for (const OSCListenerTable::Entry& one : show.application.listeners().addresses())
        all[general(one.address)] = one.extraInfo;
    return all;
}

class TraceOfTheNamespace : public ::testing::Test {
protected:
    TraceOfTheNamespace() {
        std::string name = (std::filesystem::temp_directory_path() / "marvo-trace-XXXXXX").string();
        folder = ::mkdtemp(name.data());
        write("show.mrv", showProject());
        PropertyList loaded =
            compositionOf("Loaded", 30, 2.0f, {oscTrack("T", "/loaded", {{0, 0}, {59, 100}})});
        loaded.set("playButton", buttonOf(true));
        write("loaded.mrv", projectOf({loaded}));
    }
    ~TraceOfTheNamespace() override { std::filesystem::remove_all(folder); }

    void write(const std::string& name, const PropertyList& project) const {
        std::ofstream out(folder + "/" + name, std::ios::binary);
        writePropertyListXml(project,
                             [&](std::string_view piece) { return static_cast<bool>(out << piece); });
    }

    static void addLines(std::ostream& script, int time, const std::string& lines) {
        std::istringstream each(lines);
        for (std::string line; std::getline(each, line, ';');) script << time << ' ' << line << '\n';
    }

    // The lines of a rehearsal in which the address is sent, or left out. All but the preparation happens
    // before one and the same tick.
    std::vector<std::string> trace(const Row& row, bool sent) const {
        {
            std::ofstream script(folder + "/script.txt");
            addLines(script, 50, "osc /marvo/selectcompatindex i:1"); // a load selects the last one
            addLines(script, 100, row.before);
            const std::string argument = replaced(row.argument, "PROJECT", folder + "/loaded.mrv");
            if (sent) addLines(script, 100, "osc " + special(row) + " " + argument);
            addLines(script, 110, row.after);
        }
        TraceOptions options;
        options.project = folder + "/show.mrv";
        options.script = folder + "/script.txt";
        options.output = folder + "/trace.txt";
        options.seconds = std::stod(row.seconds);
        EXPECT_EQ(runTrace(options), 0);
        std::ifstream file(*options.output);
        std::vector<std::string> lines;
        for (std::string line; std::getline(file, line);) lines.push_back(line);
        return lines;
    }

    std::string folder;
};

std::size_t count(const std::vector<std::string>& lines, const std::string& text) {
    std::size_t found = 0;
    for (const std::string& line : lines) found += line.find(text) != std::string::npos ? 1 : 0;
    return found;
}

std::string joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) text += line + "\n";
    return text;
}

TEST_F(TraceOfTheNamespace, EveryAddressHasARowAndEveryRowAnAddress) {
    Show show(showProject());
    std::set<std::string> addresses;
    for (const auto& [address, info] : registered(show)) addresses.insert(address);
    std::set<std::string> tested;
    for (const Row& row : rows) EXPECT_TRUE(tested.insert(row.address).second) << row.address << " twice";
    EXPECT_EQ(tested, addresses);
}

TEST_F(TraceOfTheNamespace, EachRowSendsWhatTheAddressAsksFor) {
    Show show(showProject());
    const auto addresses = registered(show);
    for (const Row& row : rows) {
        const std::string& info = addresses.at(row.address);
        const std::string kind = info.starts_with("integer")  ? "i:"
                                 : info.starts_with("float")  ? "f:"
                                 : info.starts_with("string") ? "s:"
                                                              : "";
        EXPECT_EQ(std::string(row.argument).substr(0, 2), kind) << row.address << ": " << info;
    }
}

TEST_F(TraceOfTheNamespace, EachAddressIsSeenToAct) {
    for (const Row& row : rows) {
        if (row.seen == Seen::nothing) continue;
        const auto without = trace(row, false);
        const auto with = trace(row, true);
        const std::size_t before = count(without, row.text);
        const std::size_t after = count(with, row.text);
        const bool seen = row.seen == Seen::more ? after > before : after < before;
        EXPECT_TRUE(seen) << row.address << ": " << before << " lines without it and " << after
                          << " with it have " << row.text << "\n--- without\n"
                          << joined(without).substr(0, 3000) << "--- with\n"
                          << joined(with).substr(0, 3000);
    }
}

// What acts on windows alone is heard, changes nothing that leaves, and the show plays on.
TEST_F(TraceOfTheNamespace, WhatActsOnWindowsAloneIsHeardAndHarmsNothing) {
    Show show(showProject());
    for (const Row& row : rows) {
        if (row.seen != Seen::nothing) continue;
        EXPECT_STRNE(row.text, "") << row.address << " needs a reason";
        EXPECT_EQ(show.application.listeners().dispatch(special(row), OSCArgument{1, 1, 1.0f}), 1U)
            << row.address;
        Row playing = row;
        playing.after = playAll;
        const auto with = trace(playing, true);
        EXPECT_EQ(joined(with), joined(trace(playing, false))) << row.address;
        EXPECT_GT(count(with, showPlays), 10U) << row.address;
    }
}

TEST_F(TraceOfTheNamespace, CurrentAndAllStandForTheSelectedAndForEachComposition) {
    const Row current{"/marvo/current/play", "i:1", Seen::more, ""};
    EXPECT_GT(count(trace(current, true), showPlays), 10U);
    EXPECT_EQ(count(trace(current, true), otherPlays), 0U);
    const Row all{"/marvo/all/play", "i:1", Seen::more, ""};
    EXPECT_GT(count(trace(all, true), showPlays), 10U);
    EXPECT_GT(count(trace(all, true), otherPlays), 10U);
}

} // namespace
} // namespace marvo::testing
