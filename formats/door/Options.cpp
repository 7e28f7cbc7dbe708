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
bool copyOptions(const Options* options, Options& complete, std::size_t first, const char* record,
                 DibFileResult& result) {
    if (options == nullptr) return true;
    if (options->size < first) {
        return refuse(result, DIB_ERROR_MISMATCH, "%s::size is %zu, but must be %zu or more", record,
                      options->size, first);
    }
    std::memcpy(&complete, options, std::min(options->size, sizeof complete));
    complete.size = sizeof complete;
    return true;
}

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
            return refuse(result, DIB_ERROR_MISMATCH,
                          "DibLoadOptions::formats contains \"%.60s\", which no format is named", *names);
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
    return isResolution(metadata.xResolution, "DibMetadata::xResolution", result) &&
           isResolution(metadata.yResolution, "DibMetadata::yResolution", result) &&
           isBetween(metadata.orientation, 1, 8, "DibMetadata::orientation", result) &&
           (areTexts(metadata.texts) ||
            refuse(result, DIB_ERROR_MISMATCH,
                   "DibMetadata::texts must be pairs of texts in UTF-8, each ended by NUL"));
}

bool completeOptions(const DibLoadOptions* options, DibLoadOptions& complete, DibFileResult& result) {
    return copyOptions(options, complete, kFirstLoadOptions, "DibLoadOptions", result) &&
           areFormats(complete.formats, result) &&
           isBetween(complete.mostLayers, 0, INT_MAX, "DibLoadOptions::mostLayers", result) &&
           isBetween(complete.damage, DIB_DAMAGE_REFUSE, DIB_DAMAGE_KEEP, "DibLoadOptions::damage", result) &&
           isBetween(complete.alpha, DIB_ALPHA_GUESS, DIB_ALPHA_STORED, "DibLoadOptions::alpha", result) &&
           isBetween(complete.page, 0, INT_MAX, "DibLoadOptions::page", result) &&
           isBetween(complete.layer, -1, INT_MAX, "DibLoadOptions::layer", result) &&
           isBetween(complete.level, 0, INT_MAX, "DibLoadOptions::level", result) &&
           isBetween(complete.part, DIB_LAYER_PIXELS, DIB_LAYER_SECOND_MASK, "DibLoadOptions::part",
                     result) &&
           isBetween(complete.atLeastWidth, 0, INT_MAX, "DibLoadOptions::atLeastWidth", result) &&
           isBetween(complete.atLeastHeight, 0, INT_MAX, "DibLoadOptions::atLeastHeight", result);
}

bool completeOptions(const DibSaveOptions* options, DibSaveOptions& complete, DibFileResult& result) {
    return copyOptions(options, complete, kFirstSaveOptions, "DibSaveOptions", result) &&
           isBetween(complete.quality, 1, 100, "DibSaveOptions::quality", result) &&
           isBetween(complete.compressionLevel, -1, 9, "DibSaveOptions::compressionLevel", result) &&
           isBetween(complete.tiffCompression, DIB_TIFF_DEFLATE, DIB_TIFF_NONE,
                     "DibSaveOptions::tiffCompression", result);
}

}  // namespace formats
