/// The commands and options of the program.
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace tool {

/// What the command line asked for.
struct Request {
    std::vector<std::string> chain;  ///< INPUT [OPERATION]... OUTPUT
    std::vector<std::string> files;
    std::string document;
    std::string folder;
    std::string picture;
    int side = 0;
    std::string from;
    std::string to;
    std::string plugins;
    std::string progress = "auto";
    std::string topic;
    std::string shell;
    bool asJson = false;
};

/// Declares every command on `app`; parsing fills `request`.
void declareCommands(CLI::App& app, Request& request);

/// Runs the command that was parsed. @throws Failure.
void execute(const CLI::App& app, const Request& request);

/// Prints to standard output. @throws Failure when not everything could be written.
void print(const std::string& text);

/// The man page, as roff.
std::string manPage(const CLI::App& app);
inline constexpr const char* kShells = "bash|zsh|fish";
/// The completion script for one of `kShells`.
std::string completionScript(const CLI::App& app, const std::string& shell);

/// @name The commands and options of a (sub)command, for the generators
/// @{
inline constexpr const char* kFormatPlaceholder = "FORMAT";  ///< Stands for the name of a format.
struct OptionText {
    std::string name;    ///< "--progress"
    std::string values;  ///< "auto|always|never", a placeholder, or empty for a switch.
    std::string help;
};
struct CommandText {
    std::string name;
    std::string operands;
    std::string help;
    std::vector<OptionText> options;
};
std::vector<CommandText> commandTexts(const CLI::App& app);
/// @}

}  // namespace tool
