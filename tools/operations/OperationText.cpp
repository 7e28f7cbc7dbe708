#include "tools/operations/OperationText.h"

#include <algorithm>
#include <cctype>

namespace tool {

namespace {

std::string upperCase(std::string_view text) {
    std::string upper(text);
    std::ranges::transform(upper, upper.begin(),
                           [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return upper;
}

}  // namespace

std::string placeholder(const Parameter& parameter) {
    switch (parameter.kind) {
        case ParameterKind::Choice:
        case ParameterKind::Flags: {
            std::string names = parameter.kind == ParameterKind::Flags ? "none" : "";
            for (const Choice& choice : parameter.choices) {
                if (!names.empty()) names += '|';
                names += choice.name;
            }
            return names;
        }
        case ParameterKind::Size: return "WIDTHxHEIGHT";
        case ParameterKind::Color: return "#RRGGBB";
        default: return upperCase(parameter.name);
    }
}

std::string synopsis(const Operation& operation) {
    std::string text(operation.name);
    char separator = ':';
    for (const Parameter& parameter : operation.parameters) {
        const bool optional = !parameter.standard.empty();
        if (optional) text += '[';
        text += separator;
        if (optional) text += std::string(parameter.name) + '=';
        text += optional || parameter.kind == ParameterKind::Size || parameter.kind == ParameterKind::Color
                    ? placeholder(parameter)
                    : upperCase(parameter.name);
        if (optional) text += ']';
        separator = ',';
    }
    return text;
}

std::string constraints(const Parameter& parameter) {
    std::vector<std::string> parts;
    if (!parameter.unit.empty()) parts.emplace_back(parameter.unit);
    const Bounds& bounds = parameter.bounds;
    const auto isOpen = [&bounds](const Bounds& open) {
        return bounds.min == open.min && bounds.max == open.max;
    };
    if (bounds.max > bounds.min && !isOpen(kAnyInteger) && !isOpen(kAnyNumber)) {
        parts.push_back(bounds.max >= kAnyInteger.max
                            ? "at least " + plainNumber(bounds.min)
                            : plainNumber(bounds.min) + " to " + plainNumber(bounds.max));
    }
    if (!parameter.standard.empty()) parts.push_back("default " + std::string(parameter.standard));
    std::string text;
    for (const std::string& part : parts) text += (text.empty() ? "" : ", ") + part;
    return text;
}

std::string padded(std::string_view text, std::size_t width) {
    std::string wide(text);
    wide.resize(std::max(wide.size(), width), ' ');
    return wide;
}

std::string operationHelp(const Operation& operation) {
    std::string text = synopsis(operation) + "\n    " + std::string(operation.help) + "\n";
    for (const Parameter& parameter : operation.parameters) {
        text += "    " + padded(parameter.name, 12) + " " + std::string(parameter.help);
        const std::string limits = constraints(parameter);
        text += (limits.empty() ? "" : " (" + limits + ")") + "\n";
        for (const Choice& choice : parameter.choices) {
            text += "        " + padded(choice.name, 10) + " " + std::string(choice.help) + "\n";
        }
    }
    return text + "    Example: " + std::string(operation.example) + "\n";
}

}  // namespace tool
