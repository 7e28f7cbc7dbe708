#include "tools/Chain.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "tools/Cancel.h"
#include "tools/ErrorText.h"
#include "tools/Failure.h"
#include "tools/Sides.h"

namespace tool {

namespace {

std::string upTo(const std::string& title, std::string_view action) {
    return title + ": " + std::string(action) + ": ";
}

// Operations need not set an error code; then the picture that they refused says most.
std::string operationError(const DibStream& image) {
    if (image.ErrorCode != DIB_OK || image.Header == nullptr) return errorText(image);
    return "cannot be done to a picture of " + std::to_string(width(image)) + "x" +
           std::to_string(height(image)) + " pixels with " + std::to_string(image.Header->biBitCount) +
           " bits";
}

// A file that an operation is to read must be there before any work is done.
void checkPaths(const std::vector<Step>& steps) {
    for (const Step& step : steps) {
        for (const Parameter& parameter : step.operation->parameters) {
            if (parameter.kind != ParameterKind::Path) continue;
            const char* path = step.arguments.path(parameter.name);
            if (access(path, R_OK) != 0) {
                throw Failure(kExitBadInput, upTo(path, step.operation->name) +
                                                 DibStream::GetErrorString(DIB_ERROR_OPEN) + " (" +
                                                 std::strerror(errno) + ")");
            }
        }
    }
}

const Format& outputFormatOf(const Chain& chain, const Format& inputFormat) {
    const Format* format = chain.outputFormat;
    if (format == nullptr && chain.output == "-") {
        format = inputFormat.save != nullptr ? &inputFormat : &formatNamed("bmp");
    } else if (format == nullptr) {
        format = formatOfExtension(chain.output);
    }
    if (format == nullptr) throw usageFailure(chain.output + ": no format has this extension; use --to");
    if (format->save == nullptr)
        throw usageFailure(chain.output + ": " + std::string(format->name) + " is not written");
    return *format;
}

void checkOutput(const Chain& chain) {
    if (chain.output == "-" && isatty(STDOUT_FILENO) != 0) {
        throw usageFailure("standard output is a terminal; a picture goes to a file or a pipe");
    }
    // What can be known before the picture is read is said before it is read.
    if (chain.output != "-" || chain.outputFormat != nullptr) outputFormatOf(chain, formatNamed("bmp"));
}

}  // namespace

const Format& inputFormatOf(const InputFile& file, const std::string& name, const Format* chosen) {
    const Format* format = chosen;
    if (format == nullptr) format = formatOfContent(file.firstBytes());
    if (format == nullptr) format = formatOfExtension(name);
    if (format == nullptr) {
        throw Failure(kExitBadInput, upTo(file.title(), "load") + "no known format; name one with --from");
    }
    if (format->load == nullptr) {
        throw Failure(kExitBadInput,
                      upTo(file.title(), "load") + std::string(format->name) + " files are not read");
    }
    return *format;
}

void loadPicture(const InputFile& file, const Format& format, DibStream& image, Progress& progress) {
    progress.beginStep("load");
    image.ErrorCode = DIB_OK;
    const bool loaded = format.load(file.path(), image, &Progress::report, &progress);
    stopIfCancelled();
    if (!loaded) {
        throw Failure(kExitBadInput, upTo(file.title(), "load") +
                                         formats::whyRefused(file.path(), format.diagnose, image.ErrorCode));
    }
    if (image.Header == nullptr || image.Buffer == nullptr) {
        throw Failure(kExitBadInput, upTo(file.title(), "load") + "no picture in the file");
    }
    progress.endStep();
}

void applyStep(const Step& step, const std::string& title, DibStream& image, Progress& progress) {
    progress.beginStep(std::string(step.operation->name));
    // Success does not clear the code, and a failure need not set one: an old one would mislead.
    image.ErrorCode = DIB_OK;
    const bool done = step.operation->run(image, step.arguments, &Progress::report, &progress);
    stopIfCancelled();
    if (!done) throw Failure(kExitOperationFailed, upTo(title, step.operation->name) + operationError(image));
    progress.endStep();
}

void savePicture(const OutputFile& file, const Format& format, DibStream& image, Progress& progress) {
    image.ErrorCode = DIB_OK;
    const bool saved = format.save(file.path(), image, &Progress::report, &progress);
    stopIfCancelled();
    if (!saved) throw Failure(kExitOutputFailed, upTo(file.title(), "save") + errorText(image));
}

void runChain(const Chain& chain) {
    checkOutput(chain);
    checkPaths(chain.steps);
    // Loading and saving take part in the progress like operations.
    Progress progress(chain.steps.size() + 2, chain.showsProgress);
    const InputFile input(chain.input);
    const Format& inputFormat = inputFormatOf(input, chain.input, chain.inputFormat);
    const Format& outputFormat = outputFormatOf(chain, inputFormat);
    DibStream image;
    loadPicture(input, inputFormat, image, progress);
    // Made before the work starts, so that a folder that cannot be written is known at once.
    OutputFile output(chain.output);
    for (const Step& step : chain.steps) applyStep(step, input.title(), image, progress);
    progress.beginStep("save");
    savePicture(output, outputFormat, image, progress);
    progress.endStep();
    output.commit();
}

}  // namespace tool
