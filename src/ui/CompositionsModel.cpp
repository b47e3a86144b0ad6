#include "ui/CompositionsModel.h"

#include <QMimeData>

#include <algorithm>

namespace marvo::ui {
namespace {

// Its identifier: what stands in its row may change while it is dragged.
constexpr const char* compositionType = "application/x-marvo-composition";

} // namespace

void CompositionsModel::reload() {
    beginResetModel();
    endResetModel();
}

void CompositionsModel::updateTable() {
    const int rows = rowCount();
    for (int row = 0; row < rows; ++row) {
        CompositionState& state = application_.compositions.at(static_cast<std::size_t>(row)).state;
        const auto refresh = [&](Relaxed<bool>& flag, Column column) {
            if (!flag) return;
            flag = false;
            emit dataChanged(index(row, column), index(row, column));
        };
        refresh(state.shouldUpdateProgress, nameColumn);
        refresh(state.shouldUpdateCompstate, enabledColumn);
        refresh(state.shouldUpdatePlaystate, playColumn);
    }
}

int CompositionsModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(application_.compositions.count());
}

int CompositionsModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : columns;
}

MarvoTimelineController* CompositionsModel::at(const QModelIndex& index) const {
    const auto row = static_cast<std::size_t>(index.row());
    return index.isValid() && row < application_.compositions.count() ? &application_.compositions.at(row)
                                                                      : nullptr;
}

QVariant CompositionsModel::data(const QModelIndex& index, int role) const {
    const MarvoTimelineController* composition = at(index);
    if (!composition) return {};
    switch (index.column()) {
    case indexColumn:
        if (role == Qt::DisplayRole) return QString::number(index.row() + 1);
        if (role == Qt::TextAlignmentRole) return int(Qt::AlignCenter);
        break;
    case nameColumn:
        if (role == Qt::DisplayRole || role == Qt::EditRole || role == Qt::ToolTipRole ||
            role == Qt::AccessibleTextRole)
            return QString::fromStdString(composition->compName());
        if (role == progressRole) return std::clamp(composition->transport.progress(), 0.0f, 1.0f);
        break;
    case enabledColumn:
        if (role == Qt::DisplayRole) return bool(composition->state.compState);
        if (role == Qt::ToolTipRole)
            return composition->state.compState ? QStringLiteral("On") : QStringLiteral("Off");
        break;
    case playColumn:
        if (role == Qt::DisplayRole) return bool(composition->state.isRunning);
        if (role == Qt::ToolTipRole)
            return composition->state.isRunning ? QStringLiteral("Stop") : QStringLiteral("Play");
        break;
    default:
        break;
    }
    return {};
}

bool CompositionsModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (role != Qt::EditRole || index.column() != nameColumn || !at(index)) return false;
    if (!rename(at(index)->identifier(), value.toString().toStdString())) return false;
    emit dataChanged(index, index);
    return true;
}

bool CompositionsModel::mayBeCalled(const std::string& identifier, const std::string& name) const {
    const CompositionSet& compositions = application_.compositions;
    return compositions.isAvailableName(name, compositions.compositionWithIdentifier(identifier));
}

bool CompositionsModel::rename(const std::string& identifier, const std::string& name) {
    MarvoTimelineController* composition = application_.compositions.compositionWithIdentifier(identifier);
    if (!composition) return false;
    const bool renamed =
        !application_.isProjectLocked() && application_.compositions.renameComposition(*composition, name);
    if (!renamed) application_.beep();
    return renamed;
}

Qt::ItemFlags CompositionsModel::flags(const QModelIndex& index) const {
    // What is dropped falls between rows, which is the place of no item.
    if (!index.isValid()) return Qt::ItemIsDropEnabled;
    Qt::ItemFlags flags = Qt::ItemIsSelectable | Qt::ItemIsEnabled;
    if (!application_.compositions.isProjectLocked()) flags |= Qt::ItemIsDragEnabled;
    if (index.column() == nameColumn && !application_.compositions.isProjectLocked())
        flags |= Qt::ItemIsEditable;
    return flags;
}

QStringList CompositionsModel::mimeTypes() const {
    return {QString::fromLatin1(compositionType)};
}

QMimeData* CompositionsModel::mimeData(const QModelIndexList& indexes) const {
    if (indexes.isEmpty() || application_.compositions.isProjectLocked()) return nullptr;
    const MarvoTimelineController* composition = at(indexes.first());
    if (!composition) return nullptr;
    auto* data = new QMimeData;
    data->setData(QString::fromLatin1(compositionType), QByteArray::fromStdString(composition->identifier()));
    return data;
}

int CompositionsModel::draggedRow(const QMimeData* data) const {
    const std::string dragged = data->data(QString::fromLatin1(compositionType)).toStdString();
    for (int row = 0; row < rowCount(); ++row) {
        if (application_.compositions.at(static_cast<std::size_t>(row)).identifier() == dragged) return row;
    }
    return -1;
}

bool CompositionsModel::canDropMimeData(const QMimeData* data, Qt::DropAction action, int row, int,
                                        const QModelIndex& parent) const {
    const int from = draggedRow(data);
    return action == Qt::MoveAction && from >= 0 && !parent.isValid() && row != from &&
           !application_.compositions.isProjectLocked();
}

bool CompositionsModel::dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                                     const QModelIndex& parent) {
    if (!canDropMimeData(data, action, row, column, parent)) return false;
    // Below the last row is no row.
    application_.compositions.moveComposition(draggedRow(data), row < 0 ? rowCount() : row);
    return true;
}

} // namespace marvo::ui
