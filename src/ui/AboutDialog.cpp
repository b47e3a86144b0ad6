#include "ui/AboutDialog.h"

#include "headless/CommandLine.h"
#include "ui/Look.h"
#include "ui/ProgramIcon.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace marvo::ui {

AboutDialog::AboutDialog(QWidget* parent) : QDialog(parent) {
    setWindowTitle(QStringLiteral("About Marvo"));
    auto* picture = new QLabel(this);
    picture->setPixmap(programIcon().pixmap(QSize(64, 64), devicePixelRatioF()));
    auto* name = new QLabel(QStringLiteral("Marvo ") + QString::fromUtf8(programVersion()), this);
    name->setFont(typeFont(Type::strong));
    name->setTextInteractionFlags(Qt::TextSelectableByMouse);
    auto* texts = new QVBoxLayout;
    texts->setSpacing(size::gap);
    texts->addWidget(name);
    texts->addWidget(new QLabel(QStringLiteral("A show-control sequencer."), this));
    texts->addWidget(
        new QLabel(QStringLiteral("Free to use, change and pass on under the MIT licence."), this));
    auto* upper = new QHBoxLayout;
    upper->setSpacing(2 * size::margin);
    upper->addWidget(picture, 0, Qt::AlignTop);
    upper->addLayout(texts);
    auto* close = new QPushButton(QStringLiteral("Close"), this);
    close->setDefault(true);
    connect(close, &QPushButton::clicked, this, [this] { this->close(); });
    auto* row = new QHBoxLayout;
    row->addStretch();
    row->addWidget(close);
    auto* all = new QVBoxLayout(this);
    all->setContentsMargins(2 * size::margin, 2 * size::margin, 2 * size::margin, 2 * size::margin);
    all->setSpacing(2 * size::margin);
    all->addLayout(upper);
    all->addLayout(row);
    all->setSizeConstraint(QLayout::SetFixedSize);
}

} // namespace marvo::ui
