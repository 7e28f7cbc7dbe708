/// @file
/// Operations by name: every effect, conversion and geometry method, with its parameters as text.
///
///     DibOperationResult result;
///     if (!DibApply(&image, "rotate:30,wrap=xy gaussian:4", nullptr, &result)) std::puts(result.reason);
///
/// The functions of DibEffect.h and the methods of `DibStream` take typed parameters. The table here says of
/// each of them what a user needs to know: name, parameters, ranges, units, defaults, help and samples.
/// Programs, bindings and documents are generated from it.
///
/// Steps and chains
/// ----------------
/// - A **step** is the name of an operation; a colon and values may follow, separated by commas. A value is
///   given by its place or as `name=value`; values without a name fill the parameters in the order of the
///   table. A backslash escapes the character after it: `compose:a\,b.png`.
/// - A **chain** is steps with white space between them. White space in a value needs a backslash. A text
///   without steps changes nothing.
/// - Texts end at their first zero byte. They need not be UTF-8.
///
/// Rules common to the functions
/// -----------------------------
/// - **Ranges.** A value outside the range of its parameter is refused, never replaced by another.
/// - **Results.** The functions return whether they succeeded. `DibOperationResult` says why not: which step,
///   operation and parameter, and a name that may have been meant. Pass a null pointer where it
///   is not needed. Nothing throws, and every allocation may fail (code 2).
/// - **Failure.** A chain that fails or is cancelled leaves the image as it was, unless
///   `DibApplyOptions::inPlace` is set.
/// - **Colours.** An operation changes or mixes the colours of pixels, not the indices of palettes: it widens
///   a picture with a palette to 24 bits before, or to 8 bits where the palette is grey, and 16 bits to 24
///   where it must; a note of the result says so. Operations that change colours leave alpha as it is; those
///   that mix pixels weigh colours with alpha. The switch `classic` of these operations, or
///   `DibApplyOptions::classic`, gives the result of the function of DibEffect.h or method of `DibStream`.
/// - **Progress.** Operations report after each row, block of rows or pass, and stop there when the callback
///   cancels: within 0.2 s or so for 2 megapixels, whatever the values of their parameters. `half`, `canvas`,
///   `crop`, `border`, `scroll`, `invert`, `reverse`, `brighten`, `compose`, `flip-storage`, `bpp:32`, a
///   resize to exactly the half and the widening of palettes report only begin and end: each takes less than
///   about 50 ms for 12 megapixels. Results of gigabytes take longer to begin, as their memory does.
/// - **Threads.** Nothing is shared between calls but the C library's `rand()`, from which `noise`,
///   `color-noise` and `diffuse` draw.
#ifndef DIBSTREAM_DIBOPERATION_H
#define DIBSTREAM_DIBOPERATION_H

#include <DibExport.h>
#include <DibFile.h>
#include <DibPictures.h>
#include <DibStream.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <utility>

/// @name The table
/// @{

/// What the value of a parameter is and how it is written.
enum DibParameterKind : int {
    DIB_PARAMETER_INTEGER = 0,   ///< A whole number: `3`.
    DIB_PARAMETER_NUMBER = 1,    ///< A decimal number: `-1.5`.
    DIB_PARAMETER_FRACTION = 2,  ///< A decimal number or a percentage: `0.5`, `50%`.
    DIB_PARAMETER_ANGLE = 3,     ///< Degrees, or radians with the suffix `rad`: `90`, `90deg`, `1.57rad`.
    DIB_PARAMETER_LENGTH = 4,    ///< Whole pixels, or a percentage of a side of the picture: `12`, `50%`.
    DIB_PARAMETER_POSITION = 5,  ///< Pixels from the centre of the first pixel: `12.5`; `100%`: the last.
    DIB_PARAMETER_SIZE = 6,      ///< Width and height, each a length: `320x200`, `50%x200`; `50%` is both,
                                 ///< and `320x` and `x200` keep the shape of the picture.
    DIB_PARAMETER_CHOICE = 7,    ///< One of the names in `DibParameter::choices`.
    DIB_PARAMETER_FLAGS = 8,     ///< `none`, or some of the choices: `x`, `xy`, `x+y`.
    DIB_PARAMETER_COLOR = 9,     ///< `#rrggbb[aa]` or in short `#rgb[a]`; `none` where that is the default.
    DIB_PARAMETER_FILL = 10,     ///< A colour, or the number that a pixel stores: an index up to 8 bits.
    DIB_PARAMETER_PATH = 11,     ///< The name of a file (`DibApplyOptions::open`).
    DIB_PARAMETER_SWITCH = 12,   ///< `yes` or `no`; the name of the parameter alone is `yes`: `classic`.
    DIB_PARAMETER_TEXT = 13,     ///< Any text.
};

