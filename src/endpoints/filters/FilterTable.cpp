#include "endpoints/filters/FilterTable.h"

#include "platform/Text.h"

#include <algorithm>

namespace marvo {

bool FilterTable::add(std::string_view key) {
    const std::lock_guard hold(lock_);
    if (detected_.size() >= largestSize || detected_.contains(key)) return false;
    added_.push_back(&detected_.emplace(std::string(key), FilterEntry{}).first->first);
    return true;
}

std::optional<FilterEntry> FilterTable::find(std::string_view key) const {
    const std::lock_guard hold(lock_);
    const auto found = detected_.find(key);
    if (found == detected_.end()) return std::nullopt;
    return found->second;
}

std::size_t FilterTable::count() const {
    const std::lock_guard hold(lock_);
    return detected_.size();
}

void FilterTable::searchMessages(std::string_view text) {
    const std::lock_guard hold(lock_);
    searched_ = text;
    searchLocked();
}

void FilterTable::searchMessages() {
    const std::lock_guard hold(lock_);
    for (const std::string* key : added_) {
        if (matches(*key)) cached_.insert(*key);
    }
    added_.clear();
}

void FilterTable::searchLocked() {
    cached_.clear();
    added_.clear();
    for (const auto& [key, entry] : detected_) {
        if (matches(key)) cached_.insert(cached_.end(), key);
    }
}

std::vector<std::string> FilterTable::rows() const {
    std::vector<std::string> result;
    {
        const std::lock_guard hold(lock_);
        result.assign(cached_.begin(), cached_.end());
    }
    std::stable_sort(result.begin(), result.end(), [](const std::string& a, const std::string& b) {
        return localizedStandardCompare(a, b) < 0;
    });
    return result;
}

void FilterTable::toggleAllowed(std::string_view clicked, const std::vector<std::string>& selected) {
    change(clicked, selected, &FilterEntry::allowed);
}

void FilterTable::toggleHighResolution(std::string_view clicked, const std::vector<std::string>& selected) {
    change(clicked, selected, &FilterEntry::highResolution);
}

void FilterTable::change(std::string_view clicked, const std::vector<std::string>& selected,
                         bool FilterEntry::*field) {
    const std::lock_guard hold(lock_);
    const auto row = detected_.find(clicked);
    if (row == detected_.end()) return;
    const bool state = !(row->second.*field);
    row->second.*field = state;
    for (const std::string& key : selected) {
        const auto other = detected_.find(key);
        if (other != detected_.end()) other->second.*field = state;
    }
}

void FilterTable::clear() {
    // Freed without the lock: who asks for a row may be in the way of the tick.
    Table detected;
    std::set<std::string> cached;
    const std::lock_guard hold(lock_);
    added_.clear();
    detected.swap(detected_);
    cached.swap(cached_);
}

PropertyList FilterTable::saveData() const {
    PropertyList record = PropertyList::dictionary();
    const Table detected = [this] {
        const std::lock_guard hold(lock_);
        return detected_;
    }();
    for (const auto& [key, entry] : detected) record.set(key, valueOf(entry));
    return record;
}

void FilterTable::loadData(const PropertyList& record) {
    const std::lock_guard hold(lock_);
    added_.clear();
    detected_.clear();
    for (const auto& [key, value] : record.entries()) {
        if (detected_.size() >= largestSize) break;
        detected_.insert_or_assign(std::string(key.view()), entryFrom(value));
    }
    searchLocked();
}

PropertyList PairFilterTable::valueOf(const FilterEntry& entry) const {
    PropertyList pair = PropertyList::array();
    pair.push_back(entry.highResolution);
    pair.push_back(entry.allowed);
    return pair;
}

FilterEntry PairFilterTable::entryFrom(const PropertyList& value) const {
    FilterEntry entry;
    if (!value.isArray()) {
        entry.allowed = value.boolOr(true);
        return entry;
    }
    if (const PropertyList* first = value.at(0)) entry.highResolution = first->boolOr(false);
    if (const PropertyList* second = value.at(1)) entry.allowed = second->boolOr(true);
    return entry;
}

std::string partnerKey(std::string_view key, int number, int by) {
    return replaceAll(key, std::to_string(number), std::to_string(by));
}

} // namespace marvo
