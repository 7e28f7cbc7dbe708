#include "tools/CommandLine.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "tools/BenchReport.h"
#include "tools/Chain.h"
#include "tools/Failure.h"
#include "tools/Gallery.h"
#include "tools/Layers.h"
#include "tools/Listings.h"
#include "tools/PluginFolder.h"

namespace tool {

namespace {

constexpr const char* kProgressChoices = "auto|always|never";

CLI::Validator isOneOf(const char* choices) {
    return CLI::IsMember(CLI::detail::split(choices, '|')).description("");
}

// Commands whose operands are one list of words, which says nothing of their order.
std::string_view operandsOf(std::string_view command) {
    if (command == "run") return "INPUT [OPERATION]... OUTPUT";
    if (command == "bench-report") return "RESULTS.json... OUTPUT";
    return {};
}

class ListFormatter : public CLI::Formatter {
public:
    std::string make_usage(const CLI::App* app, std::string name) const override {
        return "Usage: " + name + " [OPTIONS] " + std::string(operandsOf(app->get_name())) +
               "\nInputs and OUTPUT may be '-': standard input and standard output.\n";
    }
};

void declareProgress(CLI::App* command, Request& request) {
    command
        ->add_option("--progress", request.progress,
                     "Draws a progress bar; 'auto' does when standard error is a terminal")
        ->check(isOneOf(kProgressChoices))
        ->type_name(kProgressChoices);
}

void declarePlugins(CLI::App* command, Request& request) {
    command
        ->add_option("--plugins", request.plugins,
                     "Folder of the plug-ins for EXR and DDS files, instead of the installed one")
        ->type_name("FOLDER");
}

bool showsProgress(const Request& request) {
    return request.progress == "always" || (request.progress == "auto" && isatty(STDERR_FILENO) != 0);
}

void declareRun(CLI::App& app, Request& request) {
    CLI::App* run = app.add_subcommand("run", "Takes a picture through operations, from left to right");
    run->formatter(std::make_shared<ListFormatter>());
    run->add_option("chain", request.chain)->group("");
    run->add_option("--from", request.from, "Format of the input, instead of what the file tells")
        ->type_name(kFormatPlaceholder);
    run->add_option("--to", request.to, "Format of the output, instead of what its name tells")
        ->type_name(kFormatPlaceholder);
    declarePlugins(run, request);
    declareProgress(run, request);
    run->footer([] {
        return "An operation is its name, a colon and its parameters, separated by commas; a comma or a "
               "backslash\n"
               "inside a value is written with a backslash before it.\n\n"
               "Operations (`dib help OPERATION` tells more):\n" +
               operationSummary();
    });
}

void declareLayers(CLI::App& app, Request& request) {
    CLI::App* layers = app.add_subcommand(
        "layers", "Writes each layer of a document as a picture, and manifest.json with their places");
    layers->add_option("FILE", request.document, "A document; '-' is standard input")
        ->type_name("")
        ->required();
    layers->add_option("FOLDER", request.folder, "Where the pictures go; made when it is not there")
        ->type_name("")
        ->required();
    layers->add_option("--from", request.from, "Format of the document, instead of what it tells")
        ->type_name(kFormatPlaceholder);
    layers->add_option("--to", request.to, "Format of the pictures")->type_name(kFormatPlaceholder);
    declareProgress(layers, request);
}

void declareGallery(CLI::App& app, Request& request) {
    CLI::App* gallery = app.add_subcommand(
        "gallery", "Writes a page that shows what every operation does to a picture, and its pictures");
    gallery->add_option("INPUT", request.picture, "A picture; '-' is standard input")
        ->type_name("")
        ->required();
    gallery->add_option("FOLDER", request.folder, "Where the page goes; made when it is not there")
        ->type_name("")
        ->required();
    gallery->add_option("--from", request.from, "Format of the picture, instead of what the file tells")
        ->type_name(kFormatPlaceholder);
    request.side = GalleryJob().longerSide;
    gallery
        ->add_option("--side", request.side,
                     "Pixels of the longer side of the pictures, " + std::to_string(kSmallestGallerySide) +
                         " to " + std::to_string(kLargestGallerySide) + "; " + std::to_string(request.side) +
                         " when it is not given")
        ->check(CLI::Range(kSmallestGallerySide, kLargestGallerySide).description(""))
        ->type_name("PIXELS");
    declarePlugins(gallery, request);
    declareProgress(gallery, request);
}

void declareBenchReport(CLI::App& app, Request& request) {
    CLI::App* report = app.add_subcommand(
        "bench-report", "Writes a page of plots of what benchmarks measured, ours and other programs'");
    report->formatter(std::make_shared<ListFormatter>());
    report->add_option("files", request.files)->group("");
    report->footer(
        "RESULTS.json is what Google Benchmark writes with --benchmark_out. An OUTPUT with the extension\n"
        "svg is the first plot of the page alone.");
}

const Format* chosenFormat(const std::string& name) { return name.empty() ? nullptr : &formatNamed(name); }

void executeRun(const Request& request) {
    const std::vector<std::string>& words = request.chain;
    if (words.size() < 2) throw usageFailure("run: an INPUT and an OUTPUT are needed");
    Chain chain;
    chain.input = words.front();
    chain.output = words.back();
    for (std::size_t i = 1; i + 1 < words.size(); ++i) chain.steps.push_back(parseStep(words[i]));
    chain.inputFormat = chosenFormat(request.from);
    chain.outputFormat = chosenFormat(request.to);
    chain.showsProgress = showsProgress(request);
    runChain(chain);
}

// A file that cannot be read does not keep the others from being told of.
void executeInfo(const Request& request) {
    const InfoReport report = infoReport(request.files, chosenFormat(request.from), request.asJson);
    print(report.text);
    if (!report.complaints.empty()) throw Failure(kExitBadInput, report.complaints);
}

void executeLayers(const Request& request) {
    LayerExport job;
    job.input = request.document;
    job.folder = request.folder;
    job.inputFormat = chosenFormat(request.from);
    job.format = chosenFormat(request.to);
    job.showsProgress = showsProgress(request);
    exportLayers(job);
}

void executeGallery(const Request& request) {
    GalleryJob job;
    job.input = request.picture;
    job.folder = request.folder;
    job.inputFormat = chosenFormat(request.from);
    job.longerSide = request.side;
    job.showsProgress = showsProgress(request);
    makeGallery(job);
}

void executeBenchReport(const Request& request) {
    BenchReportJob job{request.files, {}};
    if (job.inputs.size() < 2) throw usageFailure("bench-report: RESULTS.json and an OUTPUT are needed");
    job.output = job.inputs.back();
    job.inputs.pop_back();
    makeBenchReport(job);
}

std::string helpOn(const CLI::App& app, const std::string& topic) {
    if (topic.empty()) return app.help();
    if (const Operation* operation = findOperation(topic)) return operationHelp(*operation);
    const auto commands =
        app.get_subcommands([&topic](const CLI::App* command) { return command->get_name() == topic; });
    if (!commands.empty()) return commands.front()->help("dib");
    throw usageFailure("no operation or command '" + topic + "'; `dib ops` lists the operations");
}

}  // namespace

void print(const std::string& text) {
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0) {
        throw Failure(kExitOutputFailed,
                      "standard output: write file (" + std::string(std::strerror(errno)) + ")");
    }
}

