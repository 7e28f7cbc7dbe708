#include "tests/reference/PsdReference.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>

namespace reference {

unsigned char psdSample(int depth, const unsigned char* row, int x) {
    if (depth == 1) return (row[x / 8] >> (7 - x % 8) & 1) == 1 ? 0 : 255;
    if (depth == 8) return row[x];
    if (depth == 16) return row[2 * x];
    std::uint32_t bits = 0;
    for (int i = 0; i < 4; ++i) bits = bits << 8 | row[4 * x + i];
    const double scaled = std::bit_cast<float>(bits) * 255.0;
    if (std::isnan(scaled) || scaled >= 255.0) return 255;
    return scaled < 0.0 ? 0 : static_cast<unsigned char>(scaled);
}

void storePsdPlanes(DibStream& image, int mode, int depth, const std::vector<int>& ids,
                    const std::vector<std::vector<unsigned char>>& planes) {
    const int pixelBytes = image.Header->biBitCount / 8;
    const int width = image.Header->biWidth;
    const int height = std::abs(image.Header->biHeight);
    const int rowBytes = depth == 1 ? (width + 7) / 8 : width * depth / 8;
    for (std::size_t channel = 0; channel < ids.size(); ++channel) {
        int byte = -1;
        if (ids[channel] == 0) byte = mode >= 3 && pixelBytes >= 3 ? 2 : 0;
        if (mode >= 3 && ids[channel] == 1 && pixelBytes >= 3) byte = 1;
        if (mode >= 3 && ids[channel] == 2 && pixelBytes >= 3) byte = 0;
        if (mode >= 3 && ids[channel] == -1 && pixelBytes == 4) byte = 3;
        if (byte < 0) continue;
        for (int y = 0; y < height; ++y) {
            const unsigned char* row = planes[channel].data() + y * rowBytes;
            for (int x = 0; x < width; ++x) {
                image.ScanLine(y)[x * pixelBytes + byte] = psdSample(depth, row, x);
            }
        }
    }
}

unsigned char withoutWhite(unsigned mixed, unsigned alpha, unsigned most) {
    const std::uint64_t part = alpha == 0 ? most : alpha;
    const std::uint64_t ink = most - mixed;
    const std::uint64_t nearest = (2 * 255 * ink + part) / (2 * part);
    return nearest >= 255 ? 0 : static_cast<unsigned char>(255 - nearest);
}

unsigned char srgbByte(float light) {
    if (!(light > 0.0F)) return 0;
    if (light >= 1.0F) return 255;
    const double value =
        double{light} <= 0.0031308 ? 12.92 * double{light} : 1.055 * std::pow(double{light}, 1 / 2.4) - 0.055;
    return static_cast<unsigned char>(std::floor(value * 255.0 + 0.5));
}

}  // namespace reference
