/// The steps of every command that works on a picture: load, change, save.
#ifndef TOOLS_COMMANDS_PICTURES_H
#define TOOLS_COMMANDS_PICTURES_H

#include <DibFile.h>

#include <string>
#include <vector>

#include "tools/cli/ExitCode.h"
#include "tools/cli/Progress.h"
#include "tools/io/Files.h"
#include "tools/io/Images.h"
#include "tools/operations/Operations.h"

namespace tool {

/// How the command line wants pictures opened and saved.
struct PictureOptions {
    DibLoadOptions load;
    /// The format is null where the name of the output decides. Rows are raw, which every program reads.
    DibSaveOptions save = {.runLengths = false};
    bool isStrict = false;   ///< Notes of the library are failures.
    bool isVerbose = false;  ///< Every note is shown, not warnings alone.
};

/// What the library noted when it opened and saved pictures: losses, assumptions and warnings. They are shown
/// when the object ends, after the progress bar that is made later.
class Notes {
public:
    explicit Notes(const PictureOptions& options) : options_(options) {}
    ~Notes();
    Notes(const Notes&) = delete;
    Notes& operator=(const Notes&) = delete;

    /// @param title The file and what was done with it: "in.bmp: load".
    void add(const std::string& title, const DibFileResult& result);
    /// @throws Failure (strict) with all notes when there are any and the options refuse them.
    void judge();

private:
    const PictureOptions& options_;
    std::vector<std::string> lines_;
};

/// Loads a picture. @return Its format. @throws Failure (bad input).
const DibFormat* loadPicture(const InputFile& file, DibStream& image, const PictureOptions& options,
                             Progress& progress, Notes& notes);
/// The failure of a load with that result.
Failure loadFailure(const std::string& title, const DibFileResult& result);

/// @param title What messages call the picture.
/// @throws Failure (operation).
void applyStep(const Step& step, const std::string& title, DibStream& image, Progress& progress);

/// @throws Failure (usage) when the format cannot be written.
void requireSaver(const DibFormat& format, const std::string& title);
/// Saves a picture, "-" to standard output, within the step of the progress that is under way.
/// @throws Failure (output, or strict before anything is written).
void savePicture(const std::string& name, const DibFormat& format, const DibStream& image,
                 const PictureOptions& options, Progress& progress, Notes& notes);

/// The library's text for the code of an image; "failed" where there is none, since not every failure sets a
/// code.
std::string errorText(const DibStream& image);

}  // namespace tool

#endif
