// A text as a QR code.
#pragma once

#include <string>

namespace petrel {

// Black on white, with its quiet zone, scaling to the size of what shows it. Empty when the text is too long.
std::string QrAsSvg(const std::string& text);

// For a terminal: two rows of squares in each line of half blocks, black on white whatever its colours are.
std::string QrAsTerminalText(const std::string& text);

}  // namespace petrel
