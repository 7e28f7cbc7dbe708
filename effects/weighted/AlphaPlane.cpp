#include "effects/weighted/AlphaPlane.h"

#include "dib/Bytes.h"
#include "dib/Depths.h"
#include "dib/Raster.h"

namespace dib {

namespace {

// Whether the alpha of all pixels of a row is that of `first`.
DIB_ALWAYS_INLINE bool hasAlpha(const unsigned char* row, int width, std::uint32_t first) {
    std::uint32_t differences = 0;
    for (int x = 0; x < width; ++x) differences |= Depth32::get(row, x) ^ first;
    return differences >> 24 == 0;
}

DIB_ALWAYS_INLINE void storeAlpha(unsigned char* row, int width, std::uint32_t alpha) {
    for (int x = 0; x < width; ++x) Depth32::put(row, x, (Depth32::get(row, x) & 0xFFFFFFU) | alpha << 24);
}

}  // namespace

std::optional<std::uint8_t> commonAlpha(const DibStream& image) {
    Raster rows;
    if (!viewRows(image, rows) || rows.bitCount != 32 || !rows.hasPixels()) return {};
    const std::uint32_t first = Depth32::get(rows.top, 0);
    for (int y = 0; y < rows.height; ++y) {
        if (!runKernel<hasAlpha>(static_cast<const unsigned char*>(rows.row(y)), rows.width, first))
            return {};
    }
    return byteOf(first >> 24);
}

void fillAlpha(DibStream& image, std::uint8_t alpha) {
    Raster rows;
    if (!viewRows(image, rows) || rows.bitCount != 32) return;
    for (int y = 0; y < rows.height; ++y)
        runKernel<storeAlpha>(rows.row(y), rows.width, std::uint32_t{alpha});
}

}  // namespace dib
