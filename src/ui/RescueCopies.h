// Copies of projects with unsaved changes, kept until they are saved, given up, or taken up again.
//
// One project file each in a folder of its own, with a note beside it that tells where the project belongs,
// and a lock while a program works on that project. Nothing here is deleted but by name. Any thread; blocks
// on the disk.
#pragma once

#include "platform/FileLock.h"
#include "platform/PropertyList.h"

#include <optional>
#include <string>
#include <vector>

namespace marvo::ui {

struct RescueCopy {
    std::string file;                    // a project file
    std::optional<std::string> original; // where the project was last saved
    std::string name;                    // of the project
    std::string when;                    // local date and time
};

class RescueCopies {
public:
    // A copy that this program works on. It may be without a lock where the file system has none.
    struct Held {
        std::string file; // empty before the first is written
        std::optional<FileLock> lock;
        ~Held() {
            if (lock) lock->removeFile();
        }
    };

    // stateFolder: Paths::state; made when it is needed.
    explicit RescueCopies(const std::string& stateFolder);

    // Newest first, without those that some program works on.
    std::vector<RescueCopy> all() const;
    // Whether some program works on it, this one included.
    static bool isInUse(const std::string& file);
    // False when another program has it.
    static bool use(const std::string& file, Held& held);

    // Writes over what is held, or begins a new copy. An error text, empty when the copy is on the disk.
    std::string write(const PropertyList& project, const std::string& name,
                      const std::optional<std::string>& original, Held& held) const;
    // An error text, empty when the copy is gone. One that another program works on stays.
    std::string remove(const std::string& file) const;
    std::string remove(Held& held) const;
    // Takes away what dead programs have left besides their copies.
    void tidy() const;
    bool holds(const std::string& path) const { return path.starts_with(folder_ + "/"); }

private:
    std::string begin(Held& held) const;
    std::string newFile() const;
    std::string removeFiles(const std::string& file) const;

    const std::string folder_;
};

} // namespace marvo::ui
