// Which notes sound through one port, as far as what left through it tells.
//
// A key that was struck twice wants two note-offs. One user at a time; realtime-safe.
#pragma once

#include "endpoints/midi/MIDIBytes.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace marvo {

class SoundingNotes {
public:
    void sent(const MIDIMessage& message) {
        if (beginsNote(message)) {
            std::uint8_t& count = counts_[message.channel & 15][message.data1 & 127];
            if (count == 255) return;
            ++count;
            ++total_;
        } else if (endsNote(message)) {
            std::uint8_t& count = counts_[message.channel & 15][message.data1 & 127];
            if (count == 0) return;
            --count;
            --total_;
        }
    }

    std::size_t total() const { return total_; }

    // Hands a note-off for each sounding note to `send`, until that says it cannot take one more. The rest
    // goes on sounding.
    template <class Send>
    void release(Send&& send) {
        for (std::size_t channel = 0; channel < 16 && total_ != 0; ++channel) {
            for (std::size_t key = 0; key < 128 && total_ != 0; ++key) {
                while (counts_[channel][key] != 0) {
                    const MIDIMessage off{MIDIMessage::noteOff, static_cast<std::uint8_t>(channel),
                                          static_cast<std::uint8_t>(key), 0};
                    if (!send(off)) return;
                    --counts_[channel][key];
                    --total_;
                }
            }
        }
    }

    // Counts the notes of another port's past as notes of this one; the other has none afterwards.
    void takeOver(SoundingNotes& other) {
        for (std::size_t channel = 0; channel < 16 && other.total_ != 0; ++channel) {
            for (std::size_t key = 0; key < 128; ++key) {
                const unsigned sum = unsigned{counts_[channel][key]} + other.counts_[channel][key];
                const unsigned kept = sum < 255 ? sum : 255;
                total_ += kept - counts_[channel][key];
                counts_[channel][key] = static_cast<std::uint8_t>(kept);
            }
        }
        other = {};
    }

private:
    std::array<std::array<std::uint8_t, 128>, 16> counts_{};
    std::size_t total_ = 0;
};

} // namespace marvo
