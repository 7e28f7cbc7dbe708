// The commands of the program. Each is a row of a table and a file in tools/commands/ that declares its
// options.
#ifndef TOOLS_CLI_COMMANDS_H
#define TOOLS_CLI_COMMANDS_H

#include <span>
#include <string>
#include <vector>

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
// Its answer: completions of the last word, which may be empty. The first line is "files" if file names fit
// as well, else "words"; then each word has a line, with a tab and an explanation after it if there is one.
std::string completions(const CLI::App& app, const std::vector<std::string>& words);

// What the manual and the completion say about an option.
struct OptionText {
    std::string name;    // "--progress"
    std::string values;  // "auto|always|never", a placeholder, or empty for a switch.
    std::string help;
};
std::vector<OptionText> optionTexts(const CLI::App& command);
// "INPUT [OPERATION]... OUTPUT"
std::string operandText(const CLI::App& app, const Command& command);

}  // namespace tool

#endif
