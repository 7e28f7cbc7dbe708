#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>

#include "tools/Cancel.h"
#include "tools/CommandLine.h"
#include "tools/Failure.h"
#include "tools/Files.h"

namespace {

int run(int argumentCount, char** arguments) {
    CLI::App app("Reads, changes and writes pictures.", "dib");
    tool::Request request;
    tool::declareCommands(app, request);
    std::string output;
    try {
        app.parse(argumentCount, arguments);
        output = tool::execute(app, request);
    } catch (const CLI::Success& asked) {
        app.exit(asked);
    } catch (const CLI::ParseError& error) {
        throw tool::usageFailure(std::string(error.what()) + "\nTry `dib --help`.");
    }
    if (std::fwrite(output.data(), 1, output.size(), stdout) != output.size() || std::fflush(stdout) != 0) {
        throw tool::Failure(tool::kExitOutputFailed, "standard output: write file");
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
        std::fprintf(stderr, "dib: %s\n", failure.what());
        return failure.exitCode();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "dib: %s\n", error.what());
        return tool::kExitOperationFailed;
    }
}
