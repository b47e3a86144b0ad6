// What plays and what is wrong, drawn from a plain snapshot.
//
// No clock, no terminal and no engine in here: a snapshot in, text out. Thread-safe; allocates. Whatever the
// names hold, nothing but this file's own attributes reaches the terminal as a control sequence.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace marvo {

struct StatusTrack {
    std::string name;
    std::string address;
    std::string value; // empty before the first one
};

struct StatusComposition {
    std::string name;
    bool running = false;
    bool enabled = true;
    std::string playhead;
    float progress = 0.0f; // 0 to 1 over the working area
    std::int64_t fps = 0;
    std::string tempo;
    std::vector<StatusTrack> tracks;
};

struct StatusOutput {
    std::string label;
    std::string target; // "127.0.0.1:8000"
    std::uint64_t perSecond = 0;
    std::uint64_t dropped = 0;
    std::string trouble;        // empty when all is well
    std::string unit = "msg/s"; // of the rate; empty where there is none to show
};

struct StatusSnapshot {
    std::string title;
    std::vector<StatusComposition> compositions;
    std::vector<StatusOutput> outputs;
    std::string scheduling; // how the render thread runs
    std::string lateness;
    std::string hint; // where to listen
};

// For a terminal: at most `rows` lines, each narrower than `columns`, drawn over what the last call drew: the
// text begins at the top left corner, clears as it goes, and never scrolls. Where not all fits, the outputs,
// the health of the ticks and the head of each composition stay, tracks give way, and how many are not shown
// is said. For anything else: one line with the state of each composition and output, ending with a line
// feed.
std::string drawStatusScreen(const StatusSnapshot& snapshot, int columns, int rows, bool terminal);

} // namespace marvo
