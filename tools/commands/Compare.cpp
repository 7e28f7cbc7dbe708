// `dib compare`: what differs between two pictures.
#include <DibHandle.h>
#include <DibOperation.h>
#include <DibPictures.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <memory>
#include <span>
#include <string>
#include <string_view>

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

bool says(const DibFileResult& loaded, std::string_view words) {
    const std::span notes(loaded.notes, static_cast<std::size_t>(loaded.noteCount));
    return std::ranges::any_of(notes, [&](const DibNote& note) {
        return std::string_view(note.text).find(words) != std::string_view::npos;
    });
}

// Loads one of the pictures, and warns where the file holds more than is compared.
void load(const std::string& name, DibStream& image, const PictureOptions& options, Progress& progress,
          Notes& notes) {
    const InputFile file(name, InputFile::kReadTwice, options.load);
    const DibFileResult loaded = loadPicture(file, image, options, progress, notes);
    const auto warn = [&](const std::string& text) {
        DibNote note = {.kind = DIB_NOTE_WARNING, .text = ""};
        text.copy(note.text, sizeof note.text - 1);
        notes.add(file.title() + ": compare", std::span(&note, 1));
    };
    // Loads of these formats do not note it: they are always so.
    const std::string_view format = loaded.format->name;
    if (says(loaded, " became 8") || format == "exr" || format == "hdr")
        warn("the file has more than 8 bits a channel; 8 were compared");
    DibFileInfo header;
    DibFileResult probed;
    const int pages = file.probe(header, options.load, probed) ? header.pages : 1;
    if (pages > 1) warn("the file has " + std::to_string(pages) + " pages; the first was compared");
    if (says(loaded, " first picture is shown") || says(loaded, " the first is shown"))
        warn("the file has several pictures; the first was compared");
}

// Whether they are equal.
bool comparePictures(const CompareJob& job) {
    const DibFormat* format = job.shown.empty() ? nullptr : formatForOutput(job.shown, nullptr);
    Notes notes(job.pictures);
    Progress progress(job.shown.empty() ? 3 : 4, job.showsProgress);
    DibHandle first(new DibStream);
    DibHandle second(new DibStream);
    load(job.first, *first, job.pictures, progress, notes);
    load(job.second, *second, job.pictures, progress, notes);
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
        "Channels are compared at 8 bits, and of files with several pages the first; a warning says where a\n"
        "file holds more.\n"
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
