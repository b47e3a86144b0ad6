#include "ui/CompositionsPanel.h"

#include "ui/ControlButton.h"
#include "ui/Look.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QStyledItemDelegate>
#include <QTableView>
#include <QVBoxLayout>

namespace marvo::ui {
namespace {

// Property of a field: the identifier of the composition whose name is typed into it.
constexpr const char* editedComposition = "composition";

std::string editedIn(const QLineEdit& field) {
    return field.property(editedComposition).toByteArray().toStdString();
}

void takeName(QLineEdit& field, CompositionsModel& model) {
    if (!field.isModified()) return;
    field.setModified(false); // once, however many ways the typing ends
    model.rename(editedIn(field), field.text().toStdString());
}

// Name with a bar of progress, and the two switches of a row.
class RowDelegate : public QStyledItemDelegate {
public:
    RowDelegate(AppDelegate& application, CompositionsModel& model, QObject* parent)
        : QStyledItemDelegate(parent), application_(application), model_(model) {}

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override {
        const Look& look = Look::current();
        const bool selected = option.state & QStyle::State_Selected;
        painter->fillRect(option.rect, selected ? look.selection : look.panel);
        const bool on = index.siblingAtColumn(CompositionsModel::enabledColumn).data().toBool();
        const bool plays = index.siblingAtColumn(CompositionsModel::playColumn).data().toBool();
        const QRectF cell(option.rect);
        const bool focused = selected && option.widget && option.widget->hasFocus();
        const bool isSwitch = index.column() >= CompositionsModel::enabledColumn;
        if (isSwitch && option.state & QStyle::State_MouseOver) {
            painter->setRenderHint(QPainter::Antialiasing);
            painter->setPen(Qt::NoPen);
            painter->setBrush(look.hover);
            painter->drawRoundedRect(cell.adjusted(1, 1, -1, -1), 3, 3);
        }
        if (index.column() == CompositionsModel::nameColumn) {
            const double foot = focused ? 5 : 3; // within the ring
            const double progress = index.data(CompositionsModel::progressRole).toDouble();
            painter->fillRect(QRectF(cell.left(), cell.bottom() - foot, cell.width() * progress, 3),
                              plays ? look.plays : look.dimText);
        }
        if (index.column() == CompositionsModel::enabledColumn) {
            drawIcon(*painter, Icon::power, cell.adjusted(4, 4, -4, -4), on ? look.text : look.faintText);
        } else if (index.column() == CompositionsModel::playColumn) {
            drawIcon(*painter, plays ? Icon::stop : Icon::play, cell.adjusted(4, 4, -4, -4),
                     plays ? look.plays : look.dimText);
        } else {
            painter->setPen(on ? look.text : look.faintText);
            painter->setFont(typeFont(plays ? Type::strong : Type::normal));
            const QFontMetricsF metrics(painter->font());
            const QRectF inside = cell.adjusted(6, 0, -4, -2);
            painter->drawText(inside, Qt::AlignVCenter | Qt::AlignLeft,
                              metrics.elidedText(index.data().toString(), Qt::ElideRight, inside.width()));
        }
        if (focused) drawFocus(*painter, option, index);
    }

    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem&,
                          const QModelIndex& index) const override {
        auto* editor = new QLineEdit(parent);
        // Rows may move while a name is typed.
        if (const MarvoTimelineController* composition = model_.at(index))
            editor->setProperty(editedComposition, QByteArray::fromStdString(composition->identifier()));
        editor->setAccessibleName(QStringLiteral("Composition name"));
        editor->setTextMargins(-2, -3, -2, -3);
        return editor;
    }

    void updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option,
                              const QModelIndex&) const override {
        editor->setGeometry(option.rect);
    }

    void setModelData(QWidget* editor, QAbstractItemModel*, const QModelIndex&) const override {
        if (auto* field = qobject_cast<QLineEdit*>(editor)) takeName(*field, model_);
    }

protected:
    // A name that cannot be does not end the typing.
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::KeyPress) {
            const int key = static_cast<QKeyEvent*>(event)->key();
            const bool confirms =
                key == Qt::Key_Return || key == Qt::Key_Enter || key == Qt::Key_Tab || key == Qt::Key_Backtab;
            auto* editor = qobject_cast<QLineEdit*>(watched);
            if (confirms && editor && !model_.mayBeCalled(editedIn(*editor), editor->text().toStdString())) {
                application_.beep();
                editor->selectAll();
                return true;
            }
        }
        return QStyledItemDelegate::eventFilter(watched, event);
    }

