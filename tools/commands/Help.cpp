// `dib help`: explains an operation or a command.
#include <CLI/CLI.hpp>

#include "tools/cli/Commands.h"
#include "tools/cli/ExitCode.h"
#include "tools/cli/Suggestion.h"
#include "tools/io/Files.h"
#include "tools/io/Operations.h"

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
                description(*operation, DIB_DESCRIBE_HELP);
    if (!text.empty()) return text;
    std::vector<std::string> names = namesOf(operations());
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

}  // namespace tool
