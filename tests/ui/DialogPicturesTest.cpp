// Pictures of every dialog, panel and menu, in the dark and in daylight, and that no text in them is cut off.
#include "Dialogs.h"

#include <QListView>
#include <QPushButton>

using namespace marvo;
using namespace marvo::ui;
using namespace marvo::ui::testing;

namespace {

struct DialogPicturesTest : ::testing::TestWithParam<Variant>, Dialogs {
    DialogPicturesTest() {
        applyLook(*qApp, GetParam());
        frame();
    }
    ~DialogPicturesTest() override { applyLook(*qApp, Variant::dark); }

    // Dark ones have no suffix.
    static QString named(const QString& name) {
        return GetParam() == Variant::light ? name + QStringLiteral("-light") : name;
    }
    // How wide what a widget says is, and how much room it has for that; nothing for one that says nothing.
    struct Text {
        QString said;
        int width;
        int room;
    };
    static std::vector<Text> textsOf(const QWidget& window) {
        std::vector<Text> texts;
        for (const QWidget* one : window.findChildren<QWidget*>()) {
            if (!one->isVisible()) continue;
            const auto measure = [&](const QString& said, int more) {
                if (!said.isEmpty())
                    texts.push_back({said, one->fontMetrics().horizontalAdvance(said) + more, one->width()});
            };
            if (const auto* label = qobject_cast<const QLabel*>(one)) {
                if (label->wordWrap())
                    texts.push_back({label->text(), label->heightForWidth(label->width()), label->height()});
                else
                    measure(label->text(), 0);
            } else if (const auto* button = qobject_cast<const QPushButton*>(one)) {
                measure(QString(button->text()).remove(u'&'), 12);
            } else if (const auto* box = qobject_cast<const QAbstractButton*>(one)) {
                measure(box->text(), 0);
            } else if (const auto* choice = qobject_cast<const QComboBox*>(one)) {
                for (int i = 0; i < choice->count(); ++i) measure(choice->itemText(i), 29);
            } else if (const auto* field = qobject_cast<const QLineEdit*>(one)) {
                measure(field->text(), 14);
            }
        }
        return texts;
    }
    static void menuFits(const QMenu& menu) {
        const QFontMetrics metrics(menu.font());
        for (QAction* entry : menu.actions()) {
            if (entry->isSeparator()) continue;
            EXPECT_GE(menu.actionGeometry(entry).width(),
                      metrics.horizontalAdvance(entry->text()) +
                          metrics.horizontalAdvance(entry->shortcut().toString()) + 40)
                << entry->text().toStdString();
        }
    }
};

} // namespace

TEST_P(DialogPicturesTest, EveryDialogIsDrawnAndItsTextsFit) {
    std::size_t count = 0;
    eachDialog([&](QWidget& window, const QString& name) {
        keepPicture(window, named(name));
        for (const Text& text : textsOf(window))
            EXPECT_GE(text.room, text.width) << name.toStdString() << ": " << text.said.toStdString();
        ++count;
    });
    EXPECT_GE(count, 14u);
}

TEST_P(DialogPicturesTest, EveryMenuOfTheBarIsDrawn) {
    for (QAction* action : window().menuBar()->actions()) {
        QMenu& menu = *action->menu();
        menu.popup(QPoint(40, 40));
        frame();
        // The pointer is over one of them.
        menu.setActiveAction(menu.actions().at(1));
        keepPicture(menu, named(QStringLiteral("menu-") + action->text().remove('&').toLower()));
        menuFits(menu);
        menu.close();
    }
}

TEST_P(DialogPicturesTest, EveryContextMenuIsDrawn) {
    std::size_t count = 0;
    eachContextMenu([&](QWidget& menu, const QString& name) {
        keepPicture(menu, named(name));
        menuFits(dynamic_cast<QMenu&>(menu));
        ++count;
    });
    EXPECT_EQ(count, 6u);
}

TEST_P(DialogPicturesTest, ThePanelsForFilesAreDrawn) {
    std::size_t count = 0;
    eachFilePanel([&](QWidget& panel, const QString& name) {
        keepPicture(panel, named(name));
        ++count;
    });
    EXPECT_EQ(count, 2u);
}

TEST_P(DialogPicturesTest, OfAListTheChosenEntryStandsOut) {
    std::size_t count = 0;
    eachDialog([&](QWidget& popup, const QString& name) {
        if (!name.startsWith(QStringLiteral("popup-"))) return;
        const auto& view = *popup.findChild<QAbstractItemView*>();
        const QRect chosen = view.visualRect(view.currentIndex());
        const QPoint within = view.viewport()->mapTo(&popup, chosen.topRight() + QPoint(-6, 4));
        EXPECT_EQ(drawn(popup, 1).pixelColor(within), Look::current().selection);
        EXPECT_EQ(drawn(popup, 1).pixelColor(within - QPoint(0, chosen.height())), Look::current().panel);
        ++count;
    });
    EXPECT_GT(count, 0u);
}

// What stands through a change of the look has the colours of the new one, down to the captions.
TEST_P(DialogPicturesTest, WindowsThatStandFollowAChangeOfTheLook) {
    const Variant other = GetParam() == Variant::light ? Variant::dark : Variant::light;
    const auto caption = [](QWidget& window, const QString& text) {
        for (const QLabel* label : window.findChildren<QLabel*>()) {
            if (label->text() == text) return label->palette().color(label->foregroundRole());
        }
        return QColor();
    };
    choose("Start Window");
    window().rangePanel().show();
    applyLook(*qApp, other);
    frame();
    EXPECT_EQ(colorAt(cues(), QPoint(cues().width() - 3, 3)), Look::current().panel);
    EXPECT_EQ(colorAt(headers(), QPoint(headers().width() - 2, 2)).lightness() > 128,
              other == Variant::light);
    EXPECT_EQ(caption(window().rangePanel(), QStringLiteral("H")), Look::current().dimText);
    EXPECT_EQ(caption(desktop->startWindow(), QStringLiteral("Recent projects")), Look::current().dimText);
    eachDialog([](QWidget& dialog, const QString& name) {
        if (name.startsWith(QStringLiteral("popup-"))) return;
        EXPECT_EQ(drawn(dialog, 1).pixelColor(4, dialog.height() / 2), Look::current().window)
            << name.toStdString();
    });
}

INSTANTIATE_TEST_SUITE_P(Looks, DialogPicturesTest, ::testing::Values(Variant::dark, Variant::light),
                         [](const auto& look) { return look.param == Variant::dark ? "Dark" : "Daylight"; });