/// One of the names that a choice or flags accept.
struct DibChoice {
    const char* name;            ///< As it is written.
    std::uint32_t value;         ///< Its number in C++.
    const char* help = nullptr;  ///< What it means.
    const char* code = nullptr;  ///< Its name in C++; null: the number.
};

/// A parameter of an operation.
struct DibParameter {
    const char* name;                ///< As in `name=value`.
    DibParameterKind kind;           ///< How values are written.
    const char* help;                ///< What it does.
    const char* standard = nullptr;  ///< The value where none is given; null: one must be given.
    double min = 0;                  ///< Least number as written.
    double max = 0;                  ///< Largest number as written; no numbers are written where it is `min`.
    const char* unit = nullptr;      ///< "px"; null when there is none.
    const DibChoice* const* choices = nullptr;  ///< A null ends the list; null when there are none.
};

/// An operation. The records live as long as the program.
struct DibOperation {
    const char* name;                       ///< As in a step.
    const char* area;                       ///< Title of its group, whose operations follow each other.
    const char* help;                       ///< Starts with one sentence.
    const char* example;                    ///< A step; a second picture is called "other.bmp".
    const char* samples[3];                 ///< Chains that end with the operation, the plainest first.
    const DibParameter* const* parameters;  ///< Required ones first; a null ends the list.
    unsigned int depths;  ///< Depths of the images that it accepts: `DibStream::DIB_ACCEPT_1` and so on.
    /// Whether every pixel of the result is one of the image, unchanged, and the colour table stays: what
    /// indices mean outside the image (`DibMetadata::paletteAlpha`) still holds.
    bool movesPixels = false;
};

/// The records of a list that a null ends, for loops: `for (const DibParameter* parameter :
/// DibList(operation->parameters))`.
template <class Record>
class DibList {
public:
    /// @param first The list; null is an empty one.
    explicit DibList(const Record* const* first) : first_(first) {
        while (first != nullptr && first[size_] != nullptr) ++size_;
    }
    const Record* const* begin() const { return first_; }                        ///< The first record.
    const Record* const* end() const { return first_ + size_; }                  ///< After the last one.
    std::size_t size() const { return size_; }                                   ///< Number of records.
    const Record* operator[](std::size_t index) const { return first_[index]; }  ///< From 0.

private:
    const Record* const* first_;
    std::size_t size_ = 0;
};

/// All operations, in the order in which lists show them; a null ends the list.
/// @param count Gets their number, unless it is null.
DIB_EXPORT const DibOperation* const* DibGetOperations(std::size_t* count = nullptr);
/// The operation of that name, also of one that lists no longer show; null when there is none.
DIB_EXPORT const DibOperation* DibFindOperation(const char* name);
/// The name that a mistyped one may have meant: one that begins with it, if it has three letters or more, or
/// one that differs from it in one letter or at most a third of its letters.
/// @param names A null ends the list.
/// @return The nearest of the names, null when none is near.
DIB_EXPORT const char* DibNearestName(const char* typed, const char* const* names);
/// @}

