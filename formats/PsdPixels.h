// What the sections of a PSD document share about pictures: which exist and how they start.
#ifndef FORMATS_PSD_PIXELS_H
#define FORMATS_PSD_PIXELS_H

#include <DibStream.h>

#include <cstdint>

#include "formats/PsdReader.h"

namespace formats {

// Colour modes of a document.
constexpr int kPsdBitmap = 0;
constexpr int kPsdGrey = 1;
constexpr int kPsdIndexed = 2;
constexpr int kPsdRgb = 3;
constexpr int kPsdCmyk = 4;

// The pairs of colour mode and bits per channel that can be read.
constexpr bool isPsdVariant(int mode, int depth) {
    switch (mode) {
        case kPsdBitmap: return depth == 1;
        case kPsdIndexed: return depth == 8;
        case kPsdGrey:
        case kPsdRgb:
        case kPsdCmyk: return depth == 8 || depth == 16 || depth == 32;
        default: return false;
    }
}

// Makes an image whose pixels are undefined. A size that cannot exist, or that the document has no right to
// ask for, fails like any other image that cannot be created.
bool createImage(DibStream& image, std::int64_t width, std::int64_t height, int bitCount, PsdReader& reader);

// Makes every byte of an image 0xFF.
void fillWhite(DibStream& image);

// Both.
bool createWhite(DibStream& image, std::int64_t width, std::int64_t height, int bitCount, PsdReader& reader);

}  // namespace formats

#endif
