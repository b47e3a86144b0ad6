// A question with its buttons in the order given, from the left, on every desktop.
//
// The toolkit's own message box orders buttons as each desktop likes; the operator's hand knows one order.
// Escape and the window's close button answer with the second button. Main thread.
#pragma once

#include "ui/ProjectQuestion.h"

#include <QDialog>

#include <vector>

class QPushButton;

namespace marvo::ui {

class QuestionBox : public QDialog {
public:
    QuestionBox(const ProjectQuestion& question, QWidget* parent);

    Answer answer() const { return answer_; }
    QPushButton* button(Answer answer) const { return buttons_[static_cast<std::size_t>(answer)]; }

private:
    std::vector<QPushButton*> buttons_;
    Answer answer_ = Answer::cancel;
};

} // namespace marvo::ui
