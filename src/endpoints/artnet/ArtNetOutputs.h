// The named outputs: which universes leave, and how tracks and the user call them. Main thread.
#pragma once

#include "endpoints/artnet/UniverseSet.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace marvo {

// How the packets of an output leave. Outputs on one universe share what any of them asks for.
struct ArtNetSending {
    static constexpr int highestRate = 44; // packets a second

    bool broadcast = false; // to the whole network instead of the nodes that asked for the universe
    int constantRate = 0;   // packets a second also while nothing changes; 0 is about one

    bool operator==(const ArtNetSending&) const = default;
};

struct ArtNetOutput {
    std::string name;
    std::int64_t universe = 0; // index; one outside 0 to 255 came from a file and sends nothing
    ArtNetSending sending;

    std::int64_t subnetNumber() const { return universe / 16; }
    std::int64_t universeNumber() const { return universe % 16; }
    bool canSend() const { return universe >= 0 && universe < universeCount; }
    // "name (subnet-universe)"
    std::string displayedName() const;
    bool operator==(const ArtNetOutput&) const = default;
};

class ArtNetOutputs {
public:
    static constexpr std::string_view namePrefix = "Marvo Art-Net Out ";

    ArtNetOutputs(); // the one default output, on universe 0

    // As the table shows them: "Out 2" before "Out 10".
    const std::vector<ArtNetOutput>& rows() const { return rows_; }
    std::size_t count() const { return rows_.size(); }
    const ArtNetOutput* find(std::string_view name) const;
    // By name, whatever the case, as text: "Out 10" before "Out 2".
    std::vector<std::string> displayedNames() const;
    std::int64_t universeOfDisplayedName(std::string_view displayedName) const;
    bool isAvailableOutputName(std::string_view name) const { return find(name) == nullptr; }
    std::string nextAvailableArtNetOutNameWithStart(std::int64_t number) const;

    void clear() { rows_.clear(); }
    void set(ArtNetOutput output); // replaces the one of that name
    // On the lowest free universe from 1 upward; false when there is none.
    bool add();
    // False for a row that is not there, and for the last output.
    bool remove(std::size_t row);

    // Edits of the table. Whether the text is accepted; `changed` tells whether it is another than before.
    struct Edit {
        bool accepted = false;
        bool changed = false;
    };
    Edit rename(std::size_t row, const std::string& name);
    Edit editSubnet(std::size_t row, std::string_view text);
    Edit editUniverse(std::size_t row, std::string_view text);
    bool setSending(std::size_t row, const ArtNetSending& sending);

private:
    void sort();

    std::vector<ArtNetOutput> rows_;
};

} // namespace marvo
