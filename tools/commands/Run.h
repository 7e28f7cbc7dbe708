/// `dib run`: a picture through operations into a file.
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
    PictureOptions pictures;  ///< Where no format is chosen, standard output takes the input's.
    bool showsProgress = false;
};

/// @throws Failure. The output is then as it was.
void runJob(const RunJob& job);

}  // namespace tool

#endif
