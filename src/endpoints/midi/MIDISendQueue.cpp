#include "endpoints/midi/MIDISendQueue.h"

#include <algorithm>
#include <cstring>

namespace marvo {

namespace {

constexpr std::size_t markOf(const MIDIMessage& note) {
    return (note.channel & 15U) * 128U + (note.data1 & 127U);
}

} // namespace

class MIDISendQueue::Record {
public:
    Record(MIDISendQueue& queue, Kind kind, std::uint64_t now) : queue_(queue), kind_(kind), now_(now) {}
    ~Record() { // what was not published goes back
        while (first_ != none) {
            const std::uint32_t more = queue_.chunks_[first_].more;
            queue_.free(first_);
            first_ = more;
        }
    }
    Record(const Record&) = delete;
    Record& operator=(const Record&) = delete;

    // The bytes stay in one chunk. False when there is no room.
    bool append(std::span<const std::uint8_t> bytes) {
        if (last_ == none || queue_.chunks_[last_].size + bytes.size() > chunkBytes) {
            const std::uint32_t index = queue_.allocate();
            if (index == none) return false;
            Chunk& chunk = queue_.chunks_[index];
            chunk.more = none;
            chunk.time = now_;
            chunk.total = 0;
            chunk.kind = kind_;
            chunk.size = 0;
            chunk.count = 0;
            if (last_ == none)
                first_ = index;
            else
                queue_.chunks_[last_].more = index;
            last_ = index;
        }
        Chunk& chunk = queue_.chunks_[last_];
        std::copy(bytes.begin(), bytes.end(), chunk.bytes + chunk.size);
        chunk.size = static_cast<std::uint8_t>(chunk.size + bytes.size());
        total_ += static_cast<std::uint32_t>(bytes.size());
        return true;
    }
    void countMessage() { ++queue_.chunks_[last_].count; }

