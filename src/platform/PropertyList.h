// A property list: the form of every saved record, in files, in undo data and on the clipboard.
//
// A value is 16 bytes. Copies share what they hold (atomic reference counts) and part when one of them is
// changed, so passing values around is cheap and a reader never sees a writer's half. A dictionary keeps the
// order of insertion, its keys are shared texts and its entries lie in one block, so a million small
// dictionaries with the same keys cost one allocation each. Letting go of a deep value does not recurse.
//
// Thread-safe: distinct values are, even where they share; one value has one user at a time. Not
// realtime-safe.
#pragma once

#include "platform/SharedText.h"

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>

namespace marvo {

class PropertyList {
public:
    enum class Kind : std::uint8_t {
        none,
        boolean,
        integer,         // signed 64-bit
        unsignedInteger, // only for numbers above the signed range
        real,
        real32, // written in its shortest single-precision form; reads back as real
        string, // UTF-8
        data,
        date, // seconds since 2001-01-01 00:00 UTC
        array,
        dictionary,
    };
    struct Entry;

    PropertyList() noexcept = default;
    // Exactly bool: a pointer that went astray must not become true.
    template <std::same_as<bool> Flag>
    PropertyList(Flag value) noexcept : kind_(Kind::boolean) {
        payload_.boolean = value;
    }
    template <std::integral Number>
    requires(!std::same_as<Number, bool> && !std::same_as<Number, char>) PropertyList(Number value)
    noexcept : kind_(Kind::integer) {
        if constexpr (std::is_signed_v<Number>) {
            payload_.integer = static_cast<std::int64_t>(value);
        } else {
            setUnsigned(static_cast<std::uint64_t>(value));
        }
    }
    PropertyList(double value) noexcept : kind_(Kind::real) { payload_.real = value; }
    PropertyList(float value) noexcept : kind_(Kind::real32) { payload_.real32 = value; }
    PropertyList(std::string_view text) : PropertyList(SharedText(text)) {}
    PropertyList(const std::string& text) : PropertyList(std::string_view(text)) {}
    PropertyList(const char* text) : PropertyList(std::string_view(text)) {}
    explicit PropertyList(SharedText text) noexcept : kind_(Kind::string) { payload_.text = text.detach(); }
    static PropertyList data(std::span<const std::byte> bytes);
    static PropertyList date(double secondsSince2001);
    static PropertyList array();
    static PropertyList dictionary();
    // Take what is in the span. Of several entries with one key the last one's value stays, at the first
    // one's place.
    static PropertyList dictionaryOf(std::span<Entry> entries);
    static PropertyList arrayOf(std::span<PropertyList> elements);

    PropertyList(const PropertyList& other) noexcept : payload_(other.payload_), kind_(other.kind_) {
        retain();
    }
    PropertyList(PropertyList&& other) noexcept
        : payload_(other.payload_), kind_(std::exchange(other.kind_, Kind::none)) {}
    PropertyList& operator=(PropertyList other) noexcept {
        std::swap(payload_, other.payload_);
        std::swap(kind_, other.kind_);
        return *this;
    }
    ~PropertyList() {
        if (kind_ >= Kind::string) release();
    }

    Kind kind() const { return kind_; }
    bool isNone() const { return kind_ == Kind::none; }
    bool isString() const { return kind_ == Kind::string; }
    bool isData() const { return kind_ == Kind::data; }
    bool isDate() const { return kind_ == Kind::date; }
    bool isArray() const { return kind_ == Kind::array; }
    bool isDictionary() const { return kind_ == Kind::dictionary; }
    bool isNumber() const { return kind_ >= Kind::boolean && kind_ <= Kind::real32; }

    // Strict readings: none unless the value is of that kind. A whole number within the signed range is an
    // integer, every number but a bool is a real.
    std::optional<bool> asBool() const;
    std::optional<std::int64_t> asInteger() const;
    std::optional<double> asReal() const;
    std::optional<std::string_view> asString() const;

    // Tolerant readings, as of a boxed number: a bool counts as 0 or 1, a real is cut and saturated (NaN is
    // 0), a text gives its leading number. Any other kind gives the fallback.
    std::int64_t integerOr(std::int64_t fallback) const;
    std::uint64_t unsignedOr(std::uint64_t fallback) const; // a negative number gives the fallback
    double realOr(double fallback) const;
    bool boolOr(bool fallback) const;
    // The text of a string; the fallback for every other kind. Valid as long as this value is.
    std::string_view stringOr(std::string_view fallback) const;
    // The string as a share; empty for every other kind.
    SharedText sharedString() const;

    std::span<const std::byte> dataBytes() const; // empty unless data
    double dateSeconds() const { return kind_ == Kind::date ? payload_.real : 0.0; }

    // Elements of an array or entries of a dictionary; 0 for anything else.
    std::size_t size() const;

    // Null when there is no such key, or this is no dictionary. Pointers and spans hold until the value is
    // changed.
    const PropertyList* find(std::string_view key) const;
    std::span<const Entry> entries() const&;
    std::span<const Entry> entries() && = delete; // a loop over a temporary would walk freed memory
    // Turns anything but a dictionary into an empty one first. A new key goes to the end.
    void set(std::string_view key, PropertyList value);
    void remove(std::string_view key);

    // Null beyond the end, or when this is no array.
    const PropertyList* at(std::size_t index) const;
    std::span<const PropertyList> elements() const&;
    std::span<const PropertyList> elements() && = delete;
    // Turns anything but an array into an empty one first.
    void push_back(PropertyList value);

    // Deep. Numbers compare by value whatever their kind (NaN equals NaN), a bool equals only a bool; the
    // order of a dictionary's keys does not count.
    bool operator==(const PropertyList& other) const;

private:
    struct Block;
    struct Dying;
    union Payload {
        bool boolean;
        std::int64_t integer;
        std::uint64_t unsignedInteger;
        double real;
        float real32;
        SharedText::Block* text; // string and data
        Block* block;            // array and dictionary; null when empty
    };

    void setUnsigned(std::uint64_t value) noexcept;
    bool equalNumber(const PropertyList& other) const;
    void retain() const noexcept;
    void release() noexcept;
    Block* owned(std::size_t wanted);

    Payload payload_{.integer = 0};
    Kind kind_ = Kind::none;
};

struct PropertyList::Entry {
    SharedText key;
    PropertyList value;
};

static_assert(sizeof(PropertyList) == 16);

} // namespace marvo
