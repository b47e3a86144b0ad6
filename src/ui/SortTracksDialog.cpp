#include "ui/SortTracksDialog.h"

#include "ui/Fields.h"
#include "ui/Look.h"

#include <QFormLayout>
#include <QHBoxLayout>
#include <QVBoxLayout>

namespace marvo::ui {

SortTracksDialog::SortTracksDialog(AppDelegate& application, MarvoTimelineController& composition,
                                   QWidget* parent)
    : QDialog(parent), composition_(application, composition) {
    setWindowTitle(QStringLiteral("Sort Tracks"));
    sortBy_ = new ChoiceField(this);
    sortBy_->setAccessibleName(QStringLiteral("Sort by"));
    for (const char* key : {"Track Name", "Track Type", "Art-Net Channel", "MIDI Channel", "OSC Address"})
        sortBy_->addItem(QString::fromUtf8(key));
    sortBy_->setMinimumWidth(200);
    ascending_ = new RadioButton(QStringLiteral("Ascending"), this);
    ascending_->setChecked(true);
    descending_ = new RadioButton(QStringLiteral("Descending"), this);
    auto* order = new QHBoxLayout;
    order->setSpacing(2 * size::margin);
    order->addWidget(ascending_);
    order->addWidget(descending_);
    order->addStretch();
    auto* form = new QFormLayout;
    form->setLabelAlignment(Qt::AlignRight);
    form->setHorizontalSpacing(size::margin);
    form->setVerticalSpacing(size::margin);
    form->addRow(QStringLiteral("Sort by"), sortBy_);
    form->addRow(QStringLiteral("Order"), order);

    sort_ = new QPushButton(QStringLiteral("Sort"), this);
    sort_->setDefault(true);
    auto* cancel = new QPushButton(QStringLiteral("Cancel"), this);
    connect(sort_, &QPushButton::clicked, this, [this] { accept(); });
    connect(cancel, &QPushButton::clicked, this, [this] { reject(); });
    auto* row = new QHBoxLayout;
    row->setSpacing(size::gap);
    row->addStretch();
    row->addWidget(sort_);
    row->addWidget(cancel);
    auto* all = new QVBoxLayout(this);
    all->setContentsMargins(2 * size::margin, 2 * size::margin, 2 * size::margin, 2 * size::margin);
    all->setSpacing(2 * size::margin);
    all->addLayout(form);
    all->addLayout(row);
    all->setSizeConstraint(QLayout::SetFixedSize);
}

void SortTracksDialog::follow() {
    if (!composition_.get() && isVisible()) reject();
}

void SortTracksDialog::accept() {
    MarvoTimelineController* composition = composition_.get();
    if (composition && composition->isProjectLocked()) return composition->beep();
    if (composition)
        composition->tracks.doSortTracks(sortBy_->currentText().toStdString(),
                                         ascending_->isChecked() ? 0 : 1);
    QDialog::accept();
}

} // namespace marvo::ui
