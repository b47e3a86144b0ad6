#include "tracks/OSCTemplate.h"

#include "OSCTemplateOracle.h"

#include <gtest/gtest.h>

#include <limits>
#include <optional>
#include <string>

using marvo::OSCTemplate;
using marvo::TemplateInput;
using marvo::TemplateNames;
using marvo::testing::RecordingTemplateSink;
using marvo::testing::TemplateArgument;
using marvo::testing::TemplateMessage;

namespace {

const TemplateNames names{3, "Act One", "Fog"};

TemplateInput floatInput(float value) {
    return {value, 100.0F, 0, 50, 25, 0};
}
TemplateInput intInput(float value) {
    return {value, 100.0F, 1, 50, 25, 1};
}

TemplateMessage send(std::string_view address, const TemplateInput& input, const TemplateNames& who = names) {
    OSCTemplate compiled = OSCTemplate::compile(address, who);
    RecordingTemplateSink sink;
    compiled.run(input, sink);
    EXPECT_EQ(sink.message.begins, 1);
    return sink.message;
}

TemplateArgument f(float value) {
    return {'f', {}, value, 0};
}
TemplateArgument i(std::int32_t value) {
    return {'i', {}, 0.0F, value};
}
TemplateArgument s(std::string text) {
    return {'s', std::move(text), 0.0F, 0};
}
TemplateArgument b(bool value) {
    return {'B', {}, 0.0F, value ? 1 : 0};
}

TemplateMessage message(std::string address, std::vector<TemplateArgument> arguments) {
    return {1, std::move(address), std::move(arguments)};
}

} // namespace

TEST(OSCTemplate, SendsAPlainAddressWithTheValueBehindIt) {
    EXPECT_EQ(send("/a/b", floatInput(50)), message("/a/b", {f(0.5F)}));
    EXPECT_EQ(send("/a/b", intInput(2.5F)), message("/a/b", {i(3)}));
    EXPECT_EQ(send("", floatInput(50)), message("", {f(0.5F)}));
    EXPECT_EQ(send(" \t/a/b\r\n", floatInput(50)), message("/a/b", {f(0.5F)}));
}

TEST(OSCTemplate, SendsABooleanByTheLowestByteOfTheRoundedValue) {
    const auto boolean = [](float value) { return send("/a", {value, 100.0F, 2, 0, 25, 2}).arguments; };
    EXPECT_EQ(boolean(1.0F), std::vector{b(true)});
    EXPECT_EQ(boolean(0.4F), std::vector{b(false)});
    EXPECT_EQ(boolean(0.5F), std::vector{b(true)});
    EXPECT_EQ(boolean(256.0F), std::vector{b(false)});
    EXPECT_EQ(boolean(-1.0F), std::vector{b(true)});
}

TEST(OSCTemplate, SendsNoAutomaticArgumentAndNoValueTextForAnUnknownType) {
    EXPECT_EQ(send("/a$/b <$> <1>", {70.0F, 100.0F, 3, 0, 25, 3}), message("/a/b", {i(1)}));
}

TEST(OSCTemplate, KeepsTheOrderOfArgumentsWithTheAutomaticOneLast) {
    EXPECT_EQ(send("/$TRACK <$F> <\"go now\"> <1.5> <7>", floatInput(50)),
              message("/Fog", {i(50), s("go now"), f(1.5F), i(7), f(0.5F)}));
    EXPECT_EQ(send("/$TRACK <$F><\"go now\"><1.5><7>", floatInput(50)),
              message("/Fog", {i(50), s("go now"), f(1.5F), i(7), f(0.5F)}));
}

TEST(OSCTemplate, SendsTheValueOnceWhereTheTemplatePlacesIt) {
    EXPECT_EQ(send("/a <$>", floatInput(50)), message("/a", {f(0.5F)}));
    EXPECT_EQ(send("/a <$>", intInput(50)), message("/a", {i(50)}));
    EXPECT_EQ(send("/a <$> <9>", intInput(50)), message("/a", {i(50), i(9)}));
    EXPECT_EQ(send("/a < $ >", intInput(50)), message("/a", {i(50)}));
    EXPECT_EQ(send("/a <$ >", intInput(50)), message("/a", {i(50)}));
}

