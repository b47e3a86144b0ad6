#include "ui/Look.h"

#include "ui/LookStyle.h"

#include <QApplication>
#include <QPalette>
#include <QString>

namespace marvo::ui {
namespace {

const Look* current = nullptr;

QPalette paletteOf(const Look& look) {
    QPalette palette;
    palette.setColor(QPalette::Window, look.window);
    palette.setColor(QPalette::WindowText, look.text);
    palette.setColor(QPalette::Base, look.panel);
    palette.setColor(QPalette::AlternateBase, look.control);
    palette.setColor(QPalette::Text, look.text);
    palette.setColor(QPalette::PlaceholderText, look.faintText);
    palette.setColor(QPalette::Button, look.control);
    palette.setColor(QPalette::ButtonText, look.text);
    palette.setColor(QPalette::BrightText, look.trouble);
    palette.setColor(QPalette::Highlight, look.focus);
    palette.setColor(QPalette::HighlightedText, look.onAccent);
    palette.setColor(QPalette::ToolTipBase, look.pressed);
    palette.setColor(QPalette::ToolTipText, look.text);
    palette.setColor(QPalette::Light, look.hover);
    palette.setColor(QPalette::Midlight, look.control);
    palette.setColor(QPalette::Mid, look.line);
    palette.setColor(QPalette::Dark, look.line);
    palette.setColor(QPalette::Shadow, look.window);
    palette.setColor(QPalette::Link, look.focus);
    palette.setColor(captionRole, look.dimText);
    for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        palette.setColor(QPalette::Disabled, role, look.faintText);
    }
    return palette;
}

// The few things that the palette does not reach.
QString styleSheetOf(const Look& look) {
    const auto hex = [](const QColor& color) { return color.name(); };
    return QStringLiteral(
               "QMenuBar { background: %1; border-bottom: 1px solid %2; }"
               "QMenuBar::item { padding: 5px 10px; background: transparent; }"
               "QMenuBar::item:selected { background: %3; }"
               "QMenu { background: %4; border: 1px solid %2; padding: 4px 0; }"
               "QMenu::item { padding: 5px 26px 5px 22px; }"
               "QMenu::item:selected { background: %3; }"
               "QMenu::item:disabled { color: %5; }"
               "QMenu::separator { height: 1px; background: %2; margin: 4px 8px; }"
               "QToolTip { background: %3; color: %6; border: 1px solid %2; padding: 4px; }"
               "QLineEdit, QSpinBox, QComboBox { background: %4; border: 1px solid %2; border-radius: 3px; "
               "padding: 3px 6px; }"
               "QLineEdit:focus, QSpinBox:focus, QComboBox:focus { border: 2px solid %7; padding: 2px 5px; }"
               "QPlainTextEdit, QTreeWidget { background: %4; border: 1px solid %2; border-radius: 3px; "
               "padding: 3px; }"
               "QPlainTextEdit:focus, QTreeWidget:focus { border: 2px solid %7; padding: 2px; }"
               "QTreeWidget::item:selected { background: %10; color: %6; }"
               "QComboBox QAbstractItemView { background: %4; color: %6; border: 1px solid %2; outline: 0; "
               "selection-background-color: %10; selection-color: %6; }"
               "QComboBox QAbstractItemView::item { min-height: 24px; padding: 0 6px; }"
               "QComboBox QAbstractItemView::item:selected { background: %10; color: %6; }"
               "QPushButton { background: %3; border: 1px solid %2; border-radius: 4px; padding: 6px 16px; "
               "min-width: 72px; }"
               "QPushButton:hover { background: %8; }"
               "QPushButton:pressed { background: %9; }"
               "QPushButton:default { border: 1px solid %7; }"
               "QPushButton:focus { border: 2px solid %7; padding: 5px 15px; }"
               "QPushButton:disabled { color: %5; }"
               "QToolButton { background: %3; border: 1px solid %2; border-radius: 3px; }"
               "QToolButton:hover { background: %8; }"
               "QToolButton:pressed { background: %9; }"
               "QToolButton:focus { border: 2px solid %7; }"
               "QToolButton:disabled { color: %5; }"
               "QFrame[popover=\"true\"] { border: 1px solid %2; }"
               "QSplitter::handle { background: %2; }")
        .arg(hex(look.window), hex(look.line), hex(look.control), hex(look.panel), hex(look.faintText),
             hex(look.text), hex(look.focus), hex(look.hover), hex(look.pressed), hex(look.selection));
}

} // namespace

