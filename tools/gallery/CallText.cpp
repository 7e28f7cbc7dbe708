#include "tools/gallery/CallText.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <stdexcept>

#include "tools/io/Images.h"

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

// One step's values, by the text between the braces of a placeholder.
class Values {
public:
    Values(const Step& step, const DibStream& image) : step_(step), image_(image) {}

    std::string literal(std::string_view placeholder) const {
        const std::size_t colon = placeholder.find(':');
        const std::string_view name = placeholder.substr(0, colon);
        const std::string_view side =
            colon == std::string_view::npos ? std::string_view{} : placeholder.substr(colon + 1);
        const auto parameter = std::ranges::find(step_.operation->parameters, name, &Parameter::name);
        if (parameter == step_.operation->parameters.end()) {
            throw std::logic_error("no parameter '" + std::string(name) + "'");
        }
        return literal(*parameter, side == "height");
    }

private:
    std::string literal(const Parameter& parameter, bool alongHeight) const {
        const Arguments& arguments = step_.arguments;
        const std::string_view name = parameter.name;
        const int side = alongHeight ? height(image_) : width(image_);
        switch (parameter.kind) {
            case ParameterKind::Integer: return std::to_string(arguments.integer(name));
            case ParameterKind::Number:
            case ParameterKind::Fraction: return floatLiteral(arguments.number(name));
            case ParameterKind::Angle: return floatLiteral(arguments.radians(name));
            case ParameterKind::Length: return std::to_string(arguments.pixels(name, side));
            case ParameterKind::Position: return floatLiteral(arguments.position(name, side));
            case ParameterKind::Size: {
                const PixelSize size = arguments.size(name, image_);
                return std::to_string(alongHeight ? size.height : size.width);
            }
            case ParameterKind::Choice: return choiceLiteral(parameter, arguments.word(name));
            case ParameterKind::Flags: return flagsLiteral(parameter, arguments.word(name));
            case ParameterKind::Color: return colorLiteral(arguments.color(name));
            case ParameterKind::Fill: return pixelLiteral(arguments.fill(name, image_));
            case ParameterKind::Path: return stringLiteral(arguments.path(name));
        }
        throw std::logic_error("no such kind");
    }

    const Step& step_;
    const DibStream& image_;
};

}  // namespace

std::string callText(const Step& step, const DibStream& image) {
    const Values values(step, image);
    const std::string_view pattern = step.operation->call;
    std::string text;
    std::size_t place = 0;
    for (std::size_t open = 0; (open = pattern.find('{', place)) != std::string_view::npos;) {
        const std::size_t close = pattern.find('}', open);
        text += pattern.substr(place, open - place);
        text += values.literal(pattern.substr(open + 1, close - open - 1));
        place = close + 1;
    }
    return text.append(pattern.substr(place)) + ';';
}

}  // namespace tool
