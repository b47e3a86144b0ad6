// Grows a property list from the parts that a reader meets, one after the other.
//
// Knows what a property list may look like and how large it may become; where in the file a part came from is
// the reader's business. Keys and short texts are shared between records. One user at a time.
#pragma once

#include "platform/PropertyList.h"
#include "platform/TextInterner.h"

#include <array>
#include <cstddef>
#include <string_view>
#include <vector>

namespace marvo {

class PropertyListBuilder {
public:
    static constexpr std::size_t maximumDepth = 512;
    static constexpr std::size_t maximumValues = 32 << 20;

    // Each returns null, or the reason why the part is refused; after a refusal nothing more may be added.
    [[nodiscard]] const char* beginValue() const; // before a value other than a container
    [[nodiscard]] const char* beginKey() const;
    [[nodiscard]] const char* key(std::string_view text);
    [[nodiscard]] const char* value(PropertyList value);
    [[nodiscard]] const char* text(std::string_view text) {
        return value(PropertyList(interner_.intern(text)));
    }
    [[nodiscard]] const char* open(PropertyList::Kind kind); // array or dictionary
    [[nodiscard]] const char* close();

    bool isComplete() const { return complete_; }
    PropertyList take() { return std::move(result_); }

private:
    struct Level {
        bool isDictionary;
        bool hasKey;
        std::size_t first; // in entries_ or elements_
        SharedText key;
    };

    TextInterner interner_;
    // By place in a dictionary: records of one kind come in rows and have the same keys in the same order.
    std::array<SharedText, 8> usualKeys_;
    std::vector<Level> levels_;
    std::vector<PropertyList::Entry> entries_;
    std::vector<PropertyList> elements_;
    PropertyList result_;
    std::size_t values_ = 0;
    bool complete_ = false;
};

} // namespace marvo