/// @name Descriptions
///
/// All return false when a pointer is null or memory is short; the text is then empty. A zero byte follows
/// the text, which `DibBytes::size` does not count.
/// @{

/// What a description says.
enum DibDescription : int {
    DIB_DESCRIBE_SYNOPSIS = 0,  ///< How it is written: "bpp:DEPTH[,method=plain|grey]".
    DIB_DESCRIBE_HELP = 1,      ///< Several lines for people: what it does, its parameters, an example.
    DIB_DESCRIBE_JSON = 2,      ///< All of its row, as a JSON object.
};
/// The version of the JSON texts, their member "schema". It grows when a member changes its meaning or is
/// removed, not when one is added.
constexpr int kDibOperationSchema = 1;

/// Describes an operation.
DIB_EXPORT bool DibDescribeOperation(const DibOperation* operation, DibDescription form, DibBytes* text);
/// Describes all of them: as text with a line feed between them, as JSON
/// `{"schema": 1, "operations": [...]}`.
DIB_EXPORT bool DibDescribeOperations(DibDescription form, DibBytes* text);
/// The unit, range and default of a parameter: "px or %, 1 to 100, default 3". It may be empty.
DIB_EXPORT bool DibDescribeParameter(const DibParameter* parameter, DibBytes* text);
/// @}

/// @name Results
/// @{

/// The outcome of a call. Each call resets it. Pointers refer to records of the table.
struct DibOperationResult {
    static constexpr int kMostNotes = DibFileResult::kMostNotes;  ///< Further notes are dropped.

    int code = DIB_OK;                        ///< `DibErrorCode`.
    char reason[512] = "";                    ///< Why the call failed, in words; empty when it succeeded.
    int step = -1;                            ///< The step that failed, from 0; -1 when it was none.
    const DibOperation* operation = nullptr;  ///< Its operation; null when there is none of that name.
    const DibParameter* parameter = nullptr;  ///< The parameter that is wrong, with its range; null: none.
    const char* suggestion = nullptr;         ///< The name that may have been meant; null: none.
    int noteCount = 0;                        ///< Number of notes.
    /// "blur: the palette of 8 bits became 24 bits a pixel"; of second pictures "other.tif: 16 bits a sample
    /// became 8".
    DibNote notes[kMostNotes] = {};
    /// Alpha of the first entries of the colour table, for `DibMetadata::paletteAlpha` where the picture is
    /// saved: 255, and 0 for the entry that `colors` or `remap` made for transparent pixels. Empty where no
    /// entry is transparent, or where a step after it did more than move pixels.
    DibBytes paletteAlpha;
    DibDifference difference;  ///< What the last step `compare` found; `pixels` is 0 where there was none.
    /// Whether rows of the image became columns, as after `turn:90`: then its resolutions across and down
    /// (`DibMetadata`) must be exchanged, too. False when the call failed.
    bool exchangesAxes = false;
};
/// @}

/// @name Parsing
/// @{

/// An operation with values. Calls take arrays of steps, so this record never grows.
struct DibStep {
    const DibOperation* operation;  ///< Of the table.
    /// The text of each parameter's value, in the order of `DibOperation::parameters`, without backslashes. A
    /// null takes the default.
    const char* const* values;
};

/// Parsed steps, which the object frees.
struct DibChain {
    DibStep* steps = nullptr;  ///< One block with all their texts, from `malloc`; null when there are none.
    int stepCount = 0;         ///< Number of steps.

    /// No steps.
    DibChain() = default;
    /// Takes the steps of another object, which then has none.
    DibChain(DibChain&& other) noexcept
        : steps(std::exchange(other.steps, nullptr)), stepCount(std::exchange(other.stepCount, 0)) {}
    /// Exchanges the steps.
    DibChain& operator=(DibChain&& other) noexcept {
        std::swap(steps, other.steps);
        std::swap(stepCount, other.stepCount);
        return *this;
    }
    /// Frees the steps.
    ~DibChain() { std::free(steps); }
};