void declareCommands(CLI::App& app, Request& request) {
    app.set_version_flag("--version", "dib " DIB_TOOL_VERSION);
    app.require_subcommand(1);
    declareRun(app, request);

    CLI::App* info =
        app.add_subcommand("info", "Prints size, depth, row order, palette, compression and format");
    info->add_option("FILE...", request.files, "Pictures; '-' is standard input")->type_name("")->required();
    info->add_option("--from", request.from, "Format of the files, instead of what they tell")
        ->type_name(kFormatPlaceholder);
    declarePlugins(info, request);
    declareLayers(app, request);
    declareGallery(app, request);
    declareBenchReport(app, request);
    CLI::App* ops = app.add_subcommand("ops", "Lists the operations with their parameters");
    CLI::App* formatList = app.add_subcommand("formats", "Lists the file formats");
    for (CLI::App* listing : {info, ops, formatList})
        listing->add_flag("--json", request.asJson, "Prints JSON");

    CLI::App* help = app.add_subcommand("help", "Explains an operation or a command");
    help->add_option("TOPIC", request.topic, "An operation or a command")->type_name("");
    CLI::App* completion = app.add_subcommand("completion", "Prints a completion script for a shell");
    completion->add_option("SHELL", request.shell, kShells)
        ->type_name("")
        ->required()
        ->check(isOneOf(kShells));
    app.add_subcommand("man", "Prints the manual page, as roff");
}

void execute(const CLI::App& app, const Request& request) {
    usePluginFolder(request.plugins);
    if (app.got_subcommand("run")) {
        executeRun(request);
    } else if (app.got_subcommand("info")) {
        executeInfo(request);
    } else if (app.got_subcommand("layers")) {
        executeLayers(request);
    } else if (app.got_subcommand("gallery")) {
        executeGallery(request);
    } else if (app.got_subcommand("bench-report")) {
        executeBenchReport(request);
    } else if (app.got_subcommand("ops")) {
        print(operationsText(request.asJson));
    } else if (app.got_subcommand("formats")) {
        print(formatsText(request.asJson));
    } else if (app.got_subcommand("help")) {
        print(helpOn(app, request.topic));
    } else if (app.got_subcommand("completion")) {
        print(completionScript(app, request.shell));
    } else {
        print(manPage(app));
    }
}

std::vector<CommandText> commandTexts(const CLI::App& app) {
    std::vector<CommandText> texts;
    for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
        CommandText text{command->get_name(), {}, command->get_description(), {}};
        for (const CLI::Option* option : command->get_options()) {
            if (option->get_positional()) {
                const std::string_view list = operandsOf(command->get_name());
                std::string operand = list.empty() ? option->get_name(true) : std::string(list);
                if (list.empty() && !option->get_required()) operand = "[" + operand + "]";
                text.operands += (text.operands.empty() ? "" : " ") + operand;
            } else if (!option->get_lnames().empty()) {
                const bool isSwitch = option->get_items_expected_max() == 0;
                text.options.push_back({"--" + option->get_lnames().front(),
                                        isSwitch ? "" : option->get_type_name(), option->get_description()});
            }
        }
        texts.push_back(std::move(text));
    }
    return texts;
}

}  // namespace tool
