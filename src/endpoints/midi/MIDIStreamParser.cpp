#include "endpoints/midi/MIDIStreamParser.h"

#include "endpoints/midi/MIDIBytes.h"

namespace marvo {

namespace {

constexpr std::uint8_t sysexBegin = 0xf0;
constexpr std::uint8_t sysexEnd = 0xf7;
constexpr std::uint8_t firstRealtime = 0xf8;

constexpr bool isUndefined(std::uint8_t byte) {
    return byte == 0xf4 || byte == 0xf5 || byte == 0xf9 || byte == 0xfd;
}

} // namespace

void MIDIStreamParser::feed(std::span<const std::uint8_t> bytes, Sink& sink) {
    for (const std::uint8_t byte : bytes) {
        if (byte >= firstRealtime) {
            if (isUndefined(byte))
                ++malformed_;
            else
                sink.message({byte, 0, 0, 0});
        } else if (byte >= 0x80) {
            status(byte, sink);
        } else {
            data(byte, sink);
        }
    }
}

void MIDIStreamParser::reset() {
    inSysex_ = false;
    status_ = 0;
    dataSize_ = 0;
}

void MIDIStreamParser::status(std::uint8_t byte, Sink& sink) {
    const bool endsSysex = inSysex_ && byte == sysexEnd;
    // Anything but its end breaks a system-exclusive message off, and a status breaks off a message whose
    // data is missing.
    if ((inSysex_ && !endsSysex) || dataSize_ > 0 || (byte == sysexEnd && !inSysex_) || isUndefined(byte)) {
        ++malformed_;
    }
    reset();
    if (endsSysex) {
        if (cut_) ++cutSysex_;
        sink.sysex(sysex_);
    } else if (byte == sysexBegin) {
        inSysex_ = true;
        cut_ = false;
        sysex_.clear();
    } else if (byte != sysexEnd && !isUndefined(byte)) {
        if (midiLength(byte) == 1)
            sink.message({byte, 0, 0, 0});
        else
            status_ = byte;
    }
}

void MIDIStreamParser::data(std::uint8_t byte, Sink& sink) {
    if (inSysex_) {
        if (sysex_.size() < largestSysex_)
            sysex_.push_back(byte);
        else
            cut_ = true;
        return;
    }
    if (status_ == 0) {
        ++malformed_;
        return;
    }
    data_[dataSize_++] = byte;
    const std::size_t length = midiLength(status_);
    if (dataSize_ + 1U < length) return;
    const std::uint8_t whole[3] = {status_, data_[0], length > 2 ? data_[1] : std::uint8_t{0}};
    dataSize_ = 0;
    if (status_ >= sysexBegin) status_ = 0; // no running status for these
    sink.message(decodeMIDI({whole, length}));
}

} // namespace marvo
