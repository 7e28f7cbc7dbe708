#include "tools/commands/Pictures.h"

#include "tools/cli/Cancel.h"

namespace tool {

namespace {

// Operations need not set an error code. The refused picture then says most.
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

const Format& inputFormatOf(const InputFile& file, const Format* chosen) {
    const Format* format = chosen;
    if (format == nullptr) format = formatOfContent(file.firstBytes());
    if (format == nullptr) format = formatOfExtension(file.name());
    if (format == nullptr)
        throw Failure(kExitBadInput, file.title() + ": load: no known format; name one with --from");
    if (format->load == nullptr) {
        throw Failure(kExitBadInput,
                      file.title() + ": load: cannot read " + std::string(format->name) + " files");
    }
    return *format;
}

Failure loadFailure(const InputFile& file, formats::Diagnosis diagnose, int errorCode) {
    return Failure(kExitBadInput,
                   file.title() + ": load: " + formats::whyRefused(file.path(), diagnose, errorCode));
}

void loadPicture(const InputFile& file, const Format& format, DibStream& image, Progress& progress) {
    progress.beginStep("load");
    image.ErrorCode = DIB_OK;
    const bool loaded = format.load(file.path(), image, &Progress::report, &progress);
    stopIfCancelled();
    if (!loaded) throw loadFailure(file, format.diagnose, image.ErrorCode);
    if (image.Header == nullptr || image.Buffer == nullptr)
        throw Failure(kExitBadInput, file.title() + ": load: the file contains no picture");
    progress.endStep();
}

void applyStep(const Step& step, const std::string& title, DibStream& image, Progress& progress) {
    const std::string name(step.operation->name);
    progress.beginStep(name);
    // Success does not clear the code, and a failure need not set one: an old code would mislead.
    image.ErrorCode = DIB_OK;
    const bool done = step.operation->run(image, step.arguments, &Progress::report, &progress);
    stopIfCancelled();
    if (!done) throw Failure(kExitOperationFailed, title + ": " + name + ": " + operationError(image));
    progress.endStep();
}

void requireSaver(const Format& format, const std::string& title) {
    if (format.save == nullptr)
        throw usageFailure(title + ": cannot write " + std::string(format.name) + " files");
}

void savePicture(OutputFile& file, const Format& format, DibStream& image, Progress& progress) {
    image.ErrorCode = DIB_OK;
    const bool saved = format.save(file.path(), image, &Progress::report, &progress);
    stopIfCancelled();
    if (!saved) throw Failure(kExitOutputFailed, file.title() + ": save: " + errorText(image));
    file.commit();
}

}  // namespace tool
