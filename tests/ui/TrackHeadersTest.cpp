// The headers of the tracks: what each kind shows, and what a press, a choice or a typed text does.
#include "composition/MarvoTimelineCompositionTrack.h"
#include "tracks/MarvoTimelineColorTrack.h"

#include "Stage.h"

#include <QMenu>

using namespace marvo;
using namespace marvo::ui;
using namespace marvo::ui::testing;

namespace {

// Places in the composition below.
enum Row : std::size_t { value, controller, notes, artNet, artNetColor, oscColor, flags, block, rowCount };

PropertyList everyKind() {
    using namespace marvo::testing;
    const PropertyList points = keyframesOf({{0, 10}, {60, 90}});
    return projectOf(
        {compositionOf("All", 30, 10.0f,
                       {oscTrack("Dimmer", "/dimmer", {{0, 0}, {60, 100}}), trackOf("MidiCCValue", points),
                        trackOf("MidiNotes", points), trackOf("ArtNetValue", points),
                        trackOf("ArtNetColor", listOf({})), trackOf("OSCColor", listOf({})),
                        trackOf("OSCFlag", listOf({keyframeOf(10, "flagAddress", "/go")})),
                        trackOf("Composition", listOf({}))}),
         compositionOf("Inner", 30, 5.0f, {})});
}

struct TrackHeadersTest : ::testing::Test, Stage {
    TrackHeadersTest() {
        load(everyKind());
        application().compositions.selectCompositionAtIndex(0);
        frame();
        EXPECT_EQ(surface().lanes().lanes().size(), std::size_t{rowCount});
    }
    MarvoTimelineTrack& track(Row row) { return show().track(row); }
    std::string shown(Row row, HeaderPart part) { return item(row, part).text.toStdString(); }
    void chooseIn(Row row, HeaderPart part, const QString& title) {
        pressHeader(row, part);
        pick(title);
    }
    void undo() { key(Qt::Key_Z, Qt::ControlModifier); }
};

} // namespace

TEST_F(TrackHeadersTest, EachKindHasItsFields) {
    using P = HeaderPart;
    const std::vector<std::pair<Row, std::vector<P>>> expected{
        {value, {P::output, P::address, P::oscType, P::minimum, P::maximum}},
        {controller, {P::output, P::midiChannel, P::midiCC, P::wide}},
        {notes, {P::output, P::midiChannel, P::noteFrom, P::noteTo}},
        {artNet, {P::output, P::wide, P::dmxChannels}},
        {artNetColor, {P::output, P::wide, P::dmxChannels, P::colorFormat}},
        {oscColor, {P::output, P::address, P::oscType}},
        {flags, {P::output}},
        {block, {P::source}}};
    for (const auto& [row, parts] : expected) {
        std::vector<P> found;
        for (const HeaderItem& one : items(row)) {
            if (one.part >= P::output) found.push_back(one.part);
        }
        EXPECT_EQ(found, parts) << shown(row, P::name);
    }
}

TEST_F(TrackHeadersTest, NoFieldLiesOnAnotherOrOutsideOfItsHeader) {
    for (std::size_t row = 0; row < rowCount; ++row) {
        const std::vector<HeaderItem> all = items(row);
        const QRectF header(0, 0, headers().width(), lane(row).height);
        for (std::size_t i = 0; i < all.size(); ++i) {
            EXPECT_TRUE(header.contains(all[i].where)) << all[i].label.toStdString();
            for (std::size_t j = i + 1; j < all.size(); ++j)
                EXPECT_FALSE(all[i].where.intersects(all[j].where))
                    << all[i].label.toStdString() << all[j].label.toStdString();
        }
    }
}

TEST_F(TrackHeadersTest, ANameIsTypedAfterADoubleClickAndUndone) {
    typeInto(value, HeaderPart::name, "Front");
    EXPECT_EQ(track(value).name(), "Front");
    EXPECT_EQ(shown(value, HeaderPart::name), "Front");
    undo();
    EXPECT_EQ(track(value).name(), "Dimmer");
}

TEST_F(TrackHeadersTest, ANameInUseBeepsAndTheOldOneIsBack) {
    for (const char* name : {"MidiNotes", ""}) {
        beeps = 0;
        typeInto(value, HeaderPart::name, name);
        EXPECT_EQ(beeps, 1) << name;
        ASSERT_TRUE(editor()) << name;
        EXPECT_EQ(editor()->selectedText(), "Dimmer") << "it can be typed over";
        EXPECT_EQ(track(value).name(), "Dimmer");
        key(Qt::Key_Return);
        EXPECT_FALSE(editor());
        EXPECT_EQ(track(value).name(), "Dimmer");
        EXPECT_EQ(beeps, 1) << name;
    }
}

