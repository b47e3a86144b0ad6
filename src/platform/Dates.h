// Calendar dates as property lists hold them: seconds since 2001-01-01 00:00 UTC. Thread-safe, locale-free.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace marvo {

// "2026-11-21T04:00:00Z"; whole seconds, years 0 to 9999 (anything else is brought to the nearest).
std::string formatIsoDate(double secondsSince2001);
std::optional<double> parseIsoDate(std::string_view text);

} // namespace marvo
