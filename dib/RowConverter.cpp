#include "dib/RowConverter.h"

#include <cstring>

#include "dib/ColorTable.h"
#include "dib/PixelKernels.h"
#include "dib/PixelShuffles.h"

namespace dib {

namespace {

using Bytes = const std::uint8_t*;

// Depths of 16 bits and more do without a table.

template <std::size_t kBytes>
void copyPixels(Bytes from, std::uint8_t* to, std::size_t count, const IndexColors&) {
    std::memcpy(to, from, kBytes * count);
}

template <auto Kernel>
void runOnPixels(Bytes from, std::uint8_t* to, std::size_t count, const IndexColors&) {
    runKernel<Kernel>(from, to, count);
}

// The same with a vector part.
template <auto Kernel, auto Vectors, std::size_t kFromBytes, std::size_t kToBytes>
void shufflePixels(Bytes from, std::uint8_t* to, std::size_t count, const IndexColors&) {
    const std::size_t done = runVectors<Vectors>(from, to, count);
    runKernel<Kernel>(from + kFromBytes * done, to + kToBytes * done, count - done);
}

// Indices, one a byte. Those of 1 and 4 bits are unpacked, the leftmost pixel from the most significant bits;
// whole bytes are.
template <unsigned int kBits>
class Indices {
public:
    Indices(Bytes from, std::size_t count) {
        if constexpr (kBits == 8) {
            indices_ = from;
        } else {
            constexpr unsigned int kPerByte = 8 / kBits;
            constexpr unsigned int kMask = (1U << kBits) - 1;
            for (std::size_t i = 0; i * kPerByte < count; ++i) {
                for (unsigned int k = 0; k < kPerByte; ++k)
                    unpacked_[i * kPerByte + k] = (from[i] >> (8 - kBits * (k + 1))) & kMask;
            }
            indices_ = unpacked_;
        }
    }
    Indices(const Indices&) = delete;
    Indices& operator=(const Indices&) = delete;

    Bytes get() const { return indices_; }

private:
    Bytes indices_;
    std::uint8_t unpacked_[kBits == 8 ? 1 : kStripPixels + 8];
};

template <unsigned int kBits>
void indicesToGrey(Bytes from, std::uint8_t* to, std::size_t count, const IndexColors& colors) {
    const Indices<kBits> indices(from, count);
    for (std::size_t i = 0; i < count; ++i) to[i] = colors.grey[indices.get()[i]];
}

template <unsigned int kBits>
void indicesToColors(Bytes from, std::uint8_t* to, std::size_t count, const IndexColors& colors) {
    if (kBits == 8 && colors.isGreyRamp) return runKernel<greyToBgr>(from, to, count);
    indicesToBgr(Indices<kBits>(from, count).get(), to, count, colors.bgra);
}

template <unsigned int kBits>
void indicesToColorsWithAlpha(Bytes from, std::uint8_t* to, std::size_t count, const IndexColors& colors) {
    indicesToBgra(Indices<kBits>(from, count).get(), to, count, colors.bgra);
}

struct Converters {
    int fromBits;
    RowConverter to[3];  // in the order of Packed
};
constexpr Converters kConverters[] = {
    {1, {indicesToGrey<1>, indicesToColors<1>, indicesToColorsWithAlpha<1>}},
    {4, {indicesToGrey<4>, indicesToColors<4>, indicesToColorsWithAlpha<4>}},
    {8, {indicesToGrey<8>, indicesToColors<8>, indicesToColorsWithAlpha<8>}},
    {16, {runOnPixels<wordsToGrey>, runOnPixels<wordsToBgr<3>>, runOnPixels<wordsToBgr<4>>}},
    {24,
     {shufflePixels<bgrToGrey<3>, shuffleToGrey<3>, 3, 1>, copyPixels<3>,
      shufflePixels<bgrToBgra, shuffleBgrToBgra, 3, 4>}},
    {32, {shufflePixels<bgrToGrey<4>, shuffleToGrey<4>, 4, 1>, runOnPixels<bgraToBgr>, copyPixels<4>}},
};

}  // namespace

IndexColors::IndexColors(const BITMAPINFOHEADER& header) : isGreyRamp(header.biBitCount == 8) {
    const auto table = readColorTable(header);
    for (std::uint32_t i = 0; i < 256; ++i) {
        const DibBGRA& entry = table[i];
        bgra[i] = entry.blue | std::uint32_t{entry.green} << 8 | std::uint32_t{entry.red} << 16 | 0xFF000000U;
        grey[i] = greyOf(entry.blue, entry.green, entry.red);
        isGreyRamp = isGreyRamp && bgra[i] == (0xFF000000U | i * 0x010101U);
    }
}

RowConverter converterOf(int fromBits, Packed to) {
    for (const Converters& row : kConverters) {
        if (row.fromBits == fromBits) return row.to[static_cast<int>(to)];
    }
    return nullptr;
}

}  // namespace dib
