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
    // None when somebody else has it, or when the file cannot be opened.
    static std::optional<FileLock> take(const std::string& path, Missing missing);
    static bool isHeld(const std::string& path);

    FileLock(FileLock&& other) noexcept
        : path_(std::move(other.path_)), descriptor_(std::exchange(other.descriptor_, -1)) {}
    FileLock& operator=(FileLock&&) = delete;
    ~FileLock();

    // Takes the file away before the lock goes with the object.
    void removeFile() const;

private:
    FileLock(std::string path, int descriptor) : path_(std::move(path)), descriptor_(descriptor) {}

    std::string path_;
    int descriptor_ = -1;
};

} // namespace marvo
