#include "effects/rank/BrightnessReader.h"

#include <cstring>

#include "dib/ColorTable.h"
#include "dib/Depths.h"
#include "dib/Kernels.h"
#include "dib/PixelShuffles.h"

namespace dib {

namespace {

// At 16 bits blue and red have each other's weights. Callers rely on it: other weights choose other pixels.
template <class Depth>
DIB_ALWAYS_INLINE void weigh(const std::uint32_t* __restrict values, std::int32_t* __restrict out,
                             std::ptrdiff_t count) {
    constexpr std::uint32_t kBlue = Depth::kBits == 16 ? 73 : 37;
    constexpr std::uint32_t kRed = Depth::kBits == 16 ? 37 : 73;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const auto [blue, green, red] = Depth::split(values[i]);
        out[i] = static_cast<std::int32_t>(kBlue * blue + 146 * green + kRed * red);
    }
}

template <class Depth>
DIB_ALWAYS_INLINE void readBody(const unsigned char* __restrict row, std::uint32_t* __restrict values,
                                std::ptrdiff_t count) {
    for (std::ptrdiff_t x = 0; x < count; ++x) values[x] = Depth::get(row, x);
}

template <class Depth>
DIB_ALWAYS_INLINE void writeBody(unsigned char* __restrict row, const std::uint32_t* __restrict values,
                                 std::ptrdiff_t count) {
    for (std::ptrdiff_t x = 0; x < count; ++x) Depth::put(row, x, values[x]);
}

}  // namespace

BrightnessReader::BrightnessReader(const DibStream& image, const Raster& raster, TableWeights weights,
                                   Nibbles nibbles)
    : bitCount_(raster.bitCount),
      width_(raster.width),
      rowBytes_(raster.rowBytes),
      swapNibbles_(raster.bitCount == 4 && nibbles == Nibbles::kLowFirst) {
    if (bitCount_ > 8) return;
    const auto table = readColorTable(*image.Header);
    for (std::size_t i = 0; i < table.size(); ++i) {
        tableBrightness_[i] =
            weights.blue * table[i].blue + 146 * table[i].green + weights.red * table[i].red;
    }
}

void BrightnessReader::readSpots(const Spot* spots, std::uint32_t* values, std::ptrdiff_t count) const {
    withAnyDepth(bitCount_, [&](auto depth) {
        for (std::ptrdiff_t i = 0; i < count; ++i) values[i] = decltype(depth)::get(spots[i].row, spots[i].x);
        return true;
    });
}

void BrightnessReader::readValues(const unsigned char* row, std::uint32_t* values) const {
    withAnyDepth(bitCount_, [&](auto depth) {
        using Depth = decltype(depth);
        const auto count = static_cast<std::size_t>(width_);
        const auto done = Depth::kBits == 24
                              ? static_cast<std::ptrdiff_t>(runVectors<shuffleBgrToWords>(row, values, count))
                              : 0;
        runKernel<readBody<Depth>>(row + done * Depth::kBits / 8, values + done, width_ - done);
        return true;
    });
    if (swapNibbles_) {
        // The last pixel of a row of odd width is swapped with the fill nibble beside it.
        for (std::ptrdiff_t x = 0; x < width_; ++x) values[x] = Depth4::get(row, x ^ 1);
    }
}

void BrightnessReader::readRow(const unsigned char* row, std::uint32_t* values,
                               std::int32_t* brightness) const {
    readValues(row, values);
    if (bitCount_ == 16) {
        runKernel<weigh<Depth16>>(values, brightness, width_);
    } else if (bitCount_ > 16) {
        runKernel<weigh<Depth24>>(values, brightness, width_);
    } else {
        for (std::ptrdiff_t x = 0; x < width_; ++x) brightness[x] = tableBrightness_[values[x]];
    }
}

void BrightnessReader::writeRow(unsigned char* row, const std::uint32_t* values) const {
    withAnyDepth(bitCount_, [&](auto depth) {
        using Depth = decltype(depth);
        if (kIsPacked<Depth>) std::memset(row, 0, rowBytes_);
        runKernel<writeBody<Depth>>(row, values, width_);
        return true;
    });
}

}  // namespace dib
