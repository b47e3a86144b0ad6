#include "tracks/FieldInput.h"

#include <gtest/gtest.h>

#include <limits>

using marvo::AbsoluteFrame;
using marvo::AbsoluteValue;
using marvo::InvertSelection;
using marvo::MarvoNumberFormatter;
using marvo::parseTimeInput;
using marvo::parseValueInput;
using marvo::RefusedInput;
using marvo::RelativeFrames;
using marvo::RelativeValue;
using marvo::TimeInput;
using marvo::ValueInput;

namespace {

TimeInput absolute(std::int64_t frame) {
    return AbsoluteFrame{frame};
}
TimeInput relative(std::int64_t delta) {
    return RelativeFrames{delta};
}

} // namespace

TEST(TimeField, CountsPartsFromTheFrames) {
    EXPECT_EQ(parseTimeInput("7", 25), absolute(7));
    EXPECT_EQ(parseTimeInput("2:7", 25), absolute(57));
    EXPECT_EQ(parseTimeInput("1:2:7", 25), absolute(60 * 25 + 57));
    EXPECT_EQ(parseTimeInput("1:1:2:7", 25), absolute(3660 * 25 + 57));
    EXPECT_EQ(parseTimeInput("1:", 25), absolute(25));
    EXPECT_EQ(parseTimeInput(" 2 : 7 ", 25), absolute(57));
}

TEST(TimeField, ReadsAnyOtherCountOfPartsAsZero) {
    EXPECT_EQ(parseTimeInput("1:1:1:1:1", 25), absolute(0));
    EXPECT_EQ(parseTimeInput("+1:1:1:1:1", 25), relative(0));
    EXPECT_EQ(parseTimeInput("abc", 25), absolute(0));
}

TEST(TimeField, MovesByASignedNumber) {
    EXPECT_EQ(parseTimeInput("+7", 25), relative(7));
    EXPECT_EQ(parseTimeInput("-7", 25), relative(-7));
    EXPECT_EQ(parseTimeInput("+1:10", 25), relative(35));
}

TEST(TimeField, GivesTheSignToTheFirstPartAlone) {
    EXPECT_EQ(parseTimeInput("-1:10", 25), relative(-15));
    EXPECT_EQ(parseTimeInput("-0:10", 25), relative(10));
    EXPECT_EQ(parseTimeInput("1:-10", 25), absolute(15));
}

TEST(TimeField, InvertsOnTheLetterAlone) {
    EXPECT_EQ(parseTimeInput("i", 25), TimeInput(InvertSelection{}));
    EXPECT_EQ(parseTimeInput("ii", 25), absolute(0));
    EXPECT_EQ(parseTimeInput("I", 25), absolute(0));
}

TEST(TimeField, RefusesAnEmptyText) {
    EXPECT_EQ(parseTimeInput("", 25), TimeInput(RefusedInput{}));
    EXPECT_EQ(parseTimeInput("  ", 25), TimeInput(RefusedInput{}));
}

TEST(TimeField, HoldsHugeNumbersToTheRange) {
    constexpr auto most = std::numeric_limits<std::int64_t>::max();
    EXPECT_EQ(parseTimeInput("9223372036854775807:0:0:1", 100), absolute(most));
    EXPECT_EQ(parseTimeInput("-99999999999999999999:0", 100),
              relative(std::numeric_limits<std::int64_t>::min()));
}

TEST(ValueField, SetsAnAbsoluteNumberInStoredScale) {
    MarvoNumberFormatter formatter;
    EXPECT_EQ(parseValueInput("12", formatter, 1.0F), ValueInput(AbsoluteValue{12.0F}));
    EXPECT_EQ(parseValueInput("0.25", formatter, 100.0F), ValueInput(AbsoluteValue{25.0F}));
    EXPECT_EQ(parseValueInput("0.25", formatter, 100000.0F), ValueInput(AbsoluteValue{25000.0F}));
}

