// An image as encoders take it: rows from the top, in the order of files.
#ifndef FORMATS_LINUX_OUTGOING_PICTURE_H
#define FORMATS_LINUX_OUTGOING_PICTURE_H

#include <DibFile.h>

#include <array>
#include <cstddef>

#include "dib/Memory.h"
#include "dib/Numbers.h"
#include "dib/Raster.h"

namespace formats {

// What a pixel of a file is: a grey level, an index, or bytes red, green, blue (, alpha).
enum class PixelKind { kGrey, kPalette, kRgb, kRgba };

// Whether a table is the whole grey ramp of its depth.
bool hasGreyRamp(const BITMAPINFOHEADER& header);
// Whether every colour of a table is grey.
bool hasGreysOnly(const BITMAPINFOHEADER& header);

// Whether a file of grey or of coloured pixels keeps a colour profile: it must be one for such pixels.
bool isKept(const DibBytes& profile, bool isGrey);
// The same for PNG files: libpng leaves out profiles whose header or table of tags is wrong.
bool isKeptByPng(const DibBytes& profile, bool isGrey);
// Whether PNG files keep an EXIF block: it must start with its byte order.
bool isKeptByPng(const DibBytes& exif);

class OutgoingPicture {
public:
    // Grey ramps are grey, unless `keepsPalette`.
    explicit OutgoingPicture(const DibStream& image, bool keepsPalette = false);
    // False when memory is short.
    bool start();

    int width() const { return raster_.width; }
    int height() const { return raster_.height; }
    PixelKind kind() const { return kind_; }
    // Of a sample: 1, 4 or 8.
    int bits() const { return raster_.bitCount < 8 ? raster_.bitCount : 8; }
    int samples() const { return kind_ == PixelKind::kRgb ? 3 : kind_ == PixelKind::kRgba ? 4 : 1; }
    std::size_t rowBytes() const;
    // Valid until the next call.
    const unsigned char* row(int y);

    // The announced colours, and black ones as far as pixels use more.
    int colorCount() const { return colorCount_; }
    DibBGRA color(int i) const { return colors_[dib::asSize(i)]; }

private:
    int countColors() const;

    dib::Raster raster_;
    PixelKind kind_ = PixelKind::kRgb;
    std::array<DibBGRA, 256> colors_{};
    int colorCount_ = 0;
    dib::MallocPtr<unsigned char> row_;
};

}  // namespace formats

#endif
