#include "tools/Listings.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "tools/Chain.h"
#include "tools/Failure.h"
#include "tools/JsonText.h"
#include "tools/Layers.h"
#include "tools/Printable.h"
#include "tools/Sides.h"

namespace tool {

namespace {

using Json = nlohmann::ordered_json;

std::string padded(std::string text, std::size_t width) {
    text.resize(std::max(text.size(), width), ' ');
    return text;
}

std::string joined(std::span<const std::string_view> words) {
    std::string text;
    for (const std::string_view word : words) text += (text.empty() ? "" : ", ") + std::string(word);
    return text;
}

// Information about one file.

std::string_view compressionOf(const BITMAPINFOHEADER& header, const Format& format, const InputFile& file) {
    if (format.compression != nullptr) return format.compression(file.firstBytes());
    return header.biCompression == 0 ? "none" : "masks";
}

std::uint32_t paletteSize(const BITMAPINFOHEADER& header) {
    if (header.biBitCount > 8) return 0;
    return header.biClrUsed != 0 ? header.biClrUsed : 1U << header.biBitCount;
}

Json describe(const std::string& name, const Format* chosen) {
    const InputFile file(name);
    const Format& format = inputFormatOf(file, name, chosen);
    DibStream image;
    Progress progress(1, false);
    loadPicture(file, format, image, progress);
    const BITMAPINFOHEADER& header = *image.Header;
    Json info = {
        {"file", name},
        {"format", format.name},
        {"width", width(image)},
        {"height", height(image)},
        {"bitsPerPixel", header.biBitCount},
        {"rowOrder", header.biHeight < 0 ? "top-down" : "bottom-up"},
        {"paletteSize", paletteSize(header)},
        {"compression", compressionOf(header, format, file)},
    };
    if (format.hasLayers) describeDocument(file, info);
    return info;
}

std::string infoLine(const Json& info) {
    std::string line = printable(info["file"].get<std::string>()) + ": " + info["format"].get<std::string>() +
                       ", " + info["width"].dump() + "x" + info["height"].dump() + " pixels, " +
                       info["bitsPerPixel"].dump() + (info["bitsPerPixel"] == 1 ? " bit, " : " bits, ") +
                       info["rowOrder"].get<std::string>();
    if (info["paletteSize"] != 0) line += ", palette of " + info["paletteSize"].dump();
    return line + ", compression " + info["compression"].get<std::string>() + "\n" + documentLines(info);
}

// The tables.

// Whole numbers without a decimal point.
Json jsonNumber(double value) {
    const auto whole = static_cast<std::int64_t>(value);
    return static_cast<double>(whole) == value ? Json(whole) : Json(value);
}

Json describe(const Parameter& parameter) {
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

Json describe(const Operation& operation) {
    Json parameters = Json::array();
    for (const Parameter& parameter : operation.parameters) parameters.push_back(describe(parameter));
    return {{"name", operation.name},
            {"help", operation.help},
            {"synopsis", synopsis(operation)},
            {"example", operation.example},
            {"parameters", parameters}};
}

Json describe(const Format& format) {
    return {{"name", format.name},
            {"help", format.help},
            {"extensions", format.extensions},
            {"reads", format.load != nullptr},
            {"writes", format.save != nullptr},
            {"readsDepths", format.readsDepths},
            {"writesDepths", format.writesDepths}};
}

template <typename Row>
std::string describeAll(std::span<const Row> rows) {
    Json all = Json::array();
    for (const Row& row : rows) all.push_back(describe(row));
    return jsonText(all);
}

}  // namespace

InfoReport infoReport(const std::vector<std::string>& files, const Format* chosen, bool asJson) {
    InfoReport report;
    Json all = Json::array();
    for (const std::string& file : files) {
        try {
            all.push_back(describe(file, chosen));
        } catch (const Failure& failure) {
            if (failure.exitCode() != kExitBadInput) throw;
            report.complaints.insert(report.complaints.end(), failure.lines().begin(), failure.lines().end());
        }
    }
    if (asJson) {
        report.text = jsonText(all);
    } else {
        for (const Json& info : all) report.text += infoLine(info);
    }
    return report;
}

std::string operationHelp(const Operation& operation) {
    std::string text = synopsis(operation) + "\n    " + std::string(operation.help) + "\n";
    for (const Parameter& parameter : operation.parameters) {
        text += "    " + padded(std::string(parameter.name), 12) + " " + std::string(parameter.help);
        const std::string limits = constraints(parameter);
        text += (limits.empty() ? "" : " (" + limits + ")") + "\n";
        for (const Choice& choice : parameter.choices) {
            text += "        " + padded(std::string(choice.name), 10) + " " + std::string(choice.help) + "\n";
        }
    }
    return text + "    Example: " + std::string(operation.example) + "\n";
}

std::string operationSummary() {
    std::string text;
    for (const Operation& operation : operations()) {
        text += "  " + synopsis(operation) + "\n      " + std::string(operation.help) + "\n";
    }
    return text;
}

std::string operationsText(bool asJson) {
    if (asJson) return describeAll(operations());
    std::string text;
    for (const Operation& operation : operations()) {
        if (!text.empty()) text += '\n';
        text += operationHelp(operation);
    }
    return text;
}

std::string formatsText(bool asJson) {
    if (asJson) return describeAll(formats());
    std::string text;
    for (const Format& format : formats()) {
        const auto depths = [](std::string_view list) {
            return list.empty() ? "no" : std::string(list) + " bits";
        };
        text += padded(std::string(format.name), 6) + " " + std::string(format.help) + "\n" +
                "       extensions  " + joined(format.extensions) + "\n" + "       reads       " +
                depths(format.readsDepths) + "\n" + "       writes      " + depths(format.writesDepths) +
                "\n";
    }
    return text;
}

}  // namespace tool
