// `dib ops` and `dib formats`: the operations and the file formats.
#include <CLI/CLI.hpp>
#include <algorithm>

#include "tools/cli/Options.h"
#include "tools/io/Files.h"
#include "tools/io/Formats.h"
#include "tools/io/JsonText.h"
#include "tools/io/Operations.h"
#include "tools/io/PluginFolder.h"

namespace tool {

namespace {

std::string joined(const char* const* words) {
    std::string text;
    for (; *words != nullptr; ++words) text += (text.empty() ? "" : ", ") + std::string(*words);
    return text;
}

Json jsonOf(const char* const* words) {
    Json list = Json::array();
    for (; *words != nullptr; ++words) list.push_back(*words);
    return list;
}

Json jsonOf(const DibFormat* format) {
    Json json = {{"name", format->name},
                 {"help", format->title},
                 {"extensions", jsonOf(format->extensions)},
                 {"mimeTypes", jsonOf(format->mimeTypes)},
                 {"reads", format->readDepths != 0},
                 {"writes", format->writeDepths != 0},
                 {"readsDepths", depthsText(format->readDepths)},
                 {"writesDepths", depthsText(format->writeDepths)},
                 {"layers", format->hasLayers},
                 {"pages", format->hasPages},
                 {"plugin", Json()}};
    if (format->plugin != nullptr)
        json["plugin"] = {{"path", pluginPath(*format)}, {"available", DibIsFormatAvailable(format)}};
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
    add("extensions", joined(format->extensions));
    add("MIME types", joined(format->mimeTypes));
    add("reads", depthsText(format->readDepths));
    add("writes", depthsText(format->writeDepths));
    if (format->hasLayers) add("parts", "layers");
    if (format->hasPages) add("parts", "pages");
    if (format->plugin != nullptr) {
        add("plug-in", printable(pluginPath(*format)) +
                           (DibIsFormatAvailable(format) ? "" : ", which cannot be loaded"));
    }
    return text;
}

// Declares a command that prints a table as text or as JSON.
template <class Print>
void declareList(CLI::App& command, const Print& printTable) {
    const auto asJson = std::make_shared<bool>(false);
    addJson(command, *asJson);
    command.callback([=] { printTable(*asJson); });
}

}  // namespace

void declareOps(CLI::App& command) {
    declareList(command, [](bool asJson) {
        print(asJson ? descriptions(DIB_DESCRIBE_JSON) + "\n" : descriptions(DIB_DESCRIBE_HELP));
    });
}

void declareFormats(CLI::App& command) {
    addPlugins(command);
    declareList(command, [](bool asJson) {
        if (asJson)
            return print(jsonText(jsonList(formats(), [](const DibFormat* row) { return jsonOf(row); })));
        std::string all;
        for (const DibFormat* format : formats()) all += textOf(format);
        print(all);
    });
}

}  // namespace tool
