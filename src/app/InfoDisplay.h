// The line of text above the list of compositions: what is selected, or the address of a control that was
// clicked. Main thread.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace marvo {

class CompositionSet;

class InfoDisplay {
public:
    explicit InfoDisplay(const CompositionSet& compositions) : compositions_(compositions) {}

    const std::string& text() const { return text_; }
    bool isSelectable() const { return selectable_; }
    // Does nothing while addresses are shown. Empty while there are compositions and none is selected.
    void updateInfoDisplay();
    // From now on the text is an address, to be copied out; or what it was before.
    void startShowOSC();
    void stopShowOSC();
    void showOSCOnInfoDisplay(std::string_view text);

    std::function<void()> onChange;

private:
    void show(std::string text);

    const CompositionSet& compositions_;
    std::string text_ = "No compositions";
    bool selectable_ = false;
    bool showsOSC_ = false;
};

} // namespace marvo
