// What it costs to open and to save a large project, in time and in memory.
#include "Measure.h"
#include "ProjectBaseline.h"
#include "Stage.h"
#include "platform/LoadReport.h"
#include "platform/PropertyListFile.h"
#include "tracks/MarvoTimelineKeyframe.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <malloc.h>
#include <memory>
#include <string>
#include <time.h>
#include <unistd.h>
#include <vector>

using namespace marvo;
using namespace marvo::bench;

namespace {

class Folder {
public:
    Folder() {
        path_ = (std::filesystem::temp_directory_path() / "marvo-bench-XXXXXX").string();
        if (!::mkdtemp(path_.data())) {
            std::perror("mkdtemp");
            std::exit(2);
        }
    }
    ~Folder() { std::filesystem::remove_all(path_); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    std::string file(const char* name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

// An application without a project.
PropertyList emptyProject() {
    return stageProject({});
}

PropertyList projectOf(const KeyframeText& text) {
    std::vector<PropertyList> tracks;
    for (std::size_t t = 0; t < text.tracks; ++t) {
        std::vector<StagePoint> points;
        for (std::size_t k = 0; k < text.keyframesEach; ++k)
            points.push_back({text.timeOf(k), text.valueOf(t, k), text.curveOf(t, k)});
        const std::string number = std::to_string(t + 1);
        tracks.push_back(stageTrack("T" + number, "/light/" + number + "/level", points));
    }
    const float seconds = static_cast<float>(text.keyframesEach) * 3.0f / 60.0f + 1.0f;
    return stageProject({stageComposition("C1", 60, seconds, tracks, true)});
}

void writeProject(const KeyframeText& text, const std::string& path) {
    // As the program itself saves it.
    const std::string raw = path + ".raw";
    if (!writePropertyList(raw, projectOf(text)).ok()) std::exit(2);
    Stage stage(emptyProject());
    if (!stage.application.projectFile.replaceProject(raw, nullptr).done ||
        !stage.application.projectFile.processSaveWithURL(path).done) {
        std::fprintf(stderr, "the project cannot be made\n");
        std::exit(2);
    }
    std::filesystem::remove(raw);
}

std::size_t keyframesIn(const Stage& stage) {
    std::size_t sum = 0;
    const PropertyList root = stage.application.projectFile.root();
    for (const auto& [name, record] : root.entries()) {
        const PropertyList* tracks = record.find("tracks");
        if (!tracks) continue;
        for (const auto& [number, track] : tracks->entries()) {
            if (const PropertyList* keyframes = track.find("keyFrames")) sum += keyframes->size();
        }
    }
    return sum;
}

void loadInto(Stage& stage, const std::string& path) {
    LoadReport report;
    const ProjectResult loaded = stage.application.projectFile.replaceProject(path, &report);
    if (!loaded.done || !report.lines().empty()) {
        // What is repaired costs more than what is not.
        std::fprintf(stderr, "%s\n", loaded.done ? report.lines().front().c_str() : loaded.error.c_str());
        std::exit(2);
    }
    stage.main.pump();
}

void saveFrom(Stage& stage, const std::string& path) {
    const ProjectResult saved = stage.application.projectFile.processSaveWithURL(path);
    if (!saved.done) {
        std::fprintf(stderr, "%s\n", saved.error.c_str());
        std::exit(2);
    }
}

long statusValue(const char* name) {
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        long value = 0;
        if (word == name && status >> value) return value * 1024;
    }
    return -1;
}

// The most memory that the work had beyond what was there before it, in bytes.
template <class Work>
long peakGrowth(const Work& work) {
    const long before = statusValue("VmRSS:");
    {
        // Forgets the highest mark so far.
        std::ofstream forget("/proc/self/clear_refs");
        forget << "5" << std::flush;
        if (!forget) return -1;
    }
    work();
    return statusValue("VmHWM:") - before;
}

// In a process of its own: loads, and saves what it has loaded.
int measureMemory(const char* task, const char* path, const char* target) {
    Stage stage(emptyProject());
    const std::string project = path;
    const std::string small = std::string(target) + ".small";
    long growth = -1;
    // What the first project of a process costs once, libraries and tables, is there before the large one.
    writeProject({1, 10}, small);
    loadInto(stage, small);
    ::malloc_trim(0);
    if (std::strcmp(task, "load") == 0) {
        growth = peakGrowth([&] { loadInto(stage, project); });
    } else {
        loadInto(stage, project);
        ::malloc_trim(0); // what loading has left over is not there for saving
        growth = peakGrowth([&] { saveFrom(stage, target); });
    }
    std::printf("%ld\n", growth);
    return growth < 0 ? 1 : 0;
}

double memoryOf(const char* program, const char* task, const std::string& path, const std::string& target) {
    const std::string command =
        std::string("'") + program + "' --memory " + task + " '" + path + "' '" + target + "'";
    std::FILE* const child = ::popen(command.c_str(), "r");
    long growth = -1;
    if (!child || std::fscanf(child, "%ld", &growth) != 1) growth = -1;
    if (child) ::pclose(child);
    return static_cast<double>(growth);
}

void large(Program& program, const char* self, const KeyframeText& text) {
    const Folder folder;
    const std::string path = folder.file("large.mrv");
    const std::size_t keyframes = text.tracks * text.keyframesEach;
    writeProject(text, path);
    const auto bytes = static_cast<double>(std::filesystem::file_size(path));
    const auto count = static_cast<double>(keyframes);
    std::printf("  %zu tracks, %zu keyframes, %.1f MB\n", text.tracks, keyframes, bytes / 1e6);

    XmlCounts counts;
    auto stage = std::make_unique<Stage>(emptyProject());
    Contest loading;
    loading
        .add(
            "engine: load",
            [&](std::size_t rounds) {
                for (std::size_t i = 0; i < rounds; ++i) loadInto(*stage, path);
            },
            [&] { stage = std::make_unique<Stage>(emptyProject()); })
        .add("bare Expat pass", [&](std::size_t rounds) {
            for (std::size_t i = 0; i < rounds; ++i) counts = countWithExpat(path);
        });
    const std::size_t slices = program.sized<std::size_t>(7, 3);
    loading.run(slices, std::chrono::microseconds(1));
    program.must("every keyframe is there", keyframesIn(*stage) == keyframes);
    program.must("the bare pass has seen the whole file", counts.elements > 7 * keyframes);

    const std::string saved = folder.file("saved.mrv");
    std::size_t printed = 0;
    std::size_t written = 0;
    Contest saving;
    saving
        .add("engine: save",
             [&](std::size_t rounds) {
                 for (std::size_t i = 0; i < rounds; ++i) saveFrom(*stage, saved);
             })
        .add("bare fprintf of the keyframes",
             [&](std::size_t rounds) {
                 for (std::size_t i = 0; i < rounds; ++i) printed = writeWithPrintf(text, folder.file("a"));
             })
        .add("bare to_chars of the keyframes", [&](std::size_t rounds) {
            for (std::size_t i = 0; i < rounds; ++i) written = writeWithToChars(text, folder.file("b"));
        });
    saving.run(slices, std::chrono::microseconds(1));
    program.must("the saved file is the one that was read",
                 std::filesystem::file_size(saved) == std::filesystem::file_size(path));
    program.must("the bare writers write as much",
                 static_cast<double>(printed) > 0.98 * bytes && static_cast<double>(written) > 0.98 * bytes);
    std::printf("  %-44s %10.1f ns a keyframe\n", "engine: load", loading.nanoseconds(0) / count);
    std::printf("  %-44s %10.1f ns a keyframe\n", "bare Expat pass", loading.nanoseconds(1) / count);
    std::printf("  %-44s %10.1f ns a keyframe\n", "engine: save", saving.nanoseconds(0) / count);
    std::printf("  %-44s %10.1f ns a keyframe\n", "bare fprintf", saving.nanoseconds(1) / count);
    std::printf("  %-44s %10.1f ns a keyframe\n", "bare to_chars", saving.nanoseconds(2) / count);
    program.atMost("load / bare Expat pass", loading.ratio(0, 1), 1.8);
    program.atMost("save / bare fprintf", saving.ratio(0, 1), 2.0);
    stage.reset();

    const auto size = static_cast<double>(sizeof(MarvoTimelineKeyframe)) * count;
    const double loadGrowth = memoryOf(self, "load", path, saved);
    const double saveGrowth = memoryOf(self, "save", path, saved);
    program.must("the memory can be measured", loadGrowth > 0.0 && saveGrowth > 0.0);
    std::printf(
        "  a keyframe has %zu bytes; loading takes %.0f at most, saving %.0f more than what is loaded\n",
        sizeof(MarvoTimelineKeyframe), loadGrowth / count, saveGrowth / count);
    program.atMost("peak memory of loading / keyframes", loadGrowth / size, 4.0);
    program.atMost("peak memory of saving / keyframes", saveGrowth / size, 4.0);
}

double processorSeconds() {
    timespec now{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

void opening(Program& program) {
    const Folder folder;
    const std::string path = folder.file("show.mrv");
    writeProject({40, 500}, path);
    std::vector<double> seconds;
    std::vector<double> elapsed;
    for (int i = 0; i < 7; ++i) {
        Stage stage(emptyProject());
        const auto start = std::chrono::steady_clock::now();
        const double worked = processorSeconds();
        loadInto(stage, path);
        seconds.push_back(processorSeconds() - worked);
        elapsed.push_back(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
    std::printf("  %-44s %10.3f s\n", "by the clock on the wall", median(std::move(elapsed)));
    program.atMost("20,000 keyframes open, seconds of processor", median(std::move(seconds)), 0.15);
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 5 && std::strcmp(argv[1], "--memory") == 0) return measureMemory(argv[2], argv[3], argv[4]);
    Program program(argc, argv);
    program.part("a large project", [&] {
        large(program, argv[0], program.sized(KeyframeText{200, 5000}, KeyframeText{20, 5000}));
    });
    program.part("a project of an evening", [&] { opening(program); });
    return program.finish();
}
