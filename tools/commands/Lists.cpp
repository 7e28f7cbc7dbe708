// `dib ops` and `dib formats`: the tables of the program.
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

Json jsonOf(const Format& format) {
    return {{"name", format.name},
            {"help", format.help},
            {"extensions", format.extensions},
            {"reads", format.load != nullptr},
            {"writes", format.save != nullptr},
            {"readsDepths", format.readsDepths},
            {"writesDepths", format.writesDepths}};
}

std::string textOf(const Format& format) {
    std::string extensions;
    for (const std::string_view extension : format.extensions)
        extensions += (extensions.empty() ? "" : ", ") + std::string(extension);
    return padded(format.name, 6) + " " + std::string(format.help) + "\n       extensions  " + extensions +
           "\n       reads       " + depthsText(format.readsDepths) + "\n       writes      " +
           depthsText(format.writesDepths) + "\n";
}

// Declares a command that prints a table, as text with `separator` between the rows or as JSON.
template <class Row>
void declareList(CLI::App& command, std::span<const Row> (*table)(), std::string (*text)(const Row&),
                 const char* separator) {
    const auto asJson = std::make_shared<bool>(false);
    addJson(command, *asJson);
    command.callback([=] {
        if (*asJson) return print(jsonText(jsonList(table(), [](const Row& row) { return jsonOf(row); })));
        std::string all;
        for (const Row& row : table()) all += (all.empty() ? "" : separator) + text(row);
        print(all);
    });
}

}  // namespace

void declareOps(CLI::App& command) { declareList<Operation>(command, operations, operationHelp, "\n"); }

void declareFormats(CLI::App& command) { declareList<Format>(command, formats, textOf, ""); }

}  // namespace tool
