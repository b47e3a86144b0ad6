// Carries changed universes from the thread that calls sendAllDMXData to the one that sends, as packets.
//
// Each universe has two packets: one that the sending thread holds and may send at any time, one that newer
// values are captured into. Taking exchanges the two, so nothing is copied twice. What is captured and not
// yet taken is overwritten by newer values: it never grows and never gets old. Capturing is realtime-safe and
// waits for nobody: when the other side is inside at that moment nothing is captured, the marks stay, and the
// next call captures.
#pragma once

#include "endpoints/artnet/ArtNetPacket.h"
#include "endpoints/artnet/DMXBuffer.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace marvo {

class DMXHandOver {
public:
    enum class Captured : std::uint8_t {
        nothing,   // there was nothing to capture
        something, // all that had changed within the mask
        notNow,    // another thread is inside; ask again
    };

    DMXHandOver();

    // One side at a time is inside, for as long as it copies. capture and take enter and leave by themselves.
    bool enter() { return !busy_.exchange(true, std::memory_order_acquire); }
    void leave() { busy_.store(false, std::memory_order_release); }

    // Any thread.
    Captured capture(DMXBuffer& buffer, const UniverseSet& mask);
    // Whether take() would find something. Any thread.
    bool isWaiting() const { return waiting_.load(); }

    // The rest is for one thread, which sends. The universes whose packets have become newer; empty when none
    // has. Busy is true when it could not be looked because the other side is inside: try a little later.
    UniverseSet take(bool& busy);
    // An ArtDmx packet with all 512 channels, the same place until the next take().
    std::span<std::byte> packetOf(int universe) {
        Pair& pair = (*pairs_)[static_cast<std::size_t>(universe)];
        return pair.packets[pair.held].bytes();
    }

private:
    // So shifted that the values begin at a word.
    struct Packet {
        static constexpr std::size_t shift = (8 - ArtDmx::headerSize % 8) % 8;
        alignas(8) std::array<std::byte, shift + ArtDmx::encodedSize> space{};
        std::span<std::byte> bytes() { return std::span(space).subspan(shift); }
    };
    struct Pair {
        std::array<Packet, 2> packets;
        std::uint8_t held = 0; // changed by take() alone, inside
    };

    std::unique_ptr<std::array<Pair, universeCount>> pairs_;
    UniverseSet captured_; // inside
    std::atomic<bool> busy_{false};
    std::atomic<bool> waiting_{false};
};

} // namespace marvo
