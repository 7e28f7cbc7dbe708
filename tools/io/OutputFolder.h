// A folder of outputs that appears whole or not at all.
#ifndef TOOLS_IO_OUTPUT_FOLDER_H
#define TOOLS_IO_OUTPUT_FOLDER_H

#include <cstring>
#include <string>

#include "files/NewFolder.h"
#include "tools/cli/Cancel.h"
#include "tools/cli/ExitCode.h"

namespace tool {

class OutputFolder {
public:
    // Throws Failure (output), also where the folder exists and is not empty.
    explicit OutputFolder(const std::string& name) : name_(name), folder_(name) {
        judge(folder_.error() == 0);
    }

    // The path of a file to write.
    std::string operator/(const std::string& file) const { return folder_.path() + "/" + file; }
    // Throws Failure (output).
    void finish() { judge(folder_.commit()); }

private:
    void judge(bool isDone) const {
        if (isDone) return;
        throw Failure(kExitOutputFailed,
                      name_ + ": save: the folder cannot be created: " + std::strerror(folder_.error()));
    }

    // What is unfinished is removed before the program ends.
    FileUnderWay noSecondSignal_;
    std::string name_;
    files::NewFolder folder_;
};

}  // namespace tool

#endif
