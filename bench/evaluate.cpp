// The whole way of a value through the engine, from the tick to the wire, beside a bare loop.
#include "BareTracks.h"
#include "Measure.h"
#include "Stage.h"
#include "platform/ColourArchive.h"
#include "tracks/ColorTable.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <functional>
#include <memory>
#include <random>
#include <string>

using namespace marvo;
using namespace marvo::bench;
using namespace std::chrono_literals;

namespace {

constexpr std::int64_t fps = 100;
constexpr Duration frameStep = Duration::ofMilliseconds(10);
constexpr float seconds = 600.0f;
constexpr std::int32_t lastFrame = 60000;
constexpr std::size_t tracksOfAComposition = 1000;
constexpr std::int32_t keysOfATrack = 16;

struct NamedCurve {
    BareCurve bare;
    const char* label;
};
constexpr NamedCurve stepped{BareCurve::stepped, "No Interpolation"};
constexpr NamedCurve linear{BareCurve::linear, "Linear Interpolation"};
constexpr NamedCurve cubic{BareCurve::cubicInOut, "Cubic Ease-In-Out"};
constexpr NamedCurve elastic{BareCurve::elasticOut, "Elastic Ease-Out"};
constexpr NamedCurve bounce{BareCurve::bounceOut, "Bounce Ease-Out"};
constexpr std::array<NamedCurve, 6> mixture = {{linear,
                                                {BareCurve::cubicIn, "Cubic Ease-In"},
                                                {BareCurve::cubicOut, "Cubic Ease-Out"},
                                                cubic,
                                                elastic,
                                                bounce}};

struct Kind {
    const char* name;
    std::function<NamedCurve(std::mt19937&)> curve;
    bool flat = false; // all keys of a track have one value
};

const std::array<Kind, 7>& kinds() {
    static const std::array<Kind, 7> all = {{
        {"linear", [](std::mt19937&) { return linear; }},
        {"cubic", [](std::mt19937&) { return cubic; }},
        {"elastic", [](std::mt19937&) { return elastic; }},
        {"bounce", [](std::mt19937&) { return bounce; }},
        {"mixed", [](std::mt19937& random) { return mixture[random() % mixture.size()]; }},
        {"stepped", [](std::mt19937&) { return stepped; }},
        {"flat", [](std::mt19937&) { return linear; }, true},
    }};
    return all;
}
constexpr std::size_t linearKind = 0;
constexpr std::size_t steppedKind = 5;
constexpr std::size_t flatKind = 6;

// The same tracks in both forms, each at its own frame.
struct Tracks {
    std::vector<BareTrack> bare;
    std::vector<float> values;
    std::int32_t bareFrame = 1; // as the engine, whose first tick ends on the second frame
    std::uint64_t changed = 0;
    std::unique_ptr<Stage> stage;

