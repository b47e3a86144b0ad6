#include "headless/TraceWriter.h"

#include "headless/JsonLine.h"

namespace marvo {
namespace {

constexpr std::size_t pieceSize = 1 << 16;
constexpr char hexDigits[] = "0123456789abcdef";

std::string colourText(std::uint32_t rgba) {
    std::string text = "#";
    for (int shift = 28; shift >= 0; shift -= 4) text.push_back(hexDigits[rgba >> shift & 15]);
    return text;
}

std::string hexText(std::string_view bytes) {
    std::string text;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        text.push_back(hexDigits[byte >> 4]);
        text.push_back(hexDigits[byte & 15]);
    }
    return text;
}

void addArgument(JsonLine& line, const OSCValue& value) {
    switch (value.type()) {
    case OSCValue::typeFloat:
        return line.number(value.floatValue());
    case OSCValue::typeDouble:
        return line.number(value.doubleValue());
    case OSCValue::typeString:
        return line.string(value.stringValue());
    case OSCValue::typeBlob:
        return line.string(hexText(value.stringValue()));
    case OSCValue::typeBool:
        return line.boolean(value.boolValue());
    case OSCValue::typeColor:
        return line.string(colourText(value.colorValue()));
    case OSCValue::typeNil:
    case OSCValue::typeInfinity:
        return line.null(); // the type tag says which
    default:
        return line.integer(value.intValue());
    }
}

} // namespace

void TraceWriter::begin(JsonLine& line, std::int64_t t, std::string_view kind, const SendOrigin& origin) {
    line.member("t").integer(t);
    line.member("kind").string(kind);
    if (origin.composition) line.member("composition").string(*origin.composition);
    if (origin.track) line.member("track").string(*origin.track);
    if (origin.composition) line.member("frame").integer(origin.frame);
}

void TraceWriter::addMessage(JsonLine& line, const OSCMessage& message) {
    types_.clear();
    for (const OSCValue& value : message.values()) types_.push_back(value.tag());
    line.member("address").string(message.address());
    line.member("types").string(types_);
    line.member("args").beginArray();
    for (const OSCValue& value : message.values()) addArgument(line, value);
    line.endArray();
}

void TraceWriter::end(JsonLine& line) {
    line.finish();
    if (gathered_.size() >= pieceSize) flush();
}

void TraceWriter::osc(std::int64_t t, std::string_view port, const OSCMessage& message,
                      const SendOrigin& origin) {
    JsonLine line(gathered_);
    begin(line, t, "osc", origin);
    line.member("port").string(port);
    addMessage(line, message);
    end(line);
}

void TraceWriter::midi(std::int64_t t, std::string_view node, std::span<const std::uint8_t> bytes,
                       const SendOrigin& origin) {
    JsonLine line(gathered_);
    begin(line, t, "midi", origin);
    line.member("node").string(node);
    line.member("bytes").beginArray();
    for (const std::uint8_t byte : bytes) line.integer(byte);
    line.endArray();
    end(line);
}

void TraceWriter::dmx(std::int64_t t, int universe, int channel, int value, const SendOrigin& origin) {
    JsonLine line(gathered_);
    begin(line, t, "dmx", origin);
    line.member("universe").integer(universe);
    line.member("channel").integer(channel);
    line.member("value").integer(value);
    end(line);
}

void TraceWriter::feedback(std::int64_t t, const OSCMessage& message) {
    JsonLine line(gathered_);
    begin(line, t, "feedback", {});
    addMessage(line, message);
    end(line);
}

void TraceWriter::flush() {
    out_.write(gathered_.data(), static_cast<std::streamsize>(gathered_.size()));
    gathered_.clear();
}

bool TraceWriter::finish() {
    flush();
    out_.flush();
    return out_.good();
}

} // namespace marvo
