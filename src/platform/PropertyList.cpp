#include "platform/PropertyList.h"

#include "platform/Numbers.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace marvo {
namespace {

std::int64_t truncated(double value) {
    if (std::isnan(value)) return 0;
    if (value >= 0x1p63) return std::numeric_limits<std::int64_t>::max();
    if (value <= -0x1p63) return std::numeric_limits<std::int64_t>::min();
    return static_cast<std::int64_t>(value);
}

// A whole number against a real, without the rounding that a conversion to double brings.
bool equalToReal(std::int64_t whole, double value) {
    return value >= -0x1p63 && value < 0x1p63 && std::trunc(value) == value &&
           static_cast<std::int64_t>(value) == whole;
}

bool equalToReal(std::uint64_t whole, double value) {
    return value >= 0 && value < 0x1p64 && std::trunc(value) == value &&
           static_cast<std::uint64_t>(value) == whole;
}

} // namespace

void PropertyList::setUnsigned(std::uint64_t value) noexcept {
    if (value <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
        payload_.integer = static_cast<std::int64_t>(value);
    } else {
        kind_ = Kind::unsignedInteger;
        payload_.unsignedInteger = value;
    }
}

PropertyList PropertyList::data(std::span<const std::byte> bytes) {
    PropertyList result(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
    result.kind_ = Kind::data;
    return result;
}

PropertyList PropertyList::date(double secondsSince2001) {
    PropertyList result(secondsSince2001);
    result.kind_ = Kind::date;
    return result;
}

std::optional<bool> PropertyList::asBool() const {
    if (kind_ != Kind::boolean) return std::nullopt;
    return payload_.boolean;
}

std::optional<std::int64_t> PropertyList::asInteger() const {
    if (kind_ != Kind::integer) return std::nullopt;
    return payload_.integer;
}

std::optional<double> PropertyList::asReal() const {
    if (!isNumber() || kind_ == Kind::boolean) return std::nullopt;
    return realOr(0.0);
}

std::optional<std::string_view> PropertyList::asString() const {
    if (kind_ != Kind::string) return std::nullopt;
    return SharedText::viewOf(payload_.text);
}

std::int64_t PropertyList::integerOr(std::int64_t fallback) const {
    switch (kind_) {
    case Kind::boolean:
        return payload_.boolean ? 1 : 0;
    case Kind::integer:
        return payload_.integer;
    case Kind::unsignedInteger:
        return std::numeric_limits<std::int64_t>::max();
    case Kind::real:
        return truncated(payload_.real);
    case Kind::real32:
        return truncated(static_cast<double>(payload_.real32));
    case Kind::string:
        return parseLeadingInt64(SharedText::viewOf(payload_.text));
    default:
        return fallback;
    }
}

std::uint64_t PropertyList::unsignedOr(std::uint64_t fallback) const {
    if (kind_ == Kind::unsignedInteger) return payload_.unsignedInteger;
    const std::int64_t value = integerOr(-1);
    return value >= 0 ? static_cast<std::uint64_t>(value) : fallback;
}

double PropertyList::realOr(double fallback) const {
    switch (kind_) {
    case Kind::boolean:
        return payload_.boolean ? 1.0 : 0.0;
    case Kind::integer:
        return static_cast<double>(payload_.integer);
    case Kind::unsignedInteger:
        return static_cast<double>(payload_.unsignedInteger);
    case Kind::real:
        return payload_.real;
    case Kind::real32:
        return static_cast<double>(payload_.real32);
    case Kind::string:
        return parseLeadingFloat(SharedText::viewOf(payload_.text));
    default:
        return fallback;
    }
}

bool PropertyList::boolOr(bool fallback) const {
    switch (kind_) {
    case Kind::boolean:
        return payload_.boolean;
    case Kind::real:
    case Kind::real32: {
        const double value = realOr(0.0);
        return value != 0.0 && !std::isnan(value);
    }
    case Kind::integer:
    case Kind::unsignedInteger:
    case Kind::string:
        return integerOr(0) != 0;
    default:
        return fallback;
    }
}

std::string_view PropertyList::stringOr(std::string_view fallback) const {
    return kind_ == Kind::string ? SharedText::viewOf(payload_.text) : fallback;
}

SharedText PropertyList::sharedString() const {
    if (kind_ != Kind::string) return {};
    SharedText::retain(payload_.text);
    return SharedText::adopt(payload_.text);
}

std::span<const std::byte> PropertyList::dataBytes() const {
    if (kind_ != Kind::data) return {};
    const std::string_view bytes = SharedText::viewOf(payload_.text);
    return std::as_bytes(std::span(bytes.data(), bytes.size()));
}

bool PropertyList::equalNumber(const PropertyList& other) const {
    if (kind_ == Kind::boolean || other.kind_ == Kind::boolean) {
        return kind_ == other.kind_ && payload_.boolean == other.payload_.boolean;
    }
    const bool wholeHere = kind_ < Kind::real;
    const bool wholeThere = other.kind_ < Kind::real;
    if (wholeHere && wholeThere) return kind_ == other.kind_ && payload_.integer == other.payload_.integer;
    if (wholeThere) return other.equalNumber(*this);
    if (kind_ == Kind::integer) return equalToReal(payload_.integer, other.realOr(0.0));
    if (kind_ == Kind::unsignedInteger) return equalToReal(payload_.unsignedInteger, other.realOr(0.0));
    const double x = realOr(0.0);
    const double y = other.realOr(0.0);
    return x == y || (std::isnan(x) && std::isnan(y));
}

bool PropertyList::operator==(const PropertyList& other) const {
    if (isNumber() && other.isNumber()) return equalNumber(other);
    if (kind_ != other.kind_) return false;
    switch (kind_) {
    case Kind::string:
    case Kind::data:
        return SharedText::viewOf(payload_.text) == SharedText::viewOf(other.payload_.text);
    case Kind::date:
        return payload_.real == other.payload_.real;
    case Kind::array:
        return payload_.block == other.payload_.block || std::ranges::equal(elements(), other.elements());
    case Kind::dictionary:
        if (payload_.block == other.payload_.block) return true;
        return size() == other.size() && std::ranges::all_of(entries(), [&](const Entry& entry) {
                   const PropertyList* there = other.find(entry.key);
                   return there && *there == entry.value;
               });
    default:
        return true;
    }
}

} // namespace marvo
