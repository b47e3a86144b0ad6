// What an Art-Net track writes to its channels, whatever its list says.
#include "ColorRig.h"
#include "tracks/ArtNetColorOutput.h"
#include "tracks/ArtNetValueOutput.h"
#include "tracks/ColorLevels.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>

using namespace marvo;
using namespace marvo::testing;

namespace {

// A channel and what is written to it, as the journal writes it.
using Writes = std::vector<std::pair<std::int32_t, std::int32_t>>;

// Entry by entry, lamp by lamp and letter by letter, as the list is meant.
Writes plainly(const DMXChannelList& list, const std::vector<std::int32_t>& levels, bool is16Bit) {
    Writes writes;
    const auto write = [&](std::int32_t channel, std::int32_t value) {
        if (channel <= lastDMXChannel) writes.emplace_back(channel, value);
    };
    for (const DMXChannelEntry& entry : list.entries()) {
        std::int32_t channel = entry.start;
        for (int lamp = 0; lamp < entry.count; ++lamp) {
            for (const std::int32_t level : levels) {
                if (is16Bit) {
                    write(channel++, level / 256);
                    write(channel++, level % 256);
                } else {
                    write(channel++, level);
                }
            }
        }
    }
    return writes;
}

// Of each channel the last write, in its place.
Lines lastOf(const Writes& writes, char sign) {
    Lines lines;
    std::vector<bool> written(lastDMXChannel + 1);
    for (auto write = writes.rbegin(); write != writes.rend(); ++write) {
        if (written[static_cast<std::size_t>(write->first)]) continue;
        written[static_cast<std::size_t>(write->first)] = true;
        lines.push_back("0." + std::to_string(write->first) + sign + std::to_string(write->second));
    }
    std::reverse(lines.begin(), lines.end());
    return lines;
}

struct RandomLists {
    std::mt19937 random{5};

    std::int32_t upTo(std::int32_t last) {
        return std::uniform_int_distribution<std::int32_t>(1, last)(random);
    }
    DMXChannelList next() {
        std::string text;
        const std::int32_t entries = upTo(6);
        for (std::int32_t i = 0; i < entries; ++i) {
            text += (i ? "," : "") + std::to_string(upTo(upTo(2) == 1 ? 12 : 512));
            if (upTo(3) > 1) text += "x" + std::to_string(upTo(upTo(2) == 1 ? 6 : 512));
        }
        return DMXChannelList::createDMXChannelsWithString(text);
    }
};

} // namespace

TEST(ArtNetValueTrack, LeavesOnTheWireWhatItsListSaysEntryByEntry) {
    TrackRig rig;
    RandomLists lists;
    for (int round = 0; round < 400; ++round) {
        const DMXChannelList list = lists.next();
        const bool is16Bit = round % 2 == 1;
        const std::int32_t level = lists.upTo(is16Bit ? 65535 : 255);
        ArtNetValueOutput output({"Comp", "Lane", list, 0, is16Bit}, rig.dmx);
        output.send(static_cast<float>(level), Frame(0));
        ASSERT_EQ(rig.journal.take(), lastOf(plainly(list, {level}, is16Bit), '='))
            << list.stringValueOfDMXChannels() << (is16Bit ? " in 16 bits" : "");
    }
}

TEST(ArtNetColorTrack, LeavesOnTheWireWhatItsListSaysEntryByEntry) {
    TrackRig rig;
    RandomLists lists;
    const std::string word = "RGBWACMYLx";
    for (int round = 0; round < 400; ++round) {
        const DMXChannelList list = lists.next();
        const bool is16Bit = round % 2 == 1;
        const std::string format = word.substr(0, static_cast<std::size_t>(lists.upTo(10)));
        const Colour color{lists.upTo(100) / 100.0, lists.upTo(100) / 100.0, lists.upTo(100) / 100.0};
        std::vector<std::int32_t> levels(format.size());
        colorLevels(color, format, is16Bit ? 65535 : 255, levels);
        ArtNetColorOutput output({"Comp", "Lane", list, 0, format, is16Bit}, rig.dmx);
        output.send(color, Frame(0), std::nullopt);
        ASSERT_EQ(rig.journal.take(), lastOf(plainly(list, levels, is16Bit), is16Bit ? '=' : '~'))
            << list.stringValueOfDMXChannels() << " " << format << (is16Bit ? " in 16 bits" : "");
    }
}

TEST(ArtNetValueTrack, AListThatNamesTheUniverseAThousandTimesIsWrittenOnce) {
    std::string text = "1x512";
    for (int i = 1; i < 1000; ++i) text += ",1x512";
    TrackRig rig;
    const auto track = rig.make("ArtNetValue");
    track->setArtNetChannel(text);
    rig.journal.take();
    track->shotWithValue(9);
    EXPECT_EQ(rig.journal.take().size(), 512u);
    EXPECT_EQ(track->stringValueOfDMXChannels(), text) << "what was typed stays";
    ColorRig colors("ArtNetColor");
    colors.track->setArtNetChannel(text);
    EXPECT_EQ(colors.sends(red).size(), 512u);
}
