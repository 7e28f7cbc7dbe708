// Samples a row of positions, with the results of dib::sample, in passes over short blocks: one resolves the
// edges, one finds pixels and weights, one reads and mixes the pixels. All but the last vectorise.
#include "effects/WarpFrame.h"

#include <algorithm>

#include "dib/Numbers.h"
#include "effects/BilinearMix.h"

namespace dib {

namespace {

constexpr int kBlock = kMixTaps;

// Up to this size every pixel position is exact in float, so that no index needs a cap.
constexpr int kExactSize = 1 << 24;

template <class Depth>
DIB_ALWAYS_INLINE void sampleEach(const SampleSource& source, unsigned int flags, const WarpRow& row,
                                  unsigned char* out) {
    for (int x = 0; x < row.width; ++x) {
        Depth::put(out, x, sample<Depth>(source, row.sourceX[x], row.sourceY[x], flags));
    }
}

// Brings the positions of one axis into the picture.
DIB_ALWAYS_INLINE void resolveEdges(const float* __restrict values, float* __restrict positions, int count,
                                    float size, bool wrap) {
    if (wrap) {
        for (int i = 0; i < count; ++i) positions[i] = wrappedPosition(values[i], size);
    } else {
        for (int i = 0; i < count; ++i) positions[i] = clampedPosition(values[i], size);
    }
}

// Up to 16 bits: the nearest pixel.
template <class Depth>
DIB_ALWAYS_INLINE void sampleNearest(const SampleSource& source, unsigned int flags, const WarpRow& row,
                                     unsigned char* out) {
    float x[kBlock];
    float y[kBlock];
    int column[kBlock];
    int offset[kBlock];
    const int rowStep = asInt(source.rowStep);
    for (int first = 0; first < row.width; first += kBlock) {
        const int count = std::min(kBlock, row.width - first);
        resolveEdges(row.sourceX + first, x, count, source.widthReal, (flags & DIB_WRAP_X) != 0);
        resolveEdges(row.sourceY + first, y, count, source.heightReal, (flags & DIB_WRAP_Y) != 0);
        for (int i = 0; i < count; ++i) {
            column[i] = pixelAt(x[i]);
            offset[i] = pixelAt(y[i]) * rowStep + column[i] * Depth::kBits / 8;
        }
        for (int i = 0; i < count; ++i) {
            const unsigned char* at = source.top + offset[i];
            Depth::put(out, first + i, readIndexedPixel<Depth>(at, column[i]));
        }
    }
}

// How far a position is on the way from pixel `index` to the next one. The last pixel has no next one when
// clamped; it counts as the full way from the pixel before, which mixes to the same colour.
DIB_ALWAYS_INLINE MixWeight weightAfter(float position, int index) {
    return mixWeight(static_cast<int>((position - positionOf(index)) * 256.0F));
}

// Three bytes are stored as four; the next pixel overwrites the fourth.
template <class Depth>
DIB_ALWAYS_INLINE void storeColors(unsigned char* out, int first, const std::uint32_t* colors, int count) {
    const int overlapping = Depth::kBits == 24 ? count - 1 : 0;
    for (int i = 0; i < overlapping; ++i) std::memcpy(out + 3 * std::ptrdiff_t{first + i}, colors + i, 4);
    for (int i = overlapping; i < count; ++i) Depth::put(out, first + i, colors[i]);
}

// 24 and 32 bits: four pixels mixed.
template <class Depth>
DIB_ALWAYS_INLINE void sampleMixed(const SampleSource& source, unsigned int flags, const WarpRow& row,
                                   unsigned char* out) {
    constexpr int kBits = Depth::kBits;
    const bool wrapX = (flags & DIB_WRAP_X) != 0;
    const bool wrapY = (flags & DIB_WRAP_Y) != 0;
    // From these positions on there is no next pixel.
    const int lastColumn = source.width - 1;
    const int lastLine = source.height - 1;
    const float endX = positionOf(lastColumn);
    const float endY = positionOf(lastLine);
    const int rowStep = asInt(source.rowStep);
    // The upper of the last two rows of the pixel block.
    const int endLine = rowStep < 0 ? 0 : lastLine - 1;

    float x[kBlock];
    float y[kBlock];
    MixTaps taps;
    std::uint32_t color[kBlock];
    for (int first = 0; first < row.width; first += kBlock) {
        const int count = std::min(kBlock, row.width - first);
        resolveEdges(row.sourceX + first, x, count, source.widthReal, wrapX);
        resolveEdges(row.sourceY + first, y, count, source.heightReal, wrapY);
        int atEnd = 0;
        for (int i = 0; i < count; ++i) {
            const int column = std::min(pixelAt(x[i]), lastColumn - 1);
            const int line = std::min(pixelAt(y[i]), lastLine - 1);
            taps.offset[i] = line * rowStep + column * (kBits / 8);
            taps.weightX[i] = weightAfter(x[i], column);
            taps.weightY[i] = weightAfter(y[i], line);
            atEnd |= (column == lastColumn - 1 ? 1 : 0) & (line == endLine ? 1 : 0);
        }
        if (atEnd != 0) {
            mixRun<Depth, false>(source.top, rowStep, taps, count, color);
        } else {
            mixRun<Depth, true>(source.top, rowStep, taps, count, color);
        }
        // The sampler mixes pixels with those on the opposite side of the picture.
        if (wrapX || wrapY) {
            for (int i = 0; i < count; ++i) {
                const bool across = (wrapX && x[i] >= endX) || (wrapY && y[i] >= endY);
                if (across) color[i] = sample<Depth>(source, x[i], y[i], flags);
            }
        }
        // Red replaces alpha at the clamped right edge, as the sampler has it.
        if (kBits == 32 && !wrapX) {
            for (int i = 0; i < count; ++i) {
                const bool atRight = x[i] >= endX;
                const bool hasBelow = y[i] < endY;
                const std::uint32_t red = color[i] << 8;
                const std::uint32_t alpha = (atRight & hasBelow) ? red : color[i];
                color[i] = (color[i] & 0x00FFFFFFU) | (alpha & 0xFF000000U);
            }
        }
        storeColors<Depth>(out, first, color, count);
    }
}

}  // namespace

template <class Depth>
void sampleRow(const SampleSource& source, unsigned int flags, const WarpRow& row, unsigned char* out) {
    const int smaller = std::min(source.width, source.height);
    const int larger = std::max(source.width, source.height);
    if (larger > kExactSize || (kMixes<Depth> && smaller < 2)) {
        return runKernel<sampleEach<Depth>>(source, flags, row, out);
    }
    if constexpr (kMixes<Depth>) {
        runKernel<sampleMixed<Depth>>(source, flags, row, out);
    } else {
        runKernel<sampleNearest<Depth>>(source, flags, row, out);
    }
}

template void sampleRow<Depth1>(const SampleSource&, unsigned int, const WarpRow&, unsigned char*);
template void sampleRow<Depth4>(const SampleSource&, unsigned int, const WarpRow&, unsigned char*);
template void sampleRow<Depth8>(const SampleSource&, unsigned int, const WarpRow&, unsigned char*);
template void sampleRow<Depth16>(const SampleSource&, unsigned int, const WarpRow&, unsigned char*);
template void sampleRow<Depth24>(const SampleSource&, unsigned int, const WarpRow&, unsigned char*);
template void sampleRow<Depth32>(const SampleSource&, unsigned int, const WarpRow&, unsigned char*);

}  // namespace dib
