// `dib gallery`: what every operation does to one picture.
#include "tools/gallery/Gallery.h"

#include <CLI/CLI.hpp>

#include "tools/cli/Options.h"

namespace tool {

void declareGallery(CLI::App& command) {
    const auto job = std::make_shared<GalleryJob>();
    addOperand(command, "INPUT", job->input, "A picture; '-' is standard input");
    addOperand(command, "FOLDER", job->folder, "Folder for the page; created if missing");
    addOpening(command, job->pictures.load);
    command
        .add_option("--side", job->longerSide,
                    "Pixels of the longer side of the pictures, " + std::to_string(kSmallestGallerySide) +
                        " to " + std::to_string(kLargestGallerySide) + "; default " +
                        std::to_string(job->longerSide))
        ->check(CLI::Range(kSmallestGallerySide, kLargestGallerySide).description(""))
        ->type_name("PIXELS");
    addProgress(command, job->showsProgress);
    command.callback([job] { makeGallery(*job); });
}

}  // namespace tool
