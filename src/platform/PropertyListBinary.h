// Reads the binary form of a property list ("bplist00").
//
// Every offset and count is checked against the bytes that are there. Containers that hold themselves are
// refused, and so is a small file that unfolds into a huge value by naming the same objects again and again.
#pragma once

#include "platform/ReadResult.h"

#include <string>
#include <string_view>

namespace marvo {

// A UID, as keyed archives use it, reads as the dictionary {"CF$UID": number}; a set reads as an array, a
// null as an absent value. name: stands for the file in errors, which give the byte offset.
ReadResult parsePropertyListBinary(std::string_view bytes, const std::string& name);

} // namespace marvo
