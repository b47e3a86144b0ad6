#include "endpoints/artnet/MarvoDMXMonitorView.h"

#include "endpoints/artnet/DMXBuffer.h"

#include <algorithm>
#include <bit>

namespace marvo {

DMXMonitorRect DMXMonitorRect::unionWith(const DMXMonitorRect& other) const {
    if (isEmpty()) return other;
    if (other.isEmpty()) return *this;
    const double left = std::min(x, other.x);
    const double top = std::min(y, other.y);
    return {left, top, std::max(x + width, other.x + other.width) - left,
            std::max(y + height, other.y + other.height) - top};
}

bool DMXMonitorRect::intersects(const DMXMonitorRect& other) const {
    return !isEmpty() && !other.isEmpty() && x < other.x + other.width && other.x < x + width &&
           y < other.y + other.height && other.y < y + height;
}

DMXMonitorRect MarvoDMXMonitorViewCell::bar() const {
    constexpr double inset = 0.5;
    const DMXMonitorRect inner{frame.x + inset, frame.y + inset, frame.width - 2 * inset,
                               frame.height - 2 * inset};
    const double height = static_cast<double>(value.get()) / 255.0 * inner.height;
    return {inner.x, inner.y + inner.height - height, inner.width, height};
}

MarvoDMXMonitorView::MarvoDMXMonitorView(MainThread& main, double width, double height,
                                         std::function<void(const DMXMonitorRect&)> redraw)
    : bounds_{0, 0, width, height}, redraw_(std::move(redraw)), signal_(main, [this] { tellChanges(); }) {
    const double cellWidth = (width - 1) / columns;
    const double cellHeight = (height - 1) / rows;
    cells_.reserve(std::size_t{rows + 1} * (columns + 1));
    // A cell goes to the place of its index. The last one of each row has the index of the next row's first,
    // which so pushes it on, in the end behind all channels.
    for (int row = 0; row <= rows; ++row) {
        for (int column = 0; column <= columns; ++column) {
            MarvoDMXMonitorViewCell cell;
            cell.index = 1 + columns * row + column;
            cell.frame = {column * cellWidth, row * cellHeight, cellWidth, cellHeight};
            cells_.insert(cells_.begin() + (cell.index - 1), cell);
        }
    }
}

void MarvoDMXMonitorView::setDataToDisplay(const std::uint8_t* bytes) {
    bool anything = false;
    for (std::size_t word = 0; word < changed_.size(); ++word) {
        std::uint64_t bits = 0;
        for (std::size_t bit = 0; bit < 64; ++bit) {
            Relaxed<float>& shown = cells_[word * 64 + bit].value;
            const auto value = static_cast<float>(DMXBuffer::valueAt(bytes + word * 64 + bit));
            if (shown.get() == value) continue;
            shown = value;
            bits |= std::uint64_t{1} << bit;
        }
        if (bits != 0) {
            changed_[word].fetch_or(bits, std::memory_order_release);
            anything = true;
        }
    }
    if (anything) signal_.post();
}

void MarvoDMXMonitorView::clearMonitor() {
    for (MarvoDMXMonitorViewCell& cell : cells_) cell.value = 0.0f;
    all_.store(true, std::memory_order_release);
    signal_.post();
}

void MarvoDMXMonitorView::tellChanges() {
    DMXMonitorRect dirty;
    for (std::size_t word = 0; word < changed_.size(); ++word) {
        for (std::uint64_t rest = changed_[word].exchange(0, std::memory_order_acquire); rest != 0;
             rest &= rest - 1)
            dirty =
                dirty.unionWith(cells_[word * 64 + static_cast<std::size_t>(std::countr_zero(rest))].frame);
    }
    if (all_.exchange(false, std::memory_order_acquire)) dirty = bounds_;
    if (!dirty.isEmpty() && redraw_) redraw_(dirty);
}

std::vector<const MarvoDMXMonitorViewCell*>
MarvoDMXMonitorView::cellsWithin(const DMXMonitorRect& dirty) const {
    std::vector<const MarvoDMXMonitorViewCell*> found;
    for (const MarvoDMXMonitorViewCell& cell : cells_) {
        if (cell.frame.intersects(dirty)) found.push_back(&cell);
    }
    return found;
}

} // namespace marvo
