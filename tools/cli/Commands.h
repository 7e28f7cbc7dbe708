// The commands of the program. Each is a row of a table and a file in tools/commands/ that declares its
// options.
#ifndef TOOLS_CLI_COMMANDS_H
#define TOOLS_CLI_COMMANDS_H

#include <span>
#include <string>
#include <vector>

#include "texts/Commands.h"

namespace CLI {
class App;
}

namespace tool {

struct Command {
    const char* name;
    const char* help;
    // Declares operands and options on `command`, and the callback that runs it. The callback throws Failure.
    void (*declare)(CLI::App& command);
    // Text of the operands; null: as declared.
    const char* operands = nullptr;
};
std::span<const Command> commands();

// The declared command of that name, or null.
const CLI::App* findCommand(const CLI::App& app, const std::string& name);

// Declares every command on `app`; parsing then runs the chosen one. Throws Failure.
void declareCommands(CLI::App& app);

// The hidden command that the scripts for the shells call with the words after the program's name.
inline constexpr const char* kCompleteCommand = "__complete";

// The options and operands of a command, and all of them, as the manual and the completion describe them.
std::vector<texts::Option> optionTexts(const CLI::App& command);
std::vector<texts::Command> commandTexts(const CLI::App& app);

}  // namespace tool

#endif
