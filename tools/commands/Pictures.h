/// The steps of every command that works on a picture: load, change, save.
#ifndef TOOLS_COMMANDS_PICTURES_H
#define TOOLS_COMMANDS_PICTURES_H

#include <string>

#include "tools/cli/ExitCode.h"
#include "tools/cli/Progress.h"
#include "tools/io/Files.h"
#include "tools/io/Formats.h"
#include "tools/io/Images.h"
#include "tools/operations/Operations.h"

namespace tool {

/// The format of a file to read: `chosen`, or the one of its content or name. @throws Failure (bad input).
const Format& inputFormatOf(const InputFile& file, const Format* chosen);
/// @throws Failure (bad input).
void loadPicture(const InputFile& file, const Format& format, DibStream& image, Progress& progress);
/// The failure of a load with that code.
Failure loadFailure(const InputFile& file, formats::Diagnosis diagnose, int errorCode);

/// @param title What messages call the picture.
/// @throws Failure (operation).
void applyStep(const Step& step, const std::string& title, DibStream& image, Progress& progress);

/// @throws Failure (usage) when the format cannot be written.
void requireSaver(const Format& format, const std::string& title);
/// Writes a picture to a file, which then replaces what had its name, within the step that is under way.
/// @throws Failure (output).
void savePicture(OutputFile& file, const Format& format, DibStream& image, Progress& progress);

/// The library's text for the code of an image; "failed" where there is none, since not every failure sets a code.
std::string errorText(const DibStream& image);

}  // namespace tool

#endif