TEST(OSCTemplate, KeepsTheAutomaticArgumentBesideFrameAndSeconds) {
    EXPECT_EQ(send("/a <$F>", intInput(8)), message("/a", {i(50), i(8)}));
    EXPECT_EQ(send("/a <$S>", intInput(8)), message("/a", {f(2.0F), i(8)}));
    EXPECT_EQ(send("/a <$F>  ", intInput(8)), message("/a", {i(50), i(8)}));
    EXPECT_EQ(send("/a <$F> <$S> <1>", intInput(8)), message("/a", {i(50), f(2.0F), i(1), i(8)}));
}

TEST(OSCTemplate, TakesTextBehindAFrameForAValuePlaceholder) {
    EXPECT_EQ(send("/a <$F> more", intInput(8)), message("/a", {i(50)}));
    EXPECT_EQ(send("/a <$S> more", intInput(8)), message("/a", {f(2.0F)}));
}

TEST(OSCTemplate, TakesOnlyTheExactFormForTheFrame) {
    EXPECT_EQ(send("/a < $F>", intInput(8)), message("/a", {i(8), i(8)})) << "the text 8F, whose number is 8";
    EXPECT_EQ(send("/a <$F >", intInput(8)), message("/a", {i(8)}));
    EXPECT_EQ(send("/a <x$F>", intInput(8)), message("/a", {i(0), i(8)}));
    EXPECT_EQ(send("/a/$F", intInput(8)), message("/a/8F", {i(8)}));
}

TEST(OSCTemplate, NeedsAClosingBracketToPlaceTheValue) {
    EXPECT_EQ(send("/a <$", intInput(8)), message("/a", {i(8), i(8)}));
    EXPECT_EQ(send("/a$>b", intInput(8)), message("/a8>b", {})) << "also ahead of the first bracket";
}

TEST(OSCTemplate, PutsTheValueIntoTheAddress) {
    EXPECT_EQ(send("/ch/$/on", intInput(8)), message("/ch/8/on", {i(8)}));
    EXPECT_EQ(send("/ch/$/on <1>", floatInput(50)), message("/ch/0.500000/on", {i(1), f(0.5F)}));
}

TEST(OSCTemplate, DropsTheCharacterBeforeTheFirstArgument) {
    EXPECT_EQ(send("/a/b <1>", intInput(8)).address, "/a/b");
    EXPECT_EQ(send("/a/b<1>", intInput(8)).address, "/a/");
    EXPECT_EQ(send("/a/b  <1>", intInput(8)).address, "/a/b ");
    EXPECT_EQ(send("/a/\xC3\xA9<1>", intInput(8)).address, "/a/") << "a character of two bytes";
    EXPECT_EQ(send("/a/$<1>", intInput(88)).address, "/a/8");
    EXPECT_EQ(send("/a/$<1>", {8.0F, 1.0F, 3, 0, 25, 3}).address, "/a") << "no value text to drop from";
    EXPECT_EQ(send("x<1>", intInput(8)).address, "");
    EXPECT_EQ(send("<1>", intInput(8)), message("", {i(1), i(8)}));
}

TEST(OSCTemplate, ReadsWordsByTheirLongestNameFirst) {
    EXPECT_EQ(send("/$COMPINDEX/$COMP/$TRACK", intInput(1)).address, "/3/Act One/Fog");
    EXPECT_EQ(send("/$COMPINDEX$COMPINDEX", intInput(1)).address, "/33");
    EXPECT_EQ(send("/$TRACKS", intInput(1)).address, "/FogS");
}