private:
    // The ring goes around the row; each cell draws its part of it.
    static void drawFocus(QPainter& painter, const QStyleOptionViewItem& option, const QModelIndex& index) {
        constexpr double width = 2;
        const QRectF cell(option.rect);
        const auto* table = qobject_cast<const QTableView*>(option.widget);
        const bool numbered = table && !table->isColumnHidden(CompositionsModel::indexColumn);
        const QColor& ink = Look::current().focus;
        painter.fillRect(QRectF(cell.left(), cell.top(), cell.width(), width), ink);
        painter.fillRect(QRectF(cell.left(), cell.bottom() - width, cell.width(), width), ink);
        if (index.column() == (numbered ? CompositionsModel::indexColumn : CompositionsModel::nameColumn))
            painter.fillRect(QRectF(cell.left(), cell.top(), width, cell.height()), ink);
        if (index.column() == CompositionsModel::playColumn)
            painter.fillRect(QRectF(cell.right() - width, cell.top(), width, cell.height()), ink);
    }

    AppDelegate& application_;
    CompositionsModel& model_;
};

class Table final : public QTableView {
public:
    using QTableView::QTableView;

protected:
    // QTableView would take a drop right below the dragged row for none; the model decides.
    void dropEvent(QDropEvent* event) override { QAbstractItemView::dropEvent(event); }
};

} // namespace

CompositionsPanel::CompositionsPanel(AppDelegate& application, QWidget* parent)
    : QWidget(parent), application_(application), model_(application) {
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(size::margin, size::gap, size::gap, 0);
    column->setSpacing(size::gap);
    info_ = new QLabel(this);
    info_->setAccessibleName(QStringLiteral("Information"));
    info_->setTextFormat(Qt::PlainText);
    info_->setWordWrap(true);
    info_->setMinimumHeight(36);
    column->addWidget(info_);
    addMasterControls();
    addTable();
    application_.infoDisplay.onChange = [this] {
        info_->setText(QString::fromStdString(application_.infoDisplay.text()));
        info_->setTextInteractionFlags(application_.infoDisplay.isSelectable() ? Qt::TextSelectableByMouse
                                                                               : Qt::NoTextInteraction);
    };
    application_.infoDisplay.onChange();
}

void CompositionsPanel::addMasterControls() {
    MasterTransport& master = application_.master;
    const struct {
        MarvoButton& control;
        Icon icon;
        const char* name;
        const char* shortcut;
        Accent accent;
    } controls[] = {
        {master.rewindAllButton, Icon::rewind, "Rewind all", "Ctrl+Home", Accent::none},
        {master.togglePlayAllButton, Icon::play, "Play all", "Ctrl+Space", Accent::plays},
        {master.queuedModeButton, Icon::queue, "Queued mode", "", Accent::none},
        {master.queuedLoopButton, Icon::queueLoop, "Loop the queue", "", Accent::none},
        {master.soloModeButton, Icon::solo, "Solo mode", "", Accent::none},
        {master.triggerPrevButton, Icon::previous, "Previous in the queue", "", Accent::none},
        {master.triggerNextButton, Icon::next, "Next in the queue", "", Accent::none},
        {master.addCompositionButton, Icon::plus, "Add composition", "Ctrl+Shift+N", Accent::none},
    };
    auto* row = new QHBoxLayout;
    row->setSpacing(4);
    for (const auto& one : controls) {
        auto* button = new ControlButton(one.control, one.icon, QString::fromLatin1(one.name), this);
        button->setShortcutText(QString::fromLatin1(one.shortcut));
        button->setAccent(one.accent);
        if (one.icon == Icon::play) button->setOnIcon(Icon::stop);
        row->addWidget(button);
        buttons_.push_back(button);
    }
    row->addStretch(1);
    static_cast<QVBoxLayout*>(layout())->addLayout(row);
}

