// The picture of the program in task bars and title bars: a curve with the playhead on it.
#pragma once

#include <QIcon>

namespace marvo::ui {

// In the sizes that desktops ask for, each drawn for itself. After the application object.
QIcon programIcon();

} // namespace marvo::ui