    void publish() {
        if (first_ == none) return;
        queue_.chunks_[first_].total = total_;
        queue_.publish(first_);
        first_ = none;
    }

private:
    MIDISendQueue& queue_;
    const Kind kind_;
    const std::uint64_t now_;
    std::uint32_t first_ = none;
    std::uint32_t last_ = none;
    std::uint32_t total_ = 0;
};

MIDISendQueue::MIDISendQueue() : chunks_(std::make_unique<Chunk[]>(capacity)), free_(0) {
    for (std::uint32_t i = 0; i + 1 < capacity; ++i) chunks_[i].next.store(i + 1, std::memory_order_relaxed);
}

MIDIPortCounters MIDISendQueue::counters() const {
    return {sent_.load(std::memory_order_relaxed), dropped_.load(std::memory_order_relaxed)};
}

std::uint32_t MIDISendQueue::allocate() {
    std::uint64_t head = free_.load(std::memory_order_acquire);
    for (;;) {
        const auto index = static_cast<std::uint32_t>(head);
        if (index == none) return none;
        // May belong to another already; then the exchange fails.
        const std::uint32_t next = chunks_[index].next.load(std::memory_order_relaxed);
        const std::uint64_t changed = ((head >> 32) + 1) << 32 | next;
        if (free_.compare_exchange_weak(head, changed, std::memory_order_acquire,
                                        std::memory_order_acquire)) {
            return index;
        }
    }
}

void MIDISendQueue::free(std::uint32_t index) {
    std::uint64_t head = free_.load(std::memory_order_relaxed);
    std::uint64_t changed = 0;
    do {
        chunks_[index].next.store(static_cast<std::uint32_t>(head), std::memory_order_relaxed);
        changed = ((head >> 32) + 1) << 32 | index;
    } while (
        !free_.compare_exchange_weak(head, changed, std::memory_order_release, std::memory_order_relaxed));
}

void MIDISendQueue::publish(std::uint32_t first) {
    std::uint32_t newest = pushed_.load(std::memory_order_relaxed);
    do {
        chunks_[first].next.store(newest, std::memory_order_relaxed);
    } while (
        !pushed_.compare_exchange_weak(newest, first, std::memory_order_release, std::memory_order_relaxed));
}

bool MIDISendQueue::isMarked(const MIDIMessage& note) const {
    const std::size_t mark = markOf(note);
    return (marks_[mark / 64].load(std::memory_order_acquire) >> (mark % 64) & 1) != 0;
}

void MIDISendQueue::push(std::span<const MIDIMessage> messages, std::uint64_t now) {
    if (!accepting_.load(std::memory_order_acquire)) {
        dropped_.fetch_add(messages.size(), std::memory_order_relaxed);
        return;
    }
    Record record(*this, Kind::messages, now);
    for (const MIDIMessage& message : messages) {
        const MIDIBytes bytes = encodeMIDI(message);
        if (bytes.size == 0 || (beginsNote(message) && isMarked(message))) {
            dropped_.fetch_add(1, std::memory_order_relaxed);
            continue;
        }
        if (!record.append(bytes.span())) return dropAllButNoteOffs(messages);
        record.countMessage();
    }
    record.publish();
}

void MIDISendQueue::dropAllButNoteOffs(std::span<const MIDIMessage> messages) {
    for (const MIDIMessage& message : messages) {
        if (!endsNote(message)) {
            dropped_.fetch_add(1, std::memory_order_relaxed);
            continue;
        }
        const std::size_t mark = markOf(message);
        marks_[mark / 64].fetch_or(std::uint64_t{1} << (mark % 64), std::memory_order_release);
        anyMark_.store(true, std::memory_order_release);
    }
}

void MIDISendQueue::pushSysex(std::span<const std::uint8_t> payload, std::uint64_t now) {
    static constexpr std::uint8_t begin = 0xf0;
    static constexpr std::uint8_t end = 0xf7;
    Record record(*this, Kind::sysex, now);
    bool fits = accepting_.load(std::memory_order_acquire) && payload.size() <= largestSysex &&
                std::all_of(payload.begin(), payload.end(), [](std::uint8_t byte) { return byte < 0x80; });
    fits = fits && record.append({&begin, 1});
    if (fits) record.countMessage();
    // The first chunk holds one byte less, so that chunks stay full.
    for (std::size_t at = 0; fits && at < payload.size();) {
        const std::size_t size = std::min(payload.size() - at, at == 0 ? chunkBytes - 1 : chunkBytes);
        fits = record.append(payload.subspan(at, size));
        at += size;
    }
    if (fits && record.append({&end, 1})) return record.publish();
    dropped_.fetch_add(1, std::memory_order_relaxed);
}

void MIDISendQueue::pushSilence(std::uint64_t now) {
    if (!accepting_.load(std::memory_order_acquire)) return;
    Record record(*this, Kind::silence, now);
    if (record.append({})) return record.publish();
    silenceMarked_.store(true, std::memory_order_release);
    anyMark_.store(true, std::memory_order_release);
}

void MIDISendQueue::beginClosing(std::uint64_t now) {
    pushSilence(now);
    accepting_.store(false, std::memory_order_release);
    closing_.store(true, std::memory_order_release);
}

void MIDISendQueue::collect() {
    // Marks are read before the list is taken: a note-on that came before its marked note-off is then in the
    // list, or has left already.
    bool marked = false;
    if (!marksHeld_ && anyMark_.exchange(false, std::memory_order_acq_rel)) {
        for (std::size_t i = 0; i < marks_.size(); ++i)
            heldMarks_[i] = marks_[i].load(std::memory_order_acquire);
        heldSilence_ = silenceMarked_.exchange(false, std::memory_order_acq_rel);
        marked = true;
    }
    std::uint32_t newest = pushed_.exchange(none, std::memory_order_acquire);
    std::uint32_t oldest = none;
    while (newest != none) {
        const std::uint32_t next = chunks_[newest].next.load(std::memory_order_relaxed);
        chunks_[newest].next.store(oldest, std::memory_order_relaxed);
        oldest = newest;
        newest = next;
    }
    while (oldest != none) {
        const std::uint32_t next = chunks_[oldest].next.load(std::memory_order_relaxed);
        for (std::uint32_t each = oldest; each != none; each = chunks_[each].more) {
            chunks_[each].next.store(none, std::memory_order_relaxed);
            if (tail_ == none)
                head_ = each;
            else
                chunks_[tail_].next.store(each, std::memory_order_relaxed);
            tail_ = each;
            ++length_;
        }
        oldest = next;
    }
    if (marked) {
        for (std::size_t i = 0; i < marks_.size(); ++i) {
            if (heldMarks_[i] != 0) marks_[i].fetch_and(~heldMarks_[i], std::memory_order_release);
        }
        marksHeld_ = true;
        marksAhead_ = length_;
    }
}

void MIDISendQueue::removeHead() {
    const std::uint32_t index = head_;
    head_ = chunks_[index].next.load(std::memory_order_relaxed);
    if (head_ == none) tail_ = none;
    cursor_ = 0;
    --length_;
    if (marksHeld_) --marksAhead_;
    free(index);
}

bool MIDISendQueue::emitNoteOff(Emitter& out, const MIDIMessage& off) {
    const MIDIBytes bytes = encodeMIDI(off);
    std::uint8_t* const space = out.reserve(0, bytes.size);
    if (!space) return false;
    std::memcpy(space, bytes.bytes.data(), bytes.size);
    if (!out.commit()) return false;
    sent_.fetch_add(1, std::memory_order_relaxed);
    return true;
}

bool MIDISendQueue::release(SoundingNotes& notes, Emitter& out) {
    notes.release([&](const MIDIMessage& off) { return emitNoteOff(out, off); });
    return notes.total() == 0;
}

bool MIDISendQueue::emitMarked(Emitter& out) {
    for (std::size_t i = 0; i < heldMarks_.size(); ++i) {
        while (heldMarks_[i] != 0) {
            const auto bit = static_cast<std::size_t>(__builtin_ctzll(heldMarks_[i]));
            const std::size_t mark = i * 64 + bit;
            const MIDIMessage off{MIDIMessage::noteOff, static_cast<std::uint8_t>(mark / 128),
                                  static_cast<std::uint8_t>(mark % 128), 0};
            if (!emitNoteOff(out, off)) return false;
            notes_.sent(off);
            heldMarks_[i] &= heldMarks_[i] - 1;
        }
    }
    if (heldSilence_ && !release(notes_, out)) return false;
    heldSilence_ = false;
    marksHeld_ = false;
    return true;
}

bool MIDISendQueue::emitMessages(Emitter& out, Chunk& chunk) {
    const bool stale = out.isStale(chunk.time);
    while (cursor_ < chunk.size) {
        const std::size_t size = midiLength(chunk.bytes[cursor_]);
        const MIDIMessage message = decodeMIDI({chunk.bytes + cursor_, size});
        const bool leaves = !stale || endsNote(message);
        if (leaves) {
            std::uint8_t* const space = out.reserve(chunk.time, size);
            if (!space) return false;
            std::memcpy(space, chunk.bytes + cursor_, size);
            if (!out.commit()) return false;
            notes_.sent(message);
        }
        (leaves ? sent_ : dropped_).fetch_add(1, std::memory_order_relaxed);
        cursor_ = static_cast<std::uint8_t>(cursor_ + size);
        --chunk.count;
    }
    removeHead();
    return true;
}

bool MIDISendQueue::emitSysex(Emitter& out) {
    const std::size_t total = chunks_[head_].total;
    const bool fits = total <= out.largest() && !out.isStale(chunks_[head_].time);
    if (fits) {
        std::uint8_t* space = out.reserve(chunks_[head_].time, total);
        if (!space) return false;
        for (std::uint32_t each = head_; each != none; each = chunks_[each].more) {
            std::memcpy(space, chunks_[each].bytes, chunks_[each].size);
            space += chunks_[each].size;
        }
        if (!out.commit()) return false;
    }
    (fits ? sent_ : dropped_).fetch_add(1, std::memory_order_relaxed);
    for (bool last = false; !last;) {
        last = chunks_[head_].more == none;
        removeHead();
    }
    return true;
}

bool MIDISendQueue::emitHead(Emitter& out) {
    Chunk& chunk = chunks_[head_];
    switch (chunk.kind) {
    case Kind::messages:
        return emitMessages(out, chunk);
    case Kind::sysex:
        return emitSysex(out);
    case Kind::silence:
        if (!release(notes_, out)) return false;
        removeHead();
        return true;
    }
    return false;
}

void MIDISendQueue::drain(Emitter& out) {
    const bool closing = closing_.load(std::memory_order_acquire);
    bool more = owed_.total() == 0 || !out.isHeard() || release(owed_, out);
    collect();
    while (more && (head_ != none || marksHeld_)) {
        more = marksHeld_ && marksAhead_ == 0 ? emitMarked(out) : emitHead(out);
    }
    owesNoteOffs_.store(notes_.total() + owed_.total() != 0, std::memory_order_release);
    const bool quiet = closing && isEmpty() && notes_.total() + owed_.total() == 0;
    if (quiet) quietRounds_.fetch_add(1, std::memory_order_release);
}

bool MIDISendQueue::drainLast(Emitter& out) {
    setAccepting(false);
    discard();
    return release(notes_, out);
}

void MIDISendQueue::portLost() {
    discard();
    owed_.takeOver(notes_);
    owesNoteOffs_.store(owed_.total() != 0, std::memory_order_release);
}

void MIDISendQueue::discard() {
    collect();
    while (head_ != none) {
        dropped_.fetch_add(chunks_[head_].count, std::memory_order_relaxed);
        removeHead();
    }
    heldMarks_ = {};
    heldSilence_ = false;
    marksHeld_ = false;
    marksAhead_ = 0;
}

} // namespace marvo
