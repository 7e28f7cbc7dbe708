#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <sstream>
#include <string>
#include <vector>

#include "tools/Cancel.h"
#include "tools/CommandLine.h"
#include "tools/Failure.h"
#include "tools/Files.h"
#include "tools/Printable.h"

namespace {

// Each line of a message says who speaks.
void complain(const std::vector<std::string>& lines) {
    for (const std::string& line : lines) std::fprintf(stderr, "dib: %s\n", tool::printable(line).c_str());
}

// What is wrong with the command line. A word that is no command is not told by the parser, which misses one.
std::string mistakeIn(const CLI::App& app, const CLI::ParseError& error) {
    const std::vector<std::string> rest = app.remaining();
    if (!app.get_subcommands().empty() || rest.empty()) return error.what();
    return "no command or option '" + rest.front() + "'";
}

int run(int argumentCount, char** arguments) {
    CLI::App app("Reads, changes and writes pictures.", "dib");
    tool::Request request;
    tool::declareCommands(app, request);
    try {
        app.parse(argumentCount, arguments);
        tool::execute(app, request);
    } catch (const CLI::Success& asked) {
        std::ostringstream answer;
        app.exit(asked, answer);
        tool::print(answer.str());
    } catch (const CLI::ParseError& error) {
        throw tool::Failure(tool::kExitUsage, {mistakeIn(app, error), "try `dib --help`"});
    }
    return tool::kExitDone;
}

}  // namespace

int main(int argumentCount, char** arguments) {
    tool::guardStandardStreams();
    tool::installSignalHandlers();
    try {
        return run(argumentCount, arguments);
    } catch (const tool::Failure& failure) {
        complain(failure.lines());
        return failure.exitCode();
    } catch (const std::exception& error) {
        complain({error.what()});
        return tool::kExitOperationFailed;
    }
}
