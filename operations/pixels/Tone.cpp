#include "operations/pixels/Tone.h"

#include <algorithm>
#include <optional>

#include "dib/Bytes.h"
#include "dib/Depths.h"
#include "dib/Kernels.h"
#include "dib/MoveBlocks.h"
#include "dib/Numbers.h"
#include "dib/PixelKernels.h"
#include "dib/PixelShuffles.h"
#include "operations/pixels/Pixels.h"

namespace operations {

namespace {

constexpr std::size_t kStrip = 2048;  // pixels whose greys stay in the cache

// Bytes from `first` on, `step` apart.
void mapEvery(unsigned char* first, std::size_t count, std::size_t step, const unsigned char* table) {
    for (std::size_t i = 0; i < count; ++i) first[step * i] = table[first[step * i]];
}

DIB_ALWAYS_INLINE unsigned char greyOf(std::uint32_t color, const dib::GreyShares& shares) {
    const std::uint32_t sum =
        (color & 255) * shares.blue + (color >> 8 & 255) * shares.green + (color >> 16 & 255) * shares.red;
    return dib::byteOf((sum + 0x8000) >> 16);
}

// Of pixels of 4 bytes: words, so that loops vectorise.
DIB_ALWAYS_INLINE void takeGreys(const unsigned char* __restrict row, std::size_t count,
                                 const dib::GreyShares* shares, unsigned char* __restrict greys) {
    const dib::GreyShares own = *shares;
    for (std::ptrdiff_t i = 0; i < dib::asOffset(count); ++i)
        greys[i] = greyOf(dib::Depth32::get(row, i), own);
}

DIB_ALWAYS_INLINE void putGreys(const unsigned char* __restrict greys, std::size_t count,
                                unsigned char* __restrict row) {
    for (std::ptrdiff_t i = 0; i < dib::asOffset(count); ++i)
        dib::Depth32::put(row, i, (dib::Depth32::get(row, i) & 0xFF000000U) | greys[i] * 0x010101U);
}

// The same of pixels of 3 bytes.
void takeGreys3(const unsigned char* row, std::size_t count, const dib::GreyShares& shares,
                unsigned char* greys) {
    const std::size_t done = dib::runVectors<dib::shuffleAndWeigh>(row, greys, count, &shares);
    for (std::ptrdiff_t i = dib::asOffset(done); i < dib::asOffset(count); ++i)
        greys[i] = greyOf(dib::Depth24::get(row, i), shares);
}

void putGreys3(const unsigned char* greys, std::size_t count, unsigned char* row) {
    for (std::size_t i = dib::runVectors<dib::shuffleGreyToBgr>(greys, row, count); i < count; ++i)
        row[3 * i] = row[3 * i + 1] = row[3 * i + 2] = greys[i];
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

bool mapGreys(const Job& job, const dib::GreyShares& shares, const dib::ToneTable* table) {
    const std::optional<dib::ToneLookup> lookup =
        table != nullptr ? std::optional<dib::ToneLookup>(table->data()) : std::nullopt;
    return changeColors(job, [&](unsigned char* pixels, std::size_t count, std::size_t bytes) {
        unsigned char greys[kStrip];
        const unsigned char* const from = greys;
        for (std::size_t x = 0; x < count; x += kStrip) {
            const std::size_t strip = std::min(kStrip, count - x);
            unsigned char* const row = pixels + bytes * x;
            const unsigned char* const colors = row;
            bytes == 3 ? takeGreys3(colors, strip, shares, greys)
                       : dib::runKernel<takeGreys>(colors, strip, &shares, greys);
            if (lookup) lookup->mapBytes(greys, strip);
            bytes == 3 ? putGreys3(from, strip, row) : dib::runKernel<putGreys>(from, strip, row);
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
