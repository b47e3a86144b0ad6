// What has been heard on one kind of input, one row an address: which of it may be recorded, and which rows
// are the coarse half of a high-resolution pair.
//
// Filled by the input threads, edited and shown by the main thread. The shown rows are a table of their own,
// so that a view that is drawing never sees a row come in. A filter affects recording alone: routing takes no
// notice of it.
//
// Thread-safe, every call; allocates.
#pragma once

#include "platform/PropertyList.h"

#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace marvo {

struct FilterEntry {
    bool highResolution = false;
    bool allowed = true;

    bool operator==(const FilterEntry&) const = default;
};

// How a check box of the table stands.
struct FilterCell {
    bool on = false;
    bool enabled = true;

    bool operator==(const FilterCell&) const = default;
};

class FilterTable {
public:
    // Rows beyond this many are not taken in: addresses come from the network, and nothing removes a row.
    static constexpr std::size_t largestSize = 20'000;

    virtual ~FilterTable() = default;

    // Adds a row with the entry of a new one; true when it is new.
    bool add(std::string_view key);
    std::optional<FilterEntry> find(std::string_view key) const;
    std::size_t count() const;

    // Shows the rows whose key contains the text, upper and lower case told apart; all of them without a
    // text.
    void searchMessages(std::string_view text);
    // Shows the rows that were added since and match the last search. Takes as long as they are many, not as
    // the table is: who adds rows must not wait.
    void searchMessages();
    // The shown keys in the order of the table: 2 before 10.
    std::vector<std::string> rows() const;

    // A click on a check box of a row: its new state goes to the other selected rows, too, whatever they had.
    // Keys that are not in the table are passed over.
    void toggleAllowed(std::string_view clicked, const std::vector<std::string>& selected);
    void toggleHighResolution(std::string_view clicked, const std::vector<std::string>& selected);

    virtual FilterCell allowCell(std::string_view key) const = 0;
    virtual FilterCell resolutionCell(std::string_view key) const = 0;

    // Leaves no row, whatever is searched for.
    void clear();
    // The saved form: key to what `valueOf` makes of an entry.
    PropertyList saveData() const;
    // Replaces both tables; rows beyond the largest size are left out.
    void loadData(const PropertyList& record);

protected:
    virtual PropertyList valueOf(const FilterEntry& entry) const = 0;
    virtual FilterEntry entryFrom(const PropertyList& value) const = 0;

private:
    using Table = std::map<std::string, FilterEntry, std::less<>>;
    void change(std::string_view clicked, const std::vector<std::string>& selected, bool FilterEntry::*field);
    void searchLocked();
    bool matches(const std::string& key) const {
        return searched_.empty() || key.find(searched_) != std::string::npos;
    }

    mutable std::mutex lock_;
    Table detected_;
    std::set<std::string> cached_;
    std::vector<const std::string*> added_; // keys of detected_ that no search has seen
    std::string searched_;
};

// Rows that hold two switches: [high resolution, allowed] in a record. Older records hold the second alone.
class PairFilterTable : public FilterTable {
protected:
    PropertyList valueOf(const FilterEntry& entry) const override;
    FilterEntry entryFrom(const PropertyList& value) const override;
};

// The key with every occurrence of `number`'s digits replaced by those of `by`. Every occurrence on purpose:
// see the Art-Net table.
std::string partnerKey(std::string_view key, int number, int by);

} // namespace marvo
