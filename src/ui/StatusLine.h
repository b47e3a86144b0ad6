// The line at the lower edge that says honestly how the show is doing: whether anything is wrong with an
// output, how late the ticks come, what was dropped. Judged by the last ten
// seconds; the totals are in the tool tips. Each state has a shape, not just a colour. Main thread.
#pragma once

#include "headless/RunningShow.h"
#include "platform/RealtimeThread.h"
#include "ui/LastSeconds.h"

#include <QWidget>

#include <map>
#include <string>
#include <vector>

namespace marvo::ui {

class StatusLine : public QWidget {
public:
    StatusLine(RunningShow& show, const RealtimeResult& granted, QWidget* parent);

    // Empty reason: over.
    void setTrouble(const std::string& name, const std::string& reason);
    // A message for the user, until the next one or a few seconds later.
    void say(const QString& text, bool isTrouble);
    // Four times a second.
    void refresh();

protected:
    void paintEvent(QPaintEvent* event) override;
    bool event(QEvent* event) override;

private:
    enum class Health { good, away, trouble };
    struct Chip {
        QString text;
        QString detail;
        Health health = Health::good;
        QRectF where;
        bool operator==(const Chip& other) const {
            return text == other.text && detail == other.detail && health == other.health;
        }
    };
    std::vector<Chip> chips();
    Chip tickChip() const;
    void look();

    RunningShow& show_;
    const RealtimeResult granted_;
    LastSeconds lately_;
    std::map<std::string, std::string> troubles_;
    std::vector<Chip> shown_;
    QString said_;
    bool saidTrouble_ = false;
    MonotonicTime saidAt_;
};

} // namespace marvo::ui
