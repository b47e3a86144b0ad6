// What the system's own log has of this program: what it wrote before there was a log of its own, and what a
// desktop or a service manager caught of it.
#pragma once

#include "platform/Clock.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace marvo {

struct SystemMessage {
    double time = 0.0; // seconds since 1970
    std::string text;
};

class SystemLog {
public:
    virtual ~SystemLog() = default;
    // Messages of a program at or after `since` (seconds since 1970), newest first, until `more` returns
    // false. Nothing where there is no such log. programName: as the kernel knows it, 15 bytes at most. Any
    // thread; waits for a bounded time.
    virtual void walkBack(const std::string& programName, double since,
                          const std::function<bool(const SystemMessage&)>& more) = 0;
};

// The journal, read through its own tool.
struct JournalOptions {
    std::string tool = "journalctl";
    Duration atMost = Duration::ofSeconds(2);
};
std::unique_ptr<SystemLog> makeJournal(JournalOptions options = {});

// Takes the next entry off a text in the journal's export form; none at its end. An entry without a message
// is an empty one; one that is cut short is none.
std::optional<SystemMessage> takeJournalEntry(std::string_view& text);

} // namespace marvo
