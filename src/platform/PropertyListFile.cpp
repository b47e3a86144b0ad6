#include "platform/PropertyListFile.h"

#include "platform/PropertyListBinary.h"
#include "platform/PropertyListXmlReader.h"
#include "platform/PropertyListXmlWriter.h"
#include "platform/Text.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace marvo {
namespace {

constexpr std::size_t pieceSize = 1 << 16;
constexpr std::size_t maximumPath = 4096;

std::string oneLine(const std::string& path, const std::string& reason) {
    return escapeForLog(path, maximumPath) + ": " + reason;
}

std::string failed(const std::string& path, const char* doing, int code) {
    return oneLine(path, std::string(doing) + ": " + std::strerror(code));
}

bool looksBinary(std::string_view bytes) {
    return bytes.starts_with("bplist");
}

// XML begins with '<', perhaps behind white space, a byte order mark or half a UTF-16 character.
bool looksLikeXml(std::string_view bytes) {
    constexpr std::string_view beginnings("<\xEF\xFE\xFF \t\r\n\0", 9);
    return bytes.empty() || beginnings.find(bytes.front()) != std::string_view::npos;
}

class InputFile {
public:
    explicit InputFile(const std::string& path)
        // Non-blocking: opening a pipe that nobody writes to would wait for ever.
        : descriptor_(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY)) {}
    ~InputFile() {
        if (descriptor_ >= 0) ::close(descriptor_);
    }
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    int descriptor() const { return descriptor_; }
    // Fewer bytes only at the end; negative on an error.
    ssize_t read(char* bytes, std::size_t size) {
        std::size_t at = 0;
        while (at < size) {
            const ssize_t got = ::read(descriptor_, bytes + at, size - at);
            if (got < 0 && errno == EINTR) continue;
            if (got < 0) return -1;
            if (got == 0) break;
            at += static_cast<std::size_t>(got);
        }
        return static_cast<ssize_t>(at);
    }

private:
    const int descriptor_;
};

ReadResult readBinary(const std::string& path, InputFile& file, std::string_view first, std::int64_t size) {
    std::string bytes(first);
    bytes.resize(std::max(bytes.size(), static_cast<std::size_t>(size)));
    const ssize_t got = file.read(bytes.data() + first.size(), bytes.size() - first.size());
    if (got < 0) return {{}, failed(path, "cannot be read", errno)};
    bytes.resize(first.size() + static_cast<std::size_t>(got));
    return parsePropertyListBinary(bytes, path);
}

} // namespace

ReadResult readPropertyList(const std::string& path) {
    InputFile file(path);
    if (file.descriptor() < 0) return {{}, failed(path, "cannot be opened", errno)};
    struct stat status {};
    if (::fstat(file.descriptor(), &status) != 0) return {{}, failed(path, "cannot be read", errno)};
    if (!S_ISREG(status.st_mode)) return {{}, oneLine(path, "is not a regular file")};
    if (status.st_size > largestPropertyListFile) return {{}, oneLine(path, "is larger than 1 GiB")};

    PropertyListXmlReader reader(path);
    std::array<char, pieceSize> piece;
    for (std::int64_t total = 0;;) {
        const ssize_t got = file.read(piece.data(), piece.size());
        if (got < 0) return {{}, failed(path, "cannot be read", errno)};
        const std::string_view bytes(piece.data(), static_cast<std::size_t>(got));
        if (total == 0) {
            if (looksBinary(bytes)) return readBinary(path, file, bytes, status.st_size);
            if (!looksLikeXml(bytes)) return {{}, oneLine(path, "is not a property list")};
        }
        total += got;
        // The file may grow while it is read.
        if (total > largestPropertyListFile) return {{}, oneLine(path, "is larger than 1 GiB")};
        const bool last = bytes.size() < piece.size();
        if (!reader.feed(bytes, last)) return {{}, reader.error()};
        if (last) return {reader.take(), {}};
    }
}

ReadResult parsePropertyList(std::string_view bytes, const std::string& name) {
    if (looksBinary(bytes)) return parsePropertyListBinary(bytes, name);
    if (!looksLikeXml(bytes)) return {{}, oneLine(name, "is not a property list")};
    PropertyListXmlReader reader(name);
    if (!reader.feed(bytes, true)) return {{}, reader.error()};
    return {reader.take(), {}};
}

WriteResult writePropertyList(const std::string& path, const PropertyList& value) {
    FileSteps steps;
    return writePropertyList(path, value, steps);
}

WriteResult writePropertyList(const std::string& path, const PropertyList& value, FileSteps& steps) {
    AtomicFile file(path, steps);
    if (!file.error().empty()) return {file.error(), 0};
    const XmlWriteReport report =
        writePropertyListXml(value, [&](std::string_view piece) { return file.write(piece); });
    if (report.refusal) return {oneLine(path, report.refusal), report.droppedCharacters};
    if (!report.complete || !file.commit()) return {file.error(), report.droppedCharacters};
    return {{}, report.droppedCharacters};
}

} // namespace marvo
