// Text for a terminal: how wide it is, and how it is made to fit.
//
// Names come from files and may hold anything. Here they lose what would move the cursor or change the
// colours: control characters and bytes that are no UTF-8 become "?". Thread-safe; allocates.
#pragma once

#include <string>
#include <string_view>

namespace marvo {

// Columns that a terminal gives the text: 2 for East Asian wide characters and emoji, 0 for combining ones.
int terminalWidth(std::string_view text);

// The text on one line, cut to at most that many columns; an ellipsis takes the place of what was cut.
std::string cutForTerminal(std::string_view text, int columns);

// The same, filled with blanks to exactly that many columns.
std::string padForTerminal(std::string_view text, int columns);

} // namespace marvo