TEST(ValueField, MovesByASignedNumberInStoredScale) {
    MarvoNumberFormatter formatter;
    EXPECT_EQ(parseValueInput("-5", formatter, 1.0F), ValueInput(RelativeValue{-5.0F}));
    EXPECT_EQ(parseValueInput("+0.5", formatter, 100.0F), ValueInput(RelativeValue{50.0F}));
}

TEST(ValueField, SetsANegativeThatStandsInBrackets) {
    MarvoNumberFormatter formatter;
    EXPECT_EQ(parseValueInput("(-5)", formatter, 100.0F), ValueInput(AbsoluteValue{-500.0F}));
    EXPECT_EQ(formatter.specialFormat, 0) << "the next signed number moves again";
    EXPECT_EQ(parseValueInput("-5", formatter, 1.0F), ValueInput(RelativeValue{-5.0F}));
}

TEST(ValueField, InvertsOnTheLetterAlone) {
    MarvoNumberFormatter formatter;
    EXPECT_EQ(parseValueInput("i", formatter, 100.0F), ValueInput(InvertSelection{}));
    EXPECT_EQ(parseValueInput("1e39", formatter, 1.0F), ValueInput(RefusedInput{}))
        << "a huge number is no letter";
    EXPECT_EQ(parseValueInput("3e38", formatter, 100.0F), ValueInput(RefusedInput{}));
}

TEST(ValueField, RefusesAnEmptyTextAndWords) {
    MarvoNumberFormatter formatter;
    for (const char* text :
         {"", "  ", "abc", "5 apples", "-", "()", "(5", "(-5", "(5)", "0,5", "inf", "nan"}) {
        EXPECT_EQ(parseValueInput(text, formatter, 1.0F), ValueInput(RefusedInput{})) << text;
    }
}

TEST(NumberFormatter, ReadsTheLetterAsInfinity) {
    MarvoNumberFormatter formatter;
    EXPECT_EQ(formatter.numberFromString("i"), std::numeric_limits<float>::infinity());
}

TEST(NumberFormatter, MarksANegativeInBrackets) {
    MarvoNumberFormatter formatter;
    EXPECT_EQ(formatter.numberFromString("(-5)"), -5.0F);
    EXPECT_EQ(formatter.specialFormat, 1);
    EXPECT_EQ(formatter.numberFromString("-5"), -5.0F);
    EXPECT_EQ(formatter.specialFormat, 0);
}

TEST(NumberFormatter, ShowsANegativeInBracketsOnlyWhileTheFieldHasTheFocus) {
    MarvoNumberFormatter formatter;
    EXPECT_EQ(formatter.stringFromNumber(-5.0F, true), "(-5)");
    EXPECT_EQ(formatter.stringFromNumber(-5.0F, false), "-5");
    EXPECT_EQ(formatter.stringFromNumber(5.0F, true), "5");
    EXPECT_EQ(formatter.stringFromNumber(-0.2F, true), "0");
}

TEST(NumberFormatter, ShowsAtMostItsFractionDigits) {
    MarvoNumberFormatter formatter;
    formatter.maximumFractionDigits = 2;
    EXPECT_EQ(formatter.stringFromNumber(0.256F, false), "0.26");
    EXPECT_EQ(formatter.stringFromNumber(0.5F, false), "0.5");
    EXPECT_EQ(formatter.stringFromNumber(100.0F, false), "100");
    formatter.maximumFractionDigits = 5;
    EXPECT_EQ(formatter.stringFromNumber(0.12345F, false), "0.12345");
}

TEST(NumberFormatter, ReadsBackWhatAFocusedFieldShows) {
    MarvoNumberFormatter formatter;
    formatter.maximumFractionDigits = 2;
    for (const float value : {-7.25F, -0.5F, 0.0F, 12.0F}) {
        const std::string shown = formatter.stringFromNumber(value, true);
        EXPECT_EQ(parseValueInput(shown, formatter, 1.0F), ValueInput(AbsoluteValue{value})) << shown;
    }
}
