// The images that documents are read into: their creation, and where the samples of a channel go.
#ifndef FORMATS_PSD_PIXELS_H
#define FORMATS_PSD_PIXELS_H

#include <DibPSDLoader.h>

#include <cstddef>
#include <cstdint>

#include "formats/psd/Reader.h"

namespace formats::psd {

// Creates an image with undefined pixels. A size that is out of proportion to the document fails like one
// that cannot exist.
bool createPicture(Reader& file, DibStream& image, std::int64_t width, std::int64_t height, int bitCount);

// Makes every byte 0xFF, from a row counted from the top on; the image is bottom-up.
void fillWhite(DibStream& image, std::size_t fromRow = 0);

// Both.
bool createWhitePicture(Reader& file, DibStream& image, std::int64_t width, std::int64_t height,
                        int bitCount);

// What the samples of a document are.
struct SampleKind {
    int mode;
    int depth;
};

// Stores one row of samples of one channel; see `DibPSDLoader::StoreLineToDib`.
bool storeRow(SampleKind kind, DibStream* image, int row, PSD_CHANNEL_ID id, const unsigned char* line);

}  // namespace formats::psd

#endif
