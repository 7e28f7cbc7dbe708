#include "geometry/Sampler.h"

#include <DibColor.h>

namespace {

template <int Bits>
std::uint32_t colorAt(DibStream* image, float x, float y, unsigned int flags) {
    if (image == nullptr) return 0;
    const dib::SampleSource source(*image);
    if (!source.readable()) return 0;
    // The layout is that of `Bits` whatever the depth of the image is. Single bytes stay inside the rows even
    // then; wider pixels would be read past the rows of a shallower image.
    if (Bits > 8 && image->Header->biBitCount < Bits) return 0;
    if constexpr (Bits >= 24) {
        return dib::sample<Bits>(source, x, y, flags);
    } else {
        const dib::PixelIndex at = dib::nearestPixel(source, x, y, flags);
        const unsigned char* pixel = image->Pixel(static_cast<int>(at.column), static_cast<int>(at.row));
        return pixel != nullptr ? dib::readIndexedPixel<Bits>(pixel, at.column) : 0;
    }
}

}  // namespace

std::uint32_t DibGetColor1(DibStream* image, float x, float y, unsigned int flags) {
    return colorAt<1>(image, x, y, flags);
}

std::uint32_t DibGetColor4(DibStream* image, float x, float y, unsigned int flags) {
    return colorAt<4>(image, x, y, flags);
}

std::uint32_t DibGetColor8(DibStream* image, float x, float y, unsigned int flags) {
    return colorAt<8>(image, x, y, flags);
}

std::uint32_t DibGetColor16(DibStream* image, float x, float y, unsigned int flags) {
    return colorAt<16>(image, x, y, flags);
}

std::uint32_t DibGetColor24(DibStream* image, float x, float y, unsigned int flags) {
    return colorAt<24>(image, x, y, flags);
}

std::uint32_t DibGetColor32(DibStream* image, float x, float y, unsigned int flags) {
    return colorAt<32>(image, x, y, flags);
}
