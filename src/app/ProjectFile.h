// Reads and writes the project: one property list with the application's data and one entry per composition.
//
// A load or a removal runs on the main thread with the render gate shut. A file that cannot be read leaves
// the application as it was before the call: usable, and nothing in memory is lost. A save that fails leaves
// the old file whole.
#pragma once

#include "platform/LoadReport.h"
#include "platform/PropertyList.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace marvo {

class AppDelegate;

struct ProjectResult {
    bool done = false;
    std::string error; // one line: which file, where, why
};

class ProjectFile {
public:
    explicit ProjectFile(AppDelegate& application);

    // Reads the file before it touches anything, into an application without compositions. report: repairs
    // and oddities, may be null.
    ProjectResult loadProject(const std::string& path, LoadReport* report);
    // As above, but takes the place of the present project once the file has been read. A file that cannot be
    // read leaves the present project as it is.
    ProjectResult replaceProject(const std::string& path, LoadReport* report);
    // Writes atomically; on success the path becomes the project's.
    ProjectResult processSaveWithURL(const std::string& path);
    // The root dictionary of the present project. The picture of the window costs a painting of it.
    enum class WindowPicture { ofNow, ofBefore };
    PropertyList root(WindowPicture picture = WindowPicture::ofNow) const;
    // Empties the application.
    void removeProject();

    const std::optional<std::string>& projectURL() const { return projectURL_; }
    void setProjectURL(std::optional<std::string> path) { projectURL_ = std::move(path); }
    // Last path component without its extension, or "Untitled project".
    std::string projectName() const;
    // Folder of the project with a trailing slash; empty without a file.
    std::string projectFilepathBase() const;

    // Called between the ports and the compositions of a load; the trace adds outputs that only tracks name.
    std::function<void(const PropertyList& root)> portsLoaded;

    // For the window. A file has been read; what it replaces still stands.
    std::function<void()> projectGoes;
    // The file is about to become the project.
    std::function<void()> loadBegins;
    // A file is the project's now: it was loaded or saved.
    std::function<void(const std::string& path)> becameProject;
    // A picture of the main window as PNG, kept with each save; empty keeps the one of before.
    std::function<std::vector<std::uint8_t>()> windowImage;
    // Where the main window stands, kept with each save; and where it stood, told by each load. Without a
    // window AppDelegate::windowFrame is kept as it was read.
    std::function<std::string()> windowFrame;
    std::function<void(const std::string& frame)> windowFrameLoaded;

private:
    struct ReadProject {
        PropertyList root;
        std::string error;
    };
    ReadProject readRoot(const std::string& path) const;
    void apply(const PropertyList& root, const std::string& path, LoadReport* report);
    PropertyList saveData(WindowPicture picture) const;
    PropertyList savePreferences() const;
    void loadPreferences(const PropertyList* preferences, LoadReport* report);
    void loadCompositions(const PropertyList& root, LoadReport* report);
    void loadAppData(const PropertyList& appData);

    AppDelegate& application_;
    std::optional<std::string> projectURL_;
    PropertyList keptRoot_ = PropertyList::dictionary();
    PropertyList keptAppData_ = PropertyList::dictionary();
    PropertyList keptPreferences_ = PropertyList::dictionary();
};

} // namespace marvo
