#include "endpoints/midi/MIDIStreamParser.h"

#include "FakeMIDITransport.h"
#include "MIDIStreamRules.h"
#include "RealtimeScope.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

using namespace marvo;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class Lines final : public MIDIStreamParser::Sink {
public:
    std::vector<std::string> lines;
    void message(const MIDIMessage& message) override { lines.push_back(hexOf(encodeMIDI(message).span())); }
    void sysex(std::span<const std::uint8_t> payload) override { lines.push_back("sysex " + hexOf(payload)); }
};

class StreamParser : public testing::Test {
protected:
    void feed(std::vector<std::uint8_t> bytes) { parser.feed(bytes, sink); }

    MIDIStreamParser parser{8};
    Lines sink;
};

TEST_F(StreamParser, MessagesOfEveryLengthAreUnderstood) {
    feed({0x91, 60, 90, 0x81, 60, 0, 0xb0, 7, 100, 0xc2, 5, 0xd3, 6, 0xe4, 1, 2, 0xa5, 3, 4});
    feed({0xf1, 0x35, 0xf2, 1, 2, 0xf3, 9, 0xf6, 0xf8, 0xfa, 0xfb, 0xfc, 0xfe, 0xff});
    EXPECT_THAT(sink.lines,
                ElementsAre("91 3c 5a", "81 3c 00", "b0 07 64", "c2 05", "d3 06", "e4 01 02", "a5 03 04",
                            "f1 35", "f2 01 02", "f3 09", "f6", "f8", "fa", "fb", "fc", "fe", "ff"));
    EXPECT_EQ(parser.malformed(), 0U);
}

TEST_F(StreamParser, AStatusHoldsUntilAnotherComes) {
    feed({0x90, 60, 90, 61, 91, 60, 0, 0xc0, 1, 2});
    EXPECT_THAT(sink.lines, ElementsAre("90 3c 5a", "90 3d 5b", "90 3c 00", "c0 01", "c0 02"));
}

TEST_F(StreamParser, ACommonMessageEndsTheRunningStatus) {
    feed({0x90, 60, 90, 0xf1, 5, 61, 91});
    EXPECT_THAT(sink.lines, ElementsAre("90 3c 5a", "f1 05"));
    EXPECT_EQ(parser.malformed(), 2U);
    feed({0x90, 60, 90, 0xf6, 61, 91});
    EXPECT_THAT(sink.lines, ElementsAre("90 3c 5a", "f1 05", "90 3c 5a", "f6"));
}

TEST_F(StreamParser, RealtimeMessagesComeAnywhereAndDisturbNothing) {
    feed({0x90, 0xf8, 60, 0xfa, 90, 0xf8, 0xf0, 1, 0xf8, 2, 0xf8, 0xf7, 0xfe});
    EXPECT_THAT(sink.lines, ElementsAre("f8", "fa", "90 3c 5a", "f8", "f8", "f8", "sysex 01 02", "fe"));
    EXPECT_EQ(parser.malformed(), 0U);
}

TEST_F(StreamParser, PiecesAreJoined) {
    for (const std::uint8_t byte : {0xf0, 1, 2, 3, 0xf7, 0x90, 60, 90, 61, 91}) feed({byte});
    EXPECT_THAT(sink.lines, ElementsAre("sysex 01 02 03", "90 3c 5a", "90 3d 5b"));
}

TEST_F(StreamParser, AnEndlessSystemExclusiveMessageIsCutAndCounted) {
    feed({0xf0, 1, 2, 3, 4, 5, 6, 7, 8, 0xf7});
    EXPECT_EQ(parser.cutSysex(), 0U);
    feed({0xf0});
    for (int i = 0; i < 100'000; ++i) feed({9});
    feed({0xf7, 0xf0, 1, 0xf7});
    EXPECT_THAT(sink.lines,
                ElementsAre("sysex 01 02 03 04 05 06 07 08", "sysex 09 09 09 09 09 09 09 09", "sysex 01"));
    EXPECT_EQ(parser.cutSysex(), 1U);
}

TEST_F(StreamParser, ABrokenOffMessageIsLeftOutAndTheNextIsUnderstood) {
    feed({0x90, 60, 0x91, 61, 91, 0xf0, 1, 2, 0x92, 62, 92, 0xf7, 5, 0xf4, 6, 0xfd, 0x93, 63, 93});
    EXPECT_THAT(sink.lines, ElementsAre("91 3d 5b", "92 3e 5c", "93 3f 5d"));
    EXPECT_EQ(parser.malformed(), 7U); // 90 60, f0 1 2, f7, 5, f4, 6, fd
}

TEST_F(StreamParser, AWireThatWasBrokenBeginsAnew) {
    feed({0x90, 60});
    parser.reset();
    feed({90, 0xf0, 1});
    parser.reset();
    feed({2, 0xf7});
    EXPECT_THAT(sink.lines, IsEmpty());
}

TEST_F(StreamParser, ReadingAllocatesNothing) {
    class Count final : public MIDIStreamParser::Sink {
    public:
        int count = 0;
        void message(const MIDIMessage&) override { ++count; }
        void sysex(std::span<const std::uint8_t>) override { ++count; }
    } counting;
    const std::vector<std::uint8_t> bytes{0xf0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 0xf7, 0x90, 60, 90};
    RealtimeScope scope;
    for (int i = 0; i < 100; ++i) parser.feed(bytes, counting);
    EXPECT_EQ(scope.violations(), 0U) << scope.report();
    EXPECT_EQ(counting.count, 200);
}

TEST(MIDIStreams, WhatTheFuzzerBeganWithIsReadByTheRules) {
    int files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(MARVO_MIDI_CORPUS)) {
        std::ifstream file(entry.path(), std::ios::binary);
        const std::vector<std::uint8_t> input((std::istreambuf_iterator<char>(file)), {});
        EXPECT_EQ(marvo::MIDIStreamRules::broken(input), "") << entry.path();
        ++files;
    }
    EXPECT_GE(files, 16);
}

TEST(MIDIStreams, AnyBytesAreReadByTheRules) {
    std::mt19937 random(7);
    for (int round = 0; round < 20'000; ++round) {
        std::vector<std::uint8_t> input(random() % 64);
        // Every other byte is a status: a stream of data alone says little.
        for (std::uint8_t& byte : input) {
            byte = static_cast<std::uint8_t>(random());
            if (random() % 2 == 0) byte |= 0xf0;
        }
        ASSERT_EQ(marvo::MIDIStreamRules::broken(input), "") << hexOf(input);
    }
}

TEST(MIDIBytes, EveryStatusKeepsItsMeaningThereAndBack) {
    for (int status = 0; status < 256; ++status) {
        const MIDIMessage message{static_cast<std::uint8_t>(status < 0xf0 ? status & 0xf0 : status),
                                  static_cast<std::uint8_t>(status < 0xf0 ? status & 15 : 0), 0, 0};
        const MIDIBytes bytes = encodeMIDI(message);
        EXPECT_EQ(bytes.size, midiLength(static_cast<std::uint8_t>(status)));
        if (bytes.size == 0) continue;
        EXPECT_EQ(bytes.bytes[0], status);
        EXPECT_EQ(decodeMIDI(bytes.span()), message);
        EXPECT_EQ(decodeMIDI(bytes.span().first(bytes.size - 1U)).type, 0);
    }
}

} // namespace
