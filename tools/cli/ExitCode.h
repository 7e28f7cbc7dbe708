#ifndef TOOLS_CLI_EXIT_CODE_H
#define TOOLS_CLI_EXIT_CODE_H

#include <functional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace tool {

// The exit status of the program.
enum ExitCode : int {
    kExitDone = 0,
    kExitOperationFailed = 1,
    kExitUsage = 2,
    kExitBadInput = 3,
    kExitOutputFailed = 4,
    kExitStrict = 5,
    kExitCancelled = 130,
};

// Ends the program with a message on standard error and an exit status.
class Failure : public std::runtime_error {
public:
    Failure(ExitCode exitCode, const std::string& message)
        : Failure(exitCode, std::vector<std::string>{message}) {}
    Failure(ExitCode exitCode, std::vector<std::string> lines)
        : std::runtime_error(lines.empty() ? "" : lines.front()),
          exitCode_(exitCode),
          lines_(std::move(lines)) {}

    ExitCode exitCode() const { return exitCode_; }
    // None where the exit code says all. A line feed inside a line comes from a name and starts no new line.
    const std::vector<std::string>& lines() const { return lines_; }

private:
    ExitCode exitCode_;
    std::vector<std::string> lines_;
};

// A mistake on the command line.
inline Failure usageFailure(const std::string& message) { return Failure(kExitUsage, message); }

// Prints lines to standard error, each after the name of the program.
void complain(const std::vector<std::string>& lines);

// Runs the program or a part of it, complains of its failure and returns the exit code.
int exitCodeOf(const std::function<void()>& work);

}  // namespace tool

#endif
