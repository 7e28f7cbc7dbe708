#include "tools/commands/Pictures.h"

#include <filesystem>
#include <utility>

#include "tools/cli/Cancel.h"
#include "tools/cli/Printable.h"
#include "tools/io/Formats.h"

namespace tool {

namespace {

// Not every failed operation sets an error code; size and depth are then the best hint.
std::string operationError(const DibStream& image) {
    if (image.ErrorCode != DIB_OK || image.Header == nullptr) return errorText(image);
    return "does not support " + std::to_string(width(image)) + "x" + std::to_string(height(image)) +
           " pictures with " + std::to_string(image.Header->biBitCount) + " bits";
}

}  // namespace

std::string errorText(const DibStream& image) {
    const std::string text = DibStream::GetErrorString(image.ErrorCode);
    return text.empty() ? "failed" : text;
}

Notes::~Notes() { complain(lines_); }

void Notes::add(const std::string& title, const DibFileResult& result) {
    constexpr const char* kKinds[] = {": warning: ", ": assumption: ", ": loss: "};
    for (int i = 0; i < result.noteCount; ++i) {
        const DibNote& note = result.notes[i];
        if (options_.isStrict || options_.isVerbose || note.kind == DIB_NOTE_WARNING)
            lines_.push_back(title + kKinds[note.kind] + note.text);
    }
}

void Notes::judge() {
    if (options_.isStrict && !lines_.empty()) throw Failure(kExitStrict, std::exchange(lines_, {}));
}

Failure loadFailure(const std::string& title, const DibFileResult& result) {
    std::string reason = result.reason;
    // The library names the fields of its options.
    for (const auto& [field, option] :
         {std::pair("(mostPixels)", "(--limit=pixels)"), std::pair("(mostBytes)", "(--limit=bytes)"),
          std::pair("(mostLayers)", "(--limit=layers)")}) {
        if (reason.ends_with(field)) reason.replace(reason.rfind('('), std::string::npos, option);
    }
    if (result.format == nullptr && result.code == DIB_ERROR_UNSUPPORTED) reason += " (name it with --from)";
    if (result.format != nullptr && !DibIsFormatAvailable(result.format))
        reason += " (set its folder with --plugins)";
    return Failure(kExitBadInput, title + ": load: " + reason);
}

LoadedFile loadPicture(const InputFile& file, DibStream& image, const PictureOptions& options,
                       Progress& progress, Notes& notes) {
    progress.beginStep("load");
    DibFileResult result;
    const bool isLoaded = file.load(image, options.load, result, &Progress::report, &progress);
    stopIfCancelled();
    if (!isLoaded) throw loadFailure(file.title(), result);
    notes.add(file.title() + ": load", result);
    progress.endStep();
    return {result.format, std::move(result.metadata)};
}

void applyStep(const Step& step, const std::string& title, DibStream& image, Progress& progress) {
    const std::string name(step.operation->name);
    progress.beginStep(name);
    // Operations do not clear the code of an earlier failure, and not every failure sets one.
    image.ErrorCode = DIB_OK;
    const bool done = step.operation->run(image, step.arguments, &Progress::report, &progress);
    stopIfCancelled();
    if (!done) throw Failure(kExitOperationFailed, title + ": " + name + ": " + operationError(image));
    progress.endStep();
}

void requireSaver(const DibFormat& format, const std::string& title) {
    if (format.writeDepths == 0)
        throw usageFailure(title + ": cannot write " + std::string(format.name) + " files");
}

void savePicture(const std::string& name, const DibFormat& format, const DibStream& image,
                 const PictureOptions& options, Progress& progress, Notes& notes) {
    const std::string title = outputTitle(name) + ": save";
    DibSaveOptions save = options.save;
    // An extension may choose among the formats of a family, as pgm and ppm do.
    const std::string extension = std::filesystem::path(name).extension();
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
