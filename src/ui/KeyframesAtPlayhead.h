// What the keyframe commands of the menu do to the selected tracks, on the frame where the playhead stands.
//
// Locked tracks and tracks without keyframes of their own are left out. Each command is undoable as the edits
// it is made of; the caller groups them. Main thread, without the composition queue.
#pragma once

#include <functional>
#include <string_view>

#include <QString>

namespace marvo {
class MarvoTimelineController;
class MarvoTimelineTrack;
} // namespace marvo

namespace marvo::ui {

class KeyframesAtPlayhead {
public:
    explicit KeyframesAtPlayhead(MarvoTimelineController& composition) : composition_(composition) {}

    // Each returns false, for a beep, when no track was there to do it to.
    // Value and curve as for a click between the neighbours. A track with a keyframe there keeps that one.
    bool add();
    // The first of several on the frame.
    bool remove();
    // Text as in the value field of a header: a number, "+n", "-n", "(-n)", or "i" for the mirror image. The
    // keyframe becomes the selected one of its track. Not for colours and flags, which have no number.
    bool setValue(std::string_view text);

    // The number that setValue would replace, on the first track that has one; empty when there is none.
    QString value() const;

private:
    bool onEach(const std::function<bool(MarvoTimelineTrack&)>& act);

    MarvoTimelineController& composition_;
};

} // namespace marvo::ui
