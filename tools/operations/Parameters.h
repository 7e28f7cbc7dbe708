// The parameters of operations: how a row of the table declares them, and how their text becomes a value.
#ifndef TOOLS_OPERATIONS_PARAMETERS_H
#define TOOLS_OPERATIONS_PARAMETERS_H

#include <DibEffect.h>
#include <DibStream.h>

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace tool {

enum class ParameterKind {
    Integer,   // A whole number.
    Number,    // A decimal number.
    Fraction,  // A decimal number, or a percentage: "0.5" is "50%".
    Angle,     // Degrees, or radians with the suffix "rad"; held in radians.
    Length,    // Whole pixels, or a percentage of a size of the picture.
    Position,  // Pixels counted from the first pixel's centre, or a percentage of the way to the last
               // one's.
    Size,      // WIDTHxHEIGHT, each a length; a single percentage means both.
    Choice,    // One of a list of names.
    Flags,     // "none", or some of a list of names, run together or joined by "+".
    Color,     // "#rrggbb" or "#rrggbbaa".
    Fill,      // A colour, or the raw number of a pixel (an index up to 8 bits).
    Path,      // A file.
};

struct Choice {
    std::string_view name;
    std::uint32_t value;
    std::string_view help = {};
    std::string_view code = {};  // What it is called in C++; empty: its number.
};

struct Bounds {
    double min;
    double max;
};

struct Parameter {
    std::string_view name;
    ParameterKind kind;
    std::string_view help;
    std::string_view standard;  // The default as the user would write it; empty: the parameter must be given.
    Bounds bounds;              // Of the number as written; percentages are at least 0 where `min` is.
    std::string_view unit;
    std::span<const Choice> choices;
};

inline constexpr Bounds kAnyInteger{-2147483648.0, 2147483647.0};
inline constexpr Bounds kAnyNumber{-1e9, 1e9};
inline constexpr Choice kWrapAxes[] = {{"x", DIB_WRAP_X, "left and right edges meet", "DIB_WRAP_X"},
                                       {"y", DIB_WRAP_Y, "top and bottom edges meet", "DIB_WRAP_Y"}};

// How rows declare parameters
// A parameter without `standard` must be given.
constexpr Parameter integer(std::string_view name, std::string_view help, Bounds bounds = kAnyInteger,
                            std::string_view standard = {}, std::string_view unit = {}) {
    return {name, ParameterKind::Integer, help, standard, bounds, unit, {}};
}
constexpr Parameter number(std::string_view name, std::string_view help, Bounds bounds = kAnyNumber,
                           std::string_view standard = {}, std::string_view unit = {}) {
    return {name, ParameterKind::Number, help, standard, bounds, unit, {}};
}
constexpr Parameter fraction(std::string_view name, std::string_view help, std::string_view standard = {},
                             Bounds bounds = {0, 1}) {
    return {name, ParameterKind::Fraction, help, standard, bounds, "of 1, or %", {}};
}
constexpr Parameter angle(std::string_view name, std::string_view help, std::string_view standard = {}) {
    return {name, ParameterKind::Angle, help, standard, kAnyNumber, "deg or rad", {}};
}
constexpr Parameter length(std::string_view name, std::string_view help, Bounds bounds = kAnyInteger,
                           std::string_view standard = {}) {
    return {name, ParameterKind::Length, help, standard, bounds, "px or %", {}};
}
constexpr Parameter position(std::string_view name, std::string_view help, std::string_view standard = {}) {
    return {name, ParameterKind::Position, help, standard, kAnyNumber, "px or %", {}};
}
constexpr Parameter size(std::string_view name, std::string_view help) {
    return {name, ParameterKind::Size, help, {}, {1, kAnyInteger.max}, "px or %", {}};
}
constexpr Parameter choice(std::string_view name, std::string_view help, std::span<const Choice> choices,
                           std::string_view standard = {}) {
    return {name, ParameterKind::Choice, help, standard, {}, {}, choices};
}
constexpr Parameter flags(std::string_view name, std::string_view help, std::span<const Choice> choices,
                          std::string_view standard = "none") {
    return {name, ParameterKind::Flags, help, standard, {}, {}, choices};
}
constexpr Parameter wrap() {
    return flags("wrap", "axes on which the picture repeats instead of ending at its edge; xy is both",
                 kWrapAxes);
}
constexpr Parameter color(std::string_view name, std::string_view help, std::string_view standard = {}) {
    return {name, ParameterKind::Color, help, standard, {}, "#rrggbb[aa]", {}};
}
constexpr Parameter fill(std::string_view name, std::string_view help, std::string_view standard = {}) {
    return {name, ParameterKind::Fill, help, standard, {0, 4294967295.0}, "#rrggbb[aa] or pixel value", {}};
}
constexpr Parameter path(std::string_view name, std::string_view help) {
    return {name, ParameterKind::Path, help, {}, {}, {}, {}};
}

// A number that may be a percentage.
struct Measure {
    double number = 0;
    bool isPercent = false;
};

// A parameter's value: `text` as given, and the fields that its kind uses.
struct Value {
    std::string text;
    Measure first;           // Every kind of number; radians for an angle; the width of a size.
    Measure second;          // The height of a size.
    std::uint32_t word = 0;  // The value of a choice, or the flags together.
    DibBGRA color = {};
    bool isColor = false;
};

// Reads a value. Throws Failure (usage) that names the operation, the parameter and what is wrong.
Value parseValue(const Parameter& parameter, std::string_view text, std::string_view operationName);

// The kind as `dib ops --json` names it.
std::string_view kindName(ParameterKind kind);

// A number as users write it, without an exponent where that is readable.
std::string plainNumber(double number);

}  // namespace tool

#endif
