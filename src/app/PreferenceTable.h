// The table of the machine-wide preferences: which keys there are, of which type, and with which default.
//
// Thread-safe once the first call has returned; allocates.
#pragma once

#include "platform/PropertyList.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace marvo {

class PreferenceStore;

enum class PreferenceType : std::uint8_t { boolean, integer, string, date };

struct PreferenceKey {
    std::string_view name;
    PreferenceType type;
    PropertyList byDefault; // none: the key stays absent until somebody sets it
};

// In the order in which they are loaded.
std::span<const PreferenceKey> preferenceKeys();
// Null for a name that is not in the table.
const PreferenceKey* preferenceKeyNamed(std::string_view name);

// A value of the key's type, or why the text is none.
struct PreferenceReading {
    PropertyList value; // none when error is set
    std::string error;  // one line; empty when the text was taken
};

// booleans: true, yes, on, 1 and false, no, off, 0; integers: signed, decimal; dates: "2026-11-21T04:00:00Z".
// defaultInterpolation takes only the label of a curve.
PreferenceReading preferenceFromText(std::string_view key, std::string_view text);

// Overrides one key for this run; see PreferenceStore::setOverride. Returns an error text, empty when it was
// taken.
std::string setPreferenceOverride(PreferenceStore& store, std::string_view key, std::string_view text);

} // namespace marvo
