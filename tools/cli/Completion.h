/// Completion of command lines: the scripts for the shells, and the answers that they ask the program for.
#ifndef TOOLS_CLI_COMPLETION_H
#define TOOLS_CLI_COMPLETION_H

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace tool {

/// The hidden command that the scripts call, with the words behind the program's name as arguments.
inline constexpr const char* kCompleteCommand = "__complete";

/// What can stand in the place of the last word, which may be empty: "files" or "words" on the first line, which says
/// whether file names are possible too, then a line for each word, which a tab and an explanation may follow.
std::string completions(const CLI::App& app, const std::vector<std::string>& words);

/// The script for one of `kShells`.
std::string completionScript(const std::string& shell);

}  // namespace tool

#endif
