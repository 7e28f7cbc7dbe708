#ifndef TOOLS_CLI_EXIT_CODE_H
#define TOOLS_CLI_EXIT_CODE_H

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace tool {

/// What the program gives back to the shell.
enum ExitCode : int {
    kExitDone = 0,
    kExitOperationFailed = 1,
    kExitUsage = 2,
    kExitBadInput = 3,
    kExitOutputFailed = 4,
    kExitStrict = 5,
    kExitCancelled = 130,
};

/// Ends the program: a message for standard error and the code for the shell.
class Failure : public std::runtime_error {
public:
    Failure(ExitCode exitCode, const std::string& message)
        : Failure(exitCode, std::vector<std::string>{message}) {}
    /// @param lines The message, at least one line.
    Failure(ExitCode exitCode, std::vector<std::string> lines)
        : std::runtime_error(lines.front()), exitCode_(exitCode), lines_(std::move(lines)) {}

    ExitCode exitCode() const { return exitCode_; }
    /// A name inside of a line may hold a line feed, which begins no other one.
    const std::vector<std::string>& lines() const { return lines_; }

private:
    ExitCode exitCode_;
    std::vector<std::string> lines_;
};

/// A mistake on the command line.
inline Failure usageFailure(const std::string& message) { return Failure(kExitUsage, message); }

}  // namespace tool

#endif
