#include "endpoints/artnet/DMXChannelExpression.h"

#include "platform/Numbers.h"
#include "platform/Text.h"

namespace marvo {
namespace {

constexpr std::int32_t lastChannel = 512;

bool isChannel(std::int32_t number) {
    return number >= 1 && number <= lastChannel;
}

} // namespace

std::vector<std::int32_t> dmxChannelsOf(std::string_view expression, std::size_t longest) {
    std::vector<std::int32_t> channels;
    for (const std::string_view element : split(trim(expression), ',')) {
        const std::vector<std::string_view> parts = split(element, 'x');
        if (parts.size() != 2) {
            if (channels.size() < longest) channels.push_back(parseLeadingInt(element));
            continue;
        }
        const std::int64_t first = parseLeadingInt(parts[0]);
        const std::int64_t end = first + parseLeadingInt(parts[1]);
        for (std::int64_t channel = first; channel < end && channel <= INT32_MAX && channels.size() < longest;
             ++channel)
            channels.push_back(static_cast<std::int32_t>(channel));
    }
    return channels;
}

std::string cleanedDMXChannels(std::string_view expression) {
    std::string clean;
    for (const std::string_view piece : split(expression, ',')) {
        const std::vector<std::string_view> parts = split(trim(piece), 'x');
        if (parts.size() > 2) continue;
        const std::int32_t first = parseLeadingInt(parts[0]);
        if (!isChannel(first)) continue;
        std::string element(formatInteger(first).view());
        if (parts.size() == 2) {
            const std::int32_t count = parseLeadingInt(parts[1]);
            if (!isChannel(count)) continue;
            element += 'x';
            element += formatInteger(count).view();
        }
        if (!clean.empty()) clean += ',';
        clean += element;
    }
    return clean.empty() ? "1" : clean;
}

} // namespace marvo
