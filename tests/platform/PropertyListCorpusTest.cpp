// The files that the fuzz target starts from, and those it has found, as ordinary tests.
#include "platform/PropertyListFile.h"
#include "platform/PropertyListXmlWriter.h"

#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace marvo {
namespace {

std::string textOf(const PropertyList& value, XmlWriteReport& report) {
    std::string text;
    report = writePropertyListXml(value, [&](std::string_view piece) {
        text.append(piece);
        return true;
    });
    return text;
}

TEST(PropertyListCorpus, EveryFileEndsInAValueThatSurvivesSavingOrInAnError) {
    std::size_t files = 0;
    std::size_t values = 0;
    for (const auto& entry : std::filesystem::directory_iterator(MARVO_PLIST_CORPUS)) {
        SCOPED_TRACE(entry.path().filename().string());
        const ReadResult read = readPropertyList(entry.path());
        const std::string bytes = TemporaryFolder::read(entry.path());
        const ReadResult parsed = parsePropertyList(bytes, entry.path());
        EXPECT_EQ(read.error, parsed.error);
        EXPECT_EQ(read.value, parsed.value);
        ++files;
        const bool refused = entry.path().filename().string().starts_with("refused-");
        EXPECT_EQ(read.ok(), !refused) << read.error;
        if (!read.ok()) continue;
        ++values;
        XmlWriteReport report;
        const std::string once = textOf(read.value, report);
        if (!report.complete || report.droppedCharacters != 0) continue;
        const ReadResult again = parsePropertyList(once, "saved");
        EXPECT_EQ(again.error, "");
        EXPECT_EQ(textOf(again.value, report), once);
    }
    EXPECT_GE(files, 15u);
    EXPECT_GE(values, 5u);
}

} // namespace
} // namespace marvo
