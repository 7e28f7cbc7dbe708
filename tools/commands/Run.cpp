// `dib run`: opens a picture, applies operations and saves it.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <utility>

#include "files/Program.h"
#include "texts/Tables.h"
#include "tools/cli/Options.h"
#include "tools/cli/Suggestion.h"
#include "tools/commands/Run.h"
#include "tools/io/Formats.h"
#include "vexlibs/NativePath.h"

namespace tool {

namespace {

// Whether indices mean the same in both files: then the picture of a transparent palette need not become one
// of 32 bits.
bool keepsPalette(const RunJob& job, const DibFormat* format) {
    return (format == nullptr || format->hasPaletteAlpha) &&
           std::ranges::all_of(job.chains,
                               [](const DibChain& chain) { return chain.steps->operation->movesPixels; });
}

std::string operationSummary() {
    std::string text =
        "An operation is its name, a colon and its parameters, separated by commas; a comma or a "
        "backslash\ninside a value is written with a backslash before it.\n\n"
        "Operations (details: `dib help OPERATION`):\n";
    for (const DibOperation* operation : texts::operations())
        text += "  " + texts::description(*operation, DIB_DESCRIBE_SYNOPSIS) + "\n      " + operation->help +
                "\n";
    return text;
}

}  // namespace

void checkPaths(const RunJob& job) {
    for (const DibChain& chain : job.chains) {
        const DibOperation& operation = *chain.steps->operation;
        const auto parameters = DibList(operation.parameters);
        for (std::size_t i = 0; i < parameters.size(); ++i) {
            const std::string path = chain.steps->values[i];
            if (parameters[i]->kind != DIB_PARAMETER_PATH || files::isReadable(path)) continue;
            throw Failure(kExitBadInput, path + ": " + operation.name +
                                             ": the file cannot be opened: " + std::strerror(errno));
        }
    }
}

const DibFormat* outputFormat(const RunJob& job) {
    const char* chosen = job.pictures.save.format;
    return job.output == "-" && chosen == nullptr ? nullptr : formatForOutput(job.output, chosen);
}

void addInput(batch::Inputs& inputs, const std::string& command, const std::string& word) try {
    std::error_code none;
    if (inputs.add(word) > 0) return;
    if (std::filesystem::is_directory(vexlibs::pathOf(word), none))
        throw usageFailure(word + " is a folder; '" + word + "/*' is its files");
    throw Failure(kExitBadInput, command + ": '" + word + "' is not a file, pattern or operation" +
                                     suggestion(word.substr(0, word.find(':')), namesOf(texts::operations()),
                                                "; there is no such file"));
} catch (const std::filesystem::filesystem_error& error) {
    throw Failure(kExitBadInput, vexlibs::textOf(error.path1()) +
                                     ": load: the folder cannot be read: " + error.code().message());
}

void addRunning(CLI::App& command, RunJob& job) {
    addOpening(command, job.pictures.load);
    addParts(command, job.pictures.load);
    addSaving(command, job.pictures, "Format of the output; overrides its extension");
    command.add_flag("--classic", job.pictures.isClassic,
                     "Every operation does exactly what its classic function does, whatever the palette and "
                     "alpha");
    addProgress(command, job.showsProgress);
}

void runJob(const RunJob& job) {
    if (job.output == "-" && files::isTerminal(stdout))
        throw usageFailure("standard output is a terminal; write the picture to a file or a pipe");
    const DibFormat* format = outputFormat(job);
    requireWritable(job.output, job.pictures.save.keepsExisting);
    checkPaths(job);
    PictureOptions pictures = job.pictures;
    pictures.load.keepsPalette = keepsPalette(job, format);
    Notes notes(pictures);
    // Loading and saving count as steps, too.
    Progress progress(job.chains.size() + 2, job.showsProgress);
    DibStream image;
    const InputFile input(job.input);
    DibFileResult loaded = loadPicture(input, image, pictures, progress, notes);
    if (format == nullptr) format = loaded.format->writeDepths != 0 ? loaded.format : DibFindFormat("bmp");
    for (const DibChain& chain : job.chains) {
        const bool exchangesAxes = applyStep(*chain.steps, image,
                                             {.title = input.title(),
                                              .options = pictures,
                                              .progress = progress,
                                              .notes = notes,
                                              .paletteAlpha = &loaded.metadata.paletteAlpha});
        if (exchangesAxes) std::swap(loaded.metadata.xResolution, loaded.metadata.yResolution);
    }
    progress.beginStep("save");
    pictures.save.metadata = &loaded.metadata;
    savePicture(job.output, *format, image, pictures, progress, notes);
    progress.endStep();
}

void declareRun(CLI::App& command) {
    const auto job = std::make_shared<RunJob>();
    const auto words = std::make_shared<std::vector<std::string>>();
    command.add_option("chain", *words)->group("");
    addRunning(command, *job);
    command.footer(operationSummary);
    command.callback([job, words] {
        if (words->size() < 2 || words->front().empty() || words->back().empty())
            throw usageFailure("run: INPUT and OUTPUT are required");
        job->input = words->front();
        job->output = words->back();
        for (std::size_t i = 1; i + 1 < words->size(); ++i) job->chains.push_back(parseStep((*words)[i]));
        runJob(*job);
    });
}

}  // namespace tool
