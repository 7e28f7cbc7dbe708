// `dib help`, `dib completion` and `dib man`: what the program says about itself.
#include <CLI/CLI.hpp>

#include "texts/Tables.h"
#include "tools/cli/Commands.h"
#include "tools/cli/ExitCode.h"
#include "tools/cli/Options.h"
#include "tools/cli/Suggestion.h"
#include "tools/io/Files.h"

namespace tool {

namespace {

std::string helpOn(const CLI::App& app, const std::string& topic) {
    if (topic.empty()) return app.help();
    const DibOperation* operation = DibFindOperation(topic.c_str());
    const CLI::App* command = findCommand(app, topic);
    // Some words are both.
    std::string text = command != nullptr ? command->help("dib") : "";
    if (operation != nullptr)
        text += (text.empty() ? "" : "\nOperation of `dib run`:\n\n") +
                texts::description(*operation, DIB_DESCRIBE_HELP);
    if (!text.empty()) return text;
    std::vector<std::string> names = namesOf(texts::operations());
    for (const Command& row : commands()) names.emplace_back(row.name);
    throw usageFailure("no operation or command '" + topic + "'" +
                       suggestion(topic, names, "; `dib ops` lists the operations"));
}

}  // namespace

void declareHelp(CLI::App& command) {
    const auto topic = std::make_shared<std::string>();
    command.add_option("TOPIC", *topic, "An operation or a command")->type_name("");
    command.callback([&command, topic] { print(helpOn(*command.get_parent(), *topic)); });
}

void declareCompletion(CLI::App& command) {
    const auto shell = std::make_shared<std::string>();
    addOperand(command, "SHELL", *shell, texts::kShells)->check(oneOf(texts::kShells));
    command.callback([shell] { print(texts::completionScript(*shell)); });
}

void declareMan(CLI::App& command) {
    command.callback([&command] {
        print(texts::manualPage(
            DIB_TOOL_VERSION, commandTexts(*command.get_parent()),
            {{kExitDone, "Done."},
             {kExitOperationFailed, "An operation failed."},
             {kExitUsage, "The command line is wrong."},
             {kExitBadInput,
              "An input cannot be read or is not supported. `dib info` prints what the others say all the "
              "same."},
             {kExitOutputFailed, "The output cannot be written."},
             {kExitStrict, "Something would be lost, assumed or damaged, and --strict was given."},
             {kExitCancelled, "Cancelled by a signal."}}));
    });
}

}  // namespace tool
