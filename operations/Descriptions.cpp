#include "operations/Descriptions.h"

#include <algorithm>
#include <cctype>
#include <cstring>

#include "operations/Operations.h"

namespace operations {

namespace {

std::string upperCase(std::string_view text) {
    std::string upper(text);
    std::transform(upper.begin(), upper.end(), upper.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return upper;
}

// The text filled up with blanks.
std::string padded(std::string_view text, std::size_t width) {
    std::string wide(text);
    wide.resize(std::max(wide.size(), width), ' ');
    return wide;
}

std::string helpText(const DibOperation& operation) {
    std::string text = synopsis(operation) + "\n    " + operation.help + "\n";
    for (const DibParameter* parameter : DibList(operation.parameters)) {
        text += "    " + padded(parameter->name, 12) + " " + parameter->help;
        const std::string limits = constraints(*parameter);
        text += (limits.empty() ? "" : " (" + limits + ")") + "\n";
        for (const DibChoice* choice : DibList(parameter->choices)) {
            text += "        " + padded(choice->name, 10) + " " +
                    (choice->help != nullptr ? choice->help : "") + "\n";
        }
    }
    return text + "    Example: " + operation.example + "\n";
}

std::string textOf(const DibOperation& operation, DibDescription form) {
    switch (form) {
        case DIB_DESCRIBE_SYNOPSIS: return synopsis(operation);
        case DIB_DESCRIBE_HELP: return helpText(operation);
        case DIB_DESCRIBE_JSON: return jsonText(operation, 0);
    }
    throw Refusal{DIB_ERROR_INVALID, "no such form"};
}

std::string textOfAll(DibDescription form) {
    const std::string_view separator = form == DIB_DESCRIBE_JSON ? ",\n" : "\n";
    std::string text;
    for (const DibOperation* operation : DibList(DibGetOperations())) {
        if (!text.empty()) text += separator;
        text += form == DIB_DESCRIBE_JSON ? jsonText(*operation, 4) : textOf(*operation, form);
    }
    if (form != DIB_DESCRIBE_JSON) return text;
    return "{\n  \"schema\": " + std::to_string(kDibOperationSchema) + ",\n  \"operations\": [\n" + text +
           "\n  ]\n}";
}

template <class Text>
bool describe(bool isGiven, DibBytes* bytes, const Text& text) {
    if (bytes != nullptr) *bytes = DibBytes();
    return runCall(nullptr, [&](DibOperationResult&) { return isGiven && giveText(bytes, text()); });
}

}  // namespace

std::string placeholder(const DibParameter& parameter) {
    switch (parameter.kind) {
        case DIB_PARAMETER_CHOICE:
        case DIB_PARAMETER_FLAGS: {
            std::string names = parameter.kind == DIB_PARAMETER_FLAGS ? "none" : "";
            for (const DibChoice* choice : DibList(parameter.choices)) {
                if (!names.empty()) names += '|';
                names += choice->name;
            }
            return names;
        }
        case DIB_PARAMETER_SIZE: return "WIDTHxHEIGHT";
        case DIB_PARAMETER_COLOR: return "#RRGGBB";
        default: return upperCase(parameter.name);
    }
}

std::string synopsis(const DibOperation& operation) {
    std::string text = operation.name;
    char separator = ':';
    for (const DibParameter* parameter : DibList(operation.parameters)) {
        const bool isOptional = parameter->standard != nullptr;
        const bool showsForm =
            isOptional || parameter->kind == DIB_PARAMETER_SIZE || parameter->kind == DIB_PARAMETER_COLOR;
        if (isOptional) text += '[';
        text += separator;
        if (parameter->kind == DIB_PARAMETER_SWITCH) {
            text += std::string(parameter->name) + ']';
            separator = ',';
            continue;
        }
        if (isOptional) text += std::string(parameter->name) + '=';
        text += showsForm ? placeholder(*parameter) : upperCase(parameter->name);
        if (isOptional) text += ']';
        separator = ',';
    }
    return text;
}

std::string constraints(const DibParameter& parameter) {
    std::vector<std::string> parts;
    if (parameter.unit != nullptr) parts.emplace_back(parameter.unit);
    const auto isOpen = [&parameter](const Bounds& open) {
        return parameter.min == open.min && parameter.max == open.max;
    };
    if (parameter.max > parameter.min && !isOpen(kAnyInteger) && !isOpen(kAnyNumber)) {
        parts.push_back(parameter.max >= kAnyInteger.max
                            ? "at least " + plainNumber(parameter.min)
                            : plainNumber(parameter.min) + " to " + plainNumber(parameter.max));
    }
    const bool isSwitch = parameter.kind == DIB_PARAMETER_SWITCH;
    if (parameter.standard != nullptr && !isSwitch)
        parts.push_back("default " + std::string(parameter.standard));
    std::string text;
    for (const std::string& part : parts) text += (text.empty() ? "" : ", ") + part;
    return text;
}

std::string bitsText(int bitCount) { return std::to_string(bitCount) + (bitCount == 1 ? " bit" : " bits"); }

std::string depthsText(unsigned int depths) {
    std::vector<std::string> names;
    for (const char* bits : {"1", "4", "8", "16", "24", "32"}) {
        if ((depths & 1) != 0) names.emplace_back(bits);
        depths >>= 1;
    }
    std::string text;
    for (const std::string& name : names) {
        if (!text.empty()) text += &name == &names.back() ? " and " : ", ";
        text += name;
    }
    return text + " bits";
}

bool giveText(DibBytes* bytes, std::string_view text) {
    if (bytes == nullptr) throw Refusal{DIB_ERROR_INVALID, "there is no block for the text"};
    auto* data = static_cast<unsigned char*>(std::malloc(text.size() + 1));
    if (data == nullptr) throw std::bad_alloc();
    std::memcpy(data, text.data(), text.size());
    data[text.size()] = '\0';
    DibBytes given;
    given.data = data;
    given.size = text.size();
    *bytes = std::move(given);
    return true;
}

}  // namespace operations

bool DibDescribeOperation(const DibOperation* operation, DibDescription form, DibBytes* text) {
    return operations::describe(operation != nullptr, text,
                                [=] { return operations::textOf(*operation, form); });
}

bool DibDescribeOperations(DibDescription form, DibBytes* text) {
    return operations::describe(true, text, [=] { return operations::textOfAll(form); });
}

bool DibDescribeParameter(const DibParameter* parameter, DibBytes* text) {
    return operations::describe(parameter != nullptr, text,
                                [=] { return operations::constraints(*parameter); });
}