void CompositionsPanel::addTable() {
    table_ = new Table(this);
    table_->setModel(&model_);
    table_->setItemDelegate(new RowDelegate(application_, model_, table_));
    table_->setAccessibleName(QStringLiteral("Compositions"));
    table_->setShowGrid(false);
    table_->setFrameShape(QFrame::NoFrame);
    table_->horizontalHeader()->hide();
    table_->verticalHeader()->hide();
    table_->verticalHeader()->setDefaultSectionSize(size::row);
    table_->verticalHeader()->setMinimumSectionSize(size::row);
    table_->setSelectionBehavior(QAbstractItemView::SelectRows);
    table_->setSelectionMode(QAbstractItemView::SingleSelection);
    table_->setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed);
    table_->setTabKeyNavigation(false);
    table_->setDragDropMode(QAbstractItemView::DragDrop);
    table_->setDefaultDropAction(Qt::MoveAction);
    table_->setDragDropOverwriteMode(false);
    table_->horizontalHeader()->setMinimumSectionSize(24);
    table_->setColumnWidth(CompositionsModel::indexColumn, 34);
    table_->setColumnWidth(CompositionsModel::enabledColumn, 28);
    table_->setColumnWidth(CompositionsModel::playColumn, 28);
    table_->horizontalHeader()->setSectionResizeMode(CompositionsModel::nameColumn, QHeaderView::Stretch);
    table_->setColumnHidden(CompositionsModel::indexColumn, true);
    table_->viewport()->setAttribute(Qt::WA_Hover); // the switches of a row answer to the pointer
    table_->installEventFilter(this);
    static_cast<QVBoxLayout*>(layout())->addWidget(table_, 1);
    connect(table_->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            [this](const QModelIndex& now) {
                if (selecting_ || !now.isValid()) return;
                application_.compositions.selectCompositionAtIndex(now.row());
                if (onSelected) onSelected();
            });
    connect(table_, &QTableView::clicked, this, [this](const QModelIndex& index) { clicked(index); });
    table_->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(table_, &QTableView::customContextMenuRequested, this, [this](const QPoint& at) {
        if (table_->indexAt(at).column() == CompositionsModel::enabledColumn && onEnableMenu)
            onEnableMenu(table_->viewport()->mapToGlobal(at));
    });
}

void CompositionsPanel::clicked(const QModelIndex& index) {
    const auto row = static_cast<std::size_t>(index.row());
    if (row >= application_.compositions.count()) return;
    MarvoTimelineController& composition = application_.compositions.at(row);
    if (index.column() == CompositionsModel::enabledColumn) composition.changeCompState();
    if (index.column() == CompositionsModel::playColumn) composition.transport.togglePlay();
    table_->viewport()->update();
}

void CompositionsPanel::reload() {
    selecting_ = true;
    // The field goes with the old rows; what it holds is kept.
    for (QLineEdit* field : table_->viewport()->findChildren<QLineEdit*>()) {
        if (!field->isHidden()) takeName(*field, model_);
    }
    model_.reload();
    showSelection();
}

void CompositionsPanel::showSelection() {
    selecting_ = true;
    const std::int64_t row = application_.compositions.selectedCompositionIndex();
    const QModelIndex now = table_->currentIndex();
    if (row < 0)
        table_->selectionModel()->clear();
    else if (!now.isValid() || now.row() != row)
        table_->setCurrentIndex(model_.index(static_cast<int>(row), CompositionsModel::nameColumn));
    selecting_ = false;
}

void CompositionsPanel::updateTable() {
    if (!isEditingCell()) model_.updateTable();
}

void CompositionsPanel::follow() {
    for (ControlButton* button : buttons_) button->follow();
}

void CompositionsPanel::setShowsIndexes(bool shows) {
    table_->setColumnHidden(CompositionsModel::indexColumn, !shows);
}

void CompositionsPanel::renameSelected() {
    const QModelIndex now = table_->currentIndex();
    if (now.isValid()) table_->edit(now.siblingAtColumn(CompositionsModel::nameColumn));
}

void CompositionsPanel::takeKeyboard() {
    table_->setFocus();
}

bool CompositionsPanel::isEditingCell() const {
    return table_->indexWidget(table_->currentIndex()) != nullptr ||
           (table_->focusWidget() && table_->focusWidget() != table_ &&
            table_->focusWidget()->inherits("QLineEdit"));
}

bool CompositionsPanel::eventFilter(QObject* watched, QEvent* event) {
    if (watched == table_ && event->type() == QEvent::KeyPress) {
        const auto* key = static_cast<QKeyEvent*>(event);
        if (key->key() == Qt::Key_Delete || key->key() == Qt::Key_Backspace) {
            if (application_.controlHub().midiLearn())
                application_.controlHub().removeCurrentMidi();
            else if (onRemove)
                onRemove();
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

} // namespace marvo::ui
