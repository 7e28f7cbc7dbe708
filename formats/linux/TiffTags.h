// What the tags of a TIFF picture say of its samples, its packing and its resolution.
#ifndef FORMATS_LINUX_TIFF_TAGS_H
#define FORMATS_LINUX_TIFF_TAGS_H

#include <DibFile.h>
#include <tiffio.h>

#include <cstdint>

#include "formats/linux/ImageFiles.h"
#include "formats/linux/TiffRows.h"
#include "formats/linux/TiffSamples.h"

namespace formats {

// The value of a tag; `value` where the directory has none and the format no default.
template <class Value>
Value tiffField(TIFF* tiff, std::uint32_t tag, Value value) {
    TIFFGetFieldDefaulted(tiff, tag, &value);
    return value;
}

// False when the directory has no size.
bool readTiffLayout(TIFF* tiff, TiffLayout& layout);

// False for samples that neither the library nor this one can show.
bool readTiffMeaning(TIFF* tiff, const TiffLayout& layout, const Dialect& dialect, TiffMeaning& meaning);

// Empty for one without a name.
const char* tiffCompression(TIFF* tiff);

// Stores the XMP packet and notes the tags that are not kept. `readsExif`: those of the EXIF block are. False
// when memory is short.
bool keepTiffExtras(TIFF* tiff, bool readsExif, DibFileResult& result);

void readTiffResolution(TIFF* tiff, DibMetadata& metadata);

}  // namespace formats

#endif