TEST(OSCTemplate, LetsANameTakePartInWhatFollows) {
    EXPECT_EQ(send("/$COMP", intInput(1), {1, "$TRACK", "Fog"}).address, "/Fog");
    EXPECT_EQ(send("/$COMP", intInput(9), {1, "$", "Fog"}).address, "/9");
    EXPECT_EQ(send("/$TRACK", intInput(9), {1, "C", "$COMP"}).address, "/9COMP")
        << "compositions were replaced before";
    EXPECT_EQ(send("/a/$COMP", intInput(9), {1, "x <$> <\"t\">", ""}), message("/a/x", {i(9), s("t")}));
    EXPECT_EQ(send("/a <$COMP>", intInput(9), {1, "\"q", ""}), message("/a", {s("q"), i(9)}));
}

TEST(OSCTemplate, CutsArgumentsAtEveryOpeningBracket) {
    EXPECT_EQ(send("/a <1<2<<3>", intInput(9)).arguments, (std::vector{i(1), i(2), i(3), i(9)}));
    EXPECT_EQ(send("/a <1> tail <2>", intInput(9)).arguments, (std::vector{i(1), i(2), i(9)}));
    EXPECT_EQ(send("/a <1>2", intInput(9)).arguments, (std::vector{i(12), i(9)}));
    EXPECT_EQ(send("/a <> < > <\t>", intInput(9)).arguments, std::vector{i(9)});
}

TEST(OSCTemplate, KeepsBlanksInsideAStringAndDropsEveryQuote) {
    EXPECT_EQ(send("/a < \" a \"b\" c\" >", intInput(9)).arguments, (std::vector{s(" a b c"), i(9)}));
    EXPECT_EQ(send("/a <\"\">", intInput(9)).arguments, (std::vector{s(""), i(9)}));
    EXPECT_EQ(send("/a <x\"y\">", intInput(9)).arguments, (std::vector{i(0), i(9)})) << "no quote in front";
    EXPECT_EQ(send("/a <\"v=$\">", intInput(9)).arguments, std::vector{s("v=9")});
}

TEST(OSCTemplate, ReadsNumbersByTheirFront) {
    const auto one = [](std::string_view token) {
        return send("/a <" + std::string(token) + ">", {0.0F, 1.0F, 3, 0, 25, 3}).arguments.at(0);
    };
    EXPECT_EQ(one("12abc"), i(12));
    EXPECT_EQ(one("+5"), i(5));
    EXPECT_EQ(one("-7"), i(-7));
    EXPECT_EQ(one("abc"), i(0));
    EXPECT_EQ(one("1e3"), i(1));
    EXPECT_EQ(one("99999999999"), i(2147483647));
    EXPECT_EQ(one("-99999999999999999999999"), i(-2147483647 - 1));
    EXPECT_EQ(one("1.5x"), f(1.5F));
    EXPECT_EQ(one(".25"), f(0.25F));
    EXPECT_EQ(one("-.5e1"), f(-5.0F));
    EXPECT_EQ(one("+1.0e"), f(1.0F));
    EXPECT_EQ(one("1.0e99"), f(std::numeric_limits<float>::infinity()));
    EXPECT_EQ(one("-1.0e-99"), f(-0.0F));
    EXPECT_EQ(one("1.0e99999999999999999999"), f(std::numeric_limits<float>::infinity()));
    EXPECT_EQ(one("1.0e-99999999999999999999"), f(0.0F));
    EXPECT_EQ(one("inf."), f(0.0F)) << "words are no numbers";
    EXPECT_EQ(one("."), f(0.0F));
    EXPECT_EQ(one("0x1.8"), f(0.0F));
}

TEST(OSCTemplate, WritesValuesThatAreNoNumbersAsWords) {
    const float inf = std::numeric_limits<float>::infinity();
    EXPECT_EQ(send("/$ <$>", floatInput(inf)), message("/inf", {i(0)}))
        << "a word without a point is no float";
    EXPECT_EQ(send("/$", floatInput(-inf)), message("/-inf", {f(-inf)}));
    EXPECT_EQ(send("/$", floatInput(-std::numeric_limits<float>::quiet_NaN())).address, "/nan");
    EXPECT_EQ(send("/$", intInput(inf)), message("/2147483647", {i(2147483647)}));
    EXPECT_EQ(send("/$", intInput(std::numeric_limits<float>::quiet_NaN())), message("/0", {i(0)}));
    EXPECT_EQ(send("/$", {std::numeric_limits<float>::lowest(), 1.0F, 3, 0, 25, 0}).address,
              "/-340282346638528859811704183484516925440.000000");
}

