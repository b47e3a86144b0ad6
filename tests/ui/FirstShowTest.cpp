// The first show, step by step as docs/first-show.md tells it, with the pictures that stand there.
//
// The pictures are drawn beside the test program; with MARVO_WRITE_PICTURES in the environment, into docs.
#include "headless/LiveShow.h"
#include "platform/PropertyListFile.h"
#include "ui/CompositionView.h"
#include "ui/Desktop.h"
#include "ui/TrackHeader.h"

#include "tracks/LaneHeight.h"
#include "tracks/MarvoTimelineTrack.h"

#include "Windows.h"

#include <QFileDialog>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QTemporaryDir>

#include <arpa/inet.h>
#include <cstring>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace marvo;
using namespace marvo::ui;
using namespace marvo::ui::testing;

namespace {

// What a listener at the other end of an output hears.
class Listener {
public:
    Listener() : socket_(::socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        auto* const place = reinterpret_cast<sockaddr*>(&address);
        socklen_t size = sizeof address;
        EXPECT_EQ(::bind(socket_, place, size), 0);
        EXPECT_EQ(::getsockname(socket_, place, &size), 0);
        port_ = ntohs(address.sin_port);
    }
    ~Listener() { ::close(socket_); }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    int port() const { return port_; }
    // Arguments of the messages of one float to that address, oldest first; another message fails the test.
    std::vector<float> heard(const std::string& address) {
        std::string head = address;
        head.resize((address.size() / 4 + 1) * 4, '\0');
        head.append(",f\0\0", 4);
        char bytes[2048];
        for (;;) {
            const ssize_t got = ::recv(socket_, bytes, sizeof bytes, 0);
            if (got < 0) return values_;
            const std::string message(bytes, static_cast<std::size_t>(got));
            EXPECT_EQ(message.size(), head.size() + 4);
            EXPECT_TRUE(message.starts_with(head)) << message;
            if (message.size() != head.size() + 4) return values_;
            std::uint32_t word;
            std::memcpy(&word, message.data() + head.size(), sizeof word);
            values_.push_back(std::bit_cast<float>(ntohl(word)));
        }
    }

private:
    int socket_;
    int port_ = 0;
    std::vector<float> values_;
};

struct FirstShow : ::testing::Test {
    FirstShow() {
        QDir::setCurrent(folder.path()); // where the panel for saving opens
        show = LiveShow::make({folder.path().toStdString(), {}, "127.0.0.1", "none", false}, error);
        if (!show) return;
        EXPECT_TRUE(show->launch(demo()).done);
        granted = show->startRendering({true, false});
        EXPECT_TRUE(granted.runs()) << granted.error;
        desktop.emplace(*show, granted);
        desktop->open();
        window().resize(1280, 720);
        EXPECT_TRUE(QTest::qWaitForWindowActive(&window()));
    }
    ~FirstShow() override {
        QDir::setCurrent(oldFolder);
        desktop.reset();
        if (show) show->end();
    }

    // The demo with the port of the listener in the place of Video's, which another program may hold.
    std::string demo() const {
        PropertyList root = readPropertyList(MARVO_SOURCE_DIR "/demo/demo.mrv").value;
        PropertyList outputs = PropertyList::array();
        for (const char* label : {"Lights", "Sound", "Video"}) {
            PropertyList output = PropertyList::dictionary();
            output.set("address", "127.0.0.1");
            output.set("port", std::int64_t{listener.port()});
            output.set("portLabel", label);
            outputs.push_back(output);
        }
        PropertyList ports = PropertyList::dictionary();
        ports.set("inputs", PropertyList::array());
        ports.set("outputs", outputs);
        ports.set("feedback", "Disabled");
        PropertyList appData = *root.find("appData");
        PropertyList preferences = *appData.find("preferences");
        preferences.set("oscPorts", ports);
        appData.set("preferences", preferences);
        root.set("appData", appData);
        std::string path = folder.filePath("demo.mrv").toStdString();
        EXPECT_TRUE(writePropertyList(path, root).ok());
        return path;
    }

    MainWindow& window() { return desktop->window(); }
    MarvoTimelineController& composition() { return *window().selected(); }
    MarvoTimelineTrack& track() { return dynamic_cast<MarvoTimelineTrack&>(*composition().tracks.all()[0]); }
    QWidget& part(const QString& accessibleName) {
        for (QWidget* widget : window().findChildren<QWidget*>()) {
            if (widget->accessibleName() == accessibleName && widget->isVisible()) return *widget;
        }
        ADD_FAILURE() << "there is no " << accessibleName.toStdString();
        return window();
    }

