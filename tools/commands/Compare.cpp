// `dib compare`: what differs between two pictures.
#include <DibHandle.h>
#include <DibOperation.h>
#include <DibPictures.h>

#include <CLI/CLI.hpp>
#include <cmath>
#include <memory>
#include <string>

#include "tools/cli/Cancel.h"
#include "tools/cli/Options.h"
#include "tools/commands/Pictures.h"
#include "tools/io/Formats.h"
#include "tools/io/JsonText.h"

namespace tool {

namespace {

struct CompareJob {
    std::string first;
    std::string second;
    PictureOptions pictures;
    std::string shown;  // the file for the picture of the differences; empty: none
    int gain = 1;
    bool asJson = false;
    bool showsProgress = false;
};

Json jsonOf(const CompareJob& job, const DibDifference& difference) {
    const bool isEqual = difference.differentPixels == 0;
    Json json = {{"schema", 1},
                 {"first", job.first},
                 {"second", job.second},
                 {"equal", isEqual},
                 {"sameSize", difference.isSameSize},
                 {"pixels", difference.pixels},
                 {"differentPixels", difference.differentPixels},
                 {"largest", difference.largest},
                 {"place", Json()},
                 {"meanSquare", difference.meanSquare},
                 {"psnr", Json()}};
    if (!isEqual) {
        json["place"] = {difference.x, difference.y};
        json["psnr"] = difference.psnr;
    }
    return json;
}

std::string textOf(const DibDifference& difference) {
    if (difference.differentPixels == 0) return "equal\n";
    char psnr[64];
    std::snprintf(psnr, sizeof psnr, "%.2f", difference.psnr);
    return std::to_string(difference.differentPixels) + " of " + std::to_string(difference.pixels) +
           " pixels differ" + (difference.isSameSize ? "" : ", the sizes too") + "; PSNR " + psnr +
           " dB; largest difference " + std::to_string(difference.largest) + " at " +
           std::to_string(difference.x) + "," + std::to_string(difference.y) + "\n";
}

// Whether they are equal.
bool comparePictures(const CompareJob& job) {
    const DibFormat* format = job.shown.empty() ? nullptr : formatForOutput(job.shown, nullptr);
    Notes notes(job.pictures);
    Progress progress(job.shown.empty() ? 3 : 4, job.showsProgress);
    DibHandle first(new DibStream);
    DibHandle second(new DibStream);
    loadPicture(InputFile(job.first), *first, job.pictures, progress, notes);
    loadPicture(InputFile(job.second), *second, job.pictures, progress, notes);
    progress.beginStep("compare");
    DibDifference difference;
    DibOperationResult result;
    DibStream* shown = format != nullptr ? first.get() : nullptr;
    const bool isDone = DibCompare(first.get(), second.get(), &difference, shown, job.gain, &result,
                                   &Progress::report, &progress);
    stopIfCancelled();
    if (!isDone) throw Failure(kExitOperationFailed, job.first + ": " + result.reason);
    progress.endStep();
    if (format != nullptr) {
        progress.beginStep("save");
        savePicture(job.shown, *format, *shown, job.pictures, progress, notes);
    }
    progress.hide();
    print(job.asJson ? jsonText(jsonOf(job, difference)) : textOf(difference));
    return difference.differentPixels == 0;
}

}  // namespace

void declareCompare(CLI::App& command) {
    const auto job = std::make_shared<CompareJob>();
    addOperand(command, "FIRST", job->first, "A picture; '-' is standard input");
    addOperand(command, "SECOND", job->second, "Another one");
    addOpening(command, job->pictures.load);
    command.add_option("--difference", job->shown, "Writes a picture of the differences; black: none")
        ->type_name("FILE");
    command.add_option("--gain", job->gain, "Factor by which differences are amplified, 1 to 255")
        ->check(between(1, 255))
        ->type_name("GAIN");
    addNoClobber(command, job->pictures.save);
    addJson(command, job->asJson);
    addProgress(command, job->showsProgress);
    command.footer(
        "Colours are compared, and alpha where a pixel is not opaque, whatever depths the files have.\n"
        "The exit code is 0 when the pictures are equal, 1 when they differ and 2 when that cannot be told.");
    command.callback([job] {
        bool isEqual = false;
        try {
            isEqual = comparePictures(*job);
        } catch (const Failure& failure) {
            const bool isCancel = failure.exitCode() == kExitCancelled;
            throw Failure(isCancel ? kExitCancelled : kExitUsage, failure.lines());
        }
        if (!isEqual) throw Failure(kExitOperationFailed, std::vector<std::string>());
    });
}

}  // namespace tool
