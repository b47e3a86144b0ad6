// What is read out, and the way that Tab takes through every dialog.
#include "Dialogs.h"

#include <QAccessible>

#include <set>

using namespace marvo;
using namespace marvo::ui;
using namespace marvo::ui::testing;

namespace {

struct AccessibilityTest : ::testing::Test, Dialogs {
    static std::vector<QWidget*> tabOrder(QWidget& window) {
        std::vector<QWidget*> order;
        for (QWidget* widget = window.nextInFocusChain(); widget != &window;
             widget = widget->nextInFocusChain()) {
            if (widget->window() == &window && widget->isVisible() && widget->isEnabled() &&
                (widget->focusPolicy() & Qt::TabFocus) && !widget->focusProxy())
                order.push_back(widget);
        }
        return order;
    }
    // As a reader of screens gets it: the name given, the text of the label beside, or its own text.
    static QString nameOf(QWidget& widget) {
        QAccessibleInterface* read = QAccessible::queryAccessibleInterface(&widget);
        return read ? read->text(QAccessible::Name) : QString();
    }
    static QPoint middleOf(const QWidget& widget) {
        return widget.mapTo(widget.window(), widget.rect().center());
    }
};

} // namespace

TEST_F(AccessibilityTest, WhateverTakesTheKeyboardInADialogHasAName) {
    std::size_t count = 0;
    const auto look = [&](QWidget& window, const QString& name) {
        for (QWidget* widget : window.findChildren<QWidget*>()) {
            if (!widget->isVisible() || widget->focusPolicy() == Qt::NoFocus || widget->focusProxy())
                continue;
            EXPECT_FALSE(nameOf(*widget).isEmpty())
                << name.toStdString() << ": " << widget->metaObject()->className() << " "
                << widget->objectName().toStdString();
            ++count;
        }
    };
    eachDialog(look);
    EXPECT_GT(count, 50u);
}

TEST_F(AccessibilityTest, NoTwoThingsOfADialogAreCalledTheSame) {
    eachDialog([&](QWidget& window, const QString& name) {
        std::set<QString> taken;
        for (QWidget* widget : tabOrder(window)) {
            EXPECT_TRUE(taken.insert(nameOf(*widget)).second)
                << name.toStdString() << ": " << nameOf(*widget).toStdString();
        }
    });
}

TEST_F(AccessibilityTest, DialogsAndPanelsSayWhatTheyAre) {
    const auto look = [](QWidget& window, const QString& name) {
        if (name.startsWith(QStringLiteral("popup-")) || name == QStringLiteral("cue-popover")) return;
        EXPECT_FALSE(window.windowTitle().isEmpty()) << name.toStdString();
    };
    eachDialog(look);
    eachFilePanel(look);
}

TEST_F(AccessibilityTest, TabWalksEveryDialogFromTopToBottom) {
    eachDialog([&](QWidget& window, const QString& name) {
        const std::vector<QWidget*> order = tabOrder(window);
        for (std::size_t i = 1; i < order.size(); ++i) {
            const QPoint before = middleOf(*order[i - 1]);
            const QPoint now = middleOf(*order[i]);
            EXPECT_TRUE(now.y() > before.y() + 10 ||
                        (std::abs(now.y() - before.y()) <= 10 && now.x() > before.x()))
                << name.toStdString() << ": " << nameOf(*order[i - 1]).toStdString() << ", then "
                << nameOf(*order[i]).toStdString();
        }
    });
}

TEST_F(AccessibilityTest, WhatIsWalkedToIsSeen) {
    eachDialog([&](QWidget& window, const QString& name) {
        const std::vector<QWidget*> order = tabOrder(window);
        if (order.size() < 2) return;
        window.activateWindow();
        for (QWidget* widget : order) {
            QWidget* elsewhere = widget == order.front() ? order.back() : order.front();
            elsewhere->setFocus();
            QApplication::processEvents();
            const QImage before = drawn(*widget, 1);
            widget->setFocus();
            QApplication::processEvents();
            EXPECT_NE(drawn(*widget, 1), before)
                << name.toStdString() << ": " << nameOf(*widget).toStdString();
        }
    });
}

TEST_F(AccessibilityTest, EveryEntryOfEveryMenuHasAName) {
    eachContextMenu([](QWidget& menu, const QString& name) {
        for (const QAction* entry : menu.actions())
            EXPECT_TRUE(entry->isSeparator() || !entry->text().isEmpty()) << name.toStdString();
    });
}
