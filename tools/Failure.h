#pragma once

#include <stdexcept>
#include <string>

namespace tool {

/// What the program gives back to the shell.
enum ExitCode : int {
    kExitDone = 0,
    kExitOperationFailed = 1,
    kExitUsage = 2,
    kExitBadInput = 3,
    kExitOutputFailed = 4,
    kExitCancelled = 130,
};

/// Ends the program: a message for standard error and the code for the shell.
class Failure : public std::runtime_error {
public:
    Failure(ExitCode exitCode, const std::string& message)
        : std::runtime_error(message), exitCode_(exitCode) {}

    ExitCode exitCode() const { return exitCode_; }

private:
    ExitCode exitCode_;
};

/// A mistake on the command line.
inline Failure usageFailure(const std::string& message) { return Failure(kExitUsage, message); }

}  // namespace tool
