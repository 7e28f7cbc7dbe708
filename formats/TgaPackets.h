// The run lengths of TGA files: a count byte and pixels, one to repeat when the top bit of the count is set,
// otherwise as many as counted.
#ifndef FORMATS_TGA_PACKETS_H
#define FORMATS_TGA_PACKETS_H

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "dib/Bytes.h"
#include "dib/Numbers.h"
#include "formats/ByteReader.h"

namespace formats {

constexpr std::size_t kMostPixels = 128;  // in a packet

template <std::size_t kPixelBytes>
void fillPixels(unsigned char* out, const unsigned char* pixel, std::size_t bytes) {
    unsigned char value[kPixelBytes];
    std::memcpy(value, pixel, kPixelBytes);
    for (std::size_t i = 0; i < bytes; i += kPixelBytes) std::memcpy(out + i, value, kPixelBytes);
}

// Packets may cross the ends of rows, and the last one may exceed the picture.
template <std::size_t kPixelBytes>
class PacketReader {
public:
    explicit PacketReader(ByteReader& file) : file_(file) {}

    // Fills a row; returns the bytes of the whole pixels that the file had for it.
    std::size_t read(unsigned char* row, std::size_t rowBytes) {
        std::size_t done = 0;
        while (done < rowBytes && (left_ > 0 || open())) {
            const std::size_t wanted = std::min(left_, rowBytes - done);
            std::size_t moved = wanted;
            if (isRun_) {
                fillPixels<kPixelBytes>(row + done, pixel_, wanted);
            } else {
                moved = std::min(wanted, file_.ahead(wanted).size) / kPixelBytes * kPixelBytes;
                file_.read(row + done, moved);
            }
            done += moved;
            left_ -= moved;
            if (moved < wanted) break;
        }
        return done;
    }

private:
    bool open() {
        const int packet = file_.byte();
        if (packet < 0) return false;
        isRun_ = (packet & 0x80) != 0;
        if (isRun_ && !file_.read(pixel_, kPixelBytes)) return false;
        left_ = (dib::asSize(packet & 0x7F) + 1) * kPixelBytes;
        return true;
    }

    ByteReader& file_;
    std::size_t left_ = 0;  // bytes of the open packet
    bool isRun_ = false;
    unsigned char pixel_[kPixelBytes] = {};
};

// The most bytes that `packPixels` writes.
constexpr std::size_t mostPacketBytes(std::size_t pixels, std::size_t pixelBytes) {
    return pixels * pixelBytes + (pixels + kMostPixels - 1) / kMostPixels + pixels / 2;
}

// Packs the pixels of a row and returns the bytes written: packets do not cross rows.
template <std::size_t kPixelBytes>
std::size_t packPixels(const unsigned char* row, std::size_t pixels, unsigned char* out) {
    unsigned char* const start = out;
    // A run of two bytes costs as much as it saves when it splits other pixels.
    constexpr std::size_t kFewestEqual = kPixelBytes == 1 ? 3 : 2;
    const auto runAt = [&](std::size_t x) {
        const unsigned char* pixel = row + x * kPixelBytes;
        std::size_t count = 1;
        while (x + count < pixels && count < kMostPixels &&
               std::memcmp(pixel, pixel + count * kPixelBytes, kPixelBytes) == 0)
            ++count;
        return count;
    };
    for (std::size_t x = 0; x < pixels;) {
        std::size_t run = runAt(x);
        const bool isRun = run >= kFewestEqual;
        std::size_t count = run;
        while (!isRun && x + count < pixels && count < kMostPixels) {
            run = runAt(x + count);
            if (run >= kFewestEqual) break;
            count += run;
        }
        count = std::min(count, kMostPixels);
        *out++ = dib::byteOf((isRun ? 0x80U : 0U) | (count - 1));
        const std::size_t bytes = (isRun ? 1 : count) * kPixelBytes;
        std::memcpy(out, row + x * kPixelBytes, bytes);
        out += bytes;
        x += count;
    }
    return dib::bytesBetween(start, out);
}

}  // namespace formats

#endif
