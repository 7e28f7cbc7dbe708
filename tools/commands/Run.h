/// `dib run`: a picture through operations into a file.
#ifndef TOOLS_COMMANDS_RUN_H
#define TOOLS_COMMANDS_RUN_H

#include <string>
#include <vector>

#include "tools/io/Formats.h"
#include "tools/operations/Operations.h"

namespace tool {

struct RunJob {
    std::string input;
    std::vector<Step> steps;
    std::string output;
    const Format* inputFormat = nullptr;   ///< Null: by the content, else by the name.
    const Format* outputFormat = nullptr;  ///< Null: by the name; standard output takes the input's format.
    bool showsProgress = false;
};

/// @throws Failure. The output is then as it was.
void runJob(const RunJob& job);

}  // namespace tool

#endif
