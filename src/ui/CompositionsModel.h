// The compositions as rows of a table: index, name with progress, on, playing. Main thread.
#pragma once

#include "app/AppDelegate.h"

#include <QAbstractTableModel>

namespace marvo::ui {

class CompositionsModel : public QAbstractTableModel {
public:
    enum Column { indexColumn, nameColumn, enabledColumn, playColumn, columns };
    // Of the name: 0 to 1.
    static constexpr int progressRole = Qt::UserRole;

    explicit CompositionsModel(AppDelegate& application) : application_(application) {}

    // The list itself has changed.
    void reload();
    // The cells whose composition has raised a flag.
    void updateTable();

    MarvoTimelineController* at(const QModelIndex& index) const;
    // A name that is not empty and that no other composition bears.
    bool mayBeCalled(const std::string& identifier, const std::string& name) const;
    // Whichever is selected by now. Beeps when it may not be called so; false also when it has gone.
    bool rename(const std::string& identifier, const std::string& name);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    // Rows are dragged to another place between rows, unless the project is locked.
    Qt::DropActions supportedDropActions() const override { return Qt::MoveAction; }
    QStringList mimeTypes() const override;
    QMimeData* mimeData(const QModelIndexList& indexes) const override;
    bool canDropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                         const QModelIndex& parent) const override;
    bool dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                      const QModelIndex& parent) override;

private:
    // The row of what is dragged now, -1 when it is none of this table or has gone meanwhile.
    int draggedRow(const QMimeData* data) const;

    AppDelegate& application_;
};

} // namespace marvo::ui
