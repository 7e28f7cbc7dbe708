// The rows of the table of operations (DibOperation.h). An operation is a row of a file in operations/rows/;
// lists, help, documents and other languages are made from it.
#ifndef OPERATIONS_OPERATIONS_H
#define OPERATIONS_OPERATIONS_H

#include <DibOperation.h>
#include <DibStream.h>

#include <concepts>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "operations/Parameters.h"
#include "operations/Refusal.h"

namespace operations {

struct Operation;

struct PixelSize {
    int width;
    int height;
};

inline int width(const DibStream& image) { return image.Header->biWidth; }
// The number of rows, in either row order.
inline int height(const DibStream& image) {
    return image.Header->biHeight < 0 ? -image.Header->biHeight : image.Header->biHeight;
}

// The values of one call of an operation, by parameter name. Asking for a name that the row does not declare
// throws std::logic_error.
class Arguments {
public:
    Arguments(const Operation& operation, std::vector<Value> values)
        : operation_(operation), values_(std::move(values)) {}

    const Operation& operation() const { return operation_; }
    const std::vector<Value>& values() const { return values_; }
    int integer(std::string_view name) const;
    // The value of a choice, or of flags together.
    std::uint32_t word(std::string_view name) const;
    // A number or a fraction.
    float number(std::string_view name) const;
    float radians(std::string_view name) const;
    // A length in pixels; percentages are of `full`, rounded to the nearest pixel. Throws Refusal when that
    // is more than an int holds, as does size().
    int pixels(std::string_view name, int full) const;
    // A position in pixels; 0% is the centre of the first of `full` pixels, 100% that of the last.
    float position(std::string_view name, int full) const;
    // A size; percentages are of the picture's size, a side left out keeps its shape, and the result is at
    // least 1 pixel.
    PixelSize size(std::string_view name, const DibStream& image) const;
    DibBGRA color(std::string_view name) const;
    // Of a parameter that may be `none`.
    std::optional<DibBGRA> colorIfAny(std::string_view name) const;
    // The pixel value of a fill in the picture's depth: the nearest entry of the colour table up to 8 bits.
    // Throws Refusal for a number that no pixel of that depth can hold.
    std::uint32_t fill(std::string_view name, const DibStream& image) const;
    const char* path(std::string_view name) const;
    const std::string& text(std::string_view name) const { return value(name).text; }
    bool isOn(std::string_view name) const { return word(name) != 0; }

private:
    std::size_t indexOf(std::string_view name) const;
    const Value& value(std::string_view name) const { return values_[indexOf(name)]; }

    std::reference_wrapper<const Operation> operation_;
    std::vector<Value> values_;
};

// The call of a step on an image.
struct Job {
    DibStream& image;
    const Arguments& arguments;
    const DibApplyOptions& options;
    DibOperationResult& result;
    DibProgressCallback callback;
    void* user;
};

// What an operation does with alpha.
enum class Alpha {
    kAsRun,    // what its function does
    kKept,     // keeps it
    kWeights,  // keeps it, or weights colours with it where pixels mix
};

// A function of a row. Returns what the library returns. May throw Refusal, before it changes the image.
class Run {
public:
    using Function = bool (*)(const Job& job);

    constexpr Run() = default;
    // Rows name functions, or null.
    template <std::convertible_to<Function> F>
    constexpr Run(F function) : function_(function) {}  // NOLINT(google-explicit-constructor)

    // Gives the image pixels of its own before the function changes them.
    bool operator()(const Job& job) const;

    friend constexpr bool operator==(Run, Run) = default;
    friend constexpr Run replacing(Function function);

private:
    Function function_ = nullptr;
    bool replacesPixels_ = false;
};

// A function that never changes pixels in place: where it changes the picture it makes new ones, as geometry
// methods, conversions and effects by `dib::filterImage` do.
constexpr Run replacing(Run::Function function) {
    Run run = function;
    run.replacesPixels_ = true;
    return run;
}

// How an operation handles palettes and alpha, which its classic function ignores. A row that has one has the
// switch `classic` and accepts all depths (Treatment.cpp).
struct Treatment {
    // Depths at which the classic function runs.
    unsigned int classicDepths = 0;
    // Those among them at which it gives the right colours; 8 bits are grey pictures. Others are widened.
    unsigned int depths = classicDepths;
    Alpha alpha = Alpha::kAsRun;
    // For pictures with a palette that need not be widened, as their colour table can be changed.
    Run palette = nullptr;
    // For pictures of 32 bits whose pixels differ in alpha, with Alpha::kWeights. Without it the classic
    // function gets colours multiplied with alpha.
    Run weighted = nullptr;
    // For every picture, instead of the classic function.
    Run right = nullptr;
    // Steps for which there is no classic function: `apart` runs them, and no picture is widened before.
    bool (*isApart)(const Arguments& arguments, const DibStream& image) = nullptr;
    Run apart = nullptr;
    // Grey pictures may get colours.
    bool addsColors = false;

    bool isGiven() const { return classicDepths != 0; }
};

// Of operations without parameters of their own.
inline constexpr Parameters kOnlyClassic({classic()});

// Of operations that invert colours: the classic functions invert the indices of palettes, and alpha.
bool invertPalette(const Job& job);
inline constexpr Treatment kInverts = {
    .classicDepths = kAllDepths, .alpha = Alpha::kKept, .palette = invertPalette};

struct Operation {
    DibOperation info;
    std::string_view call;  // in C++, with placeholders for the values (Call.h); empty: only by name
    Run run;                // the classic function, where there is one
    // What is wrong with the combination of parameters; empty when nothing is.
    std::string (*check)(const Arguments& arguments) = nullptr;
    Treatment treatment = {};
    // Whether lists show it. Chains may name those that they do not show.
    bool isListed = true;
};

// Runs a step by the treatment of its operation. Throws Refusal.
bool runTreated(const Job& job);
// Runs a function on a picture, which is widened first where its pixels are indices.
bool runWidened(const Job& job, const Treatment& treatment, const std::function<bool(const Job&)>& run);
// Runs the operation on a picture of colours.
bool runOnColors(const Job& job);
// Whether the caller asks for the classic function.
bool wantsClassic(const Job& job);
// Whether the classic function alone does what the step does to this picture.
bool isClassic(const Arguments& step, const DibStream& image);
// Throws Refusal where an operation gets a picture of another depth.
void requireDepth(const DibStream& image, unsigned int depths);

// Operations that belong together.
using Area = std::span<const Operation>;
std::span<const Area> areas();

// Parse and check. The result gets the operation and the number of the step that is worked on, which stay
// where it fails. Throw Refusal.
Arguments parseStep(std::string_view text, DibOperationResult& result);
std::vector<Arguments> parseChain(std::string_view text, DibOperationResult& result);
Arguments argumentsOf(const DibStep& step, DibOperationResult& result);

// Throws Refusal when there is no image with pixels.
void requirePixels(const DibStream* image);

}  // namespace operations

#endif
