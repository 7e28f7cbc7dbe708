/// Text that others chose, for a terminal.
#ifndef TOOLS_CLI_PRINTABLE_H
#define TOOLS_CLI_PRINTABLE_H

#include <string>
#include <string_view>

namespace tool {

/// The text with '?' for every character that could steer a terminal or misplace what follows: controls (line feeds, the
/// 8-bit ones and the line separators among them) and marks of writing direction. Other bytes above 127 stay, in whatever
/// language they are.
std::string printable(std::string_view text);

/// JSON text with escapes for the same characters, which only stand in its strings.
std::string printableJson(std::string_view json);

}  // namespace tool

#endif
