#include "operations/pixels/Multiplied.h"

#include "operations/pixels/FloatRows.h"
#include "operations/pixels/Pixels.h"

namespace operations {

namespace {

DIB_ALWAYS_INLINE void multiplyRow(unsigned char* row, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; i += 4) {
        for (std::ptrdiff_t c = 0; c < 3; ++c) row[i + c] = mixed(row[i + c], 0, row[i + 3]);
    }
}

DIB_ALWAYS_INLINE void divideRow(unsigned char* row, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; i += 4) {
        const unsigned char alpha = row[i + 3];
        const float scale = (alpha == 0 ? 0.0F : 255.0F) / static_cast<float>(alpha == 0 ? 1 : alpha);
        for (std::ptrdiff_t c = 0; c < 3; ++c) row[i + c] = byteOf(static_cast<float>(row[i + c]) * scale);
    }
}

}  // namespace

void multiplyByAlpha(const DibStream& image) {
    const dib::Raster rows = rowsOf(image);
    for (int y = 0; y < rows.height; ++y)
        dib::runKernel<multiplyRow>(rows.row(y), 4 * std::ptrdiff_t{rows.width});
}

void divideByAlpha(const DibStream& image) {
    const dib::Raster rows = rowsOf(image);
    for (int y = 0; y < rows.height; ++y)
        dib::runKernel<divideRow>(rows.row(y), 4 * std::ptrdiff_t{rows.width});
}

}  // namespace operations
