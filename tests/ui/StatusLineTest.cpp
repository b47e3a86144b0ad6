// The line at the lower edge: what is in trouble is seen and read out, and goes when it is over.
#include "ui/Notice.h"

#include "Stage.h"

#include <QHelpEvent>
#include <QToolTip>

using namespace marvo;
using namespace marvo::ui;
using namespace marvo::ui::testing;

namespace {

struct StatusLineTest : ::testing::Test, Stage {
    StatusLineTest() { load(); }

    StatusLine& line() { return window().status(); }
    std::string spoken() { return line().accessibleDescription().toStdString(); }
    int troubleFrom() { return firstOf(Look::current().trouble); }
    // The x at which a colour begins, -1 where there is none.
    int firstOf(const QColor& color) {
        const QImage image = line().grab().toImage();
        for (int x = 0; x < image.width(); ++x) {
            for (int y = 0; y < image.height(); ++y) {
                if (image.pixelColor(x, y) == color) return x;
            }
        }
        return -1;
    }
    // So many seconds of the show, with ticks that come as late as that.
    void seconds(int count, Duration late) {
        for (int i = 0; i < 4 * count; ++i) {
            for (int tick = 0; tick < 250; ++tick)
                running.measured.recordTick(late, Duration::ofMilliseconds(1));
            show().clock.advance(Duration::ofMilliseconds(250));
            line().refresh();
        }
    }
    static OutputTrouble trouble(const std::string& label, bool began) {
        OutputTrouble one;
        one.label = label;
        one.reason = "Network is unreachable";
        one.began = began;
        return one;
    }
};

} // namespace

TEST_F(StatusLineTest, ThatArtNetDoesNotStartIsSaidInAWindowAlsoWhenItWasBeforeThere) {
    const auto notices = [] {
        std::vector<Notice*> found;
        for (QWidget* one : QApplication::topLevelWidgets()) {
            if (auto* notice = dynamic_cast<Notice*>(one); notice && notice->isVisible())
                found.push_back(notice);
        }
        return found;
    };
    EXPECT_TRUE(notices().empty());
    const auto& alert = application().artNetManager().userInterface.alert;
    alert("Failed to start ArtNet Server", "The network interface eth0 may be in use.");
    ASSERT_EQ(notices().size(), 1u);
    EXPECT_FALSE(notices().front()->isModal()) << "the show is driven on";
    delete notices().front();
    desktop.reset();
    alert("Failed to start ArtNet Server", "The network interface eth1 may be in use.");
    desktop = std::make_unique<Desktop>(running, RealtimeResult{RealtimeGrant::fifo, 70, "", "", ""});
    EXPECT_TRUE(notices().empty());
    desktop->open();
    ASSERT_EQ(notices().size(), 1u);
    bool tells = false;
    for (const QLabel* label : notices().front()->findChildren<QLabel*>())
        tells = tells || label->text().contains("eth1");
    EXPECT_TRUE(tells);
    delete notices().front();
}

TEST_F(StatusLineTest, NothingIsWrongWhenNothingIsWrong) {
    EXPECT_EQ(troubleFrom(), -1);
    EXPECT_EQ(firstOf(Look::current().plays), -1) << "that colour is what runs";
    EXPECT_EQ(spoken(), "");
    EXPECT_EQ(line().accessibleName(), "Status");
}

TEST_F(StatusLineTest, AnOutputInTroubleIsSeenAndReadOutUntilItIsOver) {
    running.tell(trouble("Out", true));
    EXPECT_GE(troubleFrom(), 0);
    EXPECT_NE(spoken().find("Out: "), std::string::npos);
    EXPECT_NE(spoken().find("Network is unreachable"), std::string::npos);
    running.tell(trouble("Out", false));
    EXPECT_EQ(troubleFrom(), -1);
    EXPECT_EQ(spoken(), "");
}

TEST_F(StatusLineTest, TroubleFromBeforeThereWasAWindowIsSeen) {
    running.tell("Art-Net", "the port is taken");
    desktop.reset();
    desktop = std::make_unique<Desktop>(running, RealtimeResult{RealtimeGrant::fifo, 70, "", "", ""});
    EXPECT_NE(spoken().find("the port is taken"), std::string::npos);
}

TEST_F(StatusLineTest, AMessageTooLargeIsSaidOnceAndDoesNotStay) {
    OutputTrouble tooLarge = trouble("Out", true);
    tooLarge.kind = OutputTrouble::Kind::tooLarge;
    running.tell(tooLarge);
    EXPECT_GE(troubleFrom(), 0);
    show().clock.advance(Duration::ofSeconds(10));
    line().refresh();
    EXPECT_EQ(troubleFrom(), -1);
}

TEST_F(StatusLineTest, MIDIAndArtNetHaveTheirPlaceAndOthersGetOne) {
    for (const char* name : {"MIDI", "Art-Net", "Some desk"}) {
        running.tell(name, "it is unplugged");
        EXPECT_NE(spoken().find(std::string(name) + ": "), std::string::npos);
        EXPECT_NE(spoken().find("it is unplugged"), std::string::npos);
        running.tell(name, "");
        EXPECT_EQ(spoken(), "");
    }
}

TEST_F(StatusLineTest, WhatIsWrongComesFirstAndIsSeenInANarrowWindow) {
    running.tell("Zebra desk at the far end of the list", "it is unplugged");
    window().resize(900, 520);
    frame();
    const int from = troubleFrom();
    EXPECT_GE(from, 0);
    EXPECT_LT(from, 40);
}

TEST_F(StatusLineTest, LateTicksAreTrouble) {
    for (int i = 0; i < 100; ++i)
        running.measured.recordTick(Duration::ofMilliseconds(5), Duration::ofMilliseconds(1));
    line().refresh();
    EXPECT_GE(troubleFrom(), 0);
    EXPECT_NE(spoken().find("Tick"), std::string::npos);
}

TEST_F(StatusLineTest, TicksThatBecomeLateAreSeenAtOnceAfterAnEveningThatWent) {
    seconds(600, Duration(20'000));
    EXPECT_EQ(troubleFrom(), -1);
    seconds(1, Duration::ofMilliseconds(5));
    EXPECT_GE(troubleFrom(), 0);
}

TEST_F(StatusLineTest, TicksThatWereLateAreForgivenAfterTenSeconds) {
    seconds(60, Duration::ofMilliseconds(5));
    EXPECT_GE(troubleFrom(), 0);
    seconds(8, Duration(20'000));
    EXPECT_GE(troubleFrom(), 0);
    seconds(4, Duration(20'000));
    EXPECT_EQ(troubleFrom(), -1);
}

TEST_F(StatusLineTest, TheNumbersBehindAChipAreInItsTooltip) {
    const QPoint at(40, line().height() / 2);
    line().grab();
    QHelpEvent help(QEvent::ToolTip, at, line().mapToGlobal(at));
    QApplication::sendEvent(&line(), &help);
    EXPECT_TRUE(QToolTip::text().contains("real time")) << QToolTip::text().toStdString();
    QToolTip::hideText();
}

TEST_F(StatusLineTest, AMessageStandsForAFewSeconds) {
    line().refresh();
    const QImage quiet = line().grab().toImage();
    line().say("3 repairs while loading; see the log", true);
    EXPECT_NE(line().grab().toImage(), quiet);
    show().clock.advance(Duration::ofSeconds(5));
    line().refresh();
    EXPECT_NE(line().grab().toImage(), quiet);
    show().clock.advance(Duration::ofSeconds(5));
    line().refresh();
    EXPECT_EQ(line().grab().toImage(), quiet);
}
