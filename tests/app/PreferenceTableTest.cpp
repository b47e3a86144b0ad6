#include "app/PreferenceTable.h"

#include "platform/PreferenceStore.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

namespace marvo {
namespace {

using ::testing::HasSubstr;

PropertyList read(std::string_view key, std::string_view text) {
    const PreferenceReading reading = preferenceFromText(key, text);
    EXPECT_EQ(reading.error, "");
    return reading.value;
}

std::string refusal(std::string_view key, std::string_view text) {
    const PreferenceReading reading = preferenceFromText(key, text);
    EXPECT_TRUE(reading.value.isNone());
    return reading.error;
}

TEST(PreferenceTable, NamesEachKeyOnceWithADefaultOfItsType) {
    std::set<std::string_view> names;
    for (const PreferenceKey& key : preferenceKeys()) {
        EXPECT_TRUE(names.insert(key.name).second) << key.name;
        EXPECT_EQ(preferenceKeyNamed(key.name), &key);
        using Kind = PropertyList::Kind;
        const Kind kind = key.type == PreferenceType::boolean   ? Kind::boolean
                          : key.type == PreferenceType::integer ? Kind::integer
                                                                : Kind::string;
        if (!key.byDefault.isNone()) {
            EXPECT_EQ(key.byDefault.kind(), kind) << key.name;
        }
    }
    EXPECT_EQ(preferenceKeyNamed(""), nullptr);
    EXPECT_EQ(preferenceKeyNamed("rewindonstop"), nullptr);
}

TEST(PreferenceTable, ReadsTextAsTheKeyIsTyped) {
    for (const char* text : {"true", "yes", "on", "1"})
        EXPECT_EQ(read("rewindOnStop", text), PropertyList(true));
    for (const char* text : {"false", "no", "off", "0"})
        EXPECT_EQ(read("rewindOnStop", text), PropertyList(false));
    EXPECT_EQ(read("defaultCompFPS", "25").asInteger(), 25);
    EXPECT_EQ(read("defaultCompFPS", "-3").asInteger(), -3);
    EXPECT_EQ(read("oscFeedbackTarget", "1"), PropertyList("1"));
    EXPECT_EQ(read("oscFeedbackTarget", ""), PropertyList(""));
    EXPECT_EQ(read("defaultInterpolation", "Sine Ease-In"), PropertyList("Sine Ease-In"));
    EXPECT_EQ(read("lastRun", "2001-01-01T00:01:00Z"), PropertyList::date(60.0));
}

TEST(PreferenceTable, RefusesTextThatIsNotOfTheKeysTypeAndSaysWhat) {
    EXPECT_EQ(refusal("rewindOnStop", "TRUE"), "preference \"rewindOnStop\" is true or false, not \"TRUE\"");
    EXPECT_THAT(refusal("rewindOnStop", ""), HasSubstr("true or false"));
    EXPECT_THAT(refusal("rewindOnStop", "2"), HasSubstr("true or false"));
    for (const char* text : {"", "25.5", "25 ", "0x10", "99999999999999999999"}) {
        EXPECT_THAT(refusal("defaultCompFPS", text), HasSubstr("a whole number")) << text;
    }
    EXPECT_THAT(refusal("defaultInterpolation", "sine"), HasSubstr("label of a curve"));
    EXPECT_THAT(refusal("oscFeedbackTarget", "\xff"), HasSubstr("UTF-8"));
    EXPECT_THAT(refusal("lastRun", "yesterday"), HasSubstr("a date"));
}

TEST(PreferenceTable, RefusesAKeyThatIsNotThere) {
    EXPECT_EQ(refusal("rewindOnStart", "1"), "there is no preference \"rewindOnStart\"");
    EXPECT_EQ(refusal("\x1b[31m", "1").find('\x1b'), std::string::npos);
}

TEST(PreferenceTable, ARefusedOverrideChangesNothing) {
    PreferenceStore store;
    store.set("rewindOnStop", true);
    EXPECT_NE(setPreferenceOverride(store, "rewindOnStop", "perhaps"), "");
    EXPECT_FALSE(store.isOverridden("rewindOnStop"));
    EXPECT_EQ(setPreferenceOverride(store, "rewindOnStop", "no"), "");
    EXPECT_EQ(store.get("rewindOnStop"), PropertyList(false));
    EXPECT_EQ(store.all().find("rewindOnStop")->asBool(), true);
}

} // namespace
} // namespace marvo
