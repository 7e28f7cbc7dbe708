// Radiance pixels as bytes. Only 65536 pairs of mantissa and exponent exist, so the power function is
// evaluated once for each of them.
#include "formats/Hdr.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "dib/Memory.h"
#include "formats/ByteReader.h"
#include "formats/CodecFrame.h"
#include "formats/Formats.h"
#include "formats/NewImage.h"
#include "formats/Rgbe.h"

using formats::ByteReader;
using formats::fail;
using formats::kRgbeBytes;
using formats::RgbeError;

namespace {

// One float below the nearest to 1 / 2.2. Loaded bytes depend on this exact value.
constexpr float kGamma = std::bit_cast<float>(std::uint32_t{0x3EE8BA2E});

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
                const unsigned char pixel[] = {static_cast<unsigned char>(mantissa), 0, 0,
                                               static_cast<unsigned char>(exponent)};
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

// Component k of pixel x is pixels[k * plane + x * step].
void storeRow(const unsigned char* pixels, std::size_t plane, std::size_t step, unsigned char* out,
              int width) {
    const Tones& table = tones();
    for (int x = 0; x < width; ++x, pixels += step, out += 3) {
        const auto& tone = table[pixels[3 * plane]];
        out[0] = tone[pixels[2 * plane]];
        out[1] = tone[pixels[plane]];
        out[2] = tone[pixels[0]];
    }
}

// Reads one row, flat or in packets, and stores it.
RgbeError readRow(ByteReader& source, int width, unsigned char* work, unsigned char* out) {
    const std::size_t bytes = static_cast<std::size_t>(width) * kRgbeBytes;
    if (formats::widthHasPackets(width)) {
        unsigned char start[kRgbeBytes];
        if (!source.read(start, sizeof start)) return RgbeError::kRead;
        if (formats::startsPackets(start)) {
            const RgbeError error = formats::readRgbePackets(source, start, width, work);
            if (error == RgbeError::kNone) storeRow(work, static_cast<std::size_t>(width), 1, out, width);
            return error;
        }
        std::memcpy(work, start, sizeof start);
        if (!source.read(work + sizeof start, bytes - sizeof start)) return RgbeError::kRead;
    } else if (!source.read(work, bytes)) {
        return RgbeError::kRead;
    }
    storeRow(work, 1, kRgbeBytes, out, width);
    return RgbeError::kNone;
}

// The shortest packing of a component is two bytes for 127 pixels.
std::uint64_t fewestRowBytes(int width) {
    const auto pixels = static_cast<std::uint64_t>(width);
    return kRgbeBytes * (formats::widthHasPackets(width) ? 1 + (pixels + 126) / 127 * 2 : pixels);
}

}  // namespace

namespace formats {
unsigned char hdrByte(unsigned char mantissa, unsigned char exponent) { return tones()[exponent][mantissa]; }
}  // namespace formats

bool LoadHDR(std::FILE* file, DibStream* image, DibProgressCallback, void*) {
    rgbe_header_info info;
    int width = 0;
    int height = 0;
    ByteReader reader(file);
    if (!formats::reportRgbe(formats::readRgbeHeader(reader, width, height, &info), file) || width < 0 ||
        height < 0)
        return fail(image, DIB_ERROR_INVALID);
    formats::NewImage picture(image);
    const std::uint64_t fewestBytes = fewestRowBytes(width) * static_cast<std::uint64_t>(height);
    if (!picture.create(reader, width, height, 24, fewestBytes)) return false;
    const auto row = dib::allocateArray<unsigned char>(static_cast<std::size_t>(width) * kRgbeBytes);
    if (row == nullptr) return fail(image, DIB_ERROR_MEMORY);

    for (int y = 0; y < height; ++y) {
        unsigned char* out = image->ScanLine(y);
        const RgbeError error = readRow(reader, width, row.get(), out);
        if (!formats::reportRgbe(error, file)) return fail(image, DIB_ERROR_INVALID);
        picture.read(out);
    }
    return true;
}

bool LoadHDR(const char* path, DibStream* image, DibProgressCallback callback, void* user) {
    return formats::loadPath(path, LoadHDR, image, callback, user, formats::OpenFailure::kLeavesCode);
}
bool LoadHDR(const wchar_t* path, DibStream* image, DibProgressCallback callback, void* user) {
    return formats::loadPath(path, LoadHDR, image, callback, user, formats::OpenFailure::kLeavesCode);
}

namespace formats {

namespace {

bool recognizes(FirstBytes bytes) { return startsWith(bytes, "#?RADIANCE") || startsWith(bytes, "#?RGBE"); }

// Each row may be packed or flat.
std::string_view compression(FirstBytes) { return "unknown"; }

constexpr const char* kExtensions[] = {"hdr", nullptr};
constexpr const char* kMimeTypes[] = {"image/vnd.radiance", nullptr};

}  // namespace

constinit const FileFormat kHdrFormat = {
    .info = {.name = "hdr",
             .title = "Radiance HDR",
             .extensions = kExtensions,
             .mimeTypes = kMimeTypes,
             .readDepths = depths({24})},
    .recognizes = recognizes,
    .compression = compression,
    .load = LoadHDR,
    .diagnose = diagnoseHdr,
};

}  // namespace formats
