#include "tracks/MIDIValueOutput.h"

#include "controls/NumberText.h"

#include <array>

namespace marvo {
namespace {

std::uint8_t lowestByte(std::int32_t number) {
    return static_cast<std::uint8_t>(number & 255);
}

} // namespace

MIDIValueOutput::MIDIValueOutput(const MIDIValueSettings& settings)
    : ValueOutput(settings.compositionName, settings.trackName),
      node_(settings.node), coarse_{MIDIMessage::controlChange, settings.channel, settings.controller, 0},
      fine_{MIDIMessage::controlChange, settings.channel, lowestByte(settings.controller + 32), 0},
      is14Bit_(settings.is14Bit) {}

void MIDIValueOutput::send(float value, Frame frame) {
    if (!node_) return;
    const std::int32_t rounded = numbertext::roundedInt32(value);
    if (!is14Bit_) {
        coarse_.data2 = lowestByte(rounded);
        node_->sendMsg(coarse_, originAt(frame));
        return;
    }
    const std::int32_t half = rounded / 128;
    coarse_.data2 = lowestByte(half);
    fine_.data2 = lowestByte(rounded - half * 128);
    const std::array<MIDIMessage, 2> pair{coarse_, fine_};
    node_->sendMsgs(pair, originAt(frame));
}

void MIDIValueOutput::shotOnController(std::uint8_t number, std::uint8_t value) {
    if (!node_) return;
    node_->sendMsg({MIDIMessage::controlChange, coarse_.channel, number, value}, originAt(Frame(0)));
}

} // namespace marvo
