#include "tools/commands/Run.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstring>

#include "tools/cli/Options.h"
#include "tools/commands/Pictures.h"
#include "tools/operations/OperationText.h"

namespace tool {

namespace {

// A file that an operation needs must exist before any work is done.
void checkPaths(const std::vector<Step>& steps) {
    for (const Step& step : steps) {
        for (const Parameter& parameter : step.operation->parameters) {
            if (parameter.kind != ParameterKind::Path) continue;
            const std::string path = step.arguments.path(parameter.name);
            if (access(path.c_str(), R_OK) == 0) continue;
            throw Failure(kExitBadInput, path + ": " + std::string(step.operation->name) + ": " +
                                             DibStream::GetErrorString(DIB_ERROR_OPEN) + " (" +
                                             std::strerror(errno) + ")");
        }
    }
}

const Format& outputFormatOf(const RunJob& job, const Format& inputFormat) {
    const Format* format = job.outputFormat;
    if (format == nullptr && job.output == "-") {
        format = inputFormat.save != nullptr ? &inputFormat : &formatNamed("bmp");
    } else if (format == nullptr) {
        format = formatOfExtension(job.output);
    }
    if (format == nullptr) throw usageFailure(job.output + ": no format has this extension; use --to");
    requireSaver(*format, job.output);
    return *format;
}

// Reports usage errors before the input is read.
void checkOutput(const RunJob& job) {
    if (job.output == "-" && isatty(STDOUT_FILENO) != 0)
        throw usageFailure("standard output is a terminal; write the picture to a file or a pipe");
    if (job.output != "-" || job.outputFormat != nullptr) outputFormatOf(job, formatNamed("bmp"));
}

std::string operationSummary() {
    std::string text =
        "An operation is its name, a colon and its parameters, separated by commas; a comma or a "
        "backslash\n"
        "inside a value is written with a backslash before it.\n\n"
        "Operations (details: `dib help OPERATION`):\n";
    for (const Operation& operation : operations())
        text += "  " + synopsis(operation) + "\n      " + std::string(operation.help) + "\n";
    return text;
}

}  // namespace

void runJob(const RunJob& job) {
    checkOutput(job);
    checkPaths(job.steps);
    // Loading and saving count as steps, too.
    Progress progress(job.steps.size() + 2, job.showsProgress);
    const InputFile input(job.input);
    const Format& inputFormat = inputFormatOf(input, job.inputFormat);
    const Format& outputFormat = outputFormatOf(job, inputFormat);
    DibStream image;
    loadPicture(input, inputFormat, image, progress);
    // Created before the work starts, so that a folder that cannot be written is reported at once.
    OutputFile output(job.output);
    for (const Step& step : job.steps) applyStep(step, input.title(), image, progress);
    progress.beginStep("save");
    savePicture(output, outputFormat, image, progress);
    progress.endStep();
}

void declareRun(CLI::App& command) {
    struct Options {
        std::vector<std::string> words;
        RunJob job;
    };
    const auto options = std::make_shared<Options>();
    RunJob& job = options->job;
    command.add_option("chain", options->words)->group("");
    addFormat(command, "--from", job.inputFormat, "Format of the input; overrides detection");
    addFormat(command, "--to", job.outputFormat, "Format of the output; overrides its extension");
    addPlugins(command);
    addProgress(command, job.showsProgress);
    command.footer(operationSummary);
    command.callback([options] {
        const std::vector<std::string>& words = options->words;
        if (words.size() < 2) throw usageFailure("run: INPUT and OUTPUT are required");
        options->job.input = words.front();
        options->job.output = words.back();
        for (std::size_t i = 1; i + 1 < words.size(); ++i) options->job.steps.push_back(parseStep(words[i]));
        runJob(options->job);
    });
}

}  // namespace tool
