// `dib ops` and `dib formats`: the operations and the file formats.
#include <CLI/CLI.hpp>

#include "tools/cli/Options.h"
#include "tools/io/Files.h"
#include "tools/io/Formats.h"
#include "tools/io/JsonText.h"
#include "tools/io/Operations.h"

namespace tool {

namespace {

std::string joined(const char* const* words) {
    std::string text;
    for (; *words != nullptr; ++words) text += (text.empty() ? "" : ", ") + std::string(*words);
    return text;
}

Json jsonOf(const DibFormat* format) {
    Json json = {{"name", format->name},
                 {"help", format->title},
                 {"extensions", Json::array()},
                 {"reads", format->readDepths != 0},
                 {"writes", format->writeDepths != 0},
                 {"readsDepths", depthsText(format->readDepths)},
                 {"writesDepths", depthsText(format->writeDepths)}};
    for (const char* const* word = format->extensions; *word != nullptr; ++word)
        json["extensions"].push_back(*word);
    return json;
}

std::string textOf(const DibFormat* format) {
    std::string name = format->name;
    name.resize(std::max<std::size_t>(name.size(), 6), ' ');
    return name + " " + format->title + "\n       extensions  " + joined(format->extensions) +
           "\n       reads       " + depthsText(format->readDepths) + "\n       writes      " +
           depthsText(format->writeDepths) + "\n";
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
    declareList(command, [](bool asJson) {
        if (asJson)
            return print(jsonText(jsonList(formats(), [](const DibFormat* row) { return jsonOf(row); })));
        std::string all;
        for (const DibFormat* format : formats()) all += textOf(format);
        print(all);
    });
}

}  // namespace tool
