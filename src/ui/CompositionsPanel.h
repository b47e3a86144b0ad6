// The left side of the window: what is selected, the master transport, and the table of compositions. Main
// thread.
#pragma once

#include "app/AppDelegate.h"
#include "ui/CompositionsModel.h"

#include <QWidget>

#include <vector>

class QLabel;
class QTableView;

namespace marvo::ui {

class ControlButton;

class CompositionsPanel : public QWidget {
public:
    CompositionsPanel(AppDelegate& application, QWidget* parent);

    // The list has changed in the model. Whatever the pointer has hold of is let go.
    void reload();
    // The selection alone has: a row that was just pressed may still be dragged.
    void showSelection();
    void updateTable();
    void follow();
    void setShowsIndexes(bool shows);
    // Starts typing a new name for the selected composition.
    void renameSelected();
    bool isEditingCell() const;
    void takeKeyboard();

    std::function<void()> onSelected;
    std::function<void()> onRemove;
    std::function<void(const QPoint& global)> onEnableMenu;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void addMasterControls();
    void addTable();
    void clicked(const QModelIndex& index);

    AppDelegate& application_;
    CompositionsModel model_;
    QLabel* info_;
    QTableView* table_;
    std::vector<ControlButton*> buttons_;
    bool selecting_ = false;
};

} // namespace marvo::ui
