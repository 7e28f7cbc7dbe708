// Text from files and command lines, made safe for a terminal.
#ifndef TOOLS_CLI_PRINTABLE_H
#define TOOLS_CLI_PRINTABLE_H

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

// The text with '?' for every character that can control a terminal or reorder the text after it: controls
// (line feeds, the 8-bit ones and the line separators among them) and marks of writing direction. Other
// bytes above 127 stay.
std::string printable(std::string_view text);

// Prints lines to standard error, each after the name of the program.
void complain(const std::vector<std::string>& lines);

// Runs the program or a part of it, complains of its failure and returns the exit code.
int exitCodeOf(const std::function<void()>& work);

// JSON text with escapes for the same characters, which occur in its strings only.
std::string printableJson(std::string_view json);

}  // namespace tool

#endif
