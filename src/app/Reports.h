// What the program can tell its makers about a run: texts out of logs and settings, and files of them.
//
// Nothing leaves the machine: a report is a file that the user may read, and send if he likes. Logs hold
// names of projects, ports and addresses.
//
// Thread-safe as far as the logs are; the settings are read on the main thread.
#pragma once

#include "platform/Log.h"
#include "platform/PreferenceStore.h"
#include "platform/SystemLog.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace marvo {

class Reports {
public:
    static constexpr std::size_t crashLogSize = 20'000;    // characters, of each log
    static constexpr std::size_t feedbackLogSize = 10'000; // characters
    static constexpr std::size_t reportsKept = 10;         // of each kind; older ones go

    // stateFolder: Paths::state; the reports lie in a folder of their own there. programName: as the kernel
    // knows it. All outlive the object.
    Reports(std::string stateFolder, std::string programName, const Log& log,
            const PreferenceStore& preferences, SystemLog& systemLog);
    const std::string& programName() const { return programName_; }

    std::string getLogFilesContentWithMaxSize(std::size_t size) const { return log_.logFileContents(size); }
    // The system log's messages of this program at or after the date (seconds since 2001), oldest first: the
    // newest whose length together passes maxSize characters at most once. Waits for a bounded time.
    std::string logSince(double date, std::optional<std::size_t> maxSize) const {
        return logSince(programName_, date, maxSize);
    }

    // What a crash leaves to tell, in two steps: the settings and the log files of before as they are now,
    // and the whole text.
    struct CrashMaterial {
        std::string preferences;
        std::string logFiles;
        double lastRun = 0.0; // seconds since 2001
        std::string programName;
    };
    // programName: of the run that died.
    CrashMaterial crashMaterial(const std::string& programName) const;
    std::string applicationLogForCrashManager(const CrashMaterial& material) const;
    // Fields of a feedback form.
    std::vector<std::pair<std::string, std::string>> customParametersForFeedbackReport() const;

    struct Written {
        std::string file;
        std::string error; // empty when the file is on the disk
    };
    Written writeCrashReport(const CrashMaterial& material) const;
    // words: what the user has to say; may be empty.
    Written writeFeedbackReport(std::string_view words) const;

private:
    std::string logSince(const std::string& programName, double date,
                         std::optional<std::size_t> maxSize) const;
    Written write(std::string_view kind, std::string_view text) const;

    const std::string folder_;
    const std::string programName_;
    const Log& log_;
    const PreferenceStore& preferences_;
    SystemLog& systemLog_;
};

} // namespace marvo
