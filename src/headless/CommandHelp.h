// What marvo-headless and marvo say about themselves. Each text ends with a line feed.
#pragma once

#include <string_view>

namespace marvo {

std::string_view generalHelp();
std::string_view runHelp();
std::string_view traceHelp();
std::string_view checkHelp();
std::string_view windowHelp();

} // namespace marvo
