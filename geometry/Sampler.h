// The bodies of the colour samplers, for code that samples many positions of one image: build a SampleSource
// once and call sample<Depth>() in the loop, where it inlines.
#ifndef GEOMETRY_SAMPLER_H
#define GEOMETRY_SAMPLER_H

#include <DibEffect.h>
#include <DibStream.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "dib/Depths.h"
#include "dib/EdgeAxis.h"
#include "dib/Kernels.h"
#include "dib/Raster.h"

namespace dib {

// Where a pixel lies on an axis, and the pixel at or before a position from 0 on. Exact up to 2^24.
DIB_ALWAYS_INLINE float positionOf(int pixel) { return static_cast<float>(pixel); }
DIB_ALWAYS_INLINE int pixelAt(float position) { return static_cast<int>(position); }

// The rows of an image with its size as floats. Nothing may be sampled unless `readable()`.
struct SampleSource : Raster {
    float widthReal = 0;
    float heightReal = 0;

    SampleSource() = default;
    explicit SampleSource(const DibStream& image) {
        if (!viewRows(image, *this)) return;
        widthReal = static_cast<float>(width);
        heightReal = static_cast<float>(height);
    }

    // False when a block is missing or the size holds no pixel.
    bool readable() const { return hasPixels(); }
};

// A position on one axis: the pixel at or before it, and how far it lies towards the next one in 1/256.
struct SamplePosition {
    std::ptrdiff_t index;
    std::uint32_t weight;
};

// The same of a position that is not negative and at most 2^62.
DIB_ALWAYS_INLINE SamplePosition positionInside(float position) {
    const auto index = static_cast<std::ptrdiff_t>(position);
    return {index, static_cast<std::uint32_t>((position - static_cast<float>(index)) * 256.0F)};
}

DIB_ALWAYS_INLINE SamplePosition samplePosition(float value, int size, float sizeReal, bool wrap) {
    const float position = wrap ? wrappedPosition(value, sizeReal) : clampedPosition(value, sizeReal);
    const SamplePosition inside = positionInside(position);
    // Sizes above 2^24 may have been rounded up in float; such a position is the last pixel.
    if (inside.index >= size) return {std::ptrdiff_t{size} - 1, 0};
    return inside;
}

struct PixelIndex {
    std::ptrdiff_t column;
    std::ptrdiff_t row;
};

DIB_ALWAYS_INLINE PixelIndex nearestPixel(const SampleSource& source, float x, float y, unsigned int flags) {
    return {samplePosition(x, source.width, source.widthReal, (flags & DIB_WRAP_X) != 0).index,
            samplePosition(y, source.height, source.heightReal, (flags & DIB_WRAP_Y) != 0).index};
}

// The value of a pixel of at most 16 bits, given the first byte that holds it.
template <class Depth>
DIB_ALWAYS_INLINE std::uint32_t readIndexedPixel(const unsigned char* at, std::ptrdiff_t x) {
    constexpr std::ptrdiff_t kPixelsPerByte = Depth::kBits < 8 ? 8 / Depth::kBits : 1;
    return Depth::get(at, x & (kPixelsPerByte - 1));
}

// Four channels in the 16-bit lanes of one word, in the order 0, 2, 1, 3, so that one multiplication weights
// them all. Sums of channel x weight stay at or below 255 x 256 and never reach the next lane.
DIB_ALWAYS_INLINE std::uint64_t spreadChannels(std::uint64_t pixel) {
    return (pixel | pixel << 24) & 0x00FF00FF00FF00FFU;
}
// (upper x (256 - weight) + lower x weight) >> 16 per lane, the four bytes joined again.
DIB_ALWAYS_INLINE std::uint32_t mixRows(std::uint64_t upper, std::uint64_t lower, std::uint32_t weight) {
    constexpr std::uint64_t kLanes = 0x0000FFFF0000FFFFU;
    const std::uint64_t rest = 256U - weight;
    const std::uint64_t channels01 = (upper & kLanes) * rest + (lower & kLanes) * weight;
    const std::uint64_t channels23 = (upper >> 16 & kLanes) * rest + (lower >> 16 & kLanes) * weight;
    const std::uint64_t joined =
        (channels01 >> 16 & 0x000000FF000000FFU) | (channels23 & 0x00FF000000FF0000U);
    return static_cast<std::uint32_t>(joined | joined >> 24);
}

template <class Depth>
DIB_ALWAYS_INLINE std::uint64_t readChannels(const unsigned char* row, std::ptrdiff_t x) {
    return spreadChannels(Depth::get(row, x));
}

// Where the two pixels of a row are that get mixed, and their weights. Away from the right edge both are read
// at once, with the bytes of the following pixel at 24 bits.
struct ColumnPair {
    std::ptrdiff_t left;
    std::ptrdiff_t right;
    std::uint32_t leftWeight;
    std::uint32_t rightWeight;
    bool readAtOnce;
};

template <class Depth>
DIB_ALWAYS_INLINE std::uint64_t mixColumns(const unsigned char* row, const ColumnPair& pair) {
    if (!pair.readAtOnce) {
        return readChannels<Depth>(row, pair.left) * pair.leftWeight +
               readChannels<Depth>(row, pair.right) * pair.rightWeight;
    }
    std::uint64_t both;
    std::memcpy(&both, row + pair.left * (Depth::kBits / 8), sizeof both);
    constexpr std::uint64_t kPixel = (std::uint64_t{1} << Depth::kBits) - 1;
    return spreadChannels(both & kPixel) * pair.leftWeight +
           spreadChannels(both >> Depth::kBits & kPixel) * pair.rightWeight;
}

// The up to four pixels that are mixed. An axis without a second pixel mixes the pixel with itself at weight
// 0. That is exact: a channel weighted by 256 and shifted back by 8 is the channel.
struct BilinearTaps {
    const unsigned char* upper;
    const unsigned char* lower;
    ColumnPair columns;
    std::uint32_t lowerWeight;
    bool isClampedRightEdge;  // with two rows
};

template <class Depth>
DIB_ALWAYS_INLINE BilinearTaps bilinearTaps(const SampleSource& source, float x, float y,
                                            unsigned int flags) {
    const bool wrapX = (flags & DIB_WRAP_X) != 0;
    const bool wrapY = (flags & DIB_WRAP_Y) != 0;
    const SamplePosition column = samplePosition(x, source.width, source.widthReal, wrapX);
    const SamplePosition line = samplePosition(y, source.height, source.heightReal, wrapY);

    const bool hasRight = column.index + 1 < source.width;
    const bool hasBelow = line.index + 1 < source.height;
    const bool mixesColumns = hasRight || wrapX;
    const bool mixesRows = hasBelow || wrapY;
    const std::ptrdiff_t partner = hasRight ? column.index + 1 : wrapX ? 0 : column.index;
    const unsigned char* upper = source.row(line.index);
    const unsigned char* lower = hasBelow ? upper + source.rowStep : wrapY ? source.top : upper;
    const std::uint32_t right = mixesColumns ? column.weight : 0;
    const ColumnPair pair{column.index, partner, 256U - right, right,
                          column.index + (Depth::kBits == 24 ? 2 : 1) < source.width};
    return {upper, lower, pair, mixesRows ? line.weight : 0, !mixesColumns && mixesRows};
}

template <class Depth>
DIB_ALWAYS_INLINE std::uint32_t mixTaps(const BilinearTaps& taps) {
    const std::uint32_t color = mixRows(mixColumns<Depth>(taps.upper, taps.columns),
                                        mixColumns<Depth>(taps.lower, taps.columns), taps.lowerWeight);
    // Callers rely on red instead of alpha at the clamped right edge.
    if (Depth::kBits == 32 && taps.isClampedRightEdge) {
        return (color & 0x00FFFFFFU) | ((color << 8) & 0xFF000000U);
    }
    return color;
}

// The colour of an image of exactly this depth; `source` must be readable.
template <class Depth>
DIB_ALWAYS_INLINE std::uint32_t sample(const SampleSource& source, float x, float y, unsigned int flags) {
    if constexpr (kMixes<Depth>) {
        return mixTaps<Depth>(bilinearTaps<Depth>(source, x, y, flags));
    } else {
        const PixelIndex at = nearestPixel(source, x, y, flags);
        return Depth::get(source.row(at.row), at.column);
    }
}

}  // namespace dib

#endif
