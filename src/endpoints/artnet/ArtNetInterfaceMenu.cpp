#include "endpoints/artnet/ArtNetInterfaceMenu.h"

namespace marvo {

ArtNetInterfaceMenu::ArtNetInterfaceMenu() {
    rebuild({});
}

void ArtNetInterfaceMenu::rebuild(const NetworkConfiguration& configuration) {
    items_.clear();
    items_.push_back({std::string(disabledTitle), std::string(disabledValue), false});
    items_.push_back({{}, {}, true});
    for (const auto& [name, value] : configuration) {
        const std::string state = value == "0" ? "DISCONNECTED" : value == "1" ? "CONNECTED" : value;
        items_.push_back({name + " - " + state, value, false});
    }
    selected_ = 0;
}

std::optional<std::size_t> ArtNetInterfaceMenu::find(std::string_view title) const {
    for (std::size_t index = 0; index < items_.size(); ++index) {
        if (!items_[index].isSeparator && items_[index].title == title) return index;
    }
    return std::nullopt;
}

bool ArtNetInterfaceMenu::select(std::string_view title) {
    const auto found = find(title);
    if (found) selected_ = *found;
    return found.has_value();
}

std::optional<std::string> ArtNetInterfaceMenu::titleForOlder(std::string_view title) const {
    if (title.find(" (") != std::string_view::npos) return std::nullopt;
    const std::string_view part = title.substr(0, title.find(" -"));
    if (part.empty()) return std::nullopt;
    for (const Item& item : items_) {
        if (!item.isSeparator && item.title.find(part) != std::string::npos) return item.title;
    }
    return std::nullopt;
}

} // namespace marvo
