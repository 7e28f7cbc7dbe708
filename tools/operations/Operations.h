// The table of operations. It drives the parser, the help, the man page, the shell completion and the JSON
// of `dib ops`; an operation is a row of a file in tools/operations/rows/.
#ifndef TOOLS_OPERATIONS_OPERATIONS_H
#define TOOLS_OPERATIONS_OPERATIONS_H

#include <DibStream.h>

#include <array>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tools/operations/Parameters.h"

namespace tool {

struct Operation;

struct PixelSize {
    int width;
    int height;
};

// The values of one call of an operation, by parameter name. Asking for a name that the row does not declare
// throws std::logic_error.
class Arguments {
public:
    Arguments(const Operation& operation, std::vector<Value> values)
        : operation_(operation), values_(std::move(values)) {}

    const Operation& operation() const { return operation_; }
    int integer(std::string_view name) const;
    // The value of a choice, or of flags together.
    std::uint32_t word(std::string_view name) const;
    // A number or a fraction.
    float number(std::string_view name) const;
    float radians(std::string_view name) const;
    // A length in pixels; percentages are of `full`, rounded to the nearest pixel.
    int pixels(std::string_view name, int full) const;
    // A position in pixels; 0% is the centre of the first of `full` pixels, 100% that of the last.
    float position(std::string_view name, int full) const;
    // A size; percentages are of the picture's size, and the result is at least 1 pixel.
    PixelSize size(std::string_view name, const DibStream& image) const;
    DibBGRA color(std::string_view name) const;
    // The pixel value of a fill in the picture's depth: the nearest entry of the colour table up to 8 bits.
    std::uint32_t fill(std::string_view name, const DibStream& image) const;
    const char* path(std::string_view name) const;

    // Makes relative paths relative to `folder`.
    void placePaths(const std::string& folder);

private:
    const Value& value(std::string_view name) const;

    std::reference_wrapper<const Operation> operation_;
    std::vector<Value> values_;
};

struct Operation {
    std::string_view name;
    std::string_view help;     // starts with one sentence
    std::string_view example;  // a call, as on the command line; the tests run it
    // Chains for the gallery that end with the operation: the plainest use, then two with more settings. The
    // words before the last one prepare the picture; a second picture is called "other.bmp".
    std::array<std::string_view, 3> samples;
    std::span<const Parameter> parameters;
    std::string_view call;  // in C++, with placeholders for the values (Call.h)
    bool (*run)(DibStream& image, const Arguments& arguments, DibProgressCallback callback, void* user);
    // What is wrong with the combination of parameters; empty when nothing is.
    std::string (*check)(const Arguments& arguments) = nullptr;
};

// Operations that belong together.
struct Area {
    std::string_view title;
    std::span<const Operation> operations;
};
std::span<const Area> areas();
// Every operation, in the order in which help lists them.
std::span<const Operation> operations();
// The operation of that name, or null.
const Operation* findOperation(std::string_view name);

// How the operation is written, optional parameters in brackets: "bpp:DEPTH[,method=plain|grey]".
std::string synopsis(const Operation& operation);

// One operation of a chain with its values.
struct Step {
    const Operation* operation;
    Arguments arguments;
};

// Reads "name", or "name:" and comma-separated values. Values without "parameter=" fill the parameters in
// the order of the table, passing over those that were named; a comma inside a value is written "\,".
// Throws Failure (usage).
Step parseStep(std::string_view text);
// Reads a sample of a row: steps with single spaces between them. Throws Failure (usage).
std::vector<Step> parseSample(std::string_view text);

}  // namespace tool

#endif
