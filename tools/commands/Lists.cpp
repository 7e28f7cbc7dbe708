// `dib ops` and `dib formats`: the operations and the file formats.
#include <CLI/CLI.hpp>
#include <algorithm>

#include "texts/Tables.h"
#include "tools/cli/Options.h"
#include "tools/io/Files.h"
#include "tools/io/Formats.h"
#include "tools/io/JsonText.h"
#include "tools/io/Operations.h"
#include "tools/io/PluginFolder.h"

namespace tool {

namespace {

using Words = std::vector<std::string>;

Words wordsOf(const char* const* list) {
    const DibList words(list);
    return {words.begin(), words.end()};
}

Json jsonOf(const DibFormat* format) {
    Json json = {{"name", format->name},
                 {"help", format->title},
                 {"extensions", wordsOf(format->extensions)},
                 {"mimeTypes", wordsOf(format->mimeTypes)},
                 {"reads", format->readDepths != 0},
                 {"writes", format->writeDepths != 0},
                 {"readsDepths", texts::depthsText(format->readDepths)},
                 {"writesDepths", texts::depthsText(format->writeDepths)},
                 {"layers", format->hasLayers},
                 {"pages", format->hasPages},
                 {"paletteAlpha", format->hasPaletteAlpha},
                 {"plugin", Json()}};
    if (format->plugin != nullptr) {
        const char* library = DibGetFormatLibrary(format);
        json["plugin"] = {{"path", pluginPath(*format)},
                          {"available", DibIsFormatAvailable(format)},
                          {"library", library != nullptr ? Json(library) : Json()}};
    }
    return json;
}

std::string padded(std::string text, std::size_t width) {
    text.resize(std::max(text.size(), width), ' ');
    return text;
}

std::string textOf(const DibFormat* format) {
    std::string text = padded(format->name, 7) + format->title + "\n";
    const auto add = [&text](const char* what, const std::string& value) {
        text += "       " + padded(what, 12) + value + "\n";
    };
    add("extensions", CLI::detail::join(wordsOf(format->extensions), ", "));
    add("MIME types", CLI::detail::join(wordsOf(format->mimeTypes), ", "));
    add("reads", texts::depthsText(format->readDepths));
    add("writes", texts::depthsText(format->writeDepths));
    if (format->hasLayers) add("parts", "layers");
    if (format->hasPages) add("parts", "pages");
    if (format->hasPaletteAlpha) add("palettes", "with alpha");
    if (format->plugin != nullptr) {
        add("plug-in", printable(pluginPath(*format)) +
                           (DibIsFormatAvailable(format) ? "" : ", which cannot be loaded"));
        if (const char* library = DibGetFormatLibrary(format)) add("decoded by", printable(library));
    }
    return text;
}

struct ListJob {
    std::vector<std::string> names;  // of the rows to print; none: all
    bool asJson = false;
};

// Declares a command that prints rows of a table as text or as JSON.
template <class Print>
void declareList(CLI::App& command, const char* operand, const char* help, const Print& printRows) {
    const auto job = std::make_shared<ListJob>();
    command.add_option(operand, job->names, help)->type_name("");
    addJson(command, job->asJson);
    command.callback([=] { printRows(*job); });
}

void printOperations(const ListJob& job) {
    if (job.names.empty())
        return print(job.asJson ? texts::descriptions(DIB_DESCRIBE_JSON) + "\n"
                                : texts::descriptions(DIB_DESCRIBE_HELP));
    Json json = {{"schema", kDibOperationSchema}, {"operations", Json::array()}};
    std::string text;
    for (const std::string& name : job.names) {
        const DibOperation& row = operationNamed(name);
        json["operations"].push_back(Json::parse(texts::description(row, DIB_DESCRIBE_JSON)));
        text += (text.empty() ? "" : "\n") + texts::description(row, DIB_DESCRIBE_HELP);
    }
    print(job.asJson ? jsonText(json) : text);
}

void printFormats(const ListJob& job) {
    std::vector<const DibFormat*> rows(texts::formats().begin(), texts::formats().end());
    if (!job.names.empty()) rows.clear();
    for (const std::string& name : job.names) rows.push_back(DibFindFormat(formatNamed(name)));
    Json json = {{"schema", 1}, {"formats", Json::array()}};
    std::string text;
    for (const DibFormat* row : rows) {
        json["formats"].push_back(jsonOf(row));
        text += textOf(row);
    }
    print(job.asJson ? jsonText(json) : text);
}

}  // namespace

void declareOps(CLI::App& command) {
    declareList(command, "OPERATION...", "Those to list; all when there are none", printOperations);
}

void declareFormats(CLI::App& command) {
    addPlugins(command);
    declareList(command, "FORMAT...", "Those to list, by name or extension; all when there are none",
                printFormats);
}

}  // namespace tool
