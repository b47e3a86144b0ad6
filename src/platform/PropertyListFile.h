// Property lists in files: reads the XML and the binary form, writes XML.
//
// Errors name the file, the place and the reason in one line. Any thread; blocks on the disk.
#pragma once

#include "platform/AtomicFile.h"
#include "platform/ReadResult.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace marvo {

// A larger file is refused before it is read: some six million keyframes.
inline constexpr std::int64_t largestPropertyListFile = std::int64_t{1} << 30;

struct WriteResult {
    std::string error;                 // empty when the file was written; otherwise see AtomicFile::commit
    std::size_t droppedCharacters = 0; // left out because XML cannot hold them, see writePropertyListXml
    bool ok() const { return error.empty(); }
};

ReadResult readPropertyList(const std::string& path);
// name: what stands for the file in errors.
ReadResult parsePropertyList(std::string_view bytes, const std::string& name);

// The old file stays whole until the new one is safe on the disk.
WriteResult writePropertyList(const std::string& path, const PropertyList& value);
WriteResult writePropertyList(const std::string& path, const PropertyList& value, FileSteps& steps);

} // namespace marvo
