#include "RealtimeScope.h"
#include "tracks/OSCTemplate.h"

#include <gtest/gtest.h>

#include <cstddef>

namespace {

class CountingSink : public marvo::TemplateSink {
public:
    std::size_t bytes = 0;
    int arguments = 0;

    void begin(std::string_view address) override { bytes += address.size(); }
    void addString(std::string_view text) override {
        bytes += text.size();
        ++arguments;
    }
    void addFloat(float) override { ++arguments; }
    void addInt(std::int32_t) override { ++arguments; }
    void addBOOL(bool) override { ++arguments; }
};

} // namespace

TEST(OSCTemplate, AllocatesNothingWhenItSends) {
    marvo::OSCTemplate compiled = marvo::OSCTemplate::compile(
        "/a/$/$TRACK <$F> <\"text $ with a tail that is longer than any small buffer\"> <$S> <1.5> <$>",
        {1, "C", "T"});

    CountingSink sink;
    const marvo::RealtimeScope scope;
    if (marvo::RealtimeScope::active()) {
        const marvo::RealtimeScope proof;
        // Behind volatile, or the compiler leaves the pair out.
        int* volatile allocated = new int(1);
        delete allocated;
        EXPECT_GT(proof.violations(), 0U) << "the scope does not see allocations";
    }
    for (std::int64_t frame = 0; frame < 10'000; ++frame) {
        // From the smallest to the largest text the value can have.
        const float value = frame % 3 == 0 ? 3.0e38F : static_cast<float>(frame);
        compiled.run({value, 1.0F, 0, frame * 1'000'000'000, 25, static_cast<int>(frame % 4)}, sink);
    }
    EXPECT_EQ(scope.violations(), 0U) << scope.report();
    EXPECT_GT(sink.bytes, 10'000U);
}
