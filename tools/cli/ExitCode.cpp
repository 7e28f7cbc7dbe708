#include "tools/cli/ExitCode.h"

#include <cstdio>
#include <exception>

#include "tools/cli/Printable.h"

namespace tool {

void complain(const std::vector<std::string>& lines) {
    for (const std::string& line : lines) std::fprintf(stderr, "dib: %s\n", printable(line).c_str());
}

int exitCodeOf(const std::function<void()>& work) {
    try {
        work();
        return kExitDone;
    } catch (const Failure& failure) {
        complain(failure.lines());
        return failure.exitCode();
    } catch (const std::exception& error) {
        complain({error.what()});
        return kExitOperationFailed;
    }
}

}  // namespace tool
