// A picture from a file, through operations, to a file.
#ifndef TOOLS_COMMANDS_RUN_H
#define TOOLS_COMMANDS_RUN_H

#include <DibFile.h>

#include <string>
#include <vector>

#include "batch/OutputNames.h"
#include "tools/commands/Pictures.h"

namespace CLI {
class App;
}

namespace tool {

struct RunJob {
    std::string input;
    std::vector<DibChain> chains;  // each of one step
    std::string output;
    PictureOptions pictures;  // where no format is chosen, standard output has the input's
    bool showsProgress = false;
};

// Declares the options on `command` that say how pictures are opened, changed and saved.
void addRunning(CLI::App& command, RunJob& job);

// The format that the command line asks for; null where the input decides. Throws Failure (usage).
const DibFormat* outputFormat(const RunJob& job);
// Checks before any work is done that the files which the steps name can be read. Throws Failure (bad input).
void checkPaths(const RunJob& job);
// Adds the files of a word. Throws Failure (bad input) when there are none.
void addInput(batch::Inputs& inputs, const std::string& command, const std::string& word);
// Leaves the output unchanged when it fails. Throws Failure.
void runJob(const RunJob& job);

}  // namespace tool

#endif
