#include "platform/PreferenceStore.h"

#include "platform/PropertyListFile.h"

#include "TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <sys/stat.h>

namespace marvo {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class FullDisk : public FileSteps {
public:
    long write(int, const char*, std::size_t) override {
        ++attempts;
        return -ENOSPC;
    }
    int attempts = 0;
};

TEST(PreferenceStore, KeepsTypedValuesBetweenRuns) {
    const TemporaryFolder folder;
    const std::string path = folder.file("config/Marvo/preferences.plist");
    {
        PreferenceStore store(path);
        EXPECT_EQ(store.warning(), "");
        EXPECT_FALSE(store.has("defaultCompFPS"));
        EXPECT_TRUE(store.get("defaultCompFPS").isNone());
        store.set("defaultCompFPS", 30);
        store.set("rewindOnStop", true);
        store.set("defaultInterpolation", "Linear Interpolation");
        store.set("gone", 1);
        store.remove("gone");
        EXPECT_EQ(store.synchronise(), "");
    }
    PreferenceStore store(path);
    EXPECT_EQ(store.warning(), "");
    EXPECT_EQ(store.get("defaultCompFPS").asInteger(), 30);
    EXPECT_EQ(store.get("rewindOnStop").asBool(), true);
    EXPECT_EQ(store.find("defaultInterpolation")->asString(), "Linear Interpolation");
    EXPECT_FALSE(store.has("gone"));
    EXPECT_EQ(store.all().size(), 3u);
}

TEST(PreferenceStore, WritesNothingUntilItIsSynchronised) {
    const TemporaryFolder folder;
    PreferenceStore store(folder.file("preferences.plist"));
    store.set("key", 1);
    EXPECT_TRUE(folder.names().empty());
    EXPECT_EQ(store.synchronise(), "");
    EXPECT_THAT(folder.names(), ElementsAre("preferences.plist"));
}

TEST(PreferenceStore, WritesOnlyWhatHasChanged) {
    const TemporaryFolder folder;
    PreferenceStore store(folder.file("preferences.plist"));
    store.set("key", 1);
    EXPECT_EQ(store.synchronise(), "");
    FullDisk disk;
    store.set("key", 1);
    store.remove("unknown");
    EXPECT_EQ(store.synchronise(disk), "");
    EXPECT_EQ(disk.attempts, 0);
    store.set("key", 1.0);
    EXPECT_NE(store.synchronise(disk), "") << "the kind of a value counts";
}

TEST(PreferenceStore, SettingAnAbsentValueRemovesTheKey) {
    PreferenceStore store;
    store.set("key", 1);
    store.set("key", PropertyList());
    EXPECT_FALSE(store.has("key"));
}

TEST(PreferenceStore, TriesAgainAfterAWriteThatFailed) {
    const TemporaryFolder folder;
    const std::string path = folder.file("preferences.plist");
    PreferenceStore store(path);
    store.set("key", 1);
    ASSERT_EQ(store.synchronise(), "");
    store.set("key", 2);
    FullDisk disk;
    EXPECT_THAT(store.synchronise(disk), HasSubstr("No space left on device"));
    EXPECT_EQ(PreferenceStore(path).get("key").asInteger(), 1) << "the old file is whole";
    EXPECT_EQ(store.synchronise(), "");
    EXPECT_EQ(PreferenceStore(path).get("key").asInteger(), 2);
}

TEST(PreferenceStore, AnOverrideIsReadFirstAndNeverWritten) {
    const TemporaryFolder folder;
    const std::string path = folder.file("preferences.plist");
    PreferenceStore store(path);
    store.set("stored", 1);
    store.setOverride("stored", 10);
    store.setOverride("only", true);
    EXPECT_EQ(store.get("stored").asInteger(), 10);
    EXPECT_TRUE(store.has("only"));
    EXPECT_TRUE(store.isOverridden("only"));
    EXPECT_FALSE(store.isOverridden("other"));
    store.set("stored", 2);
    EXPECT_EQ(store.get("stored").asInteger(), 10);
    store.remove("only");
    EXPECT_TRUE(store.has("only"));
    EXPECT_EQ(store.synchronise(), "");
    const PreferenceStore next(path);
    EXPECT_EQ(next.get("stored").asInteger(), 2);
    EXPECT_FALSE(next.has("only"));
}

TEST(PreferenceStore, AnOverrideAloneWritesNothing) {
    const TemporaryFolder folder;
    PreferenceStore store(folder.file("preferences.plist"));
    store.setOverride("key", 1);
    EXPECT_EQ(store.synchronise(), "");
    EXPECT_TRUE(folder.names().empty());
}

TEST(PreferenceStore, AFileThatCannotBeReadIsSetAside) {
    const TemporaryFolder folder;
    const std::string path = folder.write("preferences.plist", "<plist><dict><key>rewind");
    PreferenceStore store(path);
    EXPECT_THAT(store.warning(), HasSubstr("the file is cut off"));
    EXPECT_THAT(store.warning(), HasSubstr("it was set aside as " + path + ".broken"));
    EXPECT_THAT(folder.names(), ElementsAre("preferences.plist.broken"));
    EXPECT_EQ(folder.read(path + ".broken"), "<plist><dict><key>rewind");
    store.set("key", 1);
    EXPECT_EQ(store.synchronise(), "");
    EXPECT_EQ(PreferenceStore(path).warning(), "");
}

TEST(PreferenceStore, WhatWasSetAsideBeforeIsNotLost) {
    const TemporaryFolder folder;
    const std::string path = folder.file("preferences.plist");
    for (const char* content : {"first", "second", "third"}) {
        folder.write("preferences.plist", content);
        EXPECT_NE(PreferenceStore(path).warning(), "");
    }
    EXPECT_EQ(folder.read(path + ".broken"), "first");
    EXPECT_EQ(folder.read(path + ".broken-2"), "second");
    EXPECT_EQ(folder.read(path + ".broken-3"), "third");
}

TEST(PreferenceStore, AFileWithoutADictionaryIsSetAside) {
    const TemporaryFolder folder;
    const std::string path = folder.write("preferences.plist", "<plist><array/></plist>");
    EXPECT_THAT(PreferenceStore(path).warning(), HasSubstr("the root is not a dictionary"));
    EXPECT_THAT(folder.names(), ElementsAre("preferences.plist.broken"));
}

TEST(PreferenceStore, IsUsableWhenItsPlaceCannotBeWritten) {
    const TemporaryFolder folder;
    folder.write("file", "");
    PreferenceStore store(folder.file("file/Marvo/preferences.plist"));
    store.set("key", 1);
    EXPECT_EQ(store.get("key").asInteger(), 1);
    EXPECT_THAT(store.synchronise(), HasSubstr("the folder cannot be made"));
    EXPECT_EQ(store.get("key").asInteger(), 1);
}

TEST(PreferenceStore, WritesNothingOverAFileThatCouldNotBeSetAside) {
    const TemporaryFolder folder;
    // Every name that it could be given is taken.
    const std::string path = folder.write("preferences.plist", "unreadable");
    folder.write("preferences.plist.broken", "");
    for (int i = 2; i <= 1000; ++i) folder.write("preferences.plist.broken-" + std::to_string(i), "");
    PreferenceStore store(path);
    EXPECT_THAT(store.warning(),
                HasSubstr("it could not be set aside (File exists), so preferences are not saved"));
    store.set("key", 1);
    EXPECT_EQ(store.synchronise(), store.warning());
    EXPECT_EQ(folder.read(path), "unreadable");
}

TEST(PreferenceStore, WithoutAFileItKeepsEverythingInMemory) {
    PreferenceStore store;
    store.set("key", 1);
    EXPECT_EQ(store.synchronise(), "");
    EXPECT_EQ(store.get("key").asInteger(), 1);
    EXPECT_EQ(store.warning(), "");
}

} // namespace
} // namespace marvo
