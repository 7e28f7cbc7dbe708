#include "formats/door/Options.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstddef>
#include <cstring>

#include "formats/Formats.h"
#include "formats/Texts.h"

namespace formats {

namespace {

// Bytes of the records when they were first released.
constexpr std::size_t kFirstLoadOptions = offsetof(DibLoadOptions, format);
constexpr std::size_t kFirstSaveOptions = offsetof(DibSaveOptions, isLossy);

template <class Options>
bool copyOptions(const Options* options, Options& complete, std::size_t first, DibFileResult& result) {
    if (options == nullptr) return true;
    if (options->size < first) {
        return refuse(result, DIB_ERROR_MISMATCH, "the size of the options is %zu, but must be %zu or more",
                      options->size, first);
    }
    std::memcpy(&complete, options, std::min(options->size, sizeof complete));
    complete.size = sizeof complete;
    return true;
}

// Options go by words, which users of every interface recognise.
bool isBetween(int value, int least, int most, const char* option, DibFileResult& result) {
    if (value >= least && value <= most) return true;
    if (most == INT_MAX) {
        return refuse(result, DIB_ERROR_MISMATCH, "%s is %d, but must be %d or more", option, value, least);
    }
    return refuse(result, DIB_ERROR_MISMATCH, "%s is %d, but must be %d to %d", option, value, least, most);
}

bool areFormats(const char* const* names, DibFileResult& result) {
    for (; names != nullptr && *names != nullptr; ++names) {
        if (formatOfName(*names) == nullptr) {
            return refuse(result, DIB_ERROR_MISMATCH, "formats contains \"%.60s\", which no format is named",
                          *names);
        }
    }
    return true;
}

bool isResolution(double value, const char* field, DibFileResult& result) {
    if (std::isfinite(value) && value >= 0) return true;
    return refuse(result, DIB_ERROR_MISMATCH, "%s is %g, but must be a finite number of 0 or more", field,
                  value);
}

}  // namespace

bool isPossible(const DibMetadata& metadata, DibFileResult& result) {
    return isResolution(metadata.xResolution, "x resolution", result) &&
           isResolution(metadata.yResolution, "y resolution", result) &&
           isBetween(metadata.orientation, 1, 8, "orientation", result) &&
           (areTexts(metadata.texts) ||
            refuse(result, DIB_ERROR_MISMATCH, "texts must be pairs of texts in UTF-8, each ended by NUL"));
}

bool completeOptions(const DibLoadOptions* options, DibLoadOptions& complete, DibFileResult& result) {
    return copyOptions(options, complete, kFirstLoadOptions, result) &&
           areFormats(complete.formats, result) &&
           isBetween(complete.mostLayers, 0, INT_MAX, "limit of layers", result) &&
           isBetween(complete.damage, DIB_DAMAGE_REFUSE, DIB_DAMAGE_KEEP, "damage", result) &&
           isBetween(complete.alpha, DIB_ALPHA_GUESS, DIB_ALPHA_STORED, "alpha", result) &&
           isBetween(complete.page, 0, INT_MAX, "page", result) &&
           isBetween(complete.layer, -1, INT_MAX, "layer", result) &&
           isBetween(complete.level, 0, INT_MAX, "level", result) &&
           isBetween(complete.part, DIB_LAYER_PIXELS, DIB_LAYER_SECOND_MASK, "part", result) &&
           isBetween(complete.atLeastWidth, 0, INT_MAX, "least width", result) &&
           isBetween(complete.atLeastHeight, 0, INT_MAX, "least height", result);
}

bool completeOptions(const DibSaveOptions* options, DibSaveOptions& complete, DibFileResult& result) {
    return copyOptions(options, complete, kFirstSaveOptions, result) &&
           isBetween(complete.quality, 1, 100, "quality", result) &&
           isBetween(complete.compressionLevel, -1, 9, "compression level", result) &&
           isBetween(complete.tiffCompression, DIB_TIFF_DEFLATE, DIB_TIFF_NONE, "TIFF compression", result);
}

}  // namespace formats
