// Completion of command lines: the scripts for the shells and the program's answers to them.
#ifndef TOOLS_CLI_COMPLETION_H
#define TOOLS_CLI_COMPLETION_H

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace tool {

// The hidden command that the scripts call with the words after the program's name.
inline constexpr const char* kCompleteCommand = "__complete";

// Completions of the last word, which may be empty. The first line is "files" if file names fit as well, else
// "words"; then each word has a line, with a tab and an explanation after it if there is one.
std::string completions(const CLI::App& app, const std::vector<std::string>& words);

// The script for one of `kShells`.
std::string completionScript(const std::string& shell);

}  // namespace tool

#endif
