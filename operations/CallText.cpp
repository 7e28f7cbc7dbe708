// How a step is called in C++.
#include <cstdio>
#include <stdexcept>

#include "dib/NumberText.h"
#include "operations/Call.h"
#include "operations/Descriptions.h"

namespace operations {

namespace {

// The characters that need a backslash in a step.
constexpr std::string_view kMasked = ",\\ \t\r\n\v\f";

// The shortest literal that is exactly this float.
std::string floatLiteral(float number) {
    std::string text = dib::shortestText(number);
    if (text.find_first_of(".e") == std::string::npos) text += ".0";
    return text + 'f';
}

std::string stringLiteral(std::string_view text) {
    std::string literal = "\"";
    for (const char c : text) {
        if (static_cast<unsigned char>(c) < ' ') {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\%03o", static_cast<unsigned>(c));
            literal += escape;
            continue;
        }
        if (c == '"' || c == '\\') literal += '\\';
        literal += c;
    }
    return literal + '"';
}

std::string colorLiteral(const DibBGRA& color) {
    return "DibBGRA{" + std::to_string(color.blue) + ", " + std::to_string(color.green) + ", " +
           std::to_string(color.red) + ", " + std::to_string(color.alpha) + "}";
}

// Colours are easier to read in hexadecimal.
std::string pixelLiteral(std::uint32_t value) {
    if (value < 256) return std::to_string(value);
    char digits[16];
    std::snprintf(digits, sizeof digits, "0x%06x", value);
    return digits;
}

std::string choiceLiteral(const DibParameter& parameter, std::uint32_t value) {
    for (const DibChoice* choice : DibList(parameter.choices)) {
        if (choice->value == value && choice->code != nullptr) return choice->code;
    }
    return std::to_string(value);
}

std::string flagsLiteral(const DibParameter& parameter, std::uint32_t flags) {
    std::string text;
    for (const DibChoice* choice : DibList(parameter.choices)) {
        if ((flags & choice->value) != 0)
            text += (text.empty() ? "" : " | ") + choiceLiteral(parameter, choice->value);
    }
    // A plain 0 could be a null pointer, and the overload with a record would match as well.
    return text.empty() ? "0U" : text;
}

std::string literal(const Arguments& arguments, const Placeholder& place, const DibStream& image) {
    const DibParameter& parameter = *place.parameter;
    const std::string_view name = parameter.name;
    const int side = place.isAlongHeight ? height(image) : width(image);
    switch (parameter.kind) {
        case DIB_PARAMETER_INTEGER: return std::to_string(arguments.integer(name));
        case DIB_PARAMETER_NUMBER:
        case DIB_PARAMETER_FRACTION: return floatLiteral(arguments.number(name));
        case DIB_PARAMETER_ANGLE: return floatLiteral(arguments.radians(name));
        case DIB_PARAMETER_LENGTH: return std::to_string(arguments.pixels(name, side));
        case DIB_PARAMETER_POSITION: return floatLiteral(arguments.position(name, side));
        case DIB_PARAMETER_SIZE: {
            const PixelSize size = arguments.size(name, image);
            return std::to_string(place.isAlongHeight ? size.height : size.width);
        }
        case DIB_PARAMETER_CHOICE: return choiceLiteral(parameter, arguments.word(name));
        case DIB_PARAMETER_FLAGS: return flagsLiteral(parameter, arguments.word(name));
        case DIB_PARAMETER_COLOR: return colorLiteral(arguments.color(name));
        case DIB_PARAMETER_FILL: return pixelLiteral(arguments.fill(name, image));
        case DIB_PARAMETER_TEXT:
        case DIB_PARAMETER_PATH: return stringLiteral(arguments.path(name));
        case DIB_PARAMETER_SWITCH: return arguments.isOn(name) ? "true" : "false";
    }
    throw std::logic_error("no such kind");
}

// The row's `call` with its values: `{name}` becomes the value of that parameter in C++. Positions and the
// two numbers of a size are written `{name:width}` or `{name:height}`, which names the side of the picture
// that they are measured along.
std::string classicCall(const Arguments& arguments, const DibStream& image) {
    std::string_view rest = arguments.operation().call;
    std::string text;
    for (;;) {
        const Placeholder place = takePlaceholder(rest, arguments.operation());
        text += place.before;
        if (place.parameter == nullptr) return text + ';';
        text += literal(arguments, place, image);
    }
}

// The step again, with the values that are not the default.
std::string stepText(const Arguments& arguments) {
    const DibOperation& operation = arguments.operation().info;
    std::string text = operation.name;
    char separator = ':';
    const auto parameters = DibList(operation.parameters);
    for (std::size_t i = 0; i < parameters.size(); ++i) {
        const std::string& value = arguments.values()[i].text;
        const char* standard = parameters[i]->standard;
        if (standard != nullptr && value == standard) continue;
        text += std::exchange(separator, ',');
        if (standard != nullptr) text += std::string(parameters[i]->name) + '=';
        for (const char c : value) {
            if (kMasked.find(c) != std::string_view::npos) text += '\\';
            text += c;
        }
    }
    return text;
}

std::string callText(const Arguments& arguments, const DibStream& image) {
    if (isClassic(arguments, image)) return classicCall(arguments, image);
    return "DibApply(&image, " + stringLiteral(stepText(arguments)) + ");";
}

}  // namespace

}  // namespace operations

bool DibDescribeCall(const DibStep* step, const DibStream* image, DibBytes* text,
                     DibOperationResult* result) {
    return operations::runCall(result, [&](DibOperationResult& out) {
        if (step == nullptr) throw operations::Refusal{DIB_ERROR_INVALID, "there is no step"};
        const operations::Arguments arguments = operations::argumentsOf(*step, out);
        operations::requirePixels(image);
        return operations::giveText(text, operations::callText(arguments, *image));
    });
}