/// Parses a chain and checks every value. Every parameter has a text afterwards, defaults included.
/// @return False, with no steps, and code
/// - 6 a name or a value is wrong: the result names it;
/// - 2 memory is short.
DIB_EXPORT bool DibParseChain(const char* text, DibChain* chain, DibOperationResult* result = nullptr);
/// The same for one step, in which white space needs no backslash.
DIB_EXPORT bool DibParseStep(const char* text, DibChain* chain, DibOperationResult* result = nullptr);
/// Reads a colour as values have it: `#rrggbb`, which is opaque, `#rrggbbaa`, or in short `#rgb` or `#rgba`.
/// @return False, with the colour as it was, and code
/// - 6 the text is no colour, or a pointer is null;
/// - 2 memory is short.
DIB_EXPORT bool DibParseColor(const char* text, DibBGRA* color, DibOperationResult* result = nullptr);
/// The C++ call that does the same as a step, for documents: "DibEffectRotate(nullptr, nullptr, &image,
/// 0.5f, 0U);". A line for each statement. Where the classic function would do something else to this
/// picture, it is "DibApply(&image, "rotate:30");".
/// @param image The picture before the step, to which percentages refer.
/// @return False with a code as by `DibParseChain`, or 6 when the image has no pixels.
DIB_EXPORT bool DibDescribeCall(const DibStep* step, const DibStream* image, DibBytes* text,
                                DibOperationResult* result = nullptr);
/// @}

/// @name Applying
/// @{

/// How to apply a chain.
struct DibApplyOptions {
    std::size_t size = sizeof(DibApplyOptions);  ///< Bytes of the caller's record.
    /// How pictures named by steps are opened; null: with the defaults.
    const DibLoadOptions* load = nullptr;
    /// Opens them instead, for example below a folder, or from memory; it may refuse. It works as
    /// `DibLoadFile`: on failure it leaves a code and a reason. It must not throw. It may lend blocks, which
    /// no step changes. Set it where chains come from users who must not read files.
    bool (*open)(void* context, const char* name, DibStream* image, DibFileResult* result,
                 DibProgressCallback callback, void* user) = nullptr;
    void* context = nullptr;  ///< First argument of `open`.
    /// Saves the memory and the time of a working copy: the steps change the image itself, blocks that the
    /// caller lent included. After a failure it holds what the steps before and the classic function left.
    bool inPlace = false;
    bool classic = false;  ///< Sets the switch `classic` of all steps that have it.
};

/// Applies a chain to an image: the same bytes as the calls that `DibDescribeCall` writes.
///
/// The steps make a new picture, whose blocks the image takes over at the end; the old ones are released.
/// Lent blocks are not changed. The pixels are copied only for steps that change pixels in place. The
/// callback gets fractions of the whole chain that start at 0, never go back and end at 1 when the call
/// succeeds. Returning false cancels. The callback must not change the image.
///
/// The code is also stored in `DibStream::ErrorCode`, 0 included.
/// @return False, with the image unchanged but for that code (see `DibApplyOptions::inPlace`), and
/// - 6 the chain is wrong, as by `DibParseChain`, or the image has no pixels; nothing was begun when a chain
///   is wrong;
/// - 8 a step does not accept the depth or the size of its image;
/// - 9 the callback cancelled;
/// - 2 memory is short, or no image can have a size;
/// - the code of opening a second picture, when that failed.
DIB_EXPORT bool DibApply(DibStream* image, const char* chain, const DibApplyOptions* options = nullptr,
                         DibOperationResult* result = nullptr, DibProgressCallback callback = nullptr,
                         void* user = nullptr);
/// The same with steps, parsed or made by the caller.
DIB_EXPORT bool DibApply(DibStream* image, const DibStep* steps, int stepCount,
                         const DibApplyOptions* options = nullptr, DibOperationResult* result = nullptr,
                         DibProgressCallback callback = nullptr, void* user = nullptr);
/// @}

#endif
