#include "headless/StatusScreen.h"

#include "headless/StatusRow.h"
#include "headless/TerminalText.h"

#include <algorithm>
#include <cmath>
#include <string_view>

namespace marvo {
namespace {

constexpr int widestBar = 40;
constexpr int narrowestBar = 8;

float bounded(float progress) {
    return std::isfinite(progress) ? std::clamp(progress, 0.0F, 1.0F) : 0.0F;
}

std::string counted(std::size_t count, std::string_view one) {
    return std::to_string(count) + " " + std::string(one) + (count == 1 ? "" : "s");
}

// Half steps, so that a slow show is seen to move.
std::string bar(float progress, int columns) {
    const int halves = static_cast<int>(std::lround(bounded(progress) * static_cast<float>(columns * 2)));
    std::string text;
    for (int i = 0; i < columns; ++i)
        text.append(halves >= 2 * i + 2 ? "━" : halves == 2 * i + 1 ? "╸" : "─");
    return text;
}

std::size_t troubledOutputs(const StatusSnapshot& snapshot) {
    return static_cast<std::size_t>(
        std::count_if(snapshot.outputs.begin(), snapshot.outputs.end(),
                      [](const auto& output) { return !output.trouble.empty(); }));
}

std::string_view stateOf(const StatusComposition& composition) {
    return composition.running ? "playing" : composition.enabled ? "stopped" : "muted";
}

std::string rateOf(const StatusOutput& output) {
    return output.unit.empty() ? std::string() : std::to_string(output.perSecond) + " " + output.unit;
}

std::string droppedText(const StatusOutput& output) {
    return output.dropped > 0 ? "dropped " + std::to_string(output.dropped) : std::string();
}

// Puts the rows together: decides who gets how many, then draws them.
class Screen {
public:
    Screen(const StatusSnapshot& snapshot, int columns, int rows)
        // The last column stays free: behind it terminals disagree where the cursor is, and erasing to the
        // end of the line would take the last character away.
        : snapshot_(snapshot), columns_(std::max(columns - 1, 1)),
          rows_(static_cast<std::size_t>(std::max(rows, 1))), nameColumns_(std::clamp(columns_ / 5, 8, 24)) {}

    std::string draw() {
        addTitle();
        addCompositions();
        addFoot();
        if (lines_.size() > rows_) lines_.resize(rows_);
        std::string text = "\x1b[H";
        for (std::size_t i = 0; i < lines_.size(); ++i)
            text.append(i > 0 ? "\r\n" : "").append(lines_[i]).append("\x1b[K");
        return text.append("\x1b[J");
    }

private:
    StatusRow row() const { return StatusRow(columns_); }
    void put(const StatusRow& row) { lines_.push_back(row.text()); }
    bool isRoomy() const { return rows_ >= 16; }

    void addTitle() {
        StatusRow title = row();
        title.add(snapshot_.title, StatusInk::strong);
        if (const std::size_t troubled = troubledOutputs(snapshot_)) {
            title.add("  ! " + counted(troubled, "output") + " in trouble", StatusInk::bad);
        }
        put(title);
        if (isRoomy()) lines_.emplace_back();
    }

    // Outputs, ticks, hint, and the blank line above them.
    std::size_t footRows() const { return shownOutputs() + 2 + (isRoomy() ? 1 : 0); }
    std::size_t shownOutputs() const {
        const std::size_t most = std::max<std::size_t>(rows_ / 3, 1);
        return std::min(snapshot_.outputs.size(), most);
    }

    void addCompositions() {
        const std::size_t taken = lines_.size() + footRows();
        std::size_t room = rows_ > taken ? rows_ - taken : 0;
        const std::size_t all = snapshot_.compositions.size();
        if (all == 0) {
            put(row().add("No compositions", StatusInk::faint));
            return;
        }
        const std::size_t shown = all <= room ? all : room > 0 ? room - 1 : 0;
        room -= shown;
        const std::vector<std::size_t> tracks = shareRows(shown, room);
        for (std::size_t i = 0; i < shown; ++i) {
            const StatusComposition& composition = snapshot_.compositions[i];
            addHead(composition, composition.tracks.size() - tracks[i]);
            for (std::size_t t = 0; t < tracks[i]; ++t) addTrack(composition.tracks[t]);
        }
        if (shown < all && room > 0) {
            put(row().add("  … and " + counted(all - shown, "composition") + " more", StatusInk::faint));
        }
    }