TEST_F(TrackHeadersTest, ATrackMayKeepItsOwnName) {
    typeInto(value, HeaderPart::name, "Dimmer");
    EXPECT_EQ(beeps, 0);
    EXPECT_FALSE(editor());
    EXPECT_FALSE(application().undo.canUndo());
}

TEST_F(TrackHeadersTest, AnAddressIsTypedAndUndone) {
    typeInto(value, HeaderPart::address, "/front/1");
    EXPECT_EQ(track(value).oscAddress(), "/front/1");
    undo();
    EXPECT_EQ(track(value).oscAddress(), "/dimmer");
}

TEST_F(TrackHeadersTest, WhatIsTypedIsTakenWhenTheKeyboardGoesElsewhere) {
    pressHeader(value, HeaderPart::address);
    type(*editor(), "/front/2");
    lanes().setFocus();
    frame();
    EXPECT_EQ(track(value).oscAddress(), "/front/2");
    pressHeader(value, HeaderPart::address);
    type(*editor(), "/front/3");
    wheel(lanes(), QPoint(0, -240));
    frame();
    EXPECT_EQ(track(value).oscAddress(), "/front/3");
    EXPECT_FALSE(editor());
}

TEST_F(TrackHeadersTest, TheRangeIsTypedAsItIsThoughtOf) {
    typeInto(value, HeaderPart::maximum, "2,5");
    EXPECT_FLOAT_EQ(track(value).trackMaxValue(), 250.0f);
    EXPECT_EQ(shown(value, HeaderPart::maximum), "2.5");
    typeInto(value, HeaderPart::minimum, "-1");
    EXPECT_FLOAT_EQ(track(value).trackMinValue(), -100.0f);
    undo();
    undo();
    EXPECT_FLOAT_EQ(track(value).trackMaxValue(), 100.0f);
    EXPECT_FLOAT_EQ(track(value).trackMinValue(), 0.0f);
}

TEST_F(TrackHeadersTest, ARangeThatCannotBeBeepsAndChangesNothing) {
    for (const char* text : {"much", "1e999", "nan", "1", "7"}) {
        typeInto(value, HeaderPart::minimum, text);
        ASSERT_TRUE(editor()) << text;
        key(Qt::Key_Escape);
    }
    EXPECT_EQ(beeps, 5);
    EXPECT_FLOAT_EQ(track(value).trackMinValue(), 0.0f);
}

TEST_F(TrackHeadersTest, TheTypeOfAnOSCValueIsChosenAndUndone) {
    chooseIn(value, HeaderPart::oscType, "int");
    EXPECT_EQ(track(value).trackOSCType(), 1);
    EXPECT_EQ(shown(value, HeaderPart::oscType), "int");
    undo();
    EXPECT_EQ(track(value).trackOSCType(), 0);
}

TEST_F(TrackHeadersTest, AnOutputIsChosenFromThoseThatThereAre) {
    pressHeader(value, HeaderPart::output);
    ASSERT_TRUE(openMenu());
    ASSERT_EQ(openMenu()->actions().size(), 1);
    EXPECT_TRUE(openMenu()->actions().first()->isChecked());
    pick("Out");
    EXPECT_EQ(track(value).settings().oscOut, "Out");
}

TEST_F(TrackHeadersTest, ChannelAndControllerAreChosen) {
    chooseIn(controller, HeaderPart::midiChannel, "16");
    EXPECT_EQ(track(controller).settings().midiChannel, "16");
    chooseIn(controller, HeaderPart::midiCC, "7");
    EXPECT_EQ(track(controller).settings().midiCC, "7");
    EXPECT_EQ(shown(controller, HeaderPart::midiCC), "7");
}

TEST_F(TrackHeadersTest, FourteenBitsRestWhereAControllerHasNoSecondByte) {
    pressHeader(controller, HeaderPart::wide);
    EXPECT_TRUE(track(controller).is14BitMIDI());
    pressHeader(controller, HeaderPart::wide);
    EXPECT_FALSE(track(controller).is14BitMIDI());
    chooseIn(controller, HeaderPart::midiCC, "64");
    EXPECT_FALSE(item(controller, HeaderPart::wide).enabled);
    pressHeader(controller, HeaderPart::wide);
    EXPECT_FALSE(track(controller).is14BitMIDI());
}

