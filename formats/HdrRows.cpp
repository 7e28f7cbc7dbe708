// Radiance pixels as bytes. Only 65536 pairs of mantissa and exponent exist, so the power function is
// evaluated once for each of them.
#include "formats/HdrRows.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "dib/Bytes.h"
#include "dib/FloatBits.h"
#include "dib/Kernels.h"
#include "dib/Numbers.h"

namespace formats {

namespace {

// One float below the nearest to 1 / 2.2. Loaded bytes depend on this exact value.
constexpr float kGamma = dib::floatOfBits(0x3EE8BA2E);

unsigned char toneOf(float value) {
    const float raised = std::pow(value, kGamma);
    if (!(raised > 0.0F)) return 0;
    if (raised >= 1.0F) return 255;
    // Loaded bytes depend on this rounding: a sum in single precision, truncated.
    return static_cast<unsigned char>(raised * 255.0F + 0.5F);  // NOLINT(bugprone-incorrect-roundings)
}

// tones[exponent][mantissa]
using Tones = std::array<std::array<unsigned char, 256>, 256>;

const Tones& tones() {
    static const Tones table = [] {
        Tones made;
        for (std::size_t exponent = 0; exponent < 256; ++exponent) {
            for (std::size_t mantissa = 0; mantissa < 256; ++mantissa) {
                const unsigned char pixel[] = {dib::byteOf(mantissa), 0, 0, dib::byteOf(exponent)};
                float red = 0;
                float green = 0;
                float blue = 0;
                rgbe2float(&red, &green, &blue, pixel);
                made[exponent][mantissa] = toneOf(red);
            }
        }
        return made;
    }();
    return table;
}

void storeRow(const unsigned char* pixels, std::size_t plane, std::size_t step, unsigned char* out,
              std::size_t width) {
    const Tones& table = tones();
    for (std::size_t x = 0; x < width; ++x, pixels += step, out += 3) {
        const auto& tone = table[pixels[3 * plane]];
        out[0] = tone[pixels[2 * plane]];
        out[1] = tone[pixels[plane]];
        out[2] = tone[pixels[0]];
    }
}

// The same of pixels in CIE XYZ, to red (0.64, 0.33), green (0.29, 0.6) and blue (0.15, 0.06) with a white of
// equal energy, which is what the format takes for red, green and blue.
void storeXyzRow(const unsigned char* pixels, std::size_t plane, std::size_t step, unsigned char* out,
                 std::size_t width) {
    constexpr float kMatrix[3][3] = {
        {0.0747F, -0.2519F, 1.1772F}, {-1.0221F, 1.9783F, 0.0438F}, {2.5653F, -1.1669F, -0.3985F}};
    for (std::size_t x = 0; x < width; ++x, pixels += step, out += 3) {
        const unsigned char pixel[] = {pixels[0], pixels[plane], pixels[2 * plane], pixels[3 * plane]};
        float xyz[3];
        rgbe2float(&xyz[0], &xyz[1], &xyz[2], pixel);
        for (std::size_t i = 0; i < 3; ++i)
            out[i] = toneOf(kMatrix[i][0] * xyz[0] + kMatrix[i][1] * xyz[1] + kMatrix[i][2] * xyz[2]);
    }
}

bool isRun(const unsigned char* pixel) {
    std::uint32_t word;
    std::memcpy(&word, pixel, sizeof word);
    return (word & 0xFFFFFF) == 0x010101;
}

DIB_ALWAYS_INLINE bool holdsRun(const unsigned char* pixels, std::size_t count) {
    std::uint32_t found = 0;
    for (std::size_t i = 0; i < count; ++i) {
        std::uint32_t word;
        std::memcpy(&word, pixels + i * kRgbeBytes, sizeof word);
        found |= (word & 0xFFFFFF) == 0x010101 ? UINT32_MAX : 0;
    }
    return found != 0;
}

// The number of pixels before the first that marks a run. Runs are rare: most pixels are looked at in blocks.
std::size_t plainPixels(const unsigned char* pixels, std::size_t count) {
    constexpr std::size_t kBlock = 1024;
    std::size_t plain = 0;
    while (plain < count) {
        const std::size_t block = std::min(kBlock, count - plain);
        if (dib::runKernel<holdsRun>(pixels + plain * kRgbeBytes, block)) break;
        plain += block;
    }
    while (plain < count && !isRun(pixels + plain * kRgbeBytes)) ++plain;
    return plain;
}

// Old files repeat the pixel before by one of red, green and blue 1: as often as its exponent says, which a
// run that follows directly has multiplied by 256.
RgbeError readOldRuns(ByteReader& source, std::size_t width, std::size_t done, unsigned char* work) {
    unsigned shift = 0;
    while (done < width) {
        const ByteReader::Bytes bytes = source.ahead(kRgbeBytes);
        const std::size_t pixels = std::min(bytes.size / kRgbeBytes, width - done);
        if (pixels == 0) return RgbeError::kRead;
        // Nothing is before the first pixel of a row.
        const std::size_t first = done == 0 ? 1 : 0;
        const std::size_t plain = first + plainPixels(bytes.data + first * kRgbeBytes, pixels - first);
        std::memcpy(work + done * kRgbeBytes, bytes.data, plain * kRgbeBytes);
        source.consume(plain * kRgbeBytes);
        done += plain;
        if (plain > 0) shift = 0;
        if (plain == pixels) continue;
        constexpr unsigned kMostShift = 16;
        const std::size_t length = std::size_t{source.take(kRgbeBytes)[3]} << shift;
        if (length > width - done || shift > kMostShift) return RgbeError::kPackets;
        for (std::size_t end = done + length; done < end; ++done)
            std::memcpy(work + done * kRgbeBytes, work + (done - 1) * kRgbeBytes, kRgbeBytes);
        shift += 8;
    }
    return RgbeError::kNone;
}

}  // namespace

unsigned char hdrByte(unsigned char mantissa, unsigned char exponent) { return tones()[exponent][mantissa]; }

HdrRowReader::HdrRowReader(ByteReader& source, int width, bool isXyz, bool knowsOldRuns)
    : source_(source),
      width_(dib::asSize(width)),
      knowsOldRuns_(knowsOldRuns),
      store_(isXyz ? storeXyzRow : storeRow),
      work_(dib::allocateArray<unsigned char>(width_ * kRgbeBytes)) {}

RgbeError HdrRowReader::read(unsigned char* out) {
    if (storePlain(out)) return RgbeError::kNone;
    std::size_t pixels = 0;
    if (widthHasPackets(width_)) {
        unsigned char start[kRgbeBytes];
        if (!source_.read(start, sizeof start)) return RgbeError::kRead;
        if (startsPackets(start)) {
            const RgbeError error = readRgbePackets(source_, start, width_, work_.get());
            if (error == RgbeError::kNone) store_(work_.get(), width_, 1, out, width_);
            return error;
        }
        std::memcpy(work_.get(), start, sizeof start);
        pixels = 1;
    }
    const RgbeError error = readFlat(pixels);
    if (error == RgbeError::kNone) store_(work_.get(), 1, kRgbeBytes, out, width_);
    return error;
}

// Stores a row without runs of either kind where the reader holds it: looking for runs costs no more than
// the copy that this saves.
bool HdrRowReader::storePlain(unsigned char* out) {
    const std::size_t bytes = width_ * kRgbeBytes;
    if (!knowsOldRuns_ || bytes > ByteReader::kBufferBytes) return false;
    if (widthHasPackets(width_)) {
        const ByteReader::Bytes start = source_.ahead(kRgbeBytes);
        if (start.size < kRgbeBytes || startsPackets(start.data)) return false;
    }
    const ByteReader::Bytes row = source_.ahead(bytes);
    if (row.size < bytes) return false;
    // Nothing is before the first pixel of a row.
    if (1 + plainPixels(row.data + kRgbeBytes, width_ - 1) < width_) return false;
    store_(row.data, 1, kRgbeBytes, out, width_);
    source_.consume(bytes);
    return true;
}

// Reads the pixels after the first ones.
RgbeError HdrRowReader::readFlat(std::size_t first) {
    if (knowsOldRuns_) return readOldRuns(source_, width_, first, work_.get());
    const bool isRead = source_.read(work_.get() + first * kRgbeBytes, (width_ - first) * kRgbeBytes);
    return isRead ? RgbeError::kNone : RgbeError::kRead;
}

}  // namespace formats
