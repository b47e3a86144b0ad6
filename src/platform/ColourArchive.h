// Colours as they stand in saved records. docs/formats/colour.md tells the forms.
//
// Thread-safe: plain functions.
#pragma once

#include "platform/Colour.h"

#include <optional>
#include <string>
#include <string_view>

namespace marvo {

// Our own form; components are held to 0 to 1.
std::string archivedColour(const Colour& colour);
// Our own form, or a keyed archive of an older file. None for anything else; components are held to 0 to 1.
std::optional<Colour> colourFromArchive(std::string_view bytes);

} // namespace marvo
