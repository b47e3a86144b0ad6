#include "platform/Dates.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <unicode/datefmt.h>
#include <unicode/unistr.h>

namespace marvo {
namespace {

using namespace std::chrono;

constexpr sys_seconds epoch = sys_days(2001y / January / 1);
// Years 0 and 9999.
constexpr double earliest = -63145526400.0;
constexpr double latest = 252423993599.0;

std::optional<int> digits(std::string_view text, std::size_t at, std::size_t count) {
    int value = 0;
    for (std::size_t i = at; i < at + count; ++i) {
        if (text[i] < '0' || text[i] > '9') return std::nullopt;
        value = value * 10 + (text[i] - '0');
    }
    return value;
}

} // namespace

std::string formatIsoDate(double secondsSince2001) {
    const double bounded =
        std::isnan(secondsSince2001) ? 0.0 : std::clamp(std::floor(secondsSince2001), earliest, latest);
    const sys_seconds moment = epoch + seconds(static_cast<std::int64_t>(bounded));
    const sys_days day = floor<days>(moment);
    const year_month_day date(day);
    const hh_mm_ss time(moment - day);
    char text[40];
    std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02dZ", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                  static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
                  static_cast<int>(time.seconds().count()));
    return text;
}

std::optional<double> parseIsoDate(std::string_view text) {
    if (text.size() != 20 || text[4] != '-' || text[7] != '-' || text[10] != 'T' || text[13] != ':' ||
        text[16] != ':' || text[19] != 'Z') {
        return std::nullopt;
    }
    const auto y = digits(text, 0, 4), mo = digits(text, 5, 2), d = digits(text, 8, 2);
    const auto h = digits(text, 11, 2), mi = digits(text, 14, 2), s = digits(text, 17, 2);
    if (!y || !mo || !d || !h || !mi || !s || *h > 23 || *mi > 59 || *s > 60) return std::nullopt;
    const year_month_day date = year(*y) / static_cast<unsigned>(*mo) / static_cast<unsigned>(*d);
    if (!date.ok()) return std::nullopt;
    const sys_seconds moment = sys_days(date) + hours(*h) + minutes(*mi) + seconds(*s);
    return static_cast<double>((moment - epoch).count());
}

double dateOfNow() {
    return duration<double>(system_clock::now().time_since_epoch()).count() - secondsFrom1970To2001;
}

std::string localMediumDateAndTime(double secondsSince2001) {
    const std::unique_ptr<icu::DateFormat> format(
        icu::DateFormat::createDateTimeInstance(icu::DateFormat::kMedium, icu::DateFormat::kMedium));
    if (!format) return formatIsoDate(secondsSince2001);
    icu::UnicodeString text;
    format->format((secondsSince2001 + secondsFrom1970To2001) * 1000.0, text);
    std::string utf8;
    text.toUTF8String(utf8);
    return utf8;
}

} // namespace marvo
