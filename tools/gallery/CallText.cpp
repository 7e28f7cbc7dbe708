#include "tools/gallery/CallText.h"

#include <charconv>
#include <cstdio>
#include <stdexcept>

#include "tools/io/Images.h"
#include "tools/operations/Call.h"

namespace tool {

namespace {

// The shortest literal that is exactly this float.
std::string floatLiteral(float number) {
    char digits[32];
    char* const end = std::to_chars(digits, digits + sizeof digits, number).ptr;
    std::string text(digits, end);
    if (text.find_first_of(".e") == std::string::npos) text += ".0";
    return text + 'f';
}

std::string stringLiteral(std::string_view text) {
    std::string literal = "\"";
    for (const char c : text) {
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

std::string choiceLiteral(const Parameter& parameter, std::uint32_t value) {
    for (const Choice& choice : parameter.choices) {
        if (choice.value == value && !choice.code.empty()) return std::string(choice.code);
    }
    return std::to_string(value);
}

std::string flagsLiteral(const Parameter& parameter, std::uint32_t flags) {
    std::string text;
    for (const Choice& choice : parameter.choices) {
        if ((flags & choice.value) != 0)
            text += (text.empty() ? "" : " | ") + choiceLiteral(parameter, choice.value);
    }
    // A plain 0 could be a null pointer, and the overload with a record would match as well.
    return text.empty() ? "0U" : text;
}

std::string literal(const Arguments& arguments, const Placeholder& place, const DibStream& image) {
    const Parameter& parameter = *place.parameter;
    const std::string_view name = parameter.name;
    const int side = place.isAlongHeight ? height(image) : width(image);
    switch (parameter.kind) {
        case ParameterKind::Integer: return std::to_string(arguments.integer(name));
        case ParameterKind::Number:
        case ParameterKind::Fraction: return floatLiteral(arguments.number(name));
        case ParameterKind::Angle: return floatLiteral(arguments.radians(name));
        case ParameterKind::Length: return std::to_string(arguments.pixels(name, side));
        case ParameterKind::Position: return floatLiteral(arguments.position(name, side));
        case ParameterKind::Size: {
            const PixelSize size = arguments.size(name, image);
            return std::to_string(place.isAlongHeight ? size.height : size.width);
        }
        case ParameterKind::Choice: return choiceLiteral(parameter, arguments.word(name));
        case ParameterKind::Flags: return flagsLiteral(parameter, arguments.word(name));
        case ParameterKind::Color: return colorLiteral(arguments.color(name));
        case ParameterKind::Fill: return pixelLiteral(arguments.fill(name, image));
        case ParameterKind::Path: return stringLiteral(arguments.path(name));
    }
    throw std::logic_error("no such kind");
}

}  // namespace

std::string callText(const Step& step, const DibStream& image) {
    std::string_view rest = step.operation->call;
    std::string text;
    for (;;) {
        const Placeholder place = takePlaceholder(rest, *step.operation);
        text += place.before;
        if (place.parameter == nullptr) return text + ';';
        text += literal(step.arguments, place, image);
    }
}

}  // namespace tool
