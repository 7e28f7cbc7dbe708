#include "tools/commands/Pictures.h"

#include <DibPalette.h>

#include <CLI/CLI.hpp>
#include <filesystem>
#include <optional>
#include <utility>

#include "tools/cli/Cancel.h"
#include "tools/cli/ExitCode.h"
#include "tools/io/Formats.h"
#include "vexlibs/NativePath.h"

namespace tool {

namespace {

bool isPaletteName(const std::string& path) {
    const std::string extension = CLI::detail::to_lower(extensionOf(path));
    return extension == ".gpl" || extension == ".pal" || extension == ".act";
}

// Opens the second pictures of a step, with the limits of the command line.
class SecondPictures {
public:
    SecondPictures(const StepFrame& frame, std::string operation)
        : frame_(frame), operation_(std::move(operation)) {}

    // As `DibApplyOptions::open`.
    static bool open(void* context, const char* name, DibStream* image, DibFileResult* result,
                     DibProgressCallback callback, void* user) {
        return static_cast<SecondPictures*>(context)->load(name, *image, *result, callback, user);
    }
    // Why one could not be opened, if that was so.
    const std::optional<Failure>& failure() const { return failure_; }

private:
    bool load(const std::string& name, DibStream& image, DibFileResult& result, DibProgressCallback callback,
              void* user) {
        const std::string path = vexlibs::textOf(vexlibs::pathOf(frame_.folder) / vexlibs::pathOf(name));
        const auto open = [&](const char* format) {
            DibLoadOptions options = frame_.options.load;
            options.format = format;
            // Parts on the command line are those of the input.
            const DibLoadOptions whole;
            options.page = whole.page;
            options.layer = whole.layer;
            options.level = whole.level;
            options.pageName = options.layerName = nullptr;
            return DibLoadFile(path.c_str(), &image, &options, &result, callback, user);
        };
        bool isOpen = open(nullptr);
        // The format on the command line is that of the input. It is used only where no other is detected.
        const char* from = frame_.options.load.format;
        const bool isUnknown = result.format == nullptr && result.code == DIB_ERROR_UNSUPPORTED;
        if (isUnknown && from != nullptr) isOpen = open(from);
        if (isUnknown && !isOpen) isOpen = openPalette(path, image, result);
        if (isOpen) {
            frame_.notes.add(name + ": " + operation_, result);
            result.noteCount = 0;  // else they would be the step's, too
            return true;
        }
        failure_ = loadFailure(name, result, operation_);
        return false;
    }

    // Says what is wrong with files that are palettes or have the name of one.
    static bool openPalette(const std::string& path, DibStream& image, DibFileResult& result) {
        DibFileResult palette;
        const bool isOpen = DibLoadPalette(path.c_str(), &image, &palette);
        if (isOpen || palette.code != DIB_ERROR_UNSUPPORTED || isPaletteName(path))
            result = std::move(palette);
        return isOpen;
    }

    const StepFrame& frame_;
    std::string operation_;
    std::optional<Failure> failure_;
};

}  // namespace

Notes::~Notes() { complain(lines_); }

void Notes::add(const std::string& title, std::span<const DibNote> notes) {
    constexpr const char* kKinds[] = {": warning: ", ": assumption: ", ": loss: "};
    for (const DibNote& note : notes) {
        if (options_.isStrict || options_.isVerbose || note.kind == DIB_NOTE_WARNING)
            lines_.push_back(title + kKinds[note.kind] + note.text);
    }
}

void Notes::judge() {
    if (options_.isStrict && !lines_.empty()) throw Failure(kExitStrict, std::exchange(lines_, {}));
}

Failure loadFailure(const std::string& title, const DibFileResult& result, const std::string& action) {
    std::string reason = result.reason;
    for (const std::string limit : {"pixels", "bytes", "layers"}) {
        if (reason.find("; the limit of " + limit + " is ") != std::string::npos)
            reason += " (--limit=" + limit + ")";
    }
    if (reason.ends_with(")") && reason.find(" (in row ") != std::string::npos)
        reason += "; --keep-damaged keeps the rows before it";
    if (result.format == nullptr && result.code == DIB_ERROR_UNSUPPORTED && action == "load")
        reason += " (name it with --from)";
    if (result.format != nullptr && !DibIsFormatAvailable(result.format))
        reason += " (set its folder with --plugins)";
    return Failure(kExitBadInput, title + ": " + action + ": " + reason);
}

DibFileResult loadPicture(const InputFile& file, DibStream& image, const PictureOptions& options,
                          Progress& progress, Notes& notes) {
    progress.beginStep("load");
    DibFileResult result;
    const bool isLoaded = file.load(image, options.load, result, &Progress::report, &progress);
    stopIfCancelled();
    if (!isLoaded) throw loadFailure(file.title(), result);
    notes.add(file.title() + ": load", result);
    progress.endStep();
    return result;
}

bool applyStep(const DibStep& step, DibStream& image, const StepFrame& frame) {
    frame.progress.beginStep(step.operation->name);
    SecondPictures pictures(frame, step.operation->name);
    const DibApplyOptions options = {.open = &SecondPictures::open,
                                     .context = &pictures,
                                     .inPlace = true,
                                     .classic = frame.options.isClassic};
    DibOperationResult result;
    const bool done = DibApply(&image, &step, 1, &options, &result, &Progress::report, &frame.progress);
    stopIfCancelled();
    if (pictures.failure()) throw Failure(*pictures.failure());
    if (!done) throw Failure(kExitOperationFailed, frame.title + ": " + result.reason);
    if (frame.paletteAlpha != nullptr && !step.operation->movesPixels)
        *frame.paletteAlpha = std::move(result.paletteAlpha);
    frame.notes.add(frame.title, std::span(result.notes, static_cast<std::size_t>(result.noteCount)));
    frame.progress.endStep();
    return result.exchangesAxes;
}

void savePicture(const std::string& name, const DibFormat& format, const DibStream& image,
                 const PictureOptions& options, Progress& progress, Notes& notes,
                 const std::string& shownName) {
    const std::string title = (!shownName.empty() ? shownName
                               : name == "-"      ? "standard output"
                                                  : name) +
                              ": save";
    DibSaveOptions save = options.save;
    // An extension may choose among the formats of a family, as pgm and ppm do.
    const std::string extension = extensionOf(name);
    const bool isNamed = save.format == nullptr && formatOfExtension(name) == &format;
    if (save.format == nullptr) save.format = isNamed ? extension.c_str() + 1 : format.name;
    DibFileResult result;
    if (options.isStrict) {
        DibSaveLosses(&image, save.format, &save, &result);
        notes.add(title, result);
        notes.judge();
    }
    const FileUnderWay noSecondSignal;
    const bool isSaved =
        name == "-" ? DibSaveStream(stdout, &image, &save, &result, &Progress::report, &progress)
                    : DibSaveFile(name.c_str(), &image, &save, &result, &Progress::report, &progress);
    stopIfCancelled();
    if (!isSaved) throw Failure(kExitOutputFailed, title + ": " + result.reason);
    notes.add(title, result);
}

}  // namespace tool
