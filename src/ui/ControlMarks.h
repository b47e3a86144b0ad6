// How learn mode and the address display mark a control, the same on every kind of control.
#pragma once

#include <QRectF>

class QPainter;

namespace marvo {
class LearnableControl;
}

namespace marvo::ui {

// Over a painted control: in learn mode a hatched ground, with a solid corner when something is assigned;
// while addresses are shown a dotted frame; around the one that was clicked last a double frame. lit: the
// control has the ground of what is on, on which other colours are seen.
void drawControlMarks(QPainter& painter, const QRectF& where, const LearnableControl& control, bool lit);

} // namespace marvo::ui
