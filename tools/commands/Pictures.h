// The steps of every command that works on a picture: load, change, save.
#ifndef TOOLS_COMMANDS_PICTURES_H
#define TOOLS_COMMANDS_PICTURES_H

#include <DibFile.h>

#include <span>
#include <string>
#include <vector>

#include "tools/cli/ExitCode.h"
#include "tools/cli/Progress.h"
#include "tools/io/Files.h"
#include "tools/io/Operations.h"

namespace tool {

// Options for opening and saving pictures.
struct PictureOptions {
    DibLoadOptions load;
    // The format is null where the name of the output decides. Rows are raw, which every program reads.
    DibSaveOptions save = {.runLengths = false};
    bool isStrict = false;   // notes of the library are failures
    bool isVerbose = false;  // every note is shown, not warnings alone
    bool isClassic = false;  // steps do exactly what their classic functions do
};

// Losses, assumptions and warnings of the library. They are printed when the object is destroyed: declare it
// before the progress bar, which is then gone.
class Notes {
public:
    explicit Notes(const PictureOptions& options) : options_(options) {}
    ~Notes();
    Notes(const Notes&) = delete;
    Notes& operator=(const Notes&) = delete;

    // `title` is the file and what was done with it: "in.bmp: load".
    void add(const std::string& title, std::span<const DibNote> notes);
    void add(const std::string& title, const DibFileResult& result) {
        add(title, std::span(result.notes, static_cast<std::size_t>(result.noteCount)));
    }
    // Throws Failure (strict) with all notes when there are any and the options refuse them.
    void judge();

private:
    const PictureOptions& options_;
    std::vector<std::string> lines_;
};

// Loads a picture. Throws Failure (bad input).
DibFileResult loadPicture(const InputFile& file, DibStream& image, const PictureOptions& options,
                          Progress& progress, Notes& notes);
// The failure of a load with that result. `action` is what the file was opened for.
Failure loadFailure(const std::string& title, const DibFileResult& result,
                    const std::string& action = "load");

// What a step needs besides its picture.
struct StepFrame {
    std::string title;  // of the picture, in messages
    const PictureOptions& options;
    Progress& progress;
    Notes& notes;
    std::string folder = {};           // of the second pictures; empty: the working folder
    DibBytes* paletteAlpha = nullptr;  // follows what steps do to a palette
};
// Returns whether rows became columns. Throws Failure (operation, or bad input for a second picture).
bool applyStep(const DibStep& step, DibStream& image, const StepFrame& frame);

// Saves a picture within the current step of the progress. Throws Failure (output, or strict before
// anything is written), which calls the file by its name or by `shownName`.
void savePicture(const std::string& name, const DibFormat& format, const DibStream& image,
                 const PictureOptions& options, Progress& progress, Notes& notes,
                 const std::string& shownName = {});

}  // namespace tool

#endif
