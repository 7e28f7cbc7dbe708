#include "operations/pixels/Tone.h"

#include <algorithm>

#include "dib/Bytes.h"
#include "dib/Kernels.h"
#include "dib/MoveBlocks.h"
#include "dib/Numbers.h"
#include "operations/pixels/Pixels.h"

namespace operations {

namespace {

// Bytes from `first` on, `step` apart.
void mapEvery(unsigned char* first, std::size_t count, std::size_t step, const unsigned char* table) {
    for (std::size_t i = 0; i < count; ++i) first[step * i] = table[first[step * i]];
}

template <std::size_t kBytes>
DIB_ALWAYS_INLINE void greyRow(const unsigned char* __restrict row, std::size_t count,
                               const GreyWeights* weights, unsigned char* __restrict greys) {
    const GreyWeights w = *weights;
    for (std::size_t i = 0; i < count; ++i) {
        const unsigned char* color = row + kBytes * i;
        greys[i] = dib::byteOf((color[0] * w.blue + color[1] * w.green + color[2] * w.red + 0x8000) >> 16);
    }
}

template <std::size_t kBytes>
DIB_ALWAYS_INLINE void putGreys(const unsigned char* __restrict greys, std::size_t count,
                                unsigned char* __restrict row) {
    for (std::size_t i = 0; i < count; ++i) {
        unsigned char* color = row + kBytes * i;
        color[0] = color[1] = color[2] = greys[i];
    }
}

DIB_ALWAYS_INLINE void flattenRow(const unsigned char* __restrict from, std::size_t count,
                                  const DibBGRA* background, unsigned char* __restrict to) {
    const std::uint32_t under[3] = {background->blue, background->green, background->red};
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint32_t alpha = from[4 * i + 3];
        for (std::size_t channel = 0; channel < 3; ++channel)
            to[3 * i + channel] = mixed(from[4 * i + channel], under[channel], alpha);
    }
}

}  // namespace

bool mapChannels(const Job& job, const dib::ToneTable& table, std::uint32_t channels) {
    const dib::ToneLookup lookup(table.data());
    return changeColors(job, [&](unsigned char* pixels, std::size_t count, std::size_t bytes) {
        if (channels == (kRed | kGreen | kBlue)) {
            bytes == 3 ? lookup.mapBytes(pixels, 3 * count) : lookup.mapColors(pixels, count);
            return;
        }
        if ((channels & kBlue) != 0) mapEvery(pixels, count, bytes, table.data());
        if ((channels & kGreen) != 0) mapEvery(pixels + 1, count, bytes, table.data());
        if ((channels & kRed) != 0) mapEvery(pixels + 2, count, bytes, table.data());
    });
}

bool mapGreys(const Job& job, const GreyWeights& weights, const dib::ToneTable& table) {
    constexpr std::size_t kStrip = 2048;
    const dib::ToneLookup lookup(table.data());
    return changeColors(job, [&](unsigned char* pixels, std::size_t count, std::size_t bytes) {
        unsigned char greys[kStrip];
        for (std::size_t x = 0; x < count; x += kStrip) {
            const std::size_t strip = std::min(kStrip, count - x);
            unsigned char* row = pixels + bytes * x;
            const unsigned char* const colors = row;
            if (bytes == 3) {
                dib::runKernel<greyRow<3>>(colors, strip, &weights, greys);
            } else {
                dib::runKernel<greyRow<4>>(colors, strip, &weights, greys);
            }
            lookup.mapBytes(greys, strip);
            const unsigned char* const mapped = greys;
            if (bytes == 3) {
                dib::runKernel<putGreys<3>>(mapped, strip, row);
            } else {
                dib::runKernel<putGreys<4>>(mapped, strip, row);
            }
        }
    });
}

bool flatten(const Job& job, const DibBGRA& background) {
    if (job.image.Header->biBitCount != 32) return report(job, 1, 1);
    const dib::Raster from = rowsOf(job.image);
    DibStream flat;
    createImage(flat, from.width, job.image.Header->biHeight, 24);
    const dib::Raster to = rowsOf(flat);
    const bool isDone = forEachRow(job, from.height, [&](int y) {
        const unsigned char* const row = from.row(y);
        dib::runKernel<flattenRow>(row, dib::asSize(from.width), &background, to.row(y));
    });
    if (isDone) dib::moveBlocks(flat, job.image);
    return isDone;
}

}  // namespace operations
