#include "tools/cli/Options.h"

#include <unistd.h>

#include <CLI/CLI.hpp>

#include "tools/io/PluginFolder.h"

namespace tool {

void addOperand(CLI::App& command, const std::string& name, std::string& value, const std::string& help) {
    command.add_option(name, value, help)->type_name("")->required();
}

void addFormat(CLI::App& command, const std::string& name, const Format*& format, const std::string& help) {
    command
        .add_option_function<std::string>(
            name, [&format](const std::string& chosen) { format = &formatNamed(chosen); }, help)
        ->type_name(kFormatPlaceholder);
}

void addPlugins(CLI::App& command) {
    command
        .add_option_function<std::string>("--plugins", usePluginFolder,
                                          "Folder of the EXR and DDS plug-ins; overrides the installed one")
        ->type_name("FOLDER");
}

void addProgress(CLI::App& command, bool& isShown) {
    constexpr const char* kChoices = "auto|always|never";
    isShown = isatty(STDERR_FILENO) != 0;
    const auto choose = [&isShown](const std::string& when) {
        if (when != "auto") isShown = when == "always";
    };
    command
        .add_option_function<std::string>("--progress", choose,
                                          "Draws a progress bar; auto: when standard error is a terminal")
        ->check(CLI::IsMember(CLI::detail::split(kChoices, '|')).description(""))
        ->type_name(kChoices);
}

void addJson(CLI::App& command, bool& asJson) { command.add_flag("--json", asJson, "Prints JSON"); }

}  // namespace tool