const Look& Look::dark() {
    static const Look look{
        .window = QColor(0x12, 0x14, 0x18),
        .panel = QColor(0x1a, 0x1d, 0x23),
        .control = QColor(0x2a, 0x2f, 0x38),
        .hover = QColor(0x36, 0x3c, 0x47),
        .pressed = QColor(0x41, 0x48, 0x55),
        .line = QColor(0x35, 0x3b, 0x46),
        .faintLine = QColor(0x2d, 0x32, 0x3b),
        .faintLineSelected = QColor(0x38, 0x41, 0x50),
        .text = QColor(0xec, 0xef, 0xf3),
        .dimText = QColor(0xae, 0xb6, 0xc2),
        .faintText = QColor(0x78, 0x82, 0x90),
        .selection = QColor(0x39, 0x44, 0x58),
        .focus = QColor(0x8f, 0xb8, 0xff),
        .plays = QColor(0x2e, 0xcf, 0xa8),
        .records = QColor(0xff, 0x5a, 0x5f),
        .trouble = QColor(0xff, 0xb0, 0x2e),
        .onAccent = QColor(0x0b, 0x0d, 0x10),
        .lane = QColor(0x1d, 0x21, 0x28),
        .laneSelected = QColor(0x26, 0x2d, 0x39),
        .shade = QColor(0x08, 0x09, 0x0b, 0x90),
        .curve = QColor(0x9d, 0xb4, 0xd6),
        .keyframe = QColor(0xdd, 0xe6, 0xf5),
    };
    return look;
}

const Look& Look::light() {
    static const Look look{
        .window = QColor(0xe4, 0xe7, 0xeb),
        .panel = QColor(0xf3, 0xf5, 0xf7),
        .control = QColor(0xd6, 0xdb, 0xe1),
        .hover = QColor(0xc8, 0xcf, 0xd7),
        .pressed = QColor(0xb6, 0xbf, 0xc9),
        .line = QColor(0xb9, 0xc1, 0xca),
        .faintLine = QColor(0xdb, 0xdf, 0xe4),
        .faintLineSelected = QColor(0xc2, 0xcd, 0xdf),
        .text = QColor(0x12, 0x16, 0x1c),
        .dimText = QColor(0x3d, 0x47, 0x53),
        .faintText = QColor(0x6a, 0x74, 0x80),
        .selection = QColor(0xbd, 0xcb, 0xe3),
        .focus = QColor(0x1d, 0x56, 0xc0),
        .plays = QColor(0x00, 0x83, 0x68),
        .records = QColor(0xc8, 0x1e, 0x2b),
        .trouble = QColor(0xa8, 0x5b, 0x00),
        .onAccent = QColor(0xff, 0xff, 0xff),
        .lane = QColor(0xff, 0xff, 0xff),
        .laneSelected = QColor(0xe2, 0xea, 0xf7),
        .shade = QColor(0x60, 0x68, 0x74, 0x60),
        .curve = QColor(0x35, 0x4f, 0x7c),
        .keyframe = QColor(0x1a, 0x2a, 0x47),
    };
    return look;
}

const Look& Look::current() {
    return ui::current ? *ui::current : dark();
}

QFont typeFont(Type type) {
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setStyleHint(QFont::SansSerif);
    switch (type) {
    case Type::small:
        font.setPixelSize(11);
        break;
    case Type::normal:
        font.setPixelSize(13);
        break;
    case Type::strong:
        font.setPixelSize(13);
        font.setBold(true);
        break;
    case Type::big:
        font.setPixelSize(20);
        font.setBold(true);
        break;
    }
    return font;
}

QFont digitFont(int pixels) {
    QFont font(QStringLiteral("DejaVu Sans Mono"));
    font.setStyleHint(QFont::Monospace);
    font.setPixelSize(pixels);
    return font;
}

void applyLook(QApplication& application, Variant variant) {
    current = variant == Variant::dark ? &Look::dark() : &Look::light();
    application.setStyle(new LookStyle);
    application.setPalette(paletteOf(*current));
    application.setFont(typeFont(Type::normal));
    application.setStyleSheet(styleSheetOf(*current));
}

} // namespace marvo::ui