    // A window manager does this when a dialog has gone; the platform in memory has none.
    void comeBack() {
        window().activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&window()));
    }
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        comeBack();
        QWidget* focused = QApplication::focusWidget();
        QTest::keyClick(focused ? focused : &window(), key, modifiers);
        QTest::qWait(20);
    }
    // Into the field that waits for it.
    void typeAndReturn(const QString& text) {
        auto* field = qobject_cast<QLineEdit*>(QApplication::focusWidget());
        ASSERT_NE(field, nullptr);
        field->selectAll();
        QTest::keyClicks(field, text);
        QTest::keyClick(field, Qt::Key_Return);
        QTest::qWait(20);
    }
    void clickHeader(HeaderPart part_) {
        QWidget& headers = part("Track headers");
        for (const HeaderItem& item : headerItems(track(), headers.width(), LaneHeight::expanded)) {
            if (item.part == part_)
                QTest::mouseClick(&headers, Qt::LeftButton, {}, item.where.center().toPoint());
        }
        QTest::qWait(20);
    }
    void choose(const QString& title) {
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        ASSERT_NE(menu, nullptr);
        for (QAction* action : menu->actions()) {
            if (action->text() != title) continue;
            QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(action).center());
            QTest::qWait(20);
            return;
        }
        ADD_FAILURE() << "there is no " << title.toStdString();
    }
    void setSeconds(const QString& seconds) {
        comeBack();
        QTest::mouseClick(&part("Playhead"), Qt::LeftButton, {}, {6 + 2 * 38 + 12, 15});
        typeAndReturn(seconds);
    }
    void addKeyframe(const QString& value) {
        press(Qt::Key_K);
        const WhenAsked asked([&](QWidget& dialog) {
            auto* field = dialog.findChild<QLineEdit*>();
            ASSERT_NE(field, nullptr);
            type(*field, value);
            QTest::keyClick(field, Qt::Key_Return);
        });
        press(Qt::Key_V);
    }
    static void answer(QWidget& question, const QString& title) {
        for (QPushButton* button : question.findChildren<QPushButton*>()) {
            if (button->text() == title) {
                click(*button);
                return;
            }
        }
        ADD_FAILURE() << "no such answer: " << title.toStdString();
    }

    void keep(int number) {
        QTest::qWait(60);
        const QString where = qEnvironmentVariableIsSet("MARVO_WRITE_PICTURES")
                                  ? QStringLiteral(MARVO_SOURCE_DIR "/docs/pictures")
                                  : QStringLiteral(MARVO_PICTURES);
        ASSERT_TRUE(QDir().mkpath(where));
        QPixmap picture = window().grab();
        if (QWidget* menu = QApplication::activePopupWidget()) {
            QPainter painter(&picture);
            painter.drawPixmap(window().mapFromGlobal(menu->pos()), menu->grab());
        }
        const QString file = QStringLiteral("%1/first-show-%2.png").arg(where).arg(number);
        ASSERT_TRUE(picture.save(file));
        EXPECT_LT(QFileInfo(file).size(), 150'000);
    }

    const QString oldFolder = QDir::currentPath();
    QTemporaryDir folder;
    Listener listener;
    std::string error;
    std::unique_ptr<LiveShow> show;
    RealtimeResult granted;
    std::optional<Desktop> desktop;
};

} // namespace

