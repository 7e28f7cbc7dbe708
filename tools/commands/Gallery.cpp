// `dib gallery`: what every operation of the table does to one picture.
#include "gallery/Gallery.h"

#include <CLI/CLI.hpp>

#include "tools/cli/Cancel.h"
#include "tools/cli/Options.h"
#include "tools/commands/Pictures.h"
#include "tools/io/OutputFolder.h"

namespace tool {

namespace {

// How wide a side of the shown pictures can be.
constexpr int kSmallestSide = 240;
constexpr int kLargestSide = 1024;

struct GalleryJob {
    std::string input;
    std::string folder;
    PictureOptions pictures;  // how the input is opened
    gallery::Options gallery = {.version = DIB_TOOL_VERSION};
    bool showsProgress = false;
};

void makeGallery(GalleryJob& job) try {
    Notes notes(job.pictures);
    Progress progress(gallery::stepCount() + 1, job.showsProgress);
    job.gallery.began = [&](const std::string& title) { progress.beginStep(title); };
    job.gallery.ended = [&] { progress.endStep(); };
    job.gallery.callback = &Progress::report;
    job.gallery.user = &progress;
    const InputFile file(job.input);
    DibHandle image(new DibStream);
    loadPicture(file, *image, job.pictures, progress, notes);
    OutputFolder folder(job.folder);
    gallery::make(std::move(image), file.title(), folder / "", job.folder, job.gallery);
    folder.finish();
} catch (const gallery::NotWritten& error) {
    stopIfCancelled();
    throw Failure(kExitOutputFailed, error.what());
} catch (const std::runtime_error&) {
    stopIfCancelled();
    throw;
}

}  // namespace

void declareGallery(CLI::App& command) {
    const auto job = std::make_shared<GalleryJob>();
    addOperand(command, "INPUT", job->input, "A picture; '-' is standard input");
    addOperand(command, "FOLDER", job->folder, "Folder for the page; a new or an empty one");
    addOpening(command, job->pictures.load);
    command
        .add_option("--side", job->gallery.longerSide,
                    "Pixels of the longer side of the pictures, " + std::to_string(kSmallestSide) + " to " +
                        std::to_string(kLargestSide) + "; default " + std::to_string(job->gallery.longerSide))
        ->check(between(kSmallestSide, kLargestSide))
        ->type_name("PIXELS");
    command.add_flag("--classic", job->gallery.isClassic,
                     "Shows what the classic functions do, whatever the palette and alpha");
    addProgress(command, job->showsProgress);
    command.callback([job] { makeGallery(*job); });
}

}  // namespace tool
