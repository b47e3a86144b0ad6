// The frame of a window as a project keeps it: "{{x, y}, {w, h}}", in pixels, y downwards.
#pragma once

#include <QRect>

#include <optional>
#include <string>
#include <string_view>

class QWidget;

namespace marvo::ui {

// As it stands when it fills no screen.
std::string windowFrameText(const QWidget& window);
// None for text of another form, and for a frame without extent, which a save without a window leaves.
std::optional<QRect> windowFrameFrom(std::string_view text);
// Puts the window there, on a screen that is there and no larger than that. A window that fills its screen
// stays as it is: false.
bool setWindowFrame(QWidget& window, const QRect& frame);

} // namespace marvo::ui
