#include "platform/PreferenceStore.h"

#include "platform/Paths.h"
#include "platform/PropertyListFile.h"
#include "platform/Text.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <utility>

namespace marvo {
namespace {

// Never over another file. 0 or an errno.
int renameAside(const std::string& from, const std::string& to) {
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return 0;
    if (errno != EINVAL) return errno;
    // The file system cannot promise that; look first, then.
    struct stat status {};
    if (::lstat(to.c_str(), &status) == 0) return EEXIST;
    return ::rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

} // namespace

PreferenceStore::PreferenceStore(std::string path) : path_(std::move(path)) {
    struct stat status {};
    if (::stat(path_.c_str(), &status) != 0 && (errno == ENOENT || errno == ENOTDIR)) return;
    ReadResult read = readPropertyList(path_);
    if (!read.ok()) {
        putAside(read.error);
    } else if (!read.value.isDictionary()) {
        putAside(escapeForLog(path_) + ": the root is not a dictionary");
    } else {
        stored_ = std::move(read.value);
    }
}

void PreferenceStore::putAside(const std::string& why) {
    constexpr int mostAside = 1000;
    int code = EEXIST;
    for (int i = 1; i <= mostAside && code == EEXIST; ++i) {
        const std::string aside = path_ + ".broken" + (i == 1 ? std::string() : "-" + std::to_string(i));
        code = renameAside(path_, aside);
        if (code == 0) warning_ = why + "; it was set aside as " + escapeForLog(aside);
    }
    if (code == 0) return;
    blocked_ = true;
    warning_ =
        why + "; it could not be set aside (" + std::strerror(code) + "), so preferences are not saved";
}

const PropertyList* PreferenceStore::find(std::string_view key) const {
    if (const PropertyList* value = overrides_.find(key)) return value;
    return stored_.find(key);
}

PropertyList PreferenceStore::get(std::string_view key) const {
    const PropertyList* value = find(key);
    return value ? *value : PropertyList();
}

void PreferenceStore::set(std::string_view key, PropertyList value) {
    if (value.isNone()) return remove(key);
    const PropertyList* old = stored_.find(key);
    // A value of another kind is a change, too: 1 and 1.0 are equal but not written alike.
    if (old && old->kind() == value.kind() && *old == value) return;
    stored_.set(key, std::move(value));
    changed_ = true;
}

void PreferenceStore::remove(std::string_view key) {
    if (!stored_.find(key)) return;
    stored_.remove(key);
    changed_ = true;
}

void PreferenceStore::setOverride(std::string_view key, PropertyList value) {
    overrides_.set(key, std::move(value));
}

std::string PreferenceStore::synchronise() {
    FileSteps steps;
    return synchronise(steps);
}

std::string PreferenceStore::synchronise(FileSteps& steps) {
    if (!changed_ || path_.empty()) return {};
    if (blocked_) return warning_;
    const std::size_t slash = path_.rfind('/');
    if (slash != std::string::npos && slash > 0) {
        if (std::string error = makeFolder(path_.substr(0, slash)); !error.empty()) return error;
    }
    WriteResult written = writePropertyList(path_, stored_, steps);
    if (written.ok()) changed_ = false;
    return written.error;
}

} // namespace marvo
