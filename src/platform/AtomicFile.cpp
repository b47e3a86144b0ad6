#include "platform/AtomicFile.h"

#include "platform/Text.h"

#include <atomic>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace marvo {
namespace {

constexpr std::string_view temporaryPrefix = ".marvo-save-";
constexpr std::size_t maximumPath = 4096;
constexpr int mostLinks = 40;

std::string folderOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

// Also follows a link whose target is not there yet: the file belongs where the link points.
std::string targetOf(std::string path) {
    for (int links = 0; links < mostLinks; ++links) {
        std::error_code error;
        const std::filesystem::path next = std::filesystem::read_symlink(path, error);
        if (error) break;
        path = next.is_absolute() ? next.string() : folderOf(path) + "/" + next.string();
    }
    return path;
}

} // namespace

long FileSteps::write(int descriptor, const char* bytes, std::size_t size) {
    const ssize_t written = ::write(descriptor, bytes, size);
    return written < 0 ? -errno : written;
}

int FileSteps::synchronise(int descriptor) {
    return ::fsync(descriptor) == 0 ? 0 : -errno;
}

int FileSteps::close(int descriptor) {
    return ::close(descriptor) == 0 ? 0 : -errno;
}

int FileSteps::rename(const char* from, const char* to) {
    return ::rename(from, to) == 0 ? 0 : -errno;
}

AtomicFile::AtomicFile(std::string path, FileSteps& steps) : steps_(steps), path_(std::move(path)) {
    open();
}

AtomicFile::~AtomicFile() {
    if (descriptor_ >= 0) ::close(descriptor_);
    if (!temporary_.empty()) ::unlink(temporary_.c_str());
}

bool AtomicFile::isLeftBehind(const std::string& path) {
    std::string_view name(path);
    name.remove_prefix(name.rfind('/') + 1);
    if (!name.starts_with(temporaryPrefix)) return false;
    name.remove_prefix(temporaryPrefix.size());
    pid_t process = 0;
    const auto [rest, failure] = std::from_chars(name.data(), name.data() + name.size(), process);
    if (failure != std::errc() || process <= 0 || rest == name.data() + name.size() || *rest != '-')
        return false;
    return ::kill(process, 0) != 0 && errno == ESRCH;
}

bool AtomicFile::fail(const char* doing, int code) {
    if (error_.empty()) error_ = escapeForLog(path_, maximumPath) + ": " + doing + ": " + std::strerror(code);
    return false;
}

void AtomicFile::open() {
    target_ = targetOf(path_);
    struct stat status {};
    const bool exists = ::stat(target_.c_str(), &status) == 0;
    if (!exists && errno != ENOENT) {
        // For instance links that go in circles.
        fail("cannot be replaced", errno);
        return;
    }
    if (exists && !S_ISREG(status.st_mode)) {
        fail("cannot be replaced", S_ISDIR(status.st_mode) ? EISDIR : EINVAL);
        return;
    }
    // Not derived from the target's name, which may be as long as a name can be. A name that is taken was
    // left by a run that died.
    static std::atomic<unsigned> serial{0};
    do {
        temporary_ = folderOf(target_) + "/" + std::string(temporaryPrefix) + std::to_string(::getpid()) +
                     "-" + std::to_string(++serial);
        descriptor_ =
            ::open(temporary_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, exists ? 0600 : 0666);
    } while (descriptor_ < 0 && errno == EEXIST);
    if (descriptor_ < 0) {
        temporary_.clear();
        fail("nothing can be written beside it", errno);
    } else if (exists) {
        takeOverPermissions(status.st_mode & 07777, status.st_uid, status.st_gid);
    }
}

bool AtomicFile::takeOverPermissions(unsigned mode, unsigned owner, unsigned group) {
    // Giving a file away is a privilege; without it the file becomes the saving user's. Changing the owner
    // clears permission bits, so it comes first.
    if (::fchown(descriptor_, owner, group) != 0 &&
        ::fchown(descriptor_, static_cast<uid_t>(-1), group) != 0) {
        mode &= 01777u;
    }
    return ::fchmod(descriptor_, mode) == 0 || fail("its permissions cannot be kept", errno);
}

bool AtomicFile::write(std::string_view bytes) {
    while (error_.empty() && !bytes.empty()) {
        const long written = steps_.write(descriptor_, bytes.data(), bytes.size());
        if (written == -EINTR) continue;
        if (written <= 0)
            return fail("cannot be written", written == 0 ? ENOSPC : static_cast<int>(-written));
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return error_.empty();
}

bool AtomicFile::commit() {
    if (!error_.empty()) return false;
    if (const int code = steps_.synchronise(descriptor_); code != 0)
        return fail("cannot be brought to the disk", -code);
    if (const int code = steps_.close(std::exchange(descriptor_, -1)); code != 0) {
        return fail("cannot be brought to the disk", -code);
    }
    if (const int code = steps_.rename(temporary_.c_str(), target_.c_str()); code != 0) {
        return fail("the new file cannot take the place of the old one", -code);
    }
    temporary_.clear();
    const int folder = ::open(folderOf(target_).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0) return true; // a folder that may be written but not read: nothing more can be done
    const int code = steps_.synchronise(folder);
    ::close(folder);
    // Some file systems cannot synchronise a folder, and say so.
    if (code == 0 || code == -EINVAL || code == -ENOTSUP) return true;
    return fail("was written, but its folder cannot be brought to the disk", -code);
}

} // namespace marvo
