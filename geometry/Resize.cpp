// Choosing a resampler, and halving.
#include "geometry/Resize.h"

#include <cstddef>
#include <cstdint>

#include "dib/Bytes.h"
#include "dib/Depths.h"
#include "geometry/Canvas.h"
#include "geometry/RowVectors.h"

bool dib::resize(DibStream& image, int width, int height, DibStream::DIB_RESIZE_METHOD method,
                 const Progress& progress) {
    if (image.Buffer == nullptr || image.Header == nullptr) return false;
    const std::int64_t rows = rowCount(image.Header->biHeight);
    if (width == image.Header->biWidth && height == rows) return true;
    const bool isHalf = std::int64_t{width} * 2 == image.Header->biWidth && std::int64_t{height} * 2 == rows;
    if (isHalf && image.ResizeHalf()) return true;
    switch (method) {
        case DibStream::DIB_RESIZE_INTEGRAL: return resizeIntegral(image, width, height, progress);
        case DibStream::DIB_RESIZE_BILINEAR: return resizeBilinear(image, width, height, progress);
        default: return false;
    }
}

bool DibStream::Resize(int width, int height, DIB_RESIZE_METHOD method) {
    return dib::resize(*this, width, height, method, dib::kSilent);
}

namespace {

// Each result is the mean of two neighbours in two rows, truncated.
template <int Channels>
void halveRow(const unsigned char* first, const unsigned char* second, unsigned char* out, int width) {
    std::ptrdiff_t x = dib::runVectors<dib::halveVectors<Channels>>(first, second, out, width);
    for (; x < width; ++x) {
        for (int c = 0; c < Channels; ++c) {
            const std::ptrdiff_t at = 2 * x * Channels + c;
            const int sum = first[at] + first[at + Channels] + second[at] + second[at + Channels];
            out[x * Channels + c] = dib::byteOf(sum >> 2);
        }
    }
}

}  // namespace

bool DibStream::ResizeHalf() {
    dib::Raster from;
    if (!dib::viewRows(*this, from) || !from.hasPixels()) return false;
    from = from.inBlockOrder();
    return dib::withDepth<dib::Depth24, dib::Depth32>(from.bitCount, [&](auto depth) {
        dib::Canvas half(*this, Header->biWidth / 2, Header->biHeight / 2);
        if (half.pixels == nullptr) return dib::failForMemory(*this);
        for (int y = 0; y < half.rows.height; ++y) {
            const unsigned char* first = from.row(2 * std::ptrdiff_t{y});
            halveRow<decltype(depth)::kChannels>(first, first + from.rowStep, half.rows.row(y),
                                                 half.rows.width);
        }
        return half.installInto(*this) || dib::failForMemory(*this);
    });
}
