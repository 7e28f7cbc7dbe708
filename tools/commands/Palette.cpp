// `dib palette`: the palette of a picture as a file of its own.
#include <DibHandle.h>
#include <DibPalette.h>

#include <CLI/CLI.hpp>
#include <filesystem>
#include <memory>
#include <string>

#include "tools/cli/Options.h"
#include "tools/commands/Pictures.h"
#include "tools/io/Files.h"
#include "vexlibs/NativePath.h"

namespace tool {

namespace {

struct PaletteJob {
    std::string picture;
    std::string palette;
    PictureOptions pictures;
    bool showsProgress = false;
};

std::string extensionOf(const std::string& path) {
    const std::string name = vexlibs::textOf(vexlibs::pathOf(path).filename());
    const std::size_t dot = name.rfind('.');
    return dot != std::string::npos ? name.substr(dot + 1) : "";
}

void exportPalette(const PaletteJob& job) {
    PictureOptions pictures = job.pictures;
    pictures.load.keepsPalette = true;
    Notes notes(pictures);
    Progress progress(1, job.showsProgress);
    DibHandle image(new DibStream);
    const InputFile file(job.picture);
    loadPicture(file, *image, pictures, progress, notes);
    DibBytes bytes;
    DibFileResult result;
    if (!DibSavePaletteMemory(&bytes, image.get(), extensionOf(job.palette).c_str(), &result)) {
        if (result.code == DIB_ERROR_UNSUPPORTED) throw usageFailure(job.palette + ": " + result.reason);
        const bool hasNone = result.code == DIB_ERROR_MISMATCH;
        throw Failure(kExitBadInput, file.title() + ": " + result.reason +
                                         (hasNone ? "; `dib run` with colors:256 makes one" : ""));
    }
    writeText(job.palette, {reinterpret_cast<const char*>(bytes.data), bytes.size},
              pictures.save.keepsExisting);
}

}  // namespace

void declarePalette(CLI::App& command) {
    const auto job = std::make_shared<PaletteJob>();
    addOperand(command, "PICTURE", job->picture, "A picture with a palette; '-' is standard input");
    addOperand(command, "FILE", job->palette,
               "The file to write: .gpl of GIMP, .pal of JASC or .act of Adobe");
    addOpening(command, job->pictures.load);
    addNoClobber(command, job->pictures.save);
    addProgress(command, job->showsProgress);
    command.callback([job] { exportPalette(*job); });
}

}  // namespace tool
