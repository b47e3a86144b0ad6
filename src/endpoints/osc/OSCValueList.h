// The arguments of a message: an array that keeps its memory when it is emptied.
//
// Unlike a vector it hands out room for several arguments at once, to be filled in place: most messages are a
// few floats, and a check of the size for each of them costs as much as reading it. One user at a time.
// Realtime-safe once it has grown.
#pragma once

#include "endpoints/osc/OSCValue.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <span>

namespace marvo {

class OSCValueList {
public:
    std::size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }
    const OSCValue& operator[](std::size_t index) const { return values_[index]; }
    const OSCValue& front() const { return values_[0]; }
    std::span<OSCValue> all() { return {values_.get(), size_}; }
    std::span<const OSCValue> all() const { return {values_.get(), size_}; }

    void clear() { size_ = 0; }
    void add(const OSCValue& value) {
        const OSCValue kept = value; // it may lie in here
        *grownBy(1) = kept;
    }
    void makeRoomFor(std::size_t count) {
        if (room_ < count) enlarge(count - size_);
    }
    // Room for so many more; the caller fills all of it before anybody reads.
    OSCValue* grownBy(std::size_t count) {
        if (room_ - size_ < count) [[unlikely]]
            enlarge(count);
        OSCValue* const first = values_.get() + size_;
        size_ += count;
        return first;
    }

private:
    void enlarge(std::size_t count) {
        const std::size_t wanted = std::max(size_ + count, 2 * room_);
        auto larger = std::make_unique<OSCValue[]>(wanted);
        std::copy_n(values_.get(), size_, larger.get());
        values_ = std::move(larger);
        room_ = wanted;
    }

    std::unique_ptr<OSCValue[]> values_;
    std::size_t size_ = 0;
    std::size_t room_ = 0;
};

} // namespace marvo
