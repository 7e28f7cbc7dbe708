#include "tools/cli/Commands.h"

#include <CLI/CLI.hpp>
#include <algorithm>

namespace tool {

void declareRun(CLI::App& command);
void declareEach(CLI::App& command);
void declareInfo(CLI::App& command);
void declareCompare(CLI::App& command);
void declareMontage(CLI::App& command);
void declareLayers(CLI::App& command);
void declareGallery(CLI::App& command);
void declarePalette(CLI::App& command);
void declareOps(CLI::App& command);
void declareFormats(CLI::App& command);
void declareHelp(CLI::App& command);
void declareCompletion(CLI::App& command);
void declareMan(CLI::App& command);

std::span<const Command> commands() {
    static constexpr Command kCommands[] = {
        {"run", "Applies operations to a picture, from left to right", declareRun,
         "INPUT [OPERATION]... OUTPUT"},
        {"each", "Applies operations to each of many pictures, several at once", declareEach,
         "INPUT... [OPERATION]... OUTPUT"},
        {"info", "Prints size, depth, row order, palette, compression and format of pictures", declareInfo},
        {"compare", "Shows how two pictures differ", declareCompare},
        {"montage", "Puts many pictures on one, in rows and columns", declareMontage, "INPUT... OUTPUT"},
        {"layers", "Writes each layer of a document as a picture, and manifest.json with their positions",
         declareLayers},
        {"palette", "Writes the palette of a picture as a file of its own", declarePalette},
        {"gallery", "Writes a web page that shows what every operation does to a picture", declareGallery},
        {"ops", "Lists the operations with their parameters", declareOps},
        {"formats", "Lists the file formats", declareFormats},
        {"help", "Explains an operation or a command", declareHelp},
        {"completion", "Prints a completion script for a shell", declareCompletion},
        {"man", "Prints the manual page, as roff", declareMan},
    };
    return kCommands;
}

namespace {

class ListFormatter : public CLI::Formatter {
public:
    explicit ListFormatter(const char* operands) : operands_(operands) {}
    std::string make_usage(const CLI::App* /*app*/, std::string name) const override {
        return "Usage: " + name + " [OPTIONS] " + operands_ + "\n";
    }

private:
    const char* operands_;
};

}  // namespace

void declareCommands(CLI::App& app) {
    app.set_version_flag("--version", "dib " DIB_TOOL_VERSION);
    app.require_subcommand(1);
    for (const Command& row : commands()) {
        CLI::App* command = app.add_subcommand(row.name, row.help);
        if (row.operands != nullptr) command->formatter(std::make_shared<ListFormatter>(row.operands));
        row.declare(*command);
    }
}

const CLI::App* findCommand(const CLI::App& app, const std::string& name) {
    const bool isKnown = std::ranges::find(commands(), name, &Command::name) != commands().end();
    return isKnown ? app.get_subcommand(name) : nullptr;
}

std::vector<OptionText> optionTexts(const CLI::App& command) {
    std::vector<OptionText> texts;
    for (const CLI::Option* option : command.get_options()) {
        if (option->get_positional() || option->get_lnames().empty()) continue;
        const bool isSwitch = option->get_items_expected_max() == 0;
        texts.push_back({"--" + option->get_lnames().front(), isSwitch ? "" : option->get_type_name(),
                         option->get_description()});
    }
    return texts;
}

std::string operandText(const CLI::App& app, const Command& command) {
    if (command.operands != nullptr) return command.operands;
    std::string text;
    for (const CLI::Option* option : app.get_subcommand(command.name)->get_options()) {
        if (!option->get_positional()) continue;
        const std::string name = option->get_name(true);
        text += (text.empty() ? "" : " ") + (option->get_required() ? name : "[" + name + "]");
    }
    return text;
}

}  // namespace tool