TEST_F(TrackHeadersTest, TheTwoEndsOfTheNotesNeverCross) {
    chooseIn(notes, HeaderPart::noteFrom, "40");
    chooseIn(notes, HeaderPart::noteTo, "60");
    EXPECT_EQ(track(notes).settings().midiNotesFrom, "40");
    EXPECT_EQ(track(notes).settings().midiNotesTo, "60");
    pressHeader(notes, HeaderPart::noteFrom);
    ASSERT_TRUE(openMenu());
    for (const QAction* action : openMenu()->actions())
        EXPECT_EQ(action->isEnabled(), action->text().toInt() < 60) << action->text().toStdString();
    openMenu()->close();
    pressHeader(notes, HeaderPart::noteTo);
    ASSERT_TRUE(openMenu());
    for (const QAction* action : openMenu()->actions())
        EXPECT_EQ(action->isEnabled(), action->text().toInt() > 40) << action->text().toStdString();
    openMenu()->close();
}

TEST_F(TrackHeadersTest, ChannelsOfALampAreTypedAndUndone) {
    typeInto(artNet, HeaderPart::dmxChannels, "12, 20x3");
    EXPECT_EQ(track(artNet).stringValueOfDMXChannels(), "12,20x3");
    undo();
    EXPECT_EQ(track(artNet).stringValueOfDMXChannels(), "5");
    pressHeader(artNet, HeaderPart::wide);
    EXPECT_TRUE(track(artNet).is16BitArtNet());
}

TEST_F(TrackHeadersTest, TheOrderOfTheColoursIsChosen) {
    chooseIn(artNetColor, HeaderPart::colorFormat, "GRB");
    EXPECT_EQ(shown(artNetColor, HeaderPart::colorFormat), "GRB");
    chooseIn(artNetColor, HeaderPart::colorFormat, "RGB+Amber");
    EXPECT_EQ(shown(artNetColor, HeaderPart::colorFormat), "RGB+Amber");
    EXPECT_EQ(dynamic_cast<MarvoTimelineColorTrack&>(track(artNetColor)).artNetColorFormat(), "RGBA");
    pressHeader(artNetColor, HeaderPart::colorFormat);
    for (const QAction* action : openMenu()->actions())
        EXPECT_EQ(action->isChecked(), action->text() == "RGB+Amber") << action->text().toStdString();
    openMenu()->close();
}

TEST_F(TrackHeadersTest, ATrackOfACompositionTakesAnotherComposition) {
    pressHeader(block, HeaderPart::source);
    pick("Inner");
    EXPECT_EQ(shown(block, HeaderPart::source), "Inner");
}

TEST_F(TrackHeadersTest, TheSwitchMutesAndItsMenuSolos) {
    pressHeader(value, HeaderPart::enable);
    EXPECT_FALSE(track(value).isEnabled());
    pressHeader(value, HeaderPart::enable);
    EXPECT_TRUE(track(value).isEnabled());
    pressHeader(notes, HeaderPart::enable, Qt::ControlModifier);
    pick("Solo");
    EXPECT_TRUE(track(notes).isEnabled());
    EXPECT_FALSE(track(value).isEnabled());
    pressHeader(value, HeaderPart::enable, Qt::ControlModifier);
    pick("Unmute All");
    EXPECT_TRUE(track(value).isEnabled());
    pressHeader(value, HeaderPart::enable, Qt::ControlModifier);
    pick("Mute All");
    EXPECT_FALSE(track(notes).isEnabled());
}

TEST_F(TrackHeadersTest, ALockedTrackRefusesEveryEdit) {
    pressHeader(value, HeaderPart::lock);
    ASSERT_TRUE(track(value).isLocked());
    for (const HeaderPart part : {HeaderPart::address, HeaderPart::minimum, HeaderPart::maximum}) {
        pressHeader(value, part);
        EXPECT_FALSE(editor());
    }
    doubleClick(headers(), inHeader(value, HeaderPart::name));
    EXPECT_FALSE(editor());
    for (const HeaderPart part : {HeaderPart::output, HeaderPart::oscType}) {
        pressHeader(value, part);
        EXPECT_FALSE(openMenu());
    }
    pressHeader(value, HeaderPart::lock);
    EXPECT_FALSE(track(value).isLocked());
    pressHeader(value, HeaderPart::address);
    EXPECT_TRUE(editor());
}

TEST_F(TrackHeadersTest, ALockedProjectRefusesItsFieldsAndBeeps) {
    application().lockProject();
    frame();
    pressHeader(value, HeaderPart::address);
    EXPECT_FALSE(editor());
    pressHeader(value, HeaderPart::oscType);
    EXPECT_FALSE(QApplication::activePopupWidget());
    pressHeader(controller, HeaderPart::wide);
    EXPECT_FALSE(track(controller).is14BitMIDI());
    pressHeader(value, HeaderPart::lock);
    EXPECT_FALSE(track(value).isLocked());
    EXPECT_EQ(beeps, 4);
    pressHeader(value, HeaderPart::enable);
    EXPECT_FALSE(track(value).isEnabled()) << "an operator mutes all the same";
}

