#include "ui/WindowFrame.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWidget>

#include <algorithm>
#include <charconv>
#include <cmath>

namespace marvo::ui {
namespace {

// No desktop is larger; what is more is damage.
constexpr double furthest = 100'000.0;

// Skips blanks, and the character where one is asked for.
bool skip(std::string_view& text, char wanted) {
    while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
    if (text.empty() || text.front() != wanted) return false;
    text.remove_prefix(1);
    return true;
}

bool readNumber(std::string_view& text, int& number) {
    while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
    double value = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || !(std::abs(value) <= furthest)) return false;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    number = static_cast<int>(std::lround(value));
    return true;
}

bool readPair(std::string_view& text, int& first, int& second) {
    return skip(text, '{') && readNumber(text, first) && skip(text, ',') && readNumber(text, second) &&
           skip(text, '}');
}

// Where most of it lies, or else the first one.
const QScreen* screenOf(const QRect& frame) {
    const QScreen* best = QGuiApplication::primaryScreen();
    int most = 0;
    for (const QScreen* screen : QGuiApplication::screens()) {
        const QRect common = screen->availableGeometry().intersected(frame);
        const int pixels = common.width() * common.height();
        if (!common.isEmpty() && pixels > most) {
            most = pixels;
            best = screen;
        }
    }
    return best;
}

} // namespace

std::string windowFrameText(const QWidget& window) {
    const bool fills = window.isFullScreen() || window.isMaximized();
    const QRect frame = fills ? window.normalGeometry() : window.geometry();
    return "{{" + std::to_string(frame.x()) + ", " + std::to_string(frame.y()) + "}, {" +
           std::to_string(frame.width()) + ", " + std::to_string(frame.height()) + "}}";
}

std::optional<QRect> windowFrameFrom(std::string_view text) {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    if (!skip(text, '{') || !readPair(text, x, y) || !skip(text, ',') || !readPair(text, width, height) ||
        !skip(text, '}'))
        return std::nullopt;
    if (width <= 0 || height <= 0) return std::nullopt;
    return QRect(x, y, width, height);
}

bool setWindowFrame(QWidget& window, const QRect& frame) {
    if (window.isFullScreen()) return false;
    QRect place = frame;
    if (const QScreen* screen = screenOf(frame)) {
        const QRect room = screen->availableGeometry();
        place.setSize(place.size().boundedTo(room.size()).expandedTo(window.minimumSizeHint()));
        place.moveLeft(std::max(room.left(), std::min(place.left(), room.right() + 1 - place.width())));
        place.moveTop(std::max(room.top(), std::min(place.top(), room.bottom() + 1 - place.height())));
    }
    if (window.isMaximized()) window.setWindowState(window.windowState() & ~Qt::WindowMaximized);
    window.setGeometry(place);
    return true;
}

} // namespace marvo::ui
