#include "formats/FileRows.h"

#include <cstdint>
#include <cstring>

#include "dib/ImageSize.h"
#include "dib/Kernels.h"
#include "dib/PixelReader.h"

namespace formats {

namespace {

template <std::size_t kBytes>
DIB_ALWAYS_INLINE void scaleWords(const std::uint8_t* __restrict from, std::uint8_t* __restrict to,
                                  std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        std::uint16_t word;
        std::memcpy(&word, from + 2 * i, 2);
        to[kBytes * i] = dib::levelOf5Bits(word);
        to[kBytes * i + 1] = dib::levelOf5Bits(word >> 5);
        to[kBytes * i + 2] = dib::levelOf5Bits(word >> 10);
        if constexpr (kBytes == 4) to[kBytes * i + 3] = 255;
    }
}

template <std::size_t kBytes>
void wordsToColors(const std::uint8_t* from, std::uint8_t* to, std::size_t count, const dib::IndexColors&) {
    dib::runKernel<scaleWords<kBytes>>(from, to, count);
}

void wordsToGrey(const std::uint8_t* from, std::uint8_t* to, std::size_t count,
                 const dib::IndexColors& colors) {
    std::uint8_t bgr[3 * dib::kStripPixels];
    wordsToColors<3>(from, bgr, count, colors);
    dib::converterOf(24, dib::Packed::kGrey)(bgr, to, count, colors);
}

}  // namespace

dib::RowConverter fileConverterOf(int fromBits, dib::Packed to) {
    if (fromBits != 16) return dib::converterOf(fromBits, to);
    switch (to) {
        case dib::Packed::kGrey: return wordsToGrey;
        case dib::Packed::kBgr: return wordsToColors<3>;
        default: return wordsToColors<4>;
    }
}

void convertFileRow(const unsigned char* row, int bits, unsigned char* to, dib::Packed form,
                    std::size_t width, const dib::IndexColors& colors) {
    const dib::RowConverter convert = fileConverterOf(bits, form);
    dib::forEachStrip(width, [&](std::size_t x, std::size_t count) {
        convert(row + dib::packedBytes(x, bits), to + x * dib::bytesOf(form), count, colors);
    });
}

}  // namespace formats
