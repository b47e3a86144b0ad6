// A file that takes the place of another one whole, or not at all.
//
// Writes go to a temporary file beside the target; commit() brings them to the disk and renames. Until then,
// and after any failure before the rename, the target is as it was and the temporary goes. Links are followed
// to the file they stand for; the target's permissions, and where allowed its owner, are kept. One thread;
// blocks on the disk.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace marvo {

// The system calls that can fail, so that a test can make them fail.
class FileSteps {
public:
    virtual ~FileSteps() = default;
    // Each returns 0 (write: how many bytes it took), or a negative errno.
    virtual long write(int descriptor, const char* bytes, std::size_t size);
    virtual int synchronise(int descriptor); // the file's, then the folder's
    virtual int close(int descriptor);
    virtual int rename(const char* from, const char* to);
};

class AtomicFile {
public:
    // `steps` must outlive the file.
    AtomicFile(std::string path, FileSteps& steps);
    ~AtomicFile(); // without commit: the temporary goes, the target stays
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    // False after the first failure; error() then names the file and the reason in one line.
    bool write(std::string_view bytes);
    // False also when the new file is in its place but its name may not outlast a power failure; error()
    // tells.
    bool commit();
    const std::string& error() const { return error_; }

    // Whether the path is the temporary file of a process that died while it wrote.
    static bool isLeftBehind(const std::string& path);

private:
    bool fail(const char* doing, int code);
    void open();
    bool takeOverPermissions(unsigned mode, unsigned owner, unsigned group);

    FileSteps& steps_;
    const std::string path_;
    std::string target_; // path_ with its links followed
    std::string temporary_;
    std::string error_;
    int descriptor_ = -1;
};

} // namespace marvo
