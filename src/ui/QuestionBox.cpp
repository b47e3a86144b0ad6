#include "ui/QuestionBox.h"

#include "ui/Fields.h"
#include "ui/Look.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace marvo::ui {
namespace {

constexpr int textWidth = 400;

QLabel* makeText(const std::string& text, Type type, QWidget* parent) {
    auto* label = new QLabel(QString::fromStdString(text), parent);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setFixedWidth(textWidth);
    label->setFont(typeFont(type));
    return label;
}

} // namespace

QuestionBox::QuestionBox(const ProjectQuestion& question, QWidget* parent) : QDialog(parent) {
    setWindowTitle(QStringLiteral("Marvo"));
    setAccessibleName(QString::fromStdString(question.message));
    setAccessibleDescription(QString::fromStdString(question.text));

    auto* texts = new QVBoxLayout;
    texts->setSpacing(size::gap);
    texts->addWidget(makeText(question.message, Type::strong, this));
    if (!question.text.empty()) texts->addWidget(makeText(question.text, Type::normal, this));
    auto* upper = new QHBoxLayout;
    upper->setSpacing(2 * size::margin);
    upper->addWidget(new TroublePicture(this), 0, Qt::AlignTop);
    upper->addLayout(texts);

    auto* row = new QHBoxLayout;
    row->setSpacing(size::gap);
    row->addStretch();
    for (std::size_t i = 0; i < question.buttons.size(); ++i) {
        const QString title = QString::fromStdString(question.buttons[i]);
        // A lone ampersand would mark a shortcut.
        auto* button = new QPushButton(QString(title).replace(u'&', QStringLiteral("&&")), this);
        button->setAccessibleName(title);
        button->setAutoDefault(false);
        const auto answer = static_cast<Answer>(i);
        connect(button, &QPushButton::clicked, this, [this, answer] {
            answer_ = answer;
            done(answer == Answer::cancel ? Rejected : Accepted);
        });
        row->addWidget(button);
        buttons_.push_back(button);
    }
    QPushButton* byReturn = button(question.byReturnKey);
    byReturn->setDefault(true);
    byReturn->setFocus();

    auto* all = new QVBoxLayout(this);
    all->setContentsMargins(2 * size::margin, 2 * size::margin, 2 * size::margin, 2 * size::margin);
    all->setSpacing(2 * size::margin);
    all->addLayout(upper);
    all->addLayout(row);
    all->setSizeConstraint(QLayout::SetFixedSize);
}

} // namespace marvo::ui
