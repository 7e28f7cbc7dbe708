// `dib montage`: many pictures on one, in rows and columns.
#include <DibHandle.h>
#include <DibOperation.h>
#include <DibPictures.h>

#include <CLI/CLI.hpp>
#include <filesystem>
#include <memory>

#include "tools/cli/Cancel.h"
#include "tools/cli/Options.h"
#include "tools/commands/Pictures.h"
#include "tools/commands/Run.h"
#include "tools/io/Formats.h"
#include "vexlibs/NativePath.h"

namespace tool {

namespace {

struct MontageJob {
    std::vector<std::string> words;  // inputs and the output
    PictureOptions pictures;
    int columns = 0;   // 0: about as many as rows
    int gap = 0;       // pixels around each picture
    std::string tile;  // a size that the pictures are to fit; empty: they keep theirs
    std::string background = "#ffffff";
    bool hasLabels = false;
    int labelSize = 14;
    std::string labelFont;  // a file; empty: the built-in letters
    bool showsProgress = false;
};

void apply(DibStream& image, const std::string& chain, const std::string& title) {
    const DibApplyOptions options = {.inPlace = true};
    DibOperationResult result;
    const bool isDone = DibApply(
        &image, chain.c_str(), &options, &result, [](float, void*) { return !isCancelled(); }, nullptr);
    stopIfCancelled();
    if (isDone) return;
    const bool isMistake = result.code == DIB_ERROR_INVALID;
    throw Failure(isMistake ? kExitUsage : kExitOperationFailed, title + ": " + result.reason);
}

std::vector<DibHandle> loadTiles(const MontageJob& job, const std::vector<std::string>& names,
                                 Progress& progress, Notes& notes) {
    std::vector<DibHandle> tiles;
    for (const std::string& name : names) {
        tiles.emplace_back(new DibStream);
        loadPicture(InputFile(name), *tiles.back(), job.pictures, progress, notes);
        if (!job.tile.empty()) apply(*tiles.back(), "fit:" + job.tile, name);
    }
    return tiles;
}

DibBGRA colorOf(const std::string& text) {
    DibBGRA color;
    DibOperationResult result;
    if (!DibParseColor(text.c_str(), &color, &result))
        throw usageFailure("--background: " + std::string(result.reason));
    return color;
}

DibHandle sheetOf(const std::vector<DibHandle>& tiles, const MontageJob& job,
                  const std::vector<std::string>& names, Progress& progress) {
    std::vector<const DibStream*> pictures;
    for (const DibHandle& tile : tiles) pictures.push_back(tile.get());
    std::vector<std::string> files;
    for (const std::string& name : names) files.push_back(vexlibs::textOf(vexlibs::pathOf(name).filename()));
    std::vector<const char*> labels;
    for (const std::string& file : files) labels.push_back(file.c_str());
    DibMontageOptions options;
    options.columns = job.columns;
    options.gap = job.gap;
    options.background = colorOf(job.background);
    if (job.hasLabels) options.labels = labels.data();
    options.labelSize = job.labelSize;
    if (!job.labelFont.empty()) options.labelFont = job.labelFont.c_str();
    DibHandle sheet(new DibStream);
    DibOperationResult result;
    const bool isDone = DibMontage(pictures.data(), static_cast<int>(pictures.size()), sheet.get(), &options,
                                   &result, &Progress::report, &progress);
    stopIfCancelled();
    if (!isDone) throw Failure(kExitOperationFailed, job.words.back() + ": montage: " + result.reason);
    return sheet;
}

void makeMontage(const MontageJob& job) {
    if (job.words.size() < 2) throw usageFailure("montage: INPUT and OUTPUT are required");
    const std::string& output = job.words.back();
    const DibFormat& format = *formatForOutput(output, job.pictures.save.format);
    requireWritable(output, job.pictures.save.keepsExisting);
    batch::Inputs inputs;
    for (std::size_t i = 0; i + 1 < job.words.size(); ++i) addInput(inputs, "montage", job.words[i]);
    std::vector<std::string> names;
    for (const std::filesystem::path& file : inputs.files()) names.push_back(vexlibs::textOf(file));
    Notes notes(job.pictures);
    Progress progress(names.size() + 2, job.showsProgress);
    const std::vector<DibHandle> tiles = loadTiles(job, names, progress, notes);
    progress.beginStep("montage");
    const DibHandle sheet = sheetOf(tiles, job, names, progress);
    progress.endStep();
    progress.beginStep("save");
    savePicture(output, format, *sheet, job.pictures, progress, notes);
    progress.endStep();
}

}  // namespace

void declareMontage(CLI::App& command) {
    const auto job = std::make_shared<MontageJob>();
    command.add_option("words", job->words)->group("");
    addOpening(command, job->pictures.load);
    addSaving(command, job->pictures, "Format of the output; overrides its extension");
    command.add_option("--columns", job->columns, "Pictures in a row; default: about as many as rows")
        ->check(between(1, 10000))
        ->type_name("NUMBER");
    command
        .add_option("--tile", job->tile,
                    "Shrinks each picture until it lies inside this size, such as 200x200")
        ->type_name("SIZE");
    command.add_option("--gap", job->gap, "Pixels between the pictures and around them; default 0")
        ->check(between(0, 10000))
        ->type_name("PIXELS");
    command
        .add_option("--background", job->background,
                    "Colour of the rest, #rrggbb or #rrggbbaa; default white")
        ->type_name("COLOR");
    command.add_flag("--labels", job->hasLabels, "Writes the name of its file below each picture");
    command.add_option("--label-size", job->labelSize, "Height of the labels' font; default 14")
        ->check(between(1, 1000))
        ->type_name("PIXELS");
    command.add_option("--label-font", job->labelFont, "File of the labels' font; default: built-in letters")
        ->type_name("FILE");
    addProgress(command, job->showsProgress);
    command.footer(
        "Inputs are files and patterns, as for `dib each`. Each picture lies in the middle of a cell as "
        "large as\nthe largest of them.");
    command.callback([job] { makeMontage(*job); });
}

}  // namespace tool
