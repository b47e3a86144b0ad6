#include "platform/FileLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace marvo {

std::optional<FileLock> FileLock::take(const std::string& path, Missing missing) {
    const int flags = O_RDWR | O_CLOEXEC | (missing == Missing::make ? O_CREAT : 0);
    const int descriptor = ::open(path.c_str(), flags, 0600);
    if (descriptor < 0) return std::nullopt;
    FileLock lock(path, descriptor);
    if (::flock(descriptor, LOCK_EX | LOCK_NB) != 0) return std::nullopt;
    return lock;
}

bool FileLock::isHeld(const std::string& path) {
    return ::access(path.c_str(), F_OK) == 0 && !take(path, Missing::leave);
}

FileLock::~FileLock() {
    if (descriptor_ >= 0) ::close(descriptor_);
}

void FileLock::removeFile() const {
    ::unlink(path_.c_str());
}

} // namespace marvo
