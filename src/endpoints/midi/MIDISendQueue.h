// What waits to leave through one port: filled by any thread, emptied by the one thread that feeds the sound
// system.
//
// Bounded, and without a lock: a record is written into memory that nobody else sees and becomes visible in
// one step, so that a sender which is held up in the middle holds up nobody. What does not fit is dropped and
// counted, save note-offs: those are marked per key and leave behind all that is waiting. While a mark stands
// its key cannot be struck again, so that no note sounds for ever.
//
// Producers are realtime-safe; the consumer is one thread at a time and realtime-safe too. Moments are those
// of CLOCK_MONOTONIC, in nanoseconds.
#pragma once

#include "endpoints/midi/MIDITransport.h"
#include "endpoints/midi/SoundingNotes.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace marvo {

class MIDISendQueue {
public:
    static constexpr std::uint32_t capacity = 4096;     // single messages
    static constexpr std::size_t largestSysex = 16'384; // payload; a longer one is dropped
    // What waited longer at an output that took nothing is of no use any more, in ns.
    static constexpr std::uint64_t longestWait = 1'000'000'000;

    // Where the consumer puts messages. take() is called with whole messages in their order; `sentAt` is 0
    // for note-offs that nobody sent.
    class Emitter {
    public:
        virtual ~Emitter() = default;
        virtual std::size_t largest() const = 0; // bytes of a message; a larger one is dropped
        virtual bool isHeard() = 0;              // whether anybody is connected
        // Whether it is too late for what was sent then; it is dropped, unless it ends a note.
        virtual bool isStale(std::uint64_t sentAt) = 0;
        // Null when it is too early, or when nothing more fits now.
        virtual std::uint8_t* reserve(std::uint64_t sentAt, std::size_t size) = 0;
        // The reserved bytes are written. False when they could not be passed on; they are offered again.
        virtual bool commit() = 0;
    };

    MIDISendQueue();

    // Thread-safe, all of these.
    void push(std::span<const MIDIMessage> messages, std::uint64_t now);
    void pushSysex(std::span<const std::uint8_t> payload, std::uint64_t now);
    void pushSilence(std::uint64_t now);
    // While it does not accept, everything is dropped and counted.
    void setAccepting(bool accepting) { accepting_.store(accepting, std::memory_order_release); }
    // Takes nothing more, ends all notes, and says by isFlushed() when that has left.
    void beginClosing(std::uint64_t now);
    bool isFlushed() const { return quietRounds_.load(std::memory_order_acquire) >= 2; }
    // Whether notes sound, or did when the port was lost, as the consumer last knew.
    bool owesNoteOffs() const { return owesNoteOffs_.load(std::memory_order_acquire); }
    MIDIPortCounters counters() const;

    bool isClosing() const { return closing_.load(std::memory_order_acquire); }

    // Consumer.
    void drain(Emitter& out);
    // Whether notes wait for somebody to hear their end.
    bool waitsForListener() const { return owed_.total() != 0; }
    // The port has been lost: what waits is dropped, and what sounds is ended as soon as somebody hears the
    // port again.
    void portLost();
    // Drops what waits, takes nothing more and ends what sounds; true when that has left.
    bool drainLast(Emitter& out);

private:
    static constexpr std::uint32_t none = 0xffffffffu;
    static constexpr std::size_t chunkBytes = 16;
    enum class Kind : std::uint8_t { messages, sysex, silence };

    struct Chunk {
        std::atomic<std::uint32_t> next{none}; // in the free list or among the pushed
        std::uint32_t more = none;             // rest of the same record
        std::uint64_t time = 0;
        std::uint32_t total = 0; // bytes of the whole system-exclusive message, in its first chunk
        Kind kind = Kind::messages;
        std::uint8_t size = 0;
        std::uint8_t count = 0; // messages that begin here and have not left
        std::uint8_t bytes[chunkBytes];
    };

    // Fills a chain of chunks that nobody else sees.
    class Record;

    std::uint32_t allocate();
    void free(std::uint32_t index);
    void publish(std::uint32_t first);
    void dropAllButNoteOffs(std::span<const MIDIMessage> messages);
    bool isMarked(const MIDIMessage& note) const;

    void collect();
    bool emitMarked(Emitter& out);
    bool emitHead(Emitter& out);
    bool emitMessages(Emitter& out, Chunk& chunk);
    bool emitSysex(Emitter& out);
    bool emitNoteOff(Emitter& out, const MIDIMessage& off);
    bool release(SoundingNotes& notes, Emitter& out);
    void removeHead();
    void discard();
    bool isEmpty() const { return head_ == none && !marksHeld_; }

    std::unique_ptr<Chunk[]> chunks_;
    std::atomic<std::uint64_t> free_; // low half: index; high half: counts changes, against mistaken identity
    std::atomic<std::uint32_t> pushed_{none}; // newest first
    std::atomic<bool> accepting_{true};
    std::atomic<bool> closing_{false};
    std::array<std::atomic<std::uint64_t>, 32> marks_{}; // note-offs that found no room, by channel and key
    std::atomic<bool> silenceMarked_{false};
    std::atomic<bool> anyMark_{false};
    std::atomic<std::uint64_t> sent_{0};
    std::atomic<std::uint64_t> dropped_{0};
    std::atomic<std::uint32_t> quietRounds_{0};
    std::atomic<bool> owesNoteOffs_{false};

    // Consumer.
    std::uint32_t head_ = none; // linked by next, oldest first
    std::uint32_t tail_ = none;
    std::uint8_t cursor_ = 0;                   // in the head's bytes
    std::array<std::uint64_t, 32> heldMarks_{}; // leave when marksAhead_ chunks have left
    bool heldSilence_ = false;
    bool marksHeld_ = false;
    std::uint32_t length_ = 0;
    std::uint32_t marksAhead_ = 0;
    SoundingNotes notes_;
    SoundingNotes owed_; // sounded when the port was lost
};

} // namespace marvo
