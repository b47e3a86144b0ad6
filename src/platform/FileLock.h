// A lock between processes, which ends with the process that has it, however that ends.
//
// Move-only; each object stands for one open file, so that two in one process exclude each other too. Blocks
// on the disk, never on the other holder.
#pragma once

#include <optional>
#include <string>
#include <utility>

namespace marvo {

class FileLock {
public:
    enum class Missing { make, leave };
    struct Attempt; // below

    // What stands at the path afterwards is the file that is locked, also when another holder took his away
    // meanwhile.
    static Attempt take(const std::string& path, Missing missing);
    static bool isHeld(const std::string& path);

    FileLock(FileLock&& other) noexcept
        : path_(std::move(other.path_)), descriptor_(std::exchange(other.descriptor_, -1)) {}
    FileLock& operator=(FileLock&&) = delete;
    ~FileLock();

    // An error text, empty when the file has the new name; the lock stays.
    std::string renameFile(const std::string& path);
    bool writeText(const std::string& text) const;
    std::string readText() const;
    // Takes the file away before the lock goes with the object.
    void removeFile() const;

private:
    FileLock(std::string path, int descriptor) : path_(std::move(path)), descriptor_(descriptor) {}

    std::string path_;
    int descriptor_ = -1;
};

struct FileLock::Attempt {
    std::optional<FileLock> lock;
    bool heldByOther = false;
    std::string error; // why there is none though nobody else has it: no such file, no room, no locks here
};

} // namespace marvo
