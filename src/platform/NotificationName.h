// The interned form of a notification's name.
#pragma once

#include <compare>
#include <cstdint>

namespace marvo {

// A small index into the name table of one NotificationCenter; meaningless in another. Plain value.
struct NotificationName {
    static constexpr std::uint32_t none = 0xffffffffu;
    std::uint32_t index = none;

    constexpr bool isValid() const { return index != none; }
    constexpr auto operator<=>(const NotificationName&) const = default;
};

// The payload of notifications that carry nothing.
struct NoPayload {};

// A name together with the type of what it carries. Made by NotificationCenter::name.
template <class Payload>
struct Notification {
    NotificationName name;

    constexpr bool isValid() const { return name.isValid(); }
};

} // namespace marvo