TEST_F(TrackHeadersTest, TheKeyboardReachesEveryFieldThatAHeaderShows) {
    const auto open = [&](Row row) -> QMenu* {
        pressHeader(row, HeaderPart::name);
        choose("Track Settings");
        return qobject_cast<QMenu*>(QApplication::activePopupWidget());
    };
    const auto entry = [](QMenu& menu, const QString& begins) -> QAction* {
        for (QAction* action : menu.actions()) {
            if (action->text().startsWith(begins)) return action;
        }
        ADD_FAILURE() << begins.toStdString();
        return nullptr;
    };
    for (std::size_t row = 0; row < rowCount; ++row) {
        QMenu* menu = open(static_cast<Row>(row));
        ASSERT_TRUE(menu) << row;
        for (const HeaderItem& one : items(row)) {
            if (one.part == HeaderPart::name || one.use == HeaderUse::shows) continue;
            EXPECT_TRUE(entry(*menu, one.label)) << row;
        }
        menu->close();
    }
    QMenu* menu = open(value);
    ASSERT_TRUE(menu);
    QMenu* types = entry(*menu, "Type")->menu();
    ASSERT_TRUE(types);
    for (QAction* type : types->actions()) {
        if (type->text() == "int") type->trigger();
    }
    menu->close();
    EXPECT_EQ(track(value).trackOSCType(), 1);
    menu = open(value);
    entry(*menu, "Track on")->trigger();
    menu->close();
    EXPECT_FALSE(track(value).isEnabled());
    menu = open(value);
    entry(*menu, "Address")->trigger();
    menu->close();
    ASSERT_TRUE(editor());
    type(*editor(), "/lamp");
    key(Qt::Key_Return);
    EXPECT_EQ(track(value).oscAddress(), "/lamp");
}

TEST_F(TrackHeadersTest, ALockedTrackSaysHowToUnlockIt) {
    pressHeader(value, HeaderPart::lock);
    EXPECT_EQ(item(value, HeaderPart::lock).label, "Unlock track");
    pressHeader(value, HeaderPart::name);
    choose("Track Settings");
    auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    ASSERT_TRUE(menu);
    for (QAction* action : menu->actions()) {
        if (!action->text().startsWith("Address") && !action->text().startsWith("Output")) continue;
        EXPECT_FALSE(action->isEnabled()) << action->text().toStdString();
    }
    for (QAction* action : menu->actions()) {
        if (action->text() == "Unlock track") action->trigger();
    }
    menu->close();
    EXPECT_FALSE(track(value).isLocked());
}

TEST_F(TrackHeadersTest, ABangSendsATestValue) {
    show().take();
    pressHeader(value, HeaderPart::bang);
    play(5);
    const auto sent = show().take();
    ASSERT_FALSE(sent.empty());
    EXPECT_EQ(sent.front().address, "/dimmer");
}

TEST_F(TrackHeadersTest, ABangOfFlagsAsksWhichAddress) {
    show().take();
    pressHeader(flags, HeaderPart::bang);
    ASSERT_TRUE(openMenu());
    ASSERT_FALSE(openMenu()->actions().isEmpty());
    pick(openMenu()->actions().first()->text());
    play(5);
    EXPECT_FALSE(show().take().empty());
}

TEST_F(TrackHeadersTest, ACollapsedTrackShowsOnlyItsFirstRow) {
    pressHeader(value, HeaderPart::collapse);
    EXPECT_EQ(lane(value).height, 32.0);
    EXPECT_EQ(lane(controller).y, 33.0);
    EXPECT_FALSE(hasPart(value, HeaderPart::address));
    pressHeader(value, HeaderPart::collapse);
    EXPECT_EQ(lane(value).height, 119.0);
    EXPECT_TRUE(hasPart(value, HeaderPart::address));
}

TEST_F(TrackHeadersTest, TheOtherSelectedTracksCollapseToo) {
    pressHeader(value, HeaderPart::name);
    pressHeader(notes, HeaderPart::name, Qt::ControlModifier);
    pressHeader(value, HeaderPart::collapse);
    EXPECT_EQ(lane(notes).height, 32.0);
    EXPECT_EQ(lane(controller).height, 119.0);
}

TEST_F(TrackHeadersTest, APressOnAHeaderSelectsItsTrack) {
    pressHeader(notes, HeaderPart::name);
    EXPECT_TRUE(track(notes).isSelected());
    EXPECT_FALSE(track(value).isSelected());
}

