// Answers questions that come over OSC: which compositions there are, and which cues they have.
//
// Only while there is an output for feedback; otherwise a question is a message like any other. Runs on the
// thread of the port that brought the question.
#pragma once

#include "endpoints/osc/OSCMessage.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace marvo {

class AppDelegate;
class MarvoTimelineController;

class OSCReplies {
public:
    explicit OSCReplies(AppDelegate& application) : application_(application) {}

    // True when the address is a question; one that has no answer (an unknown name, a number out of range, a
    // value of the wrong type) stays unanswered.
    bool answer(std::string_view address, const OSCValue* value);

    // Sent to "/marvo/<address>/...". Null sends nothing.
    void sendInfoOfComposition(const MarvoTimelineController* composition, std::string_view withAddress);
    void sendCountOfCompositions(std::int32_t count, std::string_view withAddress);
    void sendCueCountInfoOfComposition(const MarvoTimelineController& composition,
                                       std::string_view withAddress);

private:
    bool answerAboutCues(std::string_view address, const OSCValue* value);
    const MarvoTimelineController* compositionAt(std::int64_t position) const;
    void sendNameOfCue(const MarvoTimelineController& composition, std::size_t index);
    void sendTimeOfCue(const MarvoTimelineController& composition, std::size_t index);
    void send(const OSCMessage& message);

    AppDelegate& application_;
};

} // namespace marvo
