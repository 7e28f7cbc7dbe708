// Text from files and command lines, made safe for a terminal.
#ifndef TOOLS_CLI_PRINTABLE_H
#define TOOLS_CLI_PRINTABLE_H

#include <string>
#include <string_view>

namespace tool {

// The text with '?' for every character that can control a terminal or reorder the text after it: controls
// (line feeds, the 8-bit ones and the line separators among them) and marks of writing direction. Other
// bytes above 127 stay.
std::string printable(std::string_view text);

// JSON text with escapes for the same characters, which occur in its strings only.
std::string printableJson(std::string_view json);

}  // namespace tool

#endif
