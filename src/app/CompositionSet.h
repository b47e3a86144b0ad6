// The ordered list of the project's compositions: creation, removal, order, duplication, names, selection,
// lock.
//
// Main thread, except where said otherwise. The list is changed inside the composition queue, so the tick
// always sees it whole; what is expensive (making, tearing down) happens outside it.
#pragma once

#include "app/MarvoTimelineViewController.h"
#include "composition/CompositionServices.h"
#include "platform/LoadReport.h"
#include "platform/PropertyList.h"
#include "platform/Relaxed.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace marvo {

class CompositionSet {
public:
    CompositionSet(CompositionServices& services, std::function<CompositionDefaults()> defaults,
                   std::function<void()> changed);
    ~CompositionSet();

    // Appends a composition named "Composition %ld". With refresh it is selected; a load selects when it is
    // done.
    MarvoTimelineController& createComposition(bool refresh = true);
    // False when there is no such index.
    bool removeCompositionAtIndex(std::int64_t index);
    // `to` is the row to drop at, up to the count; below `from` it is not lowered for the row taken out. What
    // was selected stays selected, wherever it stands then.
    void moveComposition(std::int64_t from, std::int64_t to);
    void duplicateComposition(std::int64_t index);
    void removeAll();

    std::size_t count() const { return compositions_.size(); }
    const std::vector<std::unique_ptr<MarvoTimelineViewController>>& all() const { return compositions_; }
    MarvoTimelineController& at(std::size_t index) const {
        return compositions_[index]->timelineController();
    }

    // Selection by row; -1 is none. The selected composition may be asked for on any thread inside the
    // composition queue.
    std::int64_t selectedCompositionIndex() const { return selected_; }
    MarvoTimelineController* selectedComposition() const;
    // Selecting the row that is selected tells nobody.
    void selectCompositionAtIndex(std::int64_t index);
    // Wherever it stands now; nothing when it has gone. Only compared, not used.
    void selectComposition(const MarvoTimelineController* composition);
    // As a saved selection: a row that is not there selects nothing.
    void selectOrClear(std::int64_t index);
    // The last one, and nobody is told.
    void beginWithLast() { selected_ = static_cast<std::int64_t>(compositions_.size()) - 1; }
    void selectPreviousComposition();
    void selectNextComposition();

    std::int64_t compositionIndexOfTimelineController(const MarvoTimelineController& composition) const;
    MarvoTimelineController* compositionWithIdentifier(std::string_view identifier) const;
    MarvoTimelineController* compositionWithName(std::string_view name) const;
    MarvoTimelineController* compositionWithOSCName(std::string_view name) const;
    std::vector<std::string> compositionNames() const;
    // Whether a name is free: no composition has it but, when that one is given, `own`.
    bool isAvailableName(std::string_view name, const MarvoTimelineController* own) const;
    // The name of the selected one is free with ignoreCurrent false.
    bool isAvailableCompName(std::string_view name, bool ignoreCurrent) const;
    // False, and nothing changed, where the name is not free for it.
    bool renameComposition(MarvoTimelineController& composition, const std::string& name);
    bool renameSelectedComposition(const std::string& name);
    MarvoTimelineController* nextEnabledCompositionFromIndex(std::int64_t index) const;
    MarvoTimelineController* prevEnabledCompositionFromIndex(std::int64_t index) const;
    bool hasEnabledComps() const;
    bool hasMutedComps() const;

    // Told of each composition before it goes, so that what shows it can let go.
    std::function<void(MarvoTimelineController&)> onCompositionGoes;

    bool isProjectLocked() const { return locked_; }
    void lockProject();
    void clearLock() { locked_ = false; }

    // With the composition queue held; realtime-safe.
    void processAtTime(float delta) {
        for (const auto& composition : compositions_) composition->processAtTime(delta);
    }

private:
    std::string nameForNewComposition() const;
    void selectionChanged();

    CompositionServices& services_;
    std::function<CompositionDefaults()> defaults_;
    std::function<void()> changed_;
    std::vector<std::unique_ptr<MarvoTimelineViewController>> compositions_;
    Relaxed<std::int64_t> selected_ = -1;
    Relaxed<bool> locked_ = false;
    std::uint64_t nextIdentifier_ = 1;
};

} // namespace marvo
