#include "tracks/MarvoKeyframeHelper.h"

#include "platform/Saturate.h"

namespace marvo {

Frame MarvoKeyframeHelper::convertTime(Frame time, std::int64_t fromFPS, std::int64_t toFPS) {
    if (fromFPS == toFPS || fromFPS == 0) return time;
    const float ratio = static_cast<float>(toFPS) / static_cast<float>(fromFPS);
    return Frame(truncatedToInt64(ratio * static_cast<float>(time.value)));
}

} // namespace marvo
