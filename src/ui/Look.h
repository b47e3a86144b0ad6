// The look of the program: colours, sizes and type, in a dark and a daylight variant. See docs/look.md.
//
// Sizes are in device-independent pixels. One accent each for what plays, what records and what is in
// trouble; each of these states also has a shape of its own, so that colour alone never tells it. Main
// thread.
#pragma once

#include <QColor>
#include <QFont>
#include <QPalette>

class QApplication;

namespace marvo::ui {

struct Look {
    QColor window;  // behind everything
    QColor panel;   // lists, headers, rows
    QColor control; // buttons and fields at rest
    QColor hover;
    QColor pressed;
    QColor line;              // between areas
    QColor faintLine;         // grid, on a lane
    QColor faintLineSelected; // on a selected one
    QColor text;
    QColor dimText;
    QColor faintText;
    QColor selection; // ground of what is selected
    QColor focus;     // ring of what has the keyboard

    QColor plays;
    QColor records;
    QColor trouble;
    QColor onAccent; // text and icons on one of the accents

    QColor lane;
    QColor laneSelected;
    QColor shade; // laid over what is outside the working area
    QColor curve;
    QColor keyframe;

    static const Look& dark();
    static const Look& light();
    // What the windows are drawn with now.
    static const Look& current();
};

// Heights and widths that more than one view needs.
namespace size {
inline constexpr int control = 26;
inline constexpr int gap = 6;
inline constexpr int margin = 10;
inline constexpr int row = 23; // of the table of compositions
inline constexpr int ruler = 44;
inline constexpr int cueRow = 26;
inline constexpr int headerWidth = 330;
inline constexpr int listWidth = 320;
} // namespace size

enum class Type { small, normal, strong, big };
// Digits of all of these have one width, so that numbers that run do not dance.
QFont typeFont(Type type);
QFont digitFont(int pixels);

// Foreground of captions and units, by its role, so that a label that stands follows the look by itself.
inline constexpr QPalette::ColorRole captionRole = QPalette::LinkVisited;

enum class Variant { dark, light };
// Palette, fonts and style of the whole program.
void applyLook(QApplication& application, Variant variant);

} // namespace marvo::ui
