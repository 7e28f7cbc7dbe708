// The frame of every depth conversion: it makes the new pixels beside the old ones, then replaces them.
//
// How the files work together: `RowConverter` turns pixels of any depth into packed bytes, by the loops of
// `PixelKernels` and the vectors of `PixelShuffles`. `PixelReader` does so for strips of an image,
// `DepthChange` reads through it and owns the result. `ChangeDepth.cpp` has one method for each new depth,
// `Dither.cpp` the three dithers, `MedianCut`, `ColorCloud` and `MedianLookup` the palettes,
// `PackedPixels.cpp` the packed arrays for callers. A new source depth is a row of the table in
// RowConverter.cpp, a new target depth a method in ChangeDepth.cpp.
#ifndef DIB_CHANGE_DEPTH_H
#define DIB_CHANGE_DEPTH_H

#include <DibStream.h>

#include <cstddef>
#include <cstdint>

#include "dib/ImageSize.h"
#include "dib/Memory.h"
#include "dib/PixelReader.h"
#include "dib/Progress.h"

namespace dib {

// `DibStream::ChangeBpp` with progress, for callers that work for long; 32 bits report nothing. False as well
// when the caller cancels: the image is unchanged then, but for the palettes of median cut, which may leave
// it half done.
bool changeDepth(DibStream& image, int bitCount, unsigned int flags, const Progress& progress);

// A conversion in progress: reads the image and owns the pixel block that will replace the old one.
class DepthChange {
public:
    // The source is read in this packed form; `bitCount` is the new depth.
    DepthChange(DibStream& image, Packed form, int bitCount);

    // False when the source cannot be read or memory is short; the image is unchanged.
    bool ready() const { return pixels_ != nullptr; }

    const PixelReader& source() const { return source_; }
    std::size_t width() const { return source_.width(); }
    std::size_t rows() const { return source_.rows(); }
    // Runs `rowRule(row)` for every row of the buffer. False when the caller cancels.
    template <class RowRule>
    bool forEachRow(const Progress& progress, const RowRule& rowRule) const {
        return dib::forEachRow(progress, static_cast<int>(rows()),
                               [&](int row) { rowRule(static_cast<std::size_t>(row)); });
    }
    unsigned char* row(std::size_t bufferRow) { return pixels_.get() + bufferRow * size_.rowBytes; }

    // Installs the new pixels with a new header and the table of `DibStream::Create`. On failure the
    // image is left empty, as by `Create`.
    bool finish();

private:
    DibStream& image_;
    int bitCount_;
    PixelReader source_;
    ImageSize size_;
    MallocPtr<unsigned char> pixels_;
};

// Two 4-bit values a byte, the left one in the high nibble; after an odd count the low nibble is 0.
void packNibbles(const std::uint8_t* values, std::uint8_t* to, std::size_t count);

// Ordered dither of 24-bit pixels, which start at a column divisible by 8, to indices of the colour cube.
constexpr unsigned int kCubeColors = 216;
DibBGRA cubeColor(unsigned int index);
void ditherToCube(const std::uint8_t* bgr, std::uint8_t* to, std::size_t count, std::size_t bufferRow);

// 5-5-5 words. Each channel's dropped bits are added to the next pixel, also from row to row.
struct RemainderCarry {
    unsigned int blue = 0;
    unsigned int green = 0;
    unsigned int red = 0;
};
void carryToWords(const std::uint8_t* bgr, std::uint16_t* to, std::size_t count, RemainderCarry& carry);

// Error diffusion of grey rows to bits, one buffer row after the other.
class ErrorDiffusion {
public:
    explicit ErrorDiffusion(std::size_t width);
    bool ready() const { return block_ != nullptr; }

    // Where the grey bytes of the next row are to be put before `diffuse`.
    std::uint8_t* grey() { return grey_; }
    void diffuse(std::uint8_t* bits);

private:
    // The errors of a row and, beside them, the remainders for the row after the next. Both have
    // two zeros before the first and after the last column.
    struct Row {
        std::int32_t* error;
        std::int32_t* remainder;
    };

    std::size_t width_;
    MallocPtr<std::int32_t> block_;
    Row current_{};
    Row above_{};
    Row twoAbove_{};
    std::int32_t* incoming_ = nullptr;
    std::uint8_t* grey_ = nullptr;
};

}  // namespace dib

#endif
