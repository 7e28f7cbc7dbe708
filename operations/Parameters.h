// The parameters of operations: how a row of the table declares them, and how their text becomes a value.
#ifndef OPERATIONS_PARAMETERS_H
#define OPERATIONS_PARAMETERS_H

#include <DibEffect.h>
#include <DibOperation.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

namespace operations {

struct Bounds {
    double min;
    double max;
};

inline constexpr Bounds kAnyInteger{-2147483648.0, 2147483647.0};
inline constexpr Bounds kAnyNumber{-1e9, 1e9};

// Records in a row, and the list of them that ends with a null. Only for constants: the list points into
// them.
template <class Record, std::size_t count>
class List {
public:
    constexpr explicit List(const Record (&records)[count]) : records_(std::to_array(records)) {
        for (std::size_t i = 0; i < count; ++i) list_[i] = &records_[i];
    }
    List(const List&) = delete;
    List& operator=(const List&) = delete;
    // Rows of the table name lists plainly.
    // NOLINTNEXTLINE(google-explicit-constructor)
    constexpr operator const Record* const*() const { return list_.data(); }

private:
    std::array<Record, count> records_;
    std::array<const Record*, count + 1> list_{};
};

template <std::size_t count>
class Choices : public List<DibChoice, count> {
public:
    constexpr explicit Choices(const DibChoice (&choices)[count]) : List<DibChoice, count>(choices) {}
};
template <std::size_t count>
class Parameters : public List<DibParameter, count> {
public:
    constexpr explicit Parameters(const DibParameter (&parameters)[count])
        : List<DibParameter, count>(parameters) {}
};
// Of operations that have none.
inline constexpr const DibParameter* kNoParameters[] = {nullptr};

inline constexpr Choices kWrapAxes({{"x", DIB_WRAP_X, "left and right edges meet", "DIB_WRAP_X"},
                                    {"y", DIB_WRAP_Y, "top and bottom edges meet", "DIB_WRAP_Y"}});

// Depths that an operation accepts, as a set.
inline constexpr unsigned int kAllDepths = DibStream::DIB_ACCEPT_ALL;
constexpr unsigned int depthBit(int bitCount) {
    switch (bitCount) {
        case 1: return DibStream::DIB_ACCEPT_1;
        case 4: return DibStream::DIB_ACCEPT_4;
        case 8: return DibStream::DIB_ACCEPT_8;
        case 16: return DibStream::DIB_ACCEPT_16;
        case 24: return DibStream::DIB_ACCEPT_24;
        case 32: return DibStream::DIB_ACCEPT_32;
        default: return 0;
    }
}
constexpr unsigned int depths(std::initializer_list<int> bitCounts) {
    unsigned int set = 0;
    for (const int bitCount : bitCounts) set |= depthBit(bitCount);
    return set;
}

// The last column of operations that only move pixels.
inline constexpr bool kMovesPixels = true;

// How rows declare parameters. One without `standard` must be given.
constexpr DibParameter integer(const char* name, const char* help, Bounds bounds = kAnyInteger,
                               const char* standard = nullptr, const char* unit = nullptr) {
    return {name, DIB_PARAMETER_INTEGER, help, standard, bounds.min, bounds.max, unit};
}
constexpr DibParameter number(const char* name, const char* help, Bounds bounds = kAnyNumber,
                              const char* standard = nullptr, const char* unit = nullptr) {
    return {name, DIB_PARAMETER_NUMBER, help, standard, bounds.min, bounds.max, unit};
}
constexpr DibParameter fraction(const char* name, const char* help, const char* standard = nullptr,
                                Bounds bounds = {0, 1}) {
    return {name, DIB_PARAMETER_FRACTION, help, standard, bounds.min, bounds.max, "of 1, or %"};
}
constexpr DibParameter angle(const char* name, const char* help, const char* standard = nullptr) {
    return {name, DIB_PARAMETER_ANGLE, help, standard, kAnyNumber.min, kAnyNumber.max, "deg or rad"};
}
constexpr DibParameter length(const char* name, const char* help, Bounds bounds = kAnyInteger,
                              const char* standard = nullptr) {
    return {name, DIB_PARAMETER_LENGTH, help, standard, bounds.min, bounds.max, "px or %"};
}
constexpr DibParameter position(const char* name, const char* help, const char* standard = nullptr) {
    return {name, DIB_PARAMETER_POSITION, help, standard, kAnyNumber.min, kAnyNumber.max, "px or %"};
}
constexpr DibParameter size(const char* name, const char* help) {
    return {name, DIB_PARAMETER_SIZE, help, nullptr, 1, kAnyInteger.max, "px or %"};
}
constexpr DibParameter choice(const char* name, const char* help, const DibChoice* const* choices,
                              const char* standard = nullptr) {
    return {name, DIB_PARAMETER_CHOICE, help, standard, 0, 0, nullptr, choices};
}
constexpr DibParameter flags(const char* name, const char* help, const DibChoice* const* choices,
                             const char* standard = "none") {
    return {name, DIB_PARAMETER_FLAGS, help, standard, 0, 0, nullptr, choices};
}
constexpr DibParameter wrap() {
    return flags("wrap", "axes on which the picture repeats instead of ending at its edge; xy is both",
                 kWrapAxes);
}
// With the default `none` there may be no colour.
constexpr DibParameter color(const char* name, const char* help, const char* standard = nullptr) {
    return {name, DIB_PARAMETER_COLOR, help, standard, 0, 0, "#rrggbb[aa]"};
}
constexpr DibParameter fill(const char* name, const char* help, const char* standard = nullptr) {
    return {name, DIB_PARAMETER_FILL, help, standard, 0, 4294967295.0, "#rrggbb[aa] or pixel value"};
}
constexpr DibParameter path(const char* name, const char* help) { return {name, DIB_PARAMETER_PATH, help}; }

constexpr DibParameter text(const char* name, const char* help, const char* standard = nullptr) {
    return {name, DIB_PARAMETER_TEXT, help, standard};
}

// Off unless its name is given.
constexpr DibParameter toggle(const char* name, const char* help) {
    return {name, DIB_PARAMETER_SWITCH, help, "no"};
}
// Of every operation whose row has a Treatment (Operations.h).
constexpr DibParameter classic() {
    return toggle("classic", "exactly as the classic function does it, whatever the palette and alpha");
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
    Measure second;          // The height of a size; 0 for a side that follows from the other.
    std::uint32_t word = 0;  // The value of a choice, or the flags together; 1 for a switch that is on.
    DibBGRA color = {};
    bool isColor = false;  // Of a colour or fill.
};

// Reads a value. Throws Refusal with the parameter and what is wrong.
Value readValue(const DibParameter& parameter, std::string_view text);

// A number as users write it, without an exponent where that is readable.
std::string plainNumber(double number);

}  // namespace operations

#endif
