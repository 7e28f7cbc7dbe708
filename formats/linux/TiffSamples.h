// What the samples of TIFF pictures mean: from packed numbers of any width to the bytes or floats of colours.
#ifndef FORMATS_LINUX_TIFF_SAMPLES_H
#define FORMATS_LINUX_TIFF_SAMPLES_H

#include <cstddef>
#include <cstdint>

#include "dib/Memory.h"
#include "formats/linux/TiffRows.h"

namespace formats {

enum class TiffKind { kGrey, kInvertedGrey, kPalette, kRgb, kInks };

struct TiffMeaning {
    TiffKind kind = TiffKind::kGrey;
    bool isForeign = false;  // a colour space that the library converts itself, to kRgb
    bool isFloat = false;
    bool isShownInBytes = true;  // floats, too; else they stay floats of pixels of four
    bool isWide = false;         // computed in 16 bits, where that makes a difference in bytes
    bool hasAlpha = false;
    bool isMultiplied = false;  // the colours with their alpha
    // Where the samples that count are within a pixel: the colours' first, then alpha.
    std::size_t samples[5] = {};
    std::size_t sampleCount = 0;

    // Of the bitmap that is made of them: 8, 24, 32 or 128.
    std::size_t bitsPerPixel() const;
    bool givesFloats() const { return isFloat && !isShownInBytes; }
};

class TiffConverter {
public:
    // `colors` are the red, green and blue bytes of palettes that have alpha. False when memory is short.
    bool start(const TiffLayout& layout, const TiffMeaning& meaning, const unsigned char* colors);
    // Makes a row of the bitmap of the row that was read last.
    void convert(const TiffRows& rows, unsigned char* to);

private:
    template <class Sample, class Shown>
    void convertAs(const TiffRows& rows, Sample* unpacked, Shown* to);

    TiffLayout layout_;
    TiffMeaning meaning_;
    const unsigned char* colors_ = nullptr;
    dib::MallocPtr<float> unpacked_;
};

}  // namespace formats

#endif
