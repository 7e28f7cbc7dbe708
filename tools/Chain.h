/// The main job: a picture through an ordered chain of operations into a file.
#pragma once

#include <string>
#include <vector>

#include "tools/Files.h"
#include "tools/Operations.h"
#include "tools/Progress.h"

namespace tool {

struct Chain {
    std::string input;
    std::vector<Step> steps;
    std::string output;
    const Format* inputFormat = nullptr;  ///< Null: told by the content, else by the name.
    const Format* outputFormat =
        nullptr;  ///< Null: told by the name; standard output takes the input's format.
    bool showsProgress = false;
};

/// @throws Failure. The output is then as it was.
void runChain(const Chain& chain);

/// The format of a file to read. @throws Failure when nothing tells it, or it is not read.
const Format& inputFormatOf(const InputFile& file, const std::string& name, const Format* chosen);
/// @throws Failure (bad input).
void loadPicture(const InputFile& file, const Format& format, DibStream& image, Progress& progress);
/// @param title What messages call the picture.
/// @throws Failure (operation).
void applyStep(const Step& step, const std::string& title, DibStream& image, Progress& progress);
/// Writes a picture to the file, which is not committed, within the step that is under way.
/// @throws Failure (output).
void savePicture(const OutputFile& file, const Format& format, DibStream& image, Progress& progress);

}  // namespace tool