TEST_F(TrackHeadersTest, TheValueSentLastIsShownAndMovesOn) {
    EXPECT_EQ(shown(value, HeaderPart::value), "-");
    press("Play");
    play(1'000);
    EXPECT_EQ(shown(value, HeaderPart::value), "-") << "only where it is asked for";
    choose("Show Track Outputs");
    EXPECT_TRUE(command("Show Track Outputs")->isChecked());
    EXPECT_EQ(item(value, HeaderPart::value).text.section('.', 1).size(), 6);
    EXPECT_NEAR(item(value, HeaderPart::value).text.toDouble(), 0.5, 0.05);
    const LaneLayout::Lane at = lane(value);
    const QRect area = item(value, HeaderPart::value).where.translated(0, at.y).toAlignedRect();
    const QImage before = headers().grab(area).toImage();
    play(500);
    EXPECT_NE(headers().grab(area).toImage(), before);
}

TEST_F(TrackHeadersTest, InLearnModeASwitchOfATrackIsPickedAndDoesNotAct) {
    choose("MIDI Learn");
    pressHeader(value, HeaderPart::enable);
    EXPECT_TRUE(track(value).isEnabled());
    EXPECT_TRUE(track(value).enabledButton.needsHighlight());
}

TEST_F(TrackHeadersTest, ANameWithAnAmpersandIsOfferedAsItIs) {
    application().compositions.selectCompositionAtIndex(1);
    ASSERT_TRUE(application().compositions.renameSelectedComposition("Rise & Fall"));
    application().compositions.selectCompositionAtIndex(0);
    frame();
    pressHeader(block, HeaderPart::source);
    pick("Rise && Fall"); // two are drawn as one
    EXPECT_EQ(shown(block, HeaderPart::source), "Rise & Fall");
}

TEST_F(TrackHeadersTest, ATrackThatGoesTakesItsOpenFieldAndMenuAlong) {
    pressHeader(value, HeaderPart::address);
    type(*editor(), "/late");
    composition().tracks.undoRemoveTracksWithPositions({0});
    frame();
    key(Qt::Key_Return);
    EXPECT_EQ(beeps, 1);
    for (const auto& one : composition().tracks.all()) {
        const auto* left = dynamic_cast<const MarvoTimelineTrack*>(one.get());
        EXPECT_TRUE(!left || left->oscAddress() != "/late");
    }
    key(Qt::Key_Escape);
    pressHeader(0, HeaderPart::midiCC);
    ASSERT_TRUE(openMenu());
    composition().tracks.undoRemoveTracksWithPositions({0});
    openMenu()->actions().first()->trigger();
    openMenu()->close();
    frame();
}

TEST_F(TrackHeadersTest, ALockedTrackIsNoTroubleAndIsToldByShape) {
    const auto partNow = [this](std::size_t row, HeaderPart part) {
        const QRect where = item(row, part).where.toRect();
        return headers().grab(where.translated(inHeader(row, part) - where.center())).toImage();
    };
    const auto bar = [](const QImage& field) {
        return field.pixelColor(field.width() / 2, field.height() - 3);
    };
    const QImage open = partNow(value, HeaderPart::lock);
    EXPECT_EQ(item(value, HeaderPart::lock).icon, Icon::lockOpen);
    EXPECT_EQ(bar(open), Look::current().control);
    pressHeader(value, HeaderPart::lock);
    const QImage locked = partNow(value, HeaderPart::lock);
    EXPECT_EQ(item(value, HeaderPart::lock).icon, Icon::lock);
    EXPECT_EQ(bar(locked), Look::current().onAccent);
    EXPECT_EQ(locked.pixelColor(4, locked.height() / 2 - 8), Look::current().dimText);
    EXPECT_EQ(bar(partNow(value, HeaderPart::enable)), Look::current().onAccent);
}

TEST_F(TrackHeadersTest, ACompositionTrackThatARemoteSwitchesOrLocksIsShownSo) {
    headers().grab();
    auto& inner = dynamic_cast<MarvoTimelineCompositionTrack&>(*lane(block).track);
    surface().scrollTo(SurfaceArea::headers, {0, lane(block).y});
    frame();
    const auto shownNow = [this] { return onScreen(headers()); };
    const QImage before = shownNow();
    inner.enabledButton.setState(!inner.enabledButton.state());
    frame();
    const QImage switched = shownNow();
    EXPECT_NE(switched, before);
    inner.lockTrack(true);
    frame();
    EXPECT_NE(shownNow(), switched);
}
