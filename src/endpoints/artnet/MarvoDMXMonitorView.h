// The grid of the DMX monitor as data: 32 by 16 cells that show what a universe sends.
//
// setDataToDisplay is called on the thread that sends; everything else belongs to the main thread. A cell's
// value may be one frame old on either side.
#pragma once

#include "endpoints/artnet/UniverseSet.h"
#include "platform/MainThread.h"
#include "platform/Relaxed.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace marvo {

// Origin at the top left.
struct DMXMonitorRect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;

    bool isEmpty() const { return width <= 0 || height <= 0; }
    DMXMonitorRect unionWith(const DMXMonitorRect& other) const;
    bool intersects(const DMXMonitorRect& other) const;
    bool operator==(const DMXMonitorRect&) const = default;
};

struct MarvoDMXMonitorViewCell {
    int index = 0;        // channel, from 1
    Relaxed<float> value; // 0 to 255
    DMXMonitorRect frame;

    // The bar from the bottom of the cell; empty at 0.
    DMXMonitorRect bar() const;
};

class MarvoDMXMonitorView {
public:
    static constexpr int columns = 32;
    static constexpr int rows = 16;

    // `redraw` is called on the main thread with the part that has changed.
    MarvoDMXMonitorView(MainThread& main, double width, double height,
                        std::function<void(const DMXMonitorRect&)> redraw);

    // 512 bytes, read with DMXBuffer::valueAt. Realtime-safe.
    void setDataToDisplay(const std::uint8_t* bytes);
    void clearMonitor();

    // The first 512 are the channels in order. Behind them stand those of one row and one column more, beyond
    // the far edges, which always show 0.
    const std::vector<MarvoDMXMonitorViewCell>& cells() const { return cells_; }
    std::vector<const MarvoDMXMonitorViewCell*> cellsWithin(const DMXMonitorRect& dirty) const;

private:
    void tellChanges();

    std::vector<MarvoDMXMonitorViewCell> cells_;
    const DMXMonitorRect bounds_;
    const std::function<void(const DMXMonitorRect&)> redraw_;
    std::array<std::atomic<std::uint64_t>, channelsOfAUniverse / 64> changed_{};
    std::atomic<bool> all_{false};
    MainThread::Signal signal_;
};

} // namespace marvo
