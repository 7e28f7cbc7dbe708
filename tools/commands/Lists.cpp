// `dib ops` and `dib formats`: the operations and the file formats.
#include <CLI/CLI.hpp>

#include "tools/cli/Options.h"
#include "tools/io/Files.h"
#include "tools/io/Formats.h"
#include "tools/io/JsonText.h"
#include "tools/operations/OperationText.h"

namespace tool {

namespace {

// Whole numbers without a decimal point.
Json jsonNumber(double value) {
    const auto whole = static_cast<std::int64_t>(value);
    return static_cast<double>(whole) == value ? Json(whole) : Json(value);
}

Json jsonOf(const Parameter& parameter) {
    Json json = {{"name", parameter.name}, {"type", kindName(parameter.kind)}, {"help", parameter.help}};
    json["required"] = parameter.standard.empty();
    if (!parameter.standard.empty()) json["default"] = parameter.standard;
    if (!parameter.unit.empty()) json["unit"] = parameter.unit;
    if (parameter.bounds.max > parameter.bounds.min) {
        json["min"] = jsonNumber(parameter.bounds.min);
        json["max"] = jsonNumber(parameter.bounds.max);
    }
    for (const Choice& choice : parameter.choices) {
        json["choices"].push_back({{"name", choice.name}, {"help", choice.help}});
    }
    return json;
}

Json jsonOf(const Operation& operation) {
    return {{"name", operation.name},
            {"help", operation.help},
            {"synopsis", synopsis(operation)},
            {"example", operation.example},
            {"parameters", jsonList(operation.parameters, [](const Parameter& row) { return jsonOf(row); })}};
}

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
    return padded(format->name, 6) + " " + format->title + "\n       extensions  " +
           joined(format->extensions) + "\n       reads       " + depthsText(format->readDepths) +
           "\n       writes      " + depthsText(format->writeDepths) + "\n";
}

// Declares a command that prints a table, as text with `separator` between the rows or as JSON.
template <class Table, class TextOf>
void declareList(CLI::App& command, Table table, TextOf textOfRow, const char* separator) {
    const auto asJson = std::make_shared<bool>(false);
    addJson(command, *asJson);
    command.callback([=] {
        if (*asJson) return print(jsonText(jsonList(table(), [](const auto& row) { return jsonOf(row); })));
        std::string all;
        for (const auto& row : table()) all += (all.empty() ? "" : separator) + textOfRow(row);
        print(all);
    });
}

}  // namespace

void declareOps(CLI::App& command) { declareList(command, operations, operationHelp, "\n"); }

void declareFormats(CLI::App& command) { declareList(command, formats, textOf, ""); }

}  // namespace tool
