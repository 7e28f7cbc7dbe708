#include <DibKernels.h>
#include <CLI/CLI.hpp>

#include <cstdlib>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "files/Program.h"
#include "tools/cli/Cancel.h"
#include "tools/cli/Commands.h"
#include "tools/cli/ExitCode.h"
#include "tools/cli/Printable.h"
#include "tools/cli/Suggestion.h"
#include "tools/io/Files.h"
#include "tools/io/PluginFolder.h"

namespace {

// What is wrong with the command line; the parser does not name unknown words.
std::string mistakeIn(const CLI::App& app, const CLI::ParseError& error) {
    const std::vector<std::string> rest = app.remaining(true);
    const std::vector<CLI::App*> chosen = app.get_subcommands();
    const std::string place = chosen.empty() ? "" : chosen.front()->get_name() + ": ";
    if (rest.empty() && chosen.empty()) return "a command is required";
    if (rest.empty()) return place + error.what();
    if (chosen.empty()) {
        std::vector<std::string> names = tool::namesOf(tool::commands());
        names.insert(names.end(), {"--help", "--version"});
        return "no command or option '" + rest.front() + "'" + tool::suggestion(rest.front(), names);
    }
    const std::string typed = rest.front().substr(0, rest.front().find('='));
    if (!typed.starts_with('-')) return place + "there is no place for '" + typed + "'";
    return place + "no option '" + typed + "'" +
           tool::suggestion(typed, tool::namesOf(tool::optionTexts(*chosen.front())));
}

// For measurements: the library itself reads no environment.
void limitKernels() {
    const char* const level = std::getenv("DIB_KERNELS");
    if (level == nullptr || *level == '\0' || DibLimitKernels(level)) return;
    throw tool::Failure(tool::kExitUsage, "DIB_KERNELS: must be baseline, avx2 or avx512");
}

void run(int argumentCount, char** arguments) {
    limitKernels();
    CLI::App app("Reads, changes and writes pictures.", "dib");
    tool::declareCommands(app);
    if (argumentCount > 1 && arguments[1] == std::string_view(tool::kCompleteCommand)) {
        tool::print(texts::completions(tool::commandTexts(app), {arguments + 2, arguments + argumentCount}));
        return;
    }
    tool::usePluginFolder("");
    try {
        app.parse(argumentCount, arguments);
    } catch (const CLI::Success& asked) {
        std::ostringstream answer;
        app.exit(asked, answer);
        tool::print(answer.str());
    } catch (const CLI::ParseError& error) {
        throw tool::Failure(tool::kExitUsage, {mistakeIn(app, error), "try `dib --help`"});
    }
}

}  // namespace

int main(int argumentCount, char** arguments) {
    files::prepareStandardStreams();
    tool::installSignalHandlers();
    return tool::exitCodeOf([&] {
        char** texts = files::utf8Arguments(argumentCount, arguments);
        run(argumentCount, texts);
    });
}
