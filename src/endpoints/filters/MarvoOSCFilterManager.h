// The OSC addresses that were heard, other than the program's own.
#pragma once

#include "endpoints/filters/FilterTable.h"

namespace marvo {

// A row holds one switch: whether its address may be recorded.
class MarvoOSCFilterManager final : public FilterTable {
public:
    FilterCell allowCell(std::string_view key) const override;
    FilterCell resolutionCell(std::string_view) const override { return {false, false}; }

protected:
    PropertyList valueOf(const FilterEntry& entry) const override { return entry.allowed; }
    FilterEntry entryFrom(const PropertyList& value) const override { return {false, value.boolOr(true)}; }
};

} // namespace marvo
