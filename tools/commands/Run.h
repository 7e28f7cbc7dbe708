// `dib run`: opens a picture, applies operations and saves it.
#ifndef TOOLS_COMMANDS_RUN_H
#define TOOLS_COMMANDS_RUN_H

#include <string>
#include <vector>

#include "tools/commands/Pictures.h"
#include "tools/operations/Operations.h"

namespace tool {

struct RunJob {
    std::string input;
    std::vector<Step> steps;
    std::string output;
    PictureOptions pictures;  // where no format is chosen, standard output has the input's
    bool showsProgress = false;
};

// Throws Failure and leaves the output unchanged.
void runJob(const RunJob& job);

}  // namespace tool

#endif
