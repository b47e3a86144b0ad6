// The channel lists of the soft patch: "1,5x3,20" means channels 1, 5, 6, 7 and 20.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace marvo {

// An element with exactly two parts around an "x" gives its channels in a row, any other its leading number;
// channels are not checked here. Never more than `longest` of them: a text from a file may ask for billions.
std::vector<std::int32_t> dmxChannelsOf(std::string_view expression, std::size_t longest = 131'072);

// The elements that are within 1 to 512, written anew; a run may reach past 512. "1" when none is left.
std::string cleanedDMXChannels(std::string_view expression);

} // namespace marvo
