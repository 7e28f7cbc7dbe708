// Pixels of any depth as packed bytes: one function for each depth and packed form.
#ifndef DIB_ROW_CONVERTER_H
#define DIB_ROW_CONVERTER_H

#include <DibStream.h>

#include <cstddef>
#include <cstdint>

namespace dib {

// Packed pixels have one grey byte, or blue, green, red (, alpha).
enum class Packed { kGrey, kBgr, kBgra };

constexpr int bitsOf(Packed form) { return form == Packed::kGrey ? 8 : form == Packed::kBgr ? 24 : 32; }
constexpr std::size_t bytesOf(Packed form) {
    return form == Packed::kGrey ? 1 : form == Packed::kBgr ? 3 : 4;
}

// The longest strip of pixels that is converted at once: what is needed beside it stays in the first-level
// cache.
constexpr std::size_t kStripPixels = 2048;

// What the indices of a colour table mean.
struct IndexColors {
    std::uint32_t bgra[256] = {};  // words with blue lowest and alpha 255
    std::uint8_t grey[256] = {};
    bool isGreyRamp = false;  // index i is the colour (i, i, i)

    IndexColors() = default;
    explicit IndexColors(const BITMAPINFOHEADER& header);
};

// Converts up to kStripPixels pixels, of which the first starts a byte. Alpha is 255 unless the depth has its
// own; `colors` is used up to 8 bits.
using RowConverter = void (*)(const std::uint8_t* from, std::uint8_t* to, std::size_t count,
                              const IndexColors& colors);

// Null for a depth that does not exist.
RowConverter converterOf(int fromBits, Packed to);

}  // namespace dib

#endif