    // A row each in turn, what plays first, until there is no more room or no more track.
    std::vector<std::size_t> shareRows(std::size_t compositions, std::size_t room) const {
        std::vector<std::size_t> shares(compositions, 0);
        for (const bool running : {true, false}) {
            for (bool gave = true; gave && room > 0;) {
                gave = false;
                for (std::size_t i = 0; i < compositions && room > 0; ++i) {
                    const StatusComposition& composition = snapshot_.compositions[i];
                    if (composition.running != running || shares[i] >= composition.tracks.size()) continue;
                    ++shares[i];
                    --room;
                    gave = true;
                }
            }
        }
        return shares;
    }

    void addHead(const StatusComposition& composition, std::size_t hidden) {
        const StatusInk ink = composition.running ? StatusInk::good : StatusInk::faint;
        std::string facts = std::to_string(composition.fps) + " fps  " + composition.tempo + " bpm";
        if (hidden > 0) facts += "  +" + counted(hidden, "track");
        StatusRow line = row();
        line.add(composition.running ? "▶ " : composition.enabled ? "■ " : "– ", ink);
        line.field(composition.name, nameColumns_, StatusInk::strong).add(" ");
        line.field(composition.playhead, 12).add(" ");
        const int forBar = std::min(line.left() - terminalWidth(facts) - 2, widestBar);
        if (forBar >= narrowestBar) line.add(bar(composition.progress, forBar), ink).add("  ");
        line.add(facts);
        put(line);
    }

    void addTrack(const StatusTrack& track) {
        StatusRow line = row();
        line.add("    ").field(track.name, nameColumns_ - 2).add(" ");
        line.field(track.value.empty() ? "-" : track.value, 12).add(" ").add(track.address, StatusInk::faint);
        put(line);
    }

    void addFoot() {
        if (isRoomy()) lines_.emplace_back();
        std::vector<const StatusOutput*> order;
        for (const StatusOutput& output : snapshot_.outputs) order.push_back(&output);
        // Where not all fit, those in trouble are not the ones to leave out.
        const std::size_t shown = shownOutputs();
        if (shown < order.size()) {
            std::stable_sort(order.begin(), order.end(), [](const auto* a, const auto* b) {
                return a->trouble.empty() < b->trouble.empty();
            });
        }
        for (std::size_t i = 0; i < shown; ++i) addOutput(*order[i]);
        StatusRow ticks = row();
        if (shown < order.size())
            ticks.add("  … and " + counted(order.size() - shown, "output") + " more", StatusInk::faint);
        put(ticks.add("  ticks: " + snapshot_.lateness + "   " + snapshot_.scheduling));
        put(row().add("  " + snapshot_.hint, StatusInk::faint));
    }

    void addOutput(const StatusOutput& output) {
        StatusRow line = row();
        line.add(output.trouble.empty() ? "→ " : "! ",
                 output.trouble.empty() ? StatusInk::faint : StatusInk::bad);
        line.field(output.label, nameColumns_)
            .add(" ")
            .field(output.target, 21)
            .add(" ")
            .field(rateOf(output), 11);
        const std::string dropped = droppedText(output);
        if (!output.trouble.empty()) line.add("  " + output.trouble, StatusInk::bad);
        if (!dropped.empty()) line.add("  " + dropped, StatusInk::bad);
        put(line);
    }

    const StatusSnapshot& snapshot_;
    const int columns_;
    const std::size_t rows_;
    const int nameColumns_;
    std::vector<std::string> lines_;
};

std::string plainLine(const StatusSnapshot& snapshot) {
    std::string line;
    for (const StatusComposition& composition : snapshot.compositions) {
        line += composition.name + " " + std::string(stateOf(composition)) + " " + composition.playhead +
                " " + std::to_string(std::lround(bounded(composition.progress) * 100.0F)) + "%; ";
    }
    for (const StatusOutput& output : snapshot.outputs) {
        const std::string dropped = droppedText(output);
        line += output.label + (output.unit.empty() ? "" : " " + rateOf(output)) +
                (dropped.empty() ? "" : ", " + dropped) +
                (output.trouble.empty() ? "" : ", TROUBLE: " + output.trouble) + "; ";
    }
    line += "ticks: " + snapshot.lateness + "; " + snapshot.scheduling;
    // Cut where no line of a log should end up, and cleaned of what would break it in two.
    constexpr int longest = 4000;
    return cutForTerminal(line, longest) + "\n";
}

} // namespace

std::string drawStatusScreen(const StatusSnapshot& snapshot, int columns, int rows, bool terminal) {
    return terminal ? Screen(snapshot, columns, rows).draw() : plainLine(snapshot);
}

} // namespace marvo
