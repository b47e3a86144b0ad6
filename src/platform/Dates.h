// Calendar dates as property lists hold them: seconds since 2001-01-01 00:00 UTC. Thread-safe.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace marvo {

inline constexpr double secondsFrom1970To2001 = 978'307'200.0;

// The machine's clock.
double dateOfNow();

// "2026-11-21T04:00:00Z"; whole seconds, years 0 to 9999 (anything else is brought to the nearest).
std::string formatIsoDate(double secondsSince2001);
std::optional<double> parseIsoDate(std::string_view text);

// As the user's language writes dates and times of medium length, in the machine's time zone.
std::string localMediumDateAndTime(double secondsSince2001);

} // namespace marvo