TEST(OSCTemplate, ReckonsSecondsInSinglePrecision) {
    // In double precision 16777217 / 100 would be 167772.17 and print its own digits.
    const TemplateInput late{0.0F, 1.0F, 3, 16777217, 100, 3};
    EXPECT_EQ(send("/a <\"$S\"> <$S>", late).arguments.at(1), f(16777216.0F / 100.0F));
    EXPECT_EQ(send("/a <$S>", {0.0F, 1.0F, 3, 1, 3, 3}).arguments.at(0), f(0.333333F))
        << "six digits are sent";
    EXPECT_EQ(send("/a <$S>", {0.0F, 1.0F, 3, 1, 0, 3}).arguments.at(0), i(0)) << "no frame rate, no number";
    EXPECT_EQ(send("/a <$F>", {0.0F, 1.0F, 3, 5'000'000'000, 100, 3}).arguments.at(0), i(2147483647));
}

TEST(OSCTemplate, KnowsAGroupedAddressAsTyped) {
    EXPECT_TRUE(OSCTemplate::compile("/a#2", names).isGrouped());
    EXPECT_FALSE(OSCTemplate::compile("/a/$TRACK", {1, "C", "a#2"}).isGrouped());
}

TEST(OSCTemplate, SendsTheSameAgainWhenRunAgain) {
    OSCTemplate compiled = OSCTemplate::compile("/$/a <\"$\"> <$F>", names);
    for (const float value : {1.0F, 1234567.0F, 2.0F}) {
        RecordingTemplateSink sink;
        compiled.run(intInput(value), sink);
        const std::string text = std::to_string(static_cast<int>(value));
        EXPECT_EQ(sink.message, message("/" + text + "/a", {s(text), i(50)}));
    }
    RecordingTemplateSink sink;
    OSCTemplate().run(intInput(4), sink);
    EXPECT_EQ(sink.message, message("", {i(4)}));
}

TEST(OSCTemplate, TakesAnAddressOfSixtyKilobytes) {
    const std::string longText(60'000, 'a');
    EXPECT_EQ(send("/" + longText, intInput(1)).address, "/" + longText);
    EXPECT_EQ(send(std::string(60'000, '$'), intInput(1)).address, std::string(60'000, '1'));
    EXPECT_EQ(send("/a " + std::string(60'000, '<') + "5", intInput(1)).arguments, (std::vector{i(5), i(1)}));
}

TEST(OSCTemplate, WithoutAValueADollarIsACharacterAndNothingIsAdded) {
    const auto sendWithout = [](std::string_view address, std::optional<std::int64_t> number = std::nullopt) {
        OSCTemplate compiled = OSCTemplate::compileWithoutValue(address, names, number);
        EXPECT_FALSE(compiled.addsAutomaticArgument());
        RecordingTemplateSink sink;
        compiled.run(floatInput(50), sink);
        return sink.message;
    };
    EXPECT_EQ(sendWithout("/a$b"), message("/a$b", {}));
    EXPECT_EQ(sendWithout("/a$b <$F> <$S> <\"$ $TRACK\">"), message("/a$b", {i(50), f(2.0F), s("$ Fog")}));
    EXPECT_EQ(sendWithout("/a <$>"), message("/a", {i(0)}));
    EXPECT_EQ(sendWithout("/a$ <$> <\"$\">", 12), message("/a$", {i(12), s("$")}));
    EXPECT_EQ(sendWithout("/a <$>.5", 12), message("/a", {f(12.5F)}));
    EXPECT_EQ(sendWithout("/a$<7>"), message("/a", {i(7)}))
        << "whatever stands before the first bracket goes";
}
