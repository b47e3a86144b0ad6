#include "ui/AddTrackMenu.h"

#include "app/AppDelegate.h"

#include <QAction>
#include <QMenu>

#include <array>

namespace marvo::ui {
namespace {

constexpr std::array<AddableTrack, 7> kinds{
    AddableTrack{"MIDI CC", "MidiCCValue", 2},      AddableTrack{"MIDI Notes", "MidiNotes", 3},
    AddableTrack{"OSC Value", "OSCValue", 4},       AddableTrack{"OSC Flag", "OSCFlag", 9},
    AddableTrack{"OSC Color", "OSCColor", 6},       AddableTrack{"Art-Net Value", "ArtNetValue", 7},
    AddableTrack{"Art-Net Color", "ArtNetColor", 8}};

} // namespace

std::span<const AddableTrack> addableTracks() {
    return kinds;
}

void fillAddTrackMenu(QMenu& menu, AppDelegate& application) {
    for (const AddableTrack& kind : kinds) {
        QAction* action = menu.addAction(QString::fromUtf8(kind.title));
        action->setData(
            QString::fromUtf8(kind.trackType.data(), static_cast<qsizetype>(kind.trackType.size())));
        action->setShortcut(QKeySequence(Qt::CTRL | static_cast<Qt::Key>(Qt::Key_0 + kind.key)));
        QObject::connect(action, &QAction::triggered, &menu, [&application, kind] {
            // The selection of now: the menu may have stood open for a while.
            if (MarvoTimelineController* composition = application.compositions.selectedComposition())
                composition->tracks.createTrackOfTpye(std::string(kind.trackType));
        });
    }
}

std::unique_ptr<QMenu> makeAddTrackMenu(AppDelegate& application, QWidget* parent) {
    if (application.compositions.isProjectLocked() || !application.compositions.selectedComposition())
        return nullptr;
    auto menu = std::make_unique<QMenu>(parent);
    fillAddTrackMenu(*menu, application);
    // Shown, not listened to: the menu bar has the same keys.
    for (QAction* action : menu->actions()) {
        action->setShortcutContext(Qt::WidgetShortcut);
        action->setShortcutVisibleInContextMenu(true);
    }
    return menu;
}

} // namespace marvo::ui
