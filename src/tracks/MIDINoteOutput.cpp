#include "tracks/MIDINoteOutput.h"

#include "controls/NumberText.h"
#include "platform/Saturate.h"

namespace marvo {
namespace {

constexpr std::uint8_t testVelocityOn = 127;
constexpr std::uint8_t testVelocityOff = 64;

std::uint8_t noteOf(float value) {
    return static_cast<std::uint8_t>(numbertext::roundedInt32(value) & 255);
}

std::uint8_t velocityOf(float velocity) {
    return static_cast<std::uint8_t>(truncatedToInt32(static_cast<double>(velocity)) & 255);
}

} // namespace

MIDINoteOutput::MIDINoteOutput(const MIDINoteSettings& settings)
    : TrackOutput(settings.compositionName, settings.trackName), node_(settings.node),
      channel_(settings.channel) {}

void MIDINoteOutput::sendNote(std::uint8_t type, std::uint8_t note, std::uint8_t velocity, Frame frame) {
    if (node_) node_->sendMsg(MIDIMessage{type, channel_, note, velocity}, originAt(frame));
}

void MIDINoteOutput::playTestNote(float value, Frame frame) {
    sendNote(MIDIMessage::noteOn, noteOf(value), testVelocityOn, frame);
    sendNote(MIDIMessage::noteOff, noteOf(value), testVelocityOff, frame);
}

void MIDINoteOutput::shotOnNote(std::uint8_t note, std::uint8_t velocity) {
    if (!node_) return;
    const std::array<MIDIMessage, 2> pair{
        {{MIDIMessage::noteOn, channel_, note, velocity}, {MIDIMessage::noteOff, channel_, note, 0}}};
    node_->sendMsgs(pair, originAt(Frame(0)));
}

void MIDINoteOutput::playNote(float value, const NoteVelocities& velocities, Frame frame) {
    const SoundingNote started{noteOf(value), velocityOf(velocities.off)};
    lastFrame_ = frame;
    sendNote(MIDIMessage::noteOn, started.note, velocityOf(velocities.on), frame);
    if (soundingCount_ < mostNotes) {
        sounding_[soundingCount_++] = started;
    } else {
        sendNote(MIDIMessage::noteOff, started.note, started.velocityOff, frame);
    }
}

void MIDINoteOutput::endNotes(Frame frame) {
    for (std::size_t i = 0; i < soundingCount_; ++i)
        sendNote(MIDIMessage::noteOff, sounding_[i].note, sounding_[i].velocityOff, frame);
    soundingCount_ = 0;
}

} // namespace marvo
