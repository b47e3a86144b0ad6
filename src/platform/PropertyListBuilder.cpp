#include "platform/PropertyListBuilder.h"

#include <utility>

namespace marvo {

const char* PropertyListBuilder::beginValue() const {
    if (levels_.empty()) return complete_ ? "a second value behind the first" : nullptr;
    const Level& level = levels_.back();
    if (level.isDictionary && !level.hasKey) return "a value without a <key> in a dictionary";
    return nullptr;
}

const char* PropertyListBuilder::beginKey() const {
    if (levels_.empty() || !levels_.back().isDictionary) return "a <key> outside a dictionary";
    if (levels_.back().hasKey) return "a <key> behind a <key> that has no value";
    return nullptr;
}

const char* PropertyListBuilder::key(std::string_view text) {
    Level& level = levels_.back();
    const std::size_t place = entries_.size() - level.first;
    if (place < usualKeys_.size()) {
        SharedText& usual = usualKeys_[place];
        if (usual.view() != text) usual = interner_.intern(text);
        level.key = usual;
    } else {
        level.key = interner_.intern(text);
    }
    level.hasKey = true;
    return nullptr;
}

const char* PropertyListBuilder::value(PropertyList value) {
    if (++values_ > maximumValues) return "more values than a property list may hold";
    if (levels_.empty()) {
        result_ = std::move(value);
        complete_ = true;
        return nullptr;
    }
    Level& level = levels_.back();
    if (level.isDictionary) {
        entries_.push_back({std::move(level.key), std::move(value)});
        level.hasKey = false;
    } else {
        elements_.push_back(std::move(value));
    }
    return nullptr;
}

const char* PropertyListBuilder::open(PropertyList::Kind kind) {
    if (const char* refusal = beginValue()) return refusal;
    if (levels_.size() == maximumDepth) return "nested deeper than 512 levels";
    const bool isDictionary = kind == PropertyList::Kind::dictionary;
    levels_.push_back({isDictionary, false, isDictionary ? entries_.size() : elements_.size(), {}});
    return nullptr;
}

const char* PropertyListBuilder::close() {
    const Level& level = levels_.back();
    const std::size_t first = level.first;
    PropertyList whole;
    if (level.isDictionary) {
        if (level.hasKey) return "a <key> without a value";
        whole = PropertyList::dictionaryOf(std::span(entries_).subspan(first));
        entries_.resize(first);
    } else {
        whole = PropertyList::arrayOf(std::span(elements_).subspan(first));
        elements_.resize(first);
    }
    levels_.pop_back();
    return value(std::move(whole));
}

} // namespace marvo
