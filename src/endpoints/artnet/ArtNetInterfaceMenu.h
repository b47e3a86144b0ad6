// The menu of network interfaces: what stands in it, which item is selected, and how titles of older versions
// are understood. Main thread.
#pragma once

#include "platform/NetworkConfiguration.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace marvo {

class ArtNetInterfaceMenu {
public:
    static constexpr std::string_view disabledTitle = "Disable Art-Net";
    static constexpr std::string_view disabledValue = "none";

    struct Item {
        std::string title;
        std::string value; // an address, "0", "1", or "none"; empty for the separator
        bool isSeparator = false;
        bool operator==(const Item&) const = default;
    };

    ArtNetInterfaceMenu();

    // "Disable Art-Net", a separator, and one item an interface; the first is selected.
    void rebuild(const NetworkConfiguration& configuration);
    const std::vector<Item>& items() const { return items_; }
    const Item& selected() const { return items_[selected_]; }
    bool isDisabled() const { return selected_ == 0; }
    bool contains(std::string_view title) const { return find(title).has_value(); }
    // False when there is no such item; the selection stays then.
    bool select(std::string_view title);
    // The title that stands for one of an older version, which had no device name in it: the first that
    // contains the part before " -". None for a title of today.
    std::optional<std::string> titleForOlder(std::string_view title) const;

private:
    std::optional<std::size_t> find(std::string_view title) const;

    std::vector<Item> items_;
    std::size_t selected_ = 0;
};

} // namespace marvo
