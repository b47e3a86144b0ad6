// Copies of projects whose program had to end before anybody could be asked, kept until they are taken up.
//
// One project file each in a folder of its own, with a note beside it that tells where the project belongs,
// and a lock while a program works on that project. Nothing here is deleted but by name. Main thread, save
// where it says otherwise; blocks on the disk.
#pragma once

#include "platform/FileLock.h"
#include "platform/PropertyList.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace marvo::ui {

struct RescueCopy {
    std::string file;                    // a project file
    std::optional<std::string> original; // where the project was last saved
    std::string name;                    // of the project
    std::string when;                    // local date and time
    bool inUse = false;                  // the project of a program that runs
};

class RescueCopies {
public:
    // stateFolder: Paths::state; made when it is needed.
    explicit RescueCopies(const std::string& stateFolder);
    ~RescueCopies();
    RescueCopies(const RescueCopies&) = delete;
    RescueCopies& operator=(const RescueCopies&) = delete;

    // Newest first.
    std::vector<RescueCopy> all() const;
    struct Written {
        std::string file;
        std::string error; // empty when the copy is on the disk
    };
    // present: the file of a copy to be written over; empty for a new one. Any thread.
    Written write(const PropertyList& project, const std::string& name,
                  const std::optional<std::string>& original, const std::string& present) const;
    // The file of a copy that is about to be written, in use by this program.
    Written begin();
    // False when another program has it.
    bool use(const std::string& file);
    void release(const std::string& file);
    // An error text, empty when the copy is gone.
    std::string remove(const std::string& file);
    bool holds(const std::string& path) const { return path.starts_with(folder_ + "/"); }

private:
    std::string newFile() const;

    const std::string folder_;
    std::map<std::string, FileLock> locks_; // by file
};

} // namespace marvo::ui
