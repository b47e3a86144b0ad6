#include "platform/FileLock.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

namespace marvo {
namespace {

bool standsAt(int descriptor, const std::string& path) {
    struct stat opened {};
    struct stat there {};
    return ::fstat(descriptor, &opened) == 0 && ::stat(path.c_str(), &there) == 0 &&
           opened.st_ino == there.st_ino && opened.st_dev == there.st_dev;
}

} // namespace

FileLock::Attempt FileLock::take(const std::string& path, Missing missing) {
    // Whoever only asks whether it is held has it for a moment, too.
    constexpr int attempts = 5;
    constexpr timespec aMoment{0, 2'000'000};
    constexpr int flags = O_RDWR | O_CLOEXEC;
    int error = EWOULDBLOCK;
    for (int i = 0; i < attempts && error == EWOULDBLOCK; ++i) {
        if (i > 0) ::nanosleep(&aMoment, nullptr);
        int descriptor = -1;
        if (missing == Missing::make) descriptor = ::open(path.c_str(), flags | O_CREAT | O_EXCL, 0600);
        const bool made = descriptor >= 0;
        if (!made)
            descriptor = ::open(path.c_str(), missing == Missing::make ? flags | O_CREAT : flags, 0600);
        if (descriptor < 0) return {std::nullopt, false, std::strerror(errno)};
        FileLock lock(path, descriptor);
        if (::flock(descriptor, LOCK_EX | LOCK_NB) != 0)
            error = errno;
        else if (standsAt(descriptor, path))
            return {std::move(lock), false, {}};
        // A file system without locks: the file is of no use.
        if (error != EWOULDBLOCK && made) lock.removeFile();
    }
    if (error == EWOULDBLOCK) return {std::nullopt, true, {}};
    return {std::nullopt, false, std::strerror(error)};
}

bool FileLock::isHeld(const std::string& path) {
    return take(path, Missing::leave).heldByOther;
}

FileLock::~FileLock() {
    if (descriptor_ >= 0) ::close(descriptor_);
}

std::string FileLock::renameFile(const std::string& path) {
    if (std::rename(path_.c_str(), path.c_str()) != 0) return std::strerror(errno);
    path_ = path;
    return {};
}

bool FileLock::writeText(const std::string& text) const {
    return ::ftruncate(descriptor_, 0) == 0 &&
           ::pwrite(descriptor_, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size());
}

std::string FileLock::readText() const {
    std::array<char, 256> text{};
    const ssize_t size = ::pread(descriptor_, text.data(), text.size(), 0);
    return {text.data(), static_cast<std::size_t>(size > 0 ? size : 0)};
}

void FileLock::removeFile() const {
    ::unlink(path_.c_str());
}

} // namespace marvo
