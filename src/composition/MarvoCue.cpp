#include "composition/MarvoCue.h"

#include "platform/Numbers.h"

#include <algorithm>

namespace marvo {

void MarvoCue::markAsNonProcessed() {
    isProcessed = false;
    numberOfLoopsDone = 0;
}

void MarvoCue::markSectionAsDone() {
    isProcessed = true;
    numberOfLoopsDone = numberOfLoopsNeeded;
}

std::string MarvoCue::loopNumberInfo() const {
    return std::to_string(numberOfLoopsDone) + "/" + std::to_string(numberOfLoopsNeeded);
}

CueRecord MarvoCue::backupData() const {
    CueRecord record;
    record.time = time.value;
    record.cueName = cueName;
    record.type = static_cast<std::int64_t>(type);
    record.repeat = static_cast<std::int64_t>(repeat);
    record.numberOfLoopsNeeded = numberOfLoopsNeeded;
    record.kept = kept;
    return record;
}

CueRecord MarvoCue::backupDataForUndo() const {
    CueRecord record = backupData();
    record.id = id;
    return record;
}

CueRecord MarvoCue::backupDataForCopy(float y, float rowHeight) const {
    CueRecord record = backupData();
    record.ratio = (y + 6.5f) / rowHeight;
    return record;
}

void MarvoCue::restoreWithData(const CueRecord& record) {
    time = Frame(std::max<std::int64_t>(record.time, 0));
    kept = record.kept;
    if (record.cueName) cueName = *record.cueName;
    if (record.type) type = static_cast<CueType>(std::clamp<std::int64_t>(*record.type, 0, 1));
    if (record.repeat) repeat = static_cast<CueRepeat>(std::clamp<std::int64_t>(*record.repeat, 0, 2));
    if (record.numberOfLoopsNeeded)
        numberOfLoopsNeeded = std::max<std::uint64_t>(*record.numberOfLoopsNeeded, 1);
}

void appendCueDisplayName(std::string& text, std::string_view cueName, std::size_t number) {
    constexpr std::string_view placeholder = "<$>";
    const NumberText digits = formatUnsigned(number);
    for (;;) {
        const std::size_t at = cueName.find(placeholder);
        text += cueName.substr(0, at);
        if (at == std::string_view::npos) return;
        text += digits.view();
        cueName.remove_prefix(at + placeholder.size());
    }
}

std::string cueDisplayName(std::string_view cueName, std::size_t number) {
    std::string name;
    appendCueDisplayName(name, cueName, number);
    return name;
}

} // namespace marvo
