#include "app/Reports.h"

#include "platform/AtomicFile.h"
#include "platform/Dates.h"
#include "platform/Paths.h"
#include "platform/PropertyListXmlWriter.h"
#include "platform/Text.h"

#include <algorithm>
#include <ctime>
#include <filesystem>

namespace marvo {
namespace {

std::string xmlOf(const PropertyList& value) {
    std::string text;
    writePropertyListXml(value, [&text](std::string_view piece) {
        text += piece;
        return true;
    });
    return text;
}

std::string nameOfNow() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    ::localtime_r(&now, &local);
    char text[64];
    return {text, std::strftime(text, sizeof text, "%Y%m%d-%H%M%S", &local)};
}

// Their names begin with the kind and sort by date. One stays whatever the clock says: the newest.
void keepNewest(const std::string& folder, std::string_view kind, std::size_t count,
                const std::string& newest) {
    std::vector<std::filesystem::path> files;
    std::error_code error;
    for (std::filesystem::directory_iterator each(folder, error), end; !error && each != end;
         each.increment(error)) {
        const std::string name = each->path().filename().string();
        const bool isOne = name.starts_with(std::string(kind) + "-") && name.ends_with(".txt");
        if (isOne && each->path() != newest) files.push_back(each->path());
    }
    std::sort(files.rbegin(), files.rend());
    for (std::size_t i = count - 1; i < files.size(); ++i) std::filesystem::remove(files[i], error);
}

} // namespace

Reports::Reports(std::string stateFolder, std::string programName, const Log& log,
                 const PreferenceStore& preferences, SystemLog& systemLog)
    : folder_(std::move(stateFolder) + "/Reports"), programName_(std::move(programName)), log_(log),
      preferences_(preferences), systemLog_(systemLog) {}

std::string Reports::logSince(const std::string& programName, double date,
                              std::optional<std::size_t> maxSize) const {
    std::vector<std::string> lines;
    std::size_t length = 0;
    systemLog_.walkBack(programName, date + secondsFrom1970To2001, [&](const SystemMessage& message) {
        lines.push_back(localMediumDateAndTime(message.time - secondsFrom1970To2001) + ": " + message.text +
                        "\n");
        length += characterCount(lines.back());
        return !maxSize || length <= *maxSize;
    });
    std::string text;
    for (auto line = lines.rbegin(); line != lines.rend(); ++line) text += *line;
    return text;
}

Reports::CrashMaterial Reports::crashMaterial(const std::string& programName) const {
    const PropertyList* lastRun = preferences_.find("lastRun");
    return {xmlOf(preferences_.all()), getLogFilesContentWithMaxSize(crashLogSize),
            lastRun ? lastRun->dateSeconds() : 0.0, programName.empty() ? programName_ : programName};
}

std::string Reports::applicationLogForCrashManager(const CrashMaterial& material) const {
    return "PREFERENCES:  \n " + material.preferences + " \n\n ===== DDLOG: =====  \n " + material.logFiles +
           " \n\n ===== APPLOG: =====  \n " + logSince(material.programName, material.lastRun, crashLogSize) +
           " \n\n";
}

std::vector<std::pair<std::string, std::string>> Reports::customParametersForFeedbackReport() const {
    return {{"application", "Marvo"}, {"DDLog", getLogFilesContentWithMaxSize(feedbackLogSize)}};
}

Reports::Written Reports::writeCrashReport(const CrashMaterial& material) const {
    return write("crash", applicationLogForCrashManager(material));
}

Reports::Written Reports::writeFeedbackReport(std::string_view words) const {
    std::string text;
    if (!words.empty()) text = std::string(words) + "\n\n";
    for (const auto& [field, value] : customParametersForFeedbackReport())
        text += field + ": " + value + "\n";
    return write("feedback", text);
}

Reports::Written Reports::write(std::string_view kind, std::string_view text) const {
    if (std::string error = makeFolder(folder_); !error.empty()) return {{}, error};
    const std::string stem = folder_ + "/" + std::string(kind) + "-" + nameOfNow() + "-";
    std::string path;
    std::error_code ignored;
    for (int number = 1; path.empty() || std::filesystem::exists(path, ignored); ++number)
        path = stem + (number < 10 ? "0" : "") + std::to_string(number) + ".txt";
    FileSteps steps;
    AtomicFile file(path, steps);
    if (!file.write(text) || !file.commit()) return {{}, file.error()};
    keepNewest(folder_, kind, reportsKept, path);
    return {path, {}};
}

} // namespace marvo
