// What a composition keeps about following and producing timecode and clock: its settings, as they are saved.
//
// Main thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace marvo {

struct CompositionSync {
    double mtcOutStartTime = 0.0; // seconds added to the playhead for outgoing timecode
    std::string mtcOutFPS = "11"; // two-bit rate code as text
    std::optional<std::string> mtcOutDestination;
    bool transmitsMMC = false;
    bool transmitsMTC = false; // a composition made by the user has it on
    bool useCompIDWithMMC = false;
    std::string lastSelectedSyncItem = "Normal Tempo";
    std::uint32_t mtcFormat = 3;
    double smpteOffset = 0.0; // seconds taken from incoming timecode
};

} // namespace marvo
