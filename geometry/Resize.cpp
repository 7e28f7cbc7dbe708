// Choosing a resampler, and halving.
#include <DibStream.h>

#include <cstddef>
#include <cstdint>

#include "geometry/Canvas.h"
#include "geometry/RowVectors.h"

bool DibStream::Resize(int width, int height, DIB_RESIZE_METHOD method) {
    if (Buffer == nullptr || Header == nullptr) return false;
    const std::int64_t rows = dib::rowCount(Header->biHeight);
    if (width == Header->biWidth && height == rows) return true;
    const bool isHalf = std::int64_t{width} * 2 == Header->biWidth && std::int64_t{height} * 2 == rows;
    if (isHalf && ResizeHalf()) return true;
    switch (method) {
        case DIB_RESIZE_INTEGRAL: return ResizeIntegral(width, height);
        case DIB_RESIZE_BILINEAR: return ResizeBilinear(width, height);
        default: return false;
    }
}

namespace {

// Each result is the mean of two neighbours in two rows, truncated.
template <std::size_t Channels>
void halveRowEnd(const unsigned char* first, const unsigned char* second, unsigned char* out,
                 std::size_t begin, std::size_t end) {
    for (std::size_t x = begin; x < end; ++x) {
        for (std::size_t c = 0; c < Channels; ++c) {
            const std::size_t at = 2 * x * Channels + c;
            const int sum = first[at] + first[at + Channels] + second[at] + second[at + Channels];
            out[x * Channels + c] = static_cast<unsigned char>(sum >> 2);
        }
    }
}

void halveRow(const unsigned char* first, const unsigned char* second, int channels, unsigned char* out,
              std::size_t width) {
    const std::size_t done = dib::halveRowVectors(first, second, channels, out, width);
    if (channels == 3) {
        halveRowEnd<3>(first, second, out, done, width);
    } else {
        halveRowEnd<4>(first, second, out, done, width);
    }
}

}  // namespace

bool DibStream::ResizeHalf() {
    if (!dib::hasPixels(*this)) return false;
    const int depth = Header->biBitCount;
    if (depth != 24 && depth != 32) return false;

    const std::size_t rowBytes = GetPitch();
    dib::Canvas half(*this, Header->biWidth / 2, Header->biHeight / 2);
    if (half.pixels == nullptr) return dib::failForMemory(*this);
    const auto width = static_cast<std::size_t>(half.header.biWidth);
    for (std::size_t row = 0; row < half.rows; ++row) {
        const unsigned char* first = Buffer + 2 * row * rowBytes;
        halveRow(first, first + rowBytes, depth / 8, half.row(row), width);
        half.clearRowEnd(row, width * static_cast<std::size_t>(depth) / 8);
    }
    return half.installInto(*this) || dib::failForMemory(*this);
}
