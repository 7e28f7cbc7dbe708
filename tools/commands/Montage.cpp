// `dib montage`: many pictures on one, in rows and columns.
#include <DibHandle.h>
#include <DibOperation.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <memory>

#include "tools/cli/Cancel.h"
#include "tools/cli/Options.h"
#include "tools/commands/Pictures.h"
#include "tools/commands/Run.h"
#include "tools/io/Formats.h"

namespace tool {

namespace {

struct MontageJob {
    std::vector<std::string> words;  // inputs and the output
    PictureOptions pictures;
    int columns = 0;   // 0: about as many as rows
    int gap = 0;       // pixels around each picture
    std::string tile;  // a size that the pictures are to fit; empty: they keep theirs
    std::string background = "#ffffff";
    bool showsProgress = false;
};

// Applies a chain whose second picture, if it has one, is `second`.
void apply(DibStream& image, const std::string& chain, const std::string& title,
           const DibStream* second = nullptr) {
    const auto open = [](void* context, const char*, DibStream* to, DibFileResult*, DibProgressCallback,
                         void*) {
        const auto* from = static_cast<const DibStream*>(context);
        return to->Copy(from->Header, from->Buffer);
    };
    const DibApplyOptions options = {
        .open = open, .context = const_cast<DibStream*>(second), .inPlace = true};
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
        apply(*tiles.back(), (job.tile.empty() ? "" : "fit:" + job.tile + " ") + "bpp:32", name);
    }
    return tiles;
}

// Every picture in the middle of a cell as large as the largest of them.
DibHandle sheetOf(const std::vector<DibHandle>& tiles, const MontageJob& job) {
    int width = 0;
    int height = 0;
    for (const DibHandle& tile : tiles) {
        width = std::max(width, tile.width());
        height = std::max(height, tile.height());
    }
    const int count = static_cast<int>(tiles.size());
    const int root = static_cast<int>(std::ceil(std::sqrt(count)));
    const int columns = std::min(job.columns != 0 ? job.columns : root, count);
    const int rows = (count + columns - 1) / columns;
    const int stepX = width + job.gap;
    const int stepY = height + job.gap;
    // A pixel of the background, enlarged.
    DibHandle sheet(new DibStream);
    if (!sheet->Create(1, 1, 32)) throw std::bad_alloc();
    apply(*sheet,
          "border:1,color=" + job.background +
              " crop:0,0,1x1 bpp:32 resize:" + std::to_string(columns * stepX + job.gap) + "x" +
              std::to_string(rows * stepY + job.gap) + ",filter=nearest",
          job.words.back());
    for (int i = 0; i < count; ++i) {
        const DibHandle& tile = tiles[static_cast<std::size_t>(i)];
        const int x = job.gap + i % columns * stepX + (width - tile.width()) / 2;
        const int y = job.gap + i / columns * stepY + (height - tile.height()) / 2;
        apply(*sheet, "overlay:tile,x=" + std::to_string(x) + ",y=" + std::to_string(y),
              job.words[static_cast<std::size_t>(i)], tile.get());
    }
    return sheet;
}

void makeMontage(const MontageJob& job) {
    if (job.words.size() < 2) throw usageFailure("montage: INPUT and OUTPUT are required");
    const std::string& output = job.words.back();
    const DibFormat& format = *formatForOutput(output, job.pictures.save.format);
    requireWritable(output, job.pictures.save.keepsExisting);
    batch::Inputs inputs;
    for (std::size_t i = 0; i + 1 < job.words.size(); ++i) addInput(inputs, "montage", job.words[i]);
    const std::vector<std::string> names(inputs.files().begin(), inputs.files().end());
    Notes notes(job.pictures);
    Progress progress(names.size() + 2, job.showsProgress);
    const std::vector<DibHandle> tiles = loadTiles(job, names, progress, notes);
    progress.beginStep("montage");
    const DibHandle sheet = sheetOf(tiles, job);
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
    addProgress(command, job->showsProgress);
    command.footer(
        "Inputs are files and patterns, as for `dib each`. Each picture lies in the middle of a cell as "
        "large "
        "as\nthe largest of them.");
    command.callback([job] { makeMontage(*job); });
}

}  // namespace tool
