#include "tests/reference/CodecReference.h"

#include <cmath>
#include <cstdint>
#include <cstring>

namespace reference {

namespace {

// Sets bits of a byte that was 0.
void setBits(unsigned char& byte, unsigned bits) { byte = static_cast<unsigned char>(byte | bits); }

// The value of a pixel whose bit k goes to plane k.
std::uint32_t planeValue(DibStream& image, int x, int y) {
    const unsigned char* pixel = image.Pixel(x, y);
    switch (image.Header->biBitCount) {
        case 1: return pixel[0] >> (7 - x % 8) & 1U;
        case 4: return x % 2 == 0 ? pixel[0] >> 4U : pixel[0] & 15U;
        case 8: return pixel[0];
        default: return pixel[2] + pixel[1] * 256U + pixel[0] * 65536U;
    }
}

}  // namespace

bool decodeTgaPackets(const std::vector<unsigned char>& packets, bool topRowFirst, DibStream& image) {
    const std::size_t pixelBytes = image.Header->biBitCount / 8U;
    const int height = image.Header->biHeight;
    std::size_t at = 0;
    std::size_t left = 0;
    bool isRun = false;
    for (int row = 0; row < height; ++row) {
        unsigned char* out = image.ScanLine(topRowFirst ? row : height - 1 - row);
        for (int x = 0; x < image.Header->biWidth; ++x, out += pixelBytes) {
            if (left == 0) {
                if (at >= packets.size()) return false;
                left = (packets[at] & 0x7FU) + 1;
                isRun = (packets[at++] & 0x80) != 0;
            }
            if (at + pixelBytes > packets.size()) return false;
            std::memcpy(out, &packets[at], pixelBytes);
            --left;
            if (!isRun || left == 0) at += pixelBytes;
        }
    }
    return true;
}

void storeIlbmRow(const unsigned char* planes, int planeCount, DibStream& image, int y) {
    const int width = image.Header->biWidth;
    const std::size_t planeBytes = static_cast<std::size_t>((width + 15) / 16 * 2);
    const int depth = image.Header->biBitCount;
    if (depth < 8) std::memset(image.ScanLine(y), 0, image.GetPitch());
    for (int x = 0; x < width; ++x) {
        std::uint32_t value = 0;
        for (int k = 0; k < planeCount; ++k) {
            const unsigned byte =
                planes[static_cast<std::size_t>(k) * planeBytes + static_cast<std::size_t>(x / 8)];
            value |= (byte >> (7 - x % 8) & 1U) << k;
        }
        unsigned char* row = image.ScanLine(y);
        switch (depth) {
            case 1:
                if (value != 0) setBits(row[x / 8], 0x80U >> (x + 1) % 8);
                break;
            case 4:
                if (value != 0) setBits(row[x / 2], x % 2 == 0 ? 0xF0 : 0x0F);
                break;
            case 8: row[x] = static_cast<unsigned char>(value); break;
            default:
                row[3 * x] = static_cast<unsigned char>(value >> 16);
                row[3 * x + 1] = static_cast<unsigned char>(value >> 8);
                row[3 * x + 2] = static_cast<unsigned char>(value);
        }
    }
}

std::vector<unsigned char> ilbmPlanes(DibStream& image, int y) {
    const int width = image.Header->biWidth;
    const int depth = image.Header->biBitCount;
    const std::size_t planeBytes = static_cast<std::size_t>((width + 15) / 16 * 2);
    std::vector<unsigned char> planes(planeBytes * static_cast<std::size_t>(depth));
    for (int x = 0; x < width; ++x) {
        const std::uint32_t value = planeValue(image, x, y);
        for (int k = 0; k < depth; ++k) {
            const std::size_t at = static_cast<std::size_t>(k) * planeBytes + static_cast<std::size_t>(x / 8);
            if ((value >> k & 1) != 0) setBits(planes[at], 0x80U >> x % 8);
        }
    }
    return planes;
}

unsigned char hdrByte(unsigned char mantissa, unsigned char exponent) {
    const std::uint32_t gammaBits = 0x3EE8BA2E;
    float gamma = 0;
    std::memcpy(&gamma, &gammaBits, sizeof gamma);
    const float scale = exponent == 0 ? 0.0F : static_cast<float>(std::ldexp(1.0, exponent - 136));
    const float value = std::pow(static_cast<float>(mantissa) * scale, gamma);
    if (!(value > 0.0F)) return 0;
    if (value >= 1.0F) return 255;
    return static_cast<unsigned char>(value * 255.0F + 0.5F);
}

}  // namespace reference
