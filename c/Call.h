// Shared by the functions of dibstream.h: they check arguments, call a C++ function and store its result.
#ifndef C_CALL_H
#define C_CALL_H

#include <DibFile.h>
#include <DibOperation.h>

#include <cstdio>
#include <cstdlib>
#include <utility>

#include "c/Structures.h"

namespace c_interface {

inline DibStream* imageOf(dib_image* image) { return reinterpret_cast<DibStream*>(image); }
inline const DibStream* imageOf(const dib_image* image) { return reinterpret_cast<const DibStream*>(image); }
inline dib_image* handleOf(DibStream* image) { return reinterpret_cast<dib_image*>(image); }

inline dib_code codeOf(int code) { return static_cast<dib_code>(code); }

// Stores why a call fails, in a result of the C++ functions. Returns false.
template <class Result>
bool refuse(Result& result, DibErrorCode code, const char* reason) {
    result.code = code;
    std::snprintf(result.reason, sizeof result.reason, "%s", reason);
    return false;
}
// The same where an allocation fails.
template <class Result>
bool refuseWithoutMemory(Result& result) {
    return refuse(result, DIB_ERROR_MEMORY, "there is not enough memory");
}
// The same for options that cannot be read, unless the code is 0. Returns whether it is.
template <class Result>
bool accept(Result& result, DibErrorCode code) {
    if (code == DIB_OK) return true;
    return refuse(result, code,
                  code == DIB_ERROR_MISMATCH ? "the options have members that this library does not know"
                                             : "the size of the options is wrong");
}

// Whether the sizes of the program's structures for results are valid.
bool canFill(const dib_result* result);
// Stores the result for the program.
void fillResult(dib_result* to, const DibFileResult& from);
void fillResult(dib_result* to, const DibOperationResult& from);
// Stores what differs, in a structure with a valid size.
void fillDifference(dib_difference& to, const DibDifference& from);
// Stores the metadata of a file, if the program asked for it.
void fillMetadata(const dib_result* to, DibMetadata& from);

// Runs the work of a call, which gets a result of the C++ functions and returns whether it succeeded.
template <class Result, class Work>
dib_code call(dib_result* result, const Work& work) {
    if (!canFill(result)) return DIB_C_ERROR_INVALID;
    Result out;
    const bool isDone = work(out);
    if (!isDone && out.code == DIB_OK) out.code = DIB_ERROR_GENERAL;
    fillResult(result, out);
    return codeOf(out.code);
}

// Reads an option that is one of the values from 0 to `last`. Returns whether it is.
template <class Enum>
bool readChoice(int value, Enum last, Enum& choice) {
    if (value < 0 || value > last) return false;
    choice = static_cast<Enum>(value);
    return true;
}

// The options of a load, for the C++ functions.
template <class Result>
bool readLoadOptions(const dib_load_options* given, DibLoadOptions& options, Result& result) {
    dib_load_options from = DIB_C_LOAD_OPTIONS_INIT;
    if (!accept(result, readOptions(given, from))) return false;
    if (!readChoice(from.damage, DIB_DAMAGE_KEEP, options.damage))
        return refuse(result, DIB_ERROR_INVALID, "the option damage has no such value");
    if (!readChoice(from.alpha, DIB_ALPHA_STORED, options.alpha))
        return refuse(result, DIB_ERROR_INVALID, "the option alpha has no such value");
    if (!readChoice(from.part, DIB_LAYER_SECOND_MASK, options.part))
        return refuse(result, DIB_ERROR_INVALID, "the option part has no such value");
    options.formats = from.formats;
    options.name = from.name;
    options.format = from.format;
    options.mostPixels = from.most_pixels;
    options.mostBytes = from.most_bytes;
    options.mostLayers = from.most_layers;
    options.page = from.page;
    options.layer = from.layer;
    options.level = from.level;
    options.appliesOrientation = from.applies_orientation != 0;
    options.atLeastWidth = from.at_least_width;
    options.atLeastHeight = from.at_least_height;
    options.keepsPalette = from.keeps_palette != 0;
    options.pageName = from.page_name;
    options.layerName = from.layer_name;
    return true;
}

}  // namespace c_interface

#endif
