#include "ui/ReportDialog.h"

#include "ui/Look.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

namespace marvo::ui {
namespace {

constexpr int textWidth = 460;

QLabel* paragraph(const QString& text, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setFixedWidth(textWidth);
    return label;
}

} // namespace

ReportDialog::ReportDialog(const Reports& reports, QWidget* parent) : QDialog(parent), reports_(reports) {
    setWindowTitle(QStringLiteral("Report a Problem"));
    words_ = new QPlainTextEdit(this);
    words_->setAccessibleName(QStringLiteral("What happened"));
    words_->setPlaceholderText(QStringLiteral("What happened, and what should have happened?"));
    words_->setTabChangesFocus(true);
    words_->setFixedSize(textWidth, 120);
    outcome_ = paragraph(QString(), this);
    outcome_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    outcome_->hide();
    write_ = new QPushButton(QStringLiteral("Write Report"), this);
    write_->setDefault(true);
    close_ = new QPushButton(QStringLiteral("Cancel"), this);
    connect(write_, &QPushButton::clicked, this, [this] { write(); });
    connect(close_, &QPushButton::clicked, this, [this] { close(); });
    auto* row = new QHBoxLayout;
    row->setSpacing(size::gap);
    row->addStretch();
    row->addWidget(write_);
    row->addWidget(close_);
    auto* all = new QVBoxLayout(this);
    all->setContentsMargins(2 * size::margin, 2 * size::margin, 2 * size::margin, 2 * size::margin);
    all->setSpacing(2 * size::margin);
    all->addWidget(paragraph(
        QStringLiteral(
            "Your words and the log of this run become a text file. Read it, and send it to whoever "
            "looks after your system; it names projects, ports and addresses. Nothing is sent by "
            "itself."),
        this));
    all->addWidget(words_);
    all->addWidget(outcome_);
    all->addLayout(row);
    all->setSizeConstraint(QLayout::SetFixedSize);
}

void ReportDialog::write() {
    const Reports::Written written = reports_.writeFeedbackReport(words_->toPlainText().toStdString());
    const bool done = written.error.empty();
    outcome_->setText(done ? QStringLiteral("The report is in ") + QString::fromStdString(written.file)
                           : QStringLiteral("No report: ") + QString::fromStdString(written.error));
    outcome_->show();
    write_->setEnabled(!done);
    words_->setReadOnly(done);
    close_->setText(done ? QStringLiteral("Close") : QStringLiteral("Cancel"));
    if (done) close_->setFocus();
}

} // namespace marvo::ui