TEST_F(FirstShow, IsMadePlayedSavedAndOpenedAgainAsTheManualSays) {
    ASSERT_TRUE(show) << error;

    // A new project.
    {
        const WhenAsked asked([](QWidget& question) { answer(question, "OK"); });
        press(Qt::Key_N, Qt::ControlModifier);
    }
    ASSERT_EQ(show->application().compositions.count(), 1u);
    press(Qt::Key_F2);
    typeAndReturn("Overture");
    EXPECT_EQ(composition().compName(), "Overture");
    keep(1);

    // A track, and where it sends.
    press(Qt::Key_4, Qt::ControlModifier);
    ASSERT_EQ(composition().tracks.all().size(), 1u);
    EXPECT_EQ(track().trackType(), "OSCValue");
    clickHeader(HeaderPart::name);
    EXPECT_TRUE(track().isSelected());
    press(Qt::Key_F2, Qt::ShiftModifier);
    typeAndReturn("Lamp");
    EXPECT_EQ(track().name(), "Lamp");
    clickHeader(HeaderPart::output);
    keep(2);
    choose("Video");
    EXPECT_EQ(track().settings().oscOut, "Video");
    clickHeader(HeaderPart::address);
    typeAndReturn("/lamp/level");
    EXPECT_EQ(track().oscAddress(), "/lamp/level");

    // Keyframes: dark at the beginning, full after a second, dark again.
    press(Qt::Key_Home);
    addKeyframe("0");
    setSeconds("1");
    addKeyframe("1");
    setSeconds("2");
    addKeyframe("0");
    EXPECT_EQ(track().keyframeCount(), 3u);
    press(Qt::Key_K, Qt::ShiftModifier);
    EXPECT_EQ(track().keyframeCount(), 2u);
    press(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(track().keyframeCount(), 3u);
    press(Qt::Key_Home);
    for (int i = 0; i < 2; ++i) press(Qt::Key_Plus, Qt::ControlModifier);
    keep(3);

    // It plays.
    EXPECT_TRUE(composition().controls.loopButton.state());
    static_cast<void>(listener.heard("/lamp/level"));
    const std::size_t before = listener.heard("/lamp/level").size();
    press(Qt::Key_Space);
    EXPECT_TRUE(
        eventually([&] { return composition().state.currentTime.get().value > composition().compFPS(); }));
    keep(4);
    EXPECT_TRUE(eventually(
        [&] { return composition().state.currentTime.get().value > 2 * composition().compFPS() + 2; }));
    press(Qt::Key_Space);
    const std::vector<float> all = listener.heard("/lamp/level");
    const std::vector<float> values(all.begin() + static_cast<std::ptrdiff_t>(before), all.end());
    ASSERT_GT(values.size(), 40u);
    const auto peak = std::max_element(values.begin(), values.end());
    EXPECT_EQ(*peak, 1.0f);
    EXPECT_TRUE(std::is_sorted(values.begin(), peak + 1));
    EXPECT_TRUE(std::is_sorted(peak, values.end(), std::greater<>()));
    EXPECT_EQ(values.back(), 0.0f);

    // It is saved.
    const std::string path = folder.filePath("overture.mrv").toStdString();
    EXPECT_TRUE(window().windowTitle().contains('*'));
    {
        const WhenAsked asked([&](QWidget& panel) {
            auto* field = panel.findChild<QLineEdit*>("fileNameEdit");
            ASSERT_NE(field, nullptr);
            type(*field, "overture");
            QTest::keyClick(field, Qt::Key_Return);
        });
        press(Qt::Key_S, Qt::ControlModifier);
    }
    EXPECT_FALSE(window().windowTitle().contains('*'));
    const PropertyList saved = readPropertyList(path).value;
    const PropertyList* first = saved.find("Comp-0");
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first->find("compName")->stringOr(""), "Overture");
    ASSERT_EQ(first->find("tracks")->size(), 1u);
    const PropertyList& lamp = first->find("tracks")->entries().begin()->value;
    EXPECT_EQ(lamp.find("trackName")->stringOr(""), "Lamp");
    EXPECT_EQ(lamp.find("oscPortName")->stringOr(""), "Video");
    EXPECT_EQ(lamp.find("trackOSCAddress")->stringOr(""), "/lamp/level");
    std::vector<std::pair<std::int64_t, double>> points;
    for (const auto& [key, keyframe] : lamp.find("keyFrames")->entries())
        points.emplace_back(keyframe.find("time")->integerOr(-1), keyframe.find("value")->realOr(-1));
    const std::int64_t second = composition().compFPS();
    EXPECT_EQ(points, (std::vector<std::pair<std::int64_t, double>>{{0, 0}, {second, 100}, {2 * second, 0}}));

    // And opened again.
    {
        const WhenAsked asked([](QWidget& question) { answer(question, "OK"); });
        press(Qt::Key_O, Qt::ControlModifier | Qt::AltModifier);
    }
    EXPECT_EQ(show->application().projectFile.projectURL(), path);
    EXPECT_EQ(composition().compName(), "Overture");
    EXPECT_EQ(track().name(), "Lamp");
    EXPECT_EQ(track().keyframeCount(), 3u);
    EXPECT_TRUE(window().windowTitle().contains("overture"));
}
