// What the tone curves share.
#ifndef EFFECTS_TONE_H
#define EFFECTS_TONE_H

#include <DibStream.h>

#include "dib/Progress.h"

namespace dib {

// Maps every colour value of an image through a table of 256 bytes: the blue, green and red of pixels at 24
// and 32 bits, those of all announced entries of the colour table at 1, 4 and 8 bits. False, with nothing
// changed, at other depths and without a header or pixel block. A width below 1 means rows without pixels.
bool changeBright(DibStream* image, const unsigned char* table, const Progress& progress = kSilent);

// The effects of these names, which report rows: the classic functions stay silent.
bool correctGamma(DibProgressCallback callback, void* user, DibStream* image, int low, int high, float gamma);
bool changeContrast(DibProgressCallback callback, void* user, DibStream* image, float brightness,
                    float contrast);

}  // namespace dib

#endif
