#include "ui/Notice.h"

#include "ui/Fields.h"
#include "ui/Look.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace marvo::ui {

Notice* Notice::show(const QString& title, const QString& text, QWidget* parent) {
    for (QWidget* window : QApplication::topLevelWidgets()) {
        auto* present = dynamic_cast<Notice*>(window);
        if (present && present->isVisible() && present->accessibleDescription() == text) {
            present->raise();
            return present;
        }
    }
    auto* notice = new Notice(title, text, parent);
    notice->QDialog::show();
    return notice;
}

Notice::Notice(const QString& title, const QString& text, QWidget* parent)
    : QDialog(parent, Qt::Tool | Qt::WindowTitleHint | Qt::WindowCloseButtonHint) {
    setAttribute(Qt::WA_DeleteOnClose);
    setAttribute(Qt::WA_ShowWithoutActivating);
    setWindowTitle(QStringLiteral("Marvo"));
    setAccessibleName(title);
    setAccessibleDescription(text);

    auto* headline = new QLabel(title, this);
    headline->setFont(typeFont(Type::strong));
    auto* body = new QLabel(text, this);
    body->setTextFormat(Qt::PlainText);
    body->setWordWrap(true);
    body->setFixedWidth(420);
    body->setTextInteractionFlags(Qt::TextSelectableByMouse);
    auto* close = new QPushButton(QStringLiteral("OK"), this);
    connect(close, &QPushButton::clicked, this, [this] { this->close(); });

    auto* row = new QHBoxLayout;
    row->addStretch();
    row->addWidget(close);
    auto* texts = new QVBoxLayout;
    texts->setSpacing(size::gap);
    texts->addWidget(headline);
    texts->addWidget(body);
    auto* upper = new QHBoxLayout;
    upper->setSpacing(2 * size::margin);
    upper->addWidget(new TroublePicture(this), 0, Qt::AlignTop);
    upper->addLayout(texts);
    auto* all = new QVBoxLayout(this);
    all->setContentsMargins(2 * size::margin, 2 * size::margin, 2 * size::margin, 2 * size::margin);
    all->setSpacing(2 * size::margin);
    all->addLayout(upper);
    all->addLayout(row);
    all->setSizeConstraint(QLayout::SetFixedSize);
}

} // namespace marvo::ui
