// The rows of ILBM files as pixels of images.
#ifndef FORMATS_ILBM_ROWS_H
#define FORMATS_ILBM_ROWS_H

#include <array>
#include <cstddef>

#include "dib/Memory.h"
#include "formats/ByteReader.h"
#include "formats/IlbmLayout.h"
#include "formats/NewImage.h"

namespace formats {

// What the planes of a row become.
enum class IlbmPixels {
    kBits,            // one plane
    kRotatedBits,     // the same with each group of eight pixels rotated by one to the right
    kNibbles,         // up to four planes
    kTwoValues,       // the same with 0 as index 0 and all others as index 15
    kBytes,           // up to eight planes
    kHeldColors,      // up to eight planes that name a colour or change one channel of the pixel before
    kColors,          // red, green and blue of eight planes each
    kColorsAndAlpha,  // the same and alpha
};

constexpr int bitCountOf(IlbmPixels pixels) {
    switch (pixels) {
        case IlbmPixels::kBits:
        case IlbmPixels::kRotatedBits: return 1;
        case IlbmPixels::kNibbles:
        case IlbmPixels::kTwoValues: return 4;
        case IlbmPixels::kBytes: return 8;
        case IlbmPixels::kHeldColors:
        case IlbmPixels::kColors: return 24;
        case IlbmPixels::kColorsAndAlpha: return 32;
    }
    return 0;
}

constexpr bool areIndices(IlbmPixels pixels) { return bitCountOf(pixels) <= 8; }

using IlbmColors = std::array<DibBGRA, 256>;

// What makes pixels transparent, which become 32 bits then.
enum class IlbmAlpha { kNone, kMask, kColor };

// The planes of one row, and their conversion to pixels.
class PlaneRow {
public:
    // `colors` is the table for kHeldColors and for indices with alpha; it must outlive the object.
    PlaneRow(const BitmapHeader& header, IlbmPixels pixels, const IlbmColors* colors = nullptr,
             IlbmAlpha alpha = IlbmAlpha::kNone);

    bool ready() const { return planes_ != nullptr && pixels_ != nullptr; }
    // Room for the colour planes, of which missing ones stay 0, and for the mask.
    unsigned char* planes() { return planes_.get(); }
    unsigned char* mask() { return planes_.get() + planesBytes_; }

    void storeInto(unsigned char* row, std::size_t rowBytes);

private:
    void storeBits(unsigned char* row, std::size_t rowBytes, bool rotates);
    void storeNibbles(unsigned char* row, std::size_t rowBytes);
    void storeTwoValues(unsigned char* row, std::size_t rowBytes);
    void storeHeldColors(unsigned char* row);
    void storeColors(unsigned char* row, std::size_t channels);
    void storeWithAlpha(unsigned char* row);
    void storeOpaque(unsigned char* row, std::size_t rowBytes);
    void gatherBytes();

    BitmapHeader header_;
    IlbmPixels kind_;
    const IlbmColors* colors_;
    IlbmAlpha alpha_;
    std::size_t width_;
    std::size_t planesBytes_;
    dib::MallocPtr<unsigned char> planes_;
    dib::MallocPtr<unsigned char> pixels_;
};

// Reads all rows from the position of the file. False with the code in the image when the file ends early,
// and when the callback or the caller of `picture` cancels.
bool readIlbmRows(ByteReader& file, const BitmapHeader& header, PlaneRow& row, NewImage& picture,
                  DibProgressCallback callback = nullptr, void* user = nullptr);

}  // namespace formats

#endif
