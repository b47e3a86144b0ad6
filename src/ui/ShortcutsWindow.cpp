#include "ui/ShortcutsWindow.h"

#include "ui/Look.h"

#include <QAction>
#include <QHeaderView>
#include <QMenu>
#include <QMenuBar>
#include <QVBoxLayout>

#include <algorithm>

namespace marvo::ui {
namespace {

constexpr int commandColumn = 0;
constexpr int keysColumn = 1;
constexpr int rowHeight = 22;

QString plain(QString text) {
    return text.remove(u'&').remove(u'\u2026');
}

QString keysOf(const QAction& action) {
    QStringList keys;
    for (const QKeySequence& one : action.shortcuts()) keys << one.toString(QKeySequence::NativeText);
    return keys.join(QStringLiteral(", "));
}

} // namespace

ShortcutsWindow::ShortcutsWindow(const QMenuBar& menus, QWidget* parent) : QDialog(parent) {
    setWindowTitle(QStringLiteral("Keyboard Shortcuts"));
    filter_ = new QLineEdit(this);
    filter_->setPlaceholderText(QStringLiteral("Find a command or a key"));
    filter_->setAccessibleName(QStringLiteral("Find"));
    filter_->setClearButtonEnabled(true);
    list_ = new QTreeWidget(this);
    list_->setAccessibleName(QStringLiteral("Commands and their keys"));
    list_->setColumnCount(2);
    list_->setHeaderHidden(true);
    list_->setRootIsDecorated(false);
    list_->setItemsExpandable(false);
    list_->setIndentation(2 * size::margin);
    list_->setUniformRowHeights(true);
    list_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    list_->setSelectionMode(QAbstractItemView::SingleSelection);
    for (const QAction* entry : menus.actions()) {
        if (!entry->menu()) continue;
        auto* group = new QTreeWidgetItem(list_, {plain(entry->text())});
        group->setFont(commandColumn, typeFont(Type::strong));
        group->setSizeHint(commandColumn, QSize(0, rowHeight));
        group->setFlags(Qt::ItemIsEnabled);
        addEntries(*entry->menu(), QString(), group);
    }
    list_->expandAll();
    list_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    list_->header()->setStretchLastSection(false);
    list_->header()->setSectionResizeMode(commandColumn, QHeaderView::Stretch);
    list_->header()->setSectionResizeMode(keysColumn, QHeaderView::ResizeToContents);
    connect(filter_, &QLineEdit::textChanged, this, [this](const QString& text) { showMatching(text); });
    auto* all = new QVBoxLayout(this);
    all->setContentsMargins(2 * size::margin, 2 * size::margin, 2 * size::margin, 2 * size::margin);
    all->setSpacing(size::margin);
    all->addWidget(filter_);
    all->addWidget(list_);
    resize(680, 640);
}

void ShortcutsWindow::addEntries(const QMenu& menu, const QString& path, QTreeWidgetItem* group) {
    for (const QAction* entry : menu.actions()) {
        if (entry->isSeparator()) continue;
        const QString name = path + plain(entry->text());
        if (entry->menu())
            addEntries(*entry->menu(), name + QStringLiteral(": "), group);
        else
            (new QTreeWidgetItem(group, {name, keysOf(*entry)}))
                ->setSizeHint(commandColumn, QSize(0, rowHeight));
    }
}

void ShortcutsWindow::showMatching(const QString& text) {
    const QStringList words = text.split(u' ', Qt::SkipEmptyParts);
    for (int i = 0; i < list_->topLevelItemCount(); ++i) {
        QTreeWidgetItem* group = list_->topLevelItem(i);
        bool any = false;
        for (int j = 0; j < group->childCount(); ++j) {
            QTreeWidgetItem* item = group->child(j);
            const QString all =
                group->text(commandColumn) + u' ' + item->text(commandColumn) + u' ' + item->text(keysColumn);
            const bool matches = std::all_of(words.begin(), words.end(), [&](const QString& word) {
                return all.contains(word, Qt::CaseInsensitive);
            });
            item->setHidden(!matches);
            any |= matches;
        }
        group->setHidden(!any);
    }
}

} // namespace marvo::ui
