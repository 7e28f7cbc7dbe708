#include <array>
#include <cstddef>
#include <cstdint>

#include "web/Web.h"

namespace {

using Palette = std::array<std::uint32_t, 256>;

void store(unsigned char* to, std::uint32_t color) {
    to[0] = static_cast<unsigned char>(color >> 16);
    to[1] = static_cast<unsigned char>(color >> 8);
    to[2] = static_cast<unsigned char>(color);
    to[3] = 255;
}

// The index of a pixel of 1, 4 or 8 bits; the leftmost is in the highest bits.
std::size_t indexAt(const unsigned char* row, std::size_t x, std::size_t bits) {
    const std::size_t perByte = 8 / bits;
    const std::size_t shift = (perByte - 1 - x % perByte) * bits;
    return (row[x / perByte] >> shift) & ((1U << bits) - 1);
}

void copyIndices(const unsigned char* row, std::size_t width, std::size_t bits, const Palette& palette,
                 unsigned char* to) {
    for (std::size_t x = 0; x < width; ++x) store(to + 4 * x, palette[indexAt(row, x, bits)]);
}

// 5-5-5 words with blue in the low bits; 31 becomes 255.
void copyWords(const unsigned char* row, std::size_t width, unsigned char* to) {
    const auto widened = [](unsigned five) { return static_cast<unsigned char>(five << 3 | five >> 2); };
    for (std::size_t x = 0; x < width; ++x) {
        const unsigned word = row[2 * x] | static_cast<unsigned>(row[2 * x + 1]) << 8;
        to[4 * x] = widened(word >> 10 & 31);
        to[4 * x + 1] = widened(word >> 5 & 31);
        to[4 * x + 2] = widened(word & 31);
        to[4 * x + 3] = 255;
    }
}

template <std::size_t Bytes>
void copyColors(const unsigned char* row, std::size_t width, unsigned char* to) {
    for (std::size_t x = 0; x < width; ++x) {
        to[4 * x] = row[Bytes * x + 2];
        to[4 * x + 1] = row[Bytes * x + 1];
        to[4 * x + 2] = row[Bytes * x];
        to[4 * x + 3] = Bytes == 4 ? row[Bytes * x + 3] : 255;
    }
}

}  // namespace

void dib_web_pixels(const dib_image* image, unsigned char* pixels) {
    Palette palette = {};
    dib_image_get_palette(image, palette.data(), 256);
    const auto width = static_cast<std::size_t>(dib_image_width(image));
    const int bits = dib_image_bit_count(image);
    for (int y = 0; y < dib_image_height(image); ++y, pixels += 4 * width) {
        const unsigned char* row = dib_image_const_row(image, y);
        if (bits == 32) {
            copyColors<4>(row, width, pixels);
        } else if (bits == 24) {
            copyColors<3>(row, width, pixels);
        } else if (bits == 16) {
            copyWords(row, width, pixels);
        } else {
            copyIndices(row, width, static_cast<std::size_t>(bits), palette, pixels);
        }
    }
}
