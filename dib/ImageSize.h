// Size admission: the one place that decides which pixel blocks can exist.
#ifndef DIB_IMAGE_SIZE_H
#define DIB_IMAGE_SIZE_H

#include <DibStream.h>

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>

namespace dib {

// Rows of an image with a signed height; INT_MIN does not overflow.
constexpr std::int64_t rowCount(std::int32_t height) {
    const std::int64_t rows = height;
    return rows < 0 ? -rows : rows;
}

// Bytes per row in the 32-bit arithmetic that callers see; it may wrap.
constexpr std::uint32_t pitch32(int bitCount, std::int32_t width) {
    const auto bits = static_cast<std::uint32_t>(std::int64_t{bitCount} * width + 31);
    return bits >> 3 & ~3U;
}

struct ImageSize {
    bool admitted = false;
    std::size_t rowBytes = 0;    // pitch
    std::size_t rows = 0;        // |height|
    std::size_t imageBytes = 0;  // pitch x rows; may be 0 in an admitted size
};

// Admits sizes whose width is not negative, whose row counted in bits fits in 32 bits as GetPitch computes
// it, and whose pitch times rows fits in a signed 32-bit number: every 32-bit size and offset of the image is
// then exact.
constexpr ImageSize admitSize(std::int64_t width, std::int32_t height, std::int64_t bitCount) {
    if (width < 0 || width > INT32_MAX || bitCount < 0) return {};
    if (bitCount * width + 31 > UINT32_MAX) return {};
    const std::int64_t rowBytes = ((bitCount * width + 31) >> 3) & ~std::int64_t{3};
    const std::int64_t rows = rowCount(height);
    if (rows > INT32_MAX || rowBytes > INT32_MAX) return {};
    const std::int64_t imageBytes = rowBytes * rows;
    if (imageBytes > INT32_MAX) return {};
    return {true, static_cast<std::size_t>(rowBytes), static_cast<std::size_t>(rows),
            static_cast<std::size_t>(imageBytes)};
}

inline ImageSize admitSize(const BITMAPINFOHEADER& header) {
    return admitSize(header.biWidth, header.biHeight, header.biBitCount);
}

// The width and the rows of an image as numbers of things; its size must be admitted.
inline std::size_t columnsOf(const BITMAPINFOHEADER& header) {
    return static_cast<std::size_t>(header.biWidth);
}
inline std::size_t rowsOf(const BITMAPINFOHEADER& header) {
    return static_cast<std::size_t>(rowCount(header.biHeight));
}
// The rows as the classic functions count them.
inline int heightOf(const BITMAPINFOHEADER& header) { return static_cast<int>(rowCount(header.biHeight)); }

// Bytes of a row of pixels without fill.
constexpr std::size_t packedBytes(std::integral auto width, std::integral auto bitsPerPixel) {
    return (static_cast<std::size_t>(width) * static_cast<std::size_t>(bitsPerPixel) + 7) / 8;
}

// Makes the fill bytes at the ends of all rows 0. They are part of the block and of saved files, and must be
// the same on every run. This clears the last word of each row, so call it before the pixels are written.
inline void clearRowFill(unsigned char* block, const ImageSize& size) {
    if (size.rowBytes == 0) return;
    for (std::size_t end = size.rowBytes; end <= size.imageBytes; end += size.rowBytes)
        std::memset(block + end - 4, 0, 4);
}

// Whether rows can be addressed: both blocks, and an admissible size, which may be one without pixels.
inline bool hasRows(const DibStream& image) {
    return image.Header != nullptr && image.Buffer != nullptr && admitSize(*image.Header).admitted;
}

// Whether there are pixels to read: the same, and a size of at least one pixel.
inline bool hasPixels(const DibStream& image) {
    return hasRows(image) && admitSize(*image.Header).imageBytes > 0;
}

constexpr int kDepths[] = {1, 4, 8, 16, 24, 32};

// Whether a depth is one of the six that exist.
constexpr bool isDepth(int bitCount) {
    return std::find(std::begin(kDepths), std::end(kDepths), bitCount) != std::end(kDepths);
}

}  // namespace dib

#endif
