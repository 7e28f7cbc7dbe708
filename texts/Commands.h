// The commands of the program as its manual and its completion describe them.
#ifndef TEXTS_COMMANDS_H
#define TEXTS_COMMANDS_H

#include <string>
#include <utility>
#include <vector>

namespace texts {

inline constexpr const char* kFormatPlaceholder = "FORMAT";  // Stands for the name of a format.
inline constexpr const char* kShells = "bash|zsh|fish";

struct Option {
    std::string name;    // "--progress"
    std::string values;  // "auto|always|never", a placeholder, or empty for a switch.
    std::string help;
};

struct Command {
    std::string name;
    std::string help;
    std::string operands;  // "INPUT [OPERATION]... OUTPUT"
    std::string remarks;   // paragraphs with an empty line between them
    std::vector<Option> options;
};

// An exit status and what it means.
using ExitCode = std::pair<int, std::string>;

// The manual page, as roff.
std::string manualPage(const std::string& version, const std::vector<Command>& commands,
                       const std::vector<ExitCode>& exitCodes);

// Completions of the last word of a command line, which may be empty. The first line is "files" if file names
// fit as well, else "words"; then each word has a line, with a tab and an explanation after it if there is
// one.
std::string completions(const std::vector<Command>& commands, const std::vector<std::string>& words);

// The script that lets one of the shells ask for completions.
std::string completionScript(const std::string& shell);

}  // namespace texts

#endif