    void engineFrame() { stage->tick(frameStep); }
    void frameOfBare() {
        changed += evaluateBare(bare, bareFrame, values);
        if (++bareFrame == lastFrame) bareFrame = 0;
    }
};

Tracks makeTracks(std::size_t count, const Kind& kind) {
    Tracks tracks;
    std::mt19937 random(7);
    std::uniform_real_distribution<float> height(0.0f, 100.0f);
    std::vector<PropertyList> compositions;
    std::vector<PropertyList> records;
    for (std::size_t i = 0; i < count; ++i) {
        std::vector<StagePoint> points;
        BareTrack bare;
        const float level = height(random);
        for (std::int32_t k = 0; k < keysOfATrack; ++k) {
            const auto spread = static_cast<std::int32_t>(random() % 1000);
            const std::int32_t time = k == 0 ? 0 : k * (lastFrame / keysOfATrack) + spread;
            const NamedCurve curve = kind.curve(random);
            const float value = kind.flat ? level : height(random);
            points.push_back({time, value, curve.label});
            bare.keys.push_back({time, value, curve.bare});
        }
        const std::string number = std::to_string(i + 1);
        records.push_back(stageTrack("T" + number, "/light/" + number + "/level", points));
        tracks.bare.push_back(std::move(bare));
        if (records.size() < tracksOfAComposition && i + 1 < count) continue;
        compositions.push_back(
            stageComposition("C" + std::to_string(compositions.size() + 1), fps, seconds, records, true));
        records.clear();
    }
    tracks.values.resize(count);
    tracks.stage = std::make_unique<Stage>(stageProject(compositions));
    tracks.stage->playAll();
    return tracks;
}

// Both must do the same: the values that leave in the first frames add up to the same.
void checkAgainstBare(Program& program, Tracks& tracks, const char* name) {
    NullTransport& transport = tracks.stage->transport;
    transport.sums = true;
    double bareSum = 0.0;
    std::vector<float> before(tracks.values.size(), -1.0f);
    for (int frame = 0; frame < 150; ++frame) {
        tracks.engineFrame();
        tracks.frameOfBare();
        for (std::size_t i = 0; i < before.size(); ++i) {
            if (tracks.values[i] != before[i]) bareSum += static_cast<double>(tracks.values[i]) / 100.0;
        }
        before = tracks.values;
    }
    transport.sums = false;
    const double difference = std::abs(transport.sum - bareSum);
    if (difference > 1e-3 * bareSum) std::printf("  engine %.3f, bare %.3f\n", transport.sum, bareSum);
    program.must(std::string(name) + " tracks give the values of the bare loop",
                 bareSum > 0.0 && difference <= 1e-3 * bareSum);
}

void evaluating(Program& program, std::size_t count) {
    const auto slice = count < 50000 ? 5ms : 40ms;
    const std::size_t slices = count < 50000 ? program.sized<std::size_t>(61, 9) : 7;
    double changing = 0.0;
    std::printf("  %-10s %12s %12s %8s   nanoseconds a track and frame\n", "", "engine", "bare", "ratio");
    std::vector<std::pair<std::string, double>> ratios;
    for (std::size_t k = 0; k < kinds().size(); ++k) {
        Tracks tracks = makeTracks(count, kinds()[k]);
        checkAgainstBare(program, tracks, kinds()[k].name);
        const std::uint64_t sentBefore = tracks.stage->transport.sent;
        std::uint64_t frames = 0;
        Contest contest;
        contest
            .add("engine",
                 [&](std::size_t rounds) {
                     for (std::size_t i = 0; i < rounds; ++i) tracks.engineFrame();
                     frames += rounds;
                 })
            .add("bare", [&](std::size_t rounds) {
                for (std::size_t i = 0; i < rounds; ++i) tracks.frameOfBare();
            });
        contest.run(slices, slice);
        const auto tracksAsNumber = static_cast<double>(count);
        const double engine = contest.nanoseconds(0) / tracksAsNumber;
        const double sent = static_cast<double>(tracks.stage->transport.sent - sentBefore) /
                            (static_cast<double>(frames) * tracksAsNumber);
        std::printf("  %-10s %12.2f %12.2f %8.2f   %.1f%% of the values leave\n", kinds()[k].name, engine,
                    contest.nanoseconds(1) / tracksAsNumber, contest.ratio(0, 1), sent * 100.0);
        if (k == linearKind) changing = engine;
        if (k == steppedKind || k == flatKind) {
            if (count <= 10000)
                ratios.emplace_back(std::string(kinds()[k].name) + " / linear", engine / changing);
        } else {
            program.must(std::string(kinds()[k].name) + " tracks keep moving", sent > 0.9);
            if (count <= 10000)
                ratios.emplace_back(std::string(kinds()[k].name) + " / bare", contest.ratio(0, 1));
        }
    }
    for (const auto& [what, ratio] : ratios) program.atMost(what, ratio, what.ends_with("bare") ? 2.0 : 0.25);
}

PropertyList keyframeAt(std::int64_t time, const char* key, const PropertyList& content) {
    PropertyList keyframe = PropertyList::dictionary();
    keyframe.set("time", time);
    keyframe.set("interpolation", linear.label);
    keyframe.set(key, content);
    return keyframe;
}

// Lanes of one kind, whose keyframes stand where those of the linear value tracks stand.
std::unique_ptr<Stage> makeLanes(std::size_t count, const std::string& type) {
    std::mt19937 random(7);
    std::uniform_real_distribution<double> part(0.0, 1.0);
    std::vector<PropertyList> records;
    for (std::size_t i = 0; i < count; ++i) {
        const std::string number = std::to_string(i + 1);
        std::vector<PropertyList> keyframes;
        for (std::int32_t k = 0; k < keysOfATrack; ++k) {
            const auto spread = static_cast<std::int32_t>(random() % 1000);
            const std::int32_t time = k == 0 ? 0 : k * (lastFrame / keysOfATrack) + spread;
            if (type == "OSCFlag") {
                keyframes.push_back(keyframeAt(time, "flagAddress", "/light/" + number + "/go"));
                continue;
            }
            const std::string archive = archivedColour({part(random), part(random), part(random), 1.0});
            keyframes.push_back(
                keyframeAt(time, "colorValue", PropertyList::data(std::as_bytes(std::span(archive)))));
        }
        PropertyList track = stageTrackOf(type, "T" + number, keyframes);
        track.set("trackOSCAddress", "/light/" + number + "/colour");
        track.set("artNetChannel", std::to_string(1 + 3 * (i % 170)));
        records.push_back(track);
    }
    auto stage = std::make_unique<Stage>(stageProject({stageComposition("C1", fps, seconds, records, true)}));
    stage->playAll();
    return stage;
}

// Colours and flags beside the linear value tracks of the same run. A lamp takes three channels.
void evaluatingLanes(Program& program, std::size_t count) {
    Tracks values = makeTracks(count, kinds()[linearKind]);
    const auto colours = makeLanes(count, "OSCColor");
    const auto lamps = makeLanes(count, "ArtNetColor");
    const auto flags = makeLanes(count, "OSCFlag");
    const std::uint64_t coloursBefore = colours->transport.sent;
    const std::uint64_t flagsBefore = flags->transport.sent;
    std::uint64_t colourFrames = 0;
    Contest contest;
    const auto frames = [](Stage& stage) {
        return [&stage](std::size_t rounds) {
            for (std::size_t i = 0; i < rounds; ++i) stage.tick(frameStep);
        };
    };
    contest.add("linear", frames(*values.stage))
        .add("colour",
             [&](std::size_t rounds) {
                 frames (*colours)(rounds);
                 colourFrames += rounds;
             })
        .add("lamp", frames(*lamps))
        .add("flag", frames(*flags));
    contest.run(program.sized<std::size_t>(61, 15), 5ms);
    const auto tracksAsNumber = static_cast<double>(count);
    std::printf("  %-10s %12s   nanoseconds a track and frame\n", "", "engine");
    const char* const names[] = {"linear", "colour", "lamp", "flag"};
    for (std::size_t i = 0; i < 4; ++i)
        std::printf("  %-10s %12.2f\n", names[i], contest.nanoseconds(i) / tracksAsNumber);
    program.must("colours keep moving", static_cast<double>(colours->transport.sent - coloursBefore) >
                                            0.9 * tracksAsNumber * static_cast<double>(colourFrames));
    for (int frame = 0; frame < 2 * lastFrame / keysOfATrack; ++frame) flags->tick(frameStep);
    program.must("flags fire", flags->transport.sent > flagsBefore);
    // What a lamp costs is mostly its three channels, and most frames have no flag; both are only shown.
    program.atMost("colour / linear", contest.ratio(1, 0), 2.0);
}

// What an edit makes anew on the main thread: the colour of each frame of an hour.
void colourTable(Program& program) {
    constexpr std::int64_t frames = std::int64_t{60} * 60 * 60;
    std::vector<MarvoTimelineKeyframe> keyframes(601);
    for (std::size_t i = 0; i < keyframes.size(); ++i) {
        keyframes[i].time = Frame(static_cast<std::int64_t>(i) * frames / 600);
        keyframes[i].becomeColor().setColorValue(i % 2 == 0 ? Colour{1, 0, 0} : Colour{0, 0.5, 1});
    }
    double shade = 0.0;
    Contest contest;
    contest
        .add("made",
             [&](std::size_t rounds) {
                 for (std::size_t i = 0; i < rounds; ++i) keep(ColorTable(keyframes, frames).colorAtFrame(7));
             })
        .add("written", [&](std::size_t rounds) {
            static std::vector<Colour> plain(static_cast<std::size_t>(frames) + 1);
            for (std::size_t i = 0; i < rounds; ++i) {
                std::fill(plain.begin(), plain.end(), Colour::grey(shade += 0.1));
                keep(plain);
            }
        });
    contest.run(program.sized<std::size_t>(41, 11), 20ms);
    contest.print();
    program.atMost("made / written", contest.ratio(0, 1), 50.0);
}

// Nearly all ticks fall inside a frame: time advances and nothing else happens.
void standing(Program& program, std::size_t compositions) {
    std::vector<PropertyList> records;
    for (std::size_t c = 0; c < compositions; ++c) {
        records.push_back(stageComposition(
            "C" + std::to_string(c + 1), 1, 3600.0f,
            {stageTrack("T", "/t", {{0, 0.0f, linear.label}, {3600, 100.0f, linear.label}})}, true));
    }
    Stage stage(stageProject(records));
    stage.playAll();
    for (int i = 0; i < 10; ++i) stage.tick(Duration::ofMilliseconds(10));
    const std::uint64_t before = stage.transport.sent;
    Contest contest;
    contest.add("tick", [&](std::size_t rounds) {
        for (std::size_t i = 0; i < rounds; ++i) stage.tick(Duration(1));
    });
    contest.run(program.sized<std::size_t>(101, 21), 2ms);
    program.must("no frame has changed meanwhile", stage.transport.sent == before);
    const std::string of = std::to_string(compositions);
    std::printf("  %-44s %10.1f ns\n", (of + " compositions, a tick").c_str(), contest.nanoseconds(0));
    program.atMostInFull(of + " compositions, nanoseconds for each",
                         contest.nanoseconds(0) / static_cast<double>(compositions), 60.0);
}

} // namespace

int main(int argc, char** argv) {
    Program program(argc, argv);
    program.part("1,000 tracks", [&] { evaluating(program, 1000); });
    if (!program.smoke()) {
        program.part("10,000 tracks", [&] { evaluating(program, 10000); });
        program.part("100,000 tracks", [&] { evaluating(program, 100000); });
    }
    // Their tables, one colour a frame, take 2 MB each.
    program.part("colours and flags, 300 tracks", [&] { evaluatingLanes(program, 300); });
    program.part("the colours of an hour at 60 frames a second", [&] { colourTable(program); });
    program.part("a tick inside a frame", [&] {
        for (const std::size_t count : {1u, 16u, 64u}) standing(program, count);
    });
    return program.finish();
}
