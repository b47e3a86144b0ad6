#include "headless/TraceWriter.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <fstream>
#include <sstream>

namespace marvo {
namespace {

class TraceWriterLines : public ::testing::Test {
protected:
    std::string written() {
        EXPECT_TRUE(writer.finish());
        return out.str();
    }

    std::ostringstream out;
    TraceWriter writer{out};
    const std::string composition = "Composition 1";
    const std::string track = "Track 1";
    const SendOrigin sender{&composition, &track, 1, false};
};

OSCMessage message(const char* address) {
    return OSCMessage::createWithAddress(address);
}

TEST_F(TraceWriterLines, AnOscMessageIsOneLineWithItsMembersInTheirOrder) {
    OSCMessage half = message("/a");
    half.addFloat(0.5F);
    writer.osc(17, "Marvo OSC Out 1", half, sender);
    EXPECT_EQ(written(), R"({"t":17,"kind":"osc","composition":"Composition 1","track":"Track 1","frame":1,)"
                         R"("port":"Marvo OSC Out 1","address":"/a","types":"f","args":[0.5]})"
                         "\n");
}

TEST_F(TraceWriterLines, AMidiMessageIsOneLineWithItsBytes) {
    const std::array<std::uint8_t, 3> bytes{176, 7, 64};
    writer.midi(17, "Marvo Midi Out 1", bytes, sender);
    EXPECT_EQ(written(), R"({"t":17,"kind":"midi","composition":"Composition 1","track":"Track 1","frame":1,)"
                         R"("node":"Marvo Midi Out 1","bytes":[176,7,64]})"
                         "\n");
}

TEST_F(TraceWriterLines, AStoredDmxByteIsOneLine) {
    writer.dmx(17, 0, 1, 255, sender);
    EXPECT_EQ(written(), R"({"t":17,"kind":"dmx","composition":"Composition 1","track":"Track 1","frame":1,)"
                         R"("universe":0,"channel":1,"value":255})"
                         "\n");
}

TEST_F(TraceWriterLines, FeedbackHasNeitherSenderNorPort) {
    OSCMessage playhead = message("/marvo/composition1/playhead");
    playhead.addFloat(0.0033333334F);
    writer.feedback(17, playhead);
    EXPECT_EQ(written(), R"({"t":17,"kind":"feedback","address":"/marvo/composition1/playhead","types":"f",)"
                         R"("args":[0.0033333334]})"
                         "\n");
}

TEST_F(TraceWriterLines, AGatheredMessageNamesNoTrackButItsCompositionAndFrame) {
    writer.osc(40, "Lights", message("/light/rgb"), {&composition, nullptr, 12, false});
    EXPECT_EQ(written(), R"({"t":40,"kind":"osc","composition":"Composition 1","frame":12,"port":"Lights",)"
                         R"("address":"/light/rgb","types":"","args":[]})"
                         "\n");
}

TEST_F(TraceWriterLines, WhatNoTrackSendsNamesNoSenderAndNoFrame) {
    writer.osc(0, "Lights", message("/hello"), {});
    EXPECT_EQ(written(), R"({"t":0,"kind":"osc","port":"Lights","address":"/hello","types":"","args":[]})"
                         "\n");
}

TEST_F(TraceWriterLines, ArgumentsKeepTheirTypeAndOrder) {
    OSCMessage all = message("/a");
    all.addInt(-7);
    all.addFloat(INFINITY);
    all.addString("two words");
    all.addBOOL(true);
    all.addBOOL(false);
    all.addColor(0x0a0b0cff);
    all.addFloat(-INFINITY);
    all.addFloat(NAN);
    all.addFloat(1.0F);
    writer.osc(0, "P", all, {});
    EXPECT_EQ(written(), R"({"t":0,"kind":"osc","port":"P","address":"/a","types":"ifsTFrfff",)"
                         R"("args":[-7,"inf","two words",true,false,"#0a0b0cff","-inf","nan",1]})"
                         "\n");
}

TEST_F(TraceWriterLines, RarerArgumentsAreWrittenToo) {
    OSCMessage rare = message("/a");
    rare.addValue(OSCValue::createWithInt64(9007199254740993));
    rare.addValue(OSCValue::createWithDouble(0.1));
    rare.addValue(OSCValue::createWithBlob(std::string_view("\x00\xff\x10", 3)));
    rare.addValue(OSCValue::createWithTag(OSCValue::typeNil, 'N', 0));
    rare.addValue(OSCValue::createWithTag(OSCValue::typeInfinity, 'I', 0));
    rare.addValue(OSCValue::createWithTag(OSCValue::typeChar, 'c', 'x'));
    writer.osc(0, "P", rare, {});
    EXPECT_EQ(written(), R"({"t":0,"kind":"osc","port":"P","address":"/a","types":"hdbNIc",)"
                         R"("args":[9007199254740993,0.1,"00ff10",null,null,120]})"
                         "\n");
}

TEST_F(TraceWriterLines, NamesThatWouldBreakALineDoNot) {
    const std::string odd = "a\"b\n\xff";
    writer.osc(0, odd, message("/a"), {&odd, &odd, 0, false});
    EXPECT_EQ(
        written(),
        "{\"t\":0,\"kind\":\"osc\",\"composition\":\"a\\\"b\\n\xEF\xBF\xBD\",\"track\":"
        "\"a\\\"b\\n\xEF\xBF\xBD\","
        "\"frame\":0,\"port\":\"a\\\"b\\n\xEF\xBF\xBD\",\"address\":\"/a\",\"types\":\"\",\"args\":[]}\n");
}

TEST_F(TraceWriterLines, ManyLinesComeOutWholeAndInOrder) {
    std::string wanted;
    for (int i = 0; i < 5000; ++i) {
        writer.dmx(i, 0, 1, 0, {});
        wanted +=
            "{\"t\":" + std::to_string(i) + ",\"kind\":\"dmx\",\"universe\":0,\"channel\":1,\"value\":0}\n";
    }
    EXPECT_LT(out.str().size(), wanted.size()); // gathered, not written line by line
    EXPECT_GT(out.str().size(), 0U);            // but not kept in memory to the end either
    EXPECT_EQ(written(), wanted);
}

TEST(TraceWriterErrors, AFullDiskIsReportedAtTheEnd) {
    std::ofstream full("/dev/full", std::ios::binary);
    ASSERT_TRUE(full.is_open());
    TraceWriter writer(full);
    writer.dmx(0, 0, 1, 0, {});
    EXPECT_FALSE(writer.finish());
}

TEST(TraceWriterErrors, AnErrorInTheMiddleIsNotForgotten) {
    std::ofstream full("/dev/full", std::ios::binary);
    TraceWriter writer(full);
    for (int i = 0; i < 5000; ++i) writer.dmx(i, 0, 1, 0, {});
    EXPECT_FALSE(writer.finish());
    EXPECT_FALSE(writer.finish());
}

} // namespace
} // namespace marvo
