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

std::string operandText(const CLI::App& command) {
    std::string text;
    for (const CLI::Option* option : command.get_options()) {
        if (!option->get_positional()) continue;
        const std::string name = option->get_name(true);
        text += (text.empty() ? "" : " ") + (option->get_required() ? name : "[" + name + "]");
    }
    return text;
}

}  // namespace

void declareCommands(CLI::App& app) {
    app.set_version_flag("--version", "dib " DIB_TOOL_VERSION);
    app.require_subcommand(1);
    app.allow_windows_style_options(false);  // "/pictures/a.png" is a path everywhere
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

std::vector<texts::Option> optionTexts(const CLI::App& command) {
    std::vector<texts::Option> options;
    for (const CLI::Option* option : command.get_options()) {
        if (option->get_positional() || option->get_lnames().empty()) continue;
        const bool isSwitch = option->get_items_expected_max() == 0;
        options.push_back({"--" + option->get_lnames().front(), isSwitch ? "" : option->get_type_name(),
                           option->get_description()});
    }
    return options;
}

std::vector<texts::Command> commandTexts(const CLI::App& app) {
    std::vector<texts::Command> texts;
    for (const Command& row : commands()) {
        const CLI::App& command = *app.get_subcommand(row.name);
        // That of `dib run` lists the operations, which have a section of their own.
        const std::string remarks = row.name == std::string_view("run") ? "" : command.get_footer();
        const std::string operands = row.operands != nullptr ? row.operands : operandText(command);
        texts.push_back({row.name, row.help, operands, remarks, optionTexts(command)});
    }
    return texts;
}

}  // namespace tool
