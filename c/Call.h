// What the functions of dibstream.h do around the call of a C++ function: arguments in, results out.
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
// The same for options that cannot be read, unless the code is 0. Returns whether it is.
template <class Result>
bool accept(Result& result, DibErrorCode code) {
    if (code == DIB_OK) return true;
    return refuse(result, code,
                  code == DIB_ERROR_MISMATCH ? "the options have members that this library does not know"
                                             : "the size of the options is wrong");
}

// Whether the program's structures for results have a size that they can have.
bool canFill(const dib_result* result);
// Gives the program its result.
void fillResult(dib_result* to, const DibFileResult& from);
void fillResult(dib_result* to, const DibOperationResult& from);
// Stores the metadata of a file, if the program passed a place for them.
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

// The options of a load, for the C++ functions.
template <class Result>
bool readLoadOptions(const dib_load_options* given, DibLoadOptions& options, Result& result) {
    dib_load_options from = DIB_C_LOAD_OPTIONS_INIT;
    if (!accept(result, readOptions(given, from))) return false;
    if (from.damage < DIB_C_DAMAGE_REFUSE || from.damage > DIB_C_DAMAGE_KEEP)
        return refuse(result, DIB_ERROR_INVALID, "the option damage has no such value");
    if (from.alpha < DIB_C_ALPHA_GUESS || from.alpha > DIB_C_ALPHA_STORED)
        return refuse(result, DIB_ERROR_INVALID, "the option alpha has no such value");
    if (from.part < DIB_C_LAYER_PIXELS || from.part > DIB_C_LAYER_SECOND_MASK)
        return refuse(result, DIB_ERROR_INVALID, "the option part has no such value");
    options.formats = from.formats;
    options.name = from.name;
    options.format = from.format;
    options.mostPixels = from.most_pixels;
    options.mostBytes = from.most_bytes;
    options.mostLayers = from.most_layers;
    options.damage = static_cast<DibDamagePolicy>(from.damage);
    options.alpha = static_cast<DibAlphaPolicy>(from.alpha);
    options.page = from.page;
    options.layer = from.layer;
    options.level = from.level;
    options.appliesOrientation = from.applies_orientation != 0;
    options.atLeastWidth = from.at_least_width;
    options.atLeastHeight = from.at_least_height;
    options.keepsPalette = from.keeps_palette != 0;
    options.pageName = from.page_name;
    options.layerName = from.layer_name;
    options.part = static_cast<DibLayerPart>(from.part);
    return true;
}

}  // namespace c_interface

#endif
