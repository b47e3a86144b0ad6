#include "platform/ColourArchive.h"

#include "BinaryPropertyList.h"

#include <cmath>
#include <gtest/gtest.h>

using namespace marvo;

namespace {

std::string textObject(std::string_view ascii) {
    return BinaryPropertyList::counted(5, ascii.size()) + std::string(ascii);
}

std::string bytesObject(std::string_view bytes) {
    return BinaryPropertyList::counted(4, bytes.size()) + std::string(bytes);
}

std::string uid(int number) {
    return {static_cast<char>(0x80), static_cast<char>(number)};
}

using Entries = std::vector<std::pair<std::string, std::string>>;

std::uint8_t addDictionary(BinaryPropertyList& list, const Entries& entries) {
    std::vector<std::uint8_t> keys, values;
    for (const auto& [key, value] : entries) {
        keys.push_back(list.add(textObject(key)));
        values.push_back(list.add(value));
    }
    keys.insert(keys.end(), values.begin(), values.end());
    return list.add(BinaryPropertyList::container(13, keys));
}

// An archive with this root, which is number 1. The dictionary is number 2, the objects have those behind.
std::string archive(const Entries& root, const Entries& dictionary = {},
                    const std::vector<std::string>& objects = {}) {
    BinaryPropertyList list;
    std::vector<std::uint8_t> all{list.add(textObject("$null"))};
    all.push_back(addDictionary(list, root));
    all.push_back(addDictionary(list, dictionary));
    for (const std::string& object : objects) all.push_back(list.add(object));
    const auto array = list.add(BinaryPropertyList::container(10, all));
    const auto top = addDictionary(list, {{"root", uid(1)}});
    const auto topKey = list.add(textObject("$top"));
    const auto objectsKey = list.add(textObject("$objects"));
    const auto whole = list.add(BinaryPropertyList::container(13, {topKey, objectsKey, top, array}));
    // The dictionary that holds everything was made last.
    return list.bytes({4, whole});
}

} // namespace

TEST(ColourArchive, AColourComesBackToTheBit) {
    const Colour colour{0.1, 1.0 / 3, 0.7, 0.123456789012345};
    EXPECT_EQ(colourFromArchive(archivedColour(colour)), colour);
    EXPECT_EQ(archivedColour({0.25, 0.5, 1, 1}), "marvo-colour 1 rgba 0.25 0.5 1 1");
}

TEST(ColourArchive, AnOlderArchiveGivesItsComponentsAsText) {
    EXPECT_EQ(colourFromArchive(archive({{"NSRGB", bytesObject(std::string("0.25 0.5 0.75\0", 14))}})),
              (Colour{0.25, 0.5, 0.75, 1.0}));
    EXPECT_EQ(colourFromArchive(archive({{"NSRGB", bytesObject("1 0 0.5 0.25")}})),
              (Colour{1, 0, 0.5, 0.25}));
    EXPECT_EQ(colourFromArchive(archive({{"NSWhite", bytesObject("0.5 0.25")}})), Colour::grey(0.5, 0.25));
    EXPECT_EQ(colourFromArchive(archive({{"NSCMYK", bytesObject("0 0.5 1 0.5 1")}})),
              (Colour{0.5, 0.25, 0, 1}));
    EXPECT_EQ(colourFromArchive(archive({{"NSComponents", textObject("0.5 1 0 1")}})),
              (Colour{0.5, 1, 0, 1}));
}

TEST(ColourArchive, ComponentsMayStandInAnotherObject) {
    EXPECT_EQ(colourFromArchive(archive({{"NSRGB", uid(3)}}, {}, {bytesObject("1 0.5 0")})),
              (Colour{1, 0.5, 0, 1}));
}

TEST(ColourArchive, AColourOfACatalogueIsTheOneItNames) {
    EXPECT_EQ(colourFromArchive(archive({{"NSColor", uid(2)}}, {{"NSWhite", bytesObject("0.5")}})),
              Colour::grey(0.5));
    EXPECT_EQ(colourFromArchive(archive({{"NSColor", uid(1)}})), std::nullopt) << "it names itself for ever";
    EXPECT_EQ(colourFromArchive(archive({{"NSColor", uid(3)}}, {}, {textObject("white")})), std::nullopt);
}

TEST(ColourArchive, ComponentsAreHeldToTheirRange) {
    EXPECT_EQ(colourFromArchive(archive({{"NSRGB", bytesObject("1.5 -0.25 nan")}})), (Colour{1, 0, 0, 1}));
    EXPECT_EQ(colourFromArchive("marvo-colour 1 rgba 2 0 -inf 1"), (Colour{1, 0, 0, 1}));
}

TEST(ColourArchive, NothingIsWrittenOutsideItsRange) {
    EXPECT_EQ(archivedColour({1.5, -0.25, std::nan(""), 0.5}), "marvo-colour 1 rgba 1 0 0 0.5");
}

TEST(ColourArchive, TheFirstFormThatCanBeReadCounts) {
    EXPECT_EQ(colourFromArchive(archive({{"NSWhite", bytesObject("0.5")},
                                         {"NSComponents", bytesObject("0 0 0")},
                                         {"NSRGB", bytesObject("1 0.5 0.25")}})),
              (Colour{1, 0.5, 0.25, 1}));
    EXPECT_EQ(
        colourFromArchive(archive({{"NSRGB", bytesObject("damaged")}, {"NSWhite", bytesObject("0.5 0.25")}})),
        Colour::grey(0.5, 0.25));
    EXPECT_EQ(colourFromArchive(archive({{"NSComponents", bytesObject("0 0 0 0.5 1")}})), Colour::grey(0.5));
    EXPECT_EQ(colourFromArchive(archive({{"NSComponents", bytesObject("0.25 0.5")}})),
              Colour::grey(0.25, 0.5));
}

TEST(ColourArchive, WhatIsNoColourIsRefused) {
    for (const std::string& bytes :
         {std::string(), std::string("bplist00"), std::string("marvo-colour 1 rgba 1 1 1"),
          std::string("marvo-colour 1 rgba 1 1 1 1 1"), std::string("marvo-colour 2 rgba 1 1 1 1"),
          std::string("marvo-colour 1 rgba 1 1 x 1"), std::string("red"),
          archive({{"Name", textObject("red")}}), archive({{"NSRGB", bytesObject("1 1")}}),
          archive({{"NSRGB", bytesObject("1 1 1 1 1 1")}}),
          archive({{"NSRGB", bytesObject("one two three")}}), archive({{"NSRGB", uid(77)}})}) {
        EXPECT_EQ(colourFromArchive(bytes), std::nullopt) << bytes;
    }
}

TEST(ColourArchive, ADamagedArchiveIsRefusedAtEveryByte) {
    const std::string whole = archive({{"NSRGB", bytesObject("0.25 0.5 0.75")}});
    for (std::size_t length = 0; length < whole.size(); ++length)
        EXPECT_EQ(colourFromArchive(whole.substr(0, length)), std::nullopt) << length;
    for (std::size_t at = 0; at < whole.size(); ++at) {
        std::string damaged = whole;
        damaged[at] = static_cast<char>(damaged[at] ^ 0x55);
        colourFromArchive(damaged);
    }
}
