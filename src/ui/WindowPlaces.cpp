#include "ui/WindowPlaces.h"

#include "platform/Paths.h"
#include "platform/PropertyListFile.h"

#include <QEvent>
#include <QWidget>

#include <span>

namespace marvo::ui {
namespace {

std::string fileIn(const std::string& folder) {
    return folder + "/windows.plist";
}

} // namespace

WindowPlaces::WindowPlaces(const std::string& stateFolder) : folder_(stateFolder) {
    const ReadResult read = readPropertyList(fileIn(folder_));
    if (read.ok() && read.value.isDictionary()) places_ = read.value;
}

void WindowPlaces::follow(QWidget& window, const std::string& name) {
    if (const PropertyList* place = places_.find(name)) {
        const std::span<const std::byte> bytes = place->dataBytes();
        window.restoreGeometry(
            QByteArray(reinterpret_cast<const char*>(bytes.data()), static_cast<qsizetype>(bytes.size())));
    }
    followed_[&window] = name;
    window.installEventFilter(this);
    connect(&window, &QObject::destroyed, this, [this](QObject* gone) { followed_.erase(gone); });
}

bool WindowPlaces::eventFilter(QObject* watched, QEvent* event) {
    // On the way to being hidden a window still knows its frame.
    if (event->type() == QEvent::Hide || event->type() == QEvent::Close) {
        const auto found = followed_.find(watched);
        const auto* window = qobject_cast<QWidget*>(watched);
        if (found != followed_.end() && window) {
            note(*window, found->second);
            write();
        }
    }
    return QObject::eventFilter(watched, event);
}

void WindowPlaces::note(const QWidget& window, const std::string& name) {
    const QByteArray geometry = window.saveGeometry();
    PropertyList place = PropertyList::data(
        std::as_bytes(std::span(geometry.constData(), static_cast<std::size_t>(geometry.size()))));
    if (const PropertyList* present = places_.find(name); present && *present == place) return;
    places_.set(name, std::move(place));
    changed_ = true;
}

std::string WindowPlaces::save() {
    for (const auto& [object, name] : followed_) {
        const auto* window = qobject_cast<const QWidget*>(object);
        if (window && window->isVisible()) note(*window, name);
    }
    return write();
}

std::string WindowPlaces::write() {
    if (!changed_) return {};
    if (std::string error = makeFolder(folder_); !error.empty()) return error;
    const WriteResult written = writePropertyList(fileIn(folder_), places_);
    if (written.ok()) changed_ = false;
    return written.error;
}

} // namespace marvo::ui
