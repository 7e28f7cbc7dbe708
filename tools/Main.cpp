#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <iostream>
#include <string>
#include <string_view>

#include "tools/Cancel.h"
#include "tools/CommandLine.h"
#include "tools/Failure.h"
#include "tools/Files.h"

namespace {

// Each line of a message says who speaks.
void complain(std::string_view message) {
    std::string lines = "dib: ";
    for (const char c : message) lines += c == '\n' ? std::string("\ndib: ") : std::string(1, c);
    std::fprintf(stderr, "%s\n", lines.c_str());
}

int run(int argumentCount, char** arguments) {
    CLI::App app("Reads, changes and writes pictures.", "dib");
    tool::Request request;
    tool::declareCommands(app, request);
    try {
        app.parse(argumentCount, arguments);
        tool::execute(app, request);
    } catch (const CLI::Success& asked) {
        app.exit(asked);
        if (!std::cout.flush()) throw tool::Failure(tool::kExitOutputFailed, "standard output: write file");
    } catch (const CLI::ParseError& error) {
        throw tool::usageFailure(std::string(error.what()) + "\ntry `dib --help`");
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
        complain(failure.what());
        return failure.exitCode();
    } catch (const std::exception& error) {
        complain(error.what());
        return tool::kExitOperationFailed;
    }
}
