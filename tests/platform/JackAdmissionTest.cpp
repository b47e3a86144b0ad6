#include "platform/JackAdmission.h"

#include <gtest/gtest.h>

using namespace marvo;

namespace {

TEST(JackAdmission, AfterADeathAllLeaveBeforeTheFirstComesBack) {
    const JackAdmission admission;
    auto midi = admission.admit();
    auto audio = admission.admit();
    ASSERT_TRUE(midi && audio);
    midi->serverDied();
    midi.reset();
    EXPECT_FALSE(admission.admit());
    audio->serverDied();
    audio.reset();
    const auto back = admission.admit();
    EXPECT_TRUE(back);
    EXPECT_TRUE(admission.admit());
}

TEST(JackAdmission, AClientThatLeavesALivingServerMayComeBackAtOnce) {
    const JackAdmission admission;
    const auto audio = admission.admit();
    auto midi = admission.admit();
    midi.reset();
    EXPECT_TRUE(admission.admit());
}

TEST(JackAdmission, ATicketThatWasMovedCountsOnce) {
    const JackAdmission admission;
    auto first = admission.admit();
    first->serverDied();
    {
        const JackAdmission::Ticket moved(std::move(*first));
        first.reset();
        EXPECT_FALSE(admission.admit());
    }
    EXPECT_TRUE(admission.admit());
}

} // namespace
