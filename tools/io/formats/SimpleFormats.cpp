// TGA, PPM and PGM, TIM, ILBM and Radiance HDR. Their savers do not tell whether the file is whole, so its size is
// compared with the one that the image must give.
#include <DibCodec.h>

#include <cstdio>
#include <cstring>

#include "tools/io/Files.h"
#include "tools/io/Images.h"
#include "tools/io/WholeFile.h"
#include "tools/io/formats/CodecRow.h"

namespace tool {

namespace {

// TGA.

bool saveTga(const char* path, DibStream& image, DibProgressCallback callback, void* user) {
    if (!SaveTGA(path, &image, callback, user)) return false;
    const unsigned bits = image.Header->biBitCount < 8 ? 24 : image.Header->biBitCount;
    const unsigned entries = image.Header->biClrUsed != 0 ? image.Header->biClrUsed & 0xFFFF : 256;
    const std::uint64_t mapBytes = bits == 8 ? 3 * entries : 0;
    return isWhole(path, 18 + mapBytes + packedBytes(image, bits, 8), image);
}

std::string_view tgaCompression(FirstBytes bytes) {
    return bytes.size() > 2 && bytes[2] >= 9 ? "rle" : "none";
}

// PPM and PGM.

bool savePpm(const char* path, DibStream& image, DibProgressCallback callback, void* user) {
    if (!SavePPM(path, &image, callback, user)) return false;
    const int head = std::snprintf(nullptr, 0, "P6\n%d %d\n255\n", width(image), height(image));
    return isWhole(path, static_cast<std::uint64_t>(head) + packedBytes(image, 24, 8), image);
}

bool isPnm(FirstBytes bytes) {
    return startsWith(bytes, "P6\n") || startsWith(bytes, "P5\n") || startsWith(bytes, "P3\n") ||
           startsWith(bytes, "P2\n");
}

// TIM.

bool saveTim(const char* path, DibStream& image, DibProgressCallback callback, void* user) {
    // Its answer is always false; the code tells.
    SaveTIM(path, &image, callback, user);
    if (image.ErrorCode != DIB_OK) return false;
    const unsigned held = image.Header->biBitCount;
    const unsigned bits = held == 4 || held == 8 ? held : 16;
    const std::uint64_t lookupBytes = bits == 16 ? 0 : 12 + (2U << bits);
    return isWhole(path, 8 + lookupBytes + 12 + packedBytes(image, bits, 16), image);
}

bool isTim(FirstBytes bytes) {
    return bytes.size() >= 8 && startsWith(bytes, {"\x10\0\0\0", 4}) && bytes[4] < 16;
}

// ILBM.

bool saveIff(const char* path, DibStream& image, DibProgressCallback callback, void* user) {
    if (!SaveIFF(path, &image, callback, user)) return false;
    const unsigned held = image.Header->biBitCount;
    const unsigned bits = held == 1 || held == 4 || held == 8 ? held : 24;
    const std::uint64_t colorBytes = bits == 24 ? 0 : 8 + (3U << bits);
    return isWhole(path, 8 + 4 + 28 + colorBytes + 8 + bits * packedBytes(image, 1, 16), image);
}

bool isIff(FirstBytes bytes) {
    return startsWith(bytes, "FORM") && bytes.size() >= 12 && std::memcmp(bytes.data() + 8, "ILBM", 4) == 0;
}

std::string_view iffCompression(FirstBytes bytes) {
    const bool known = bytes.size() > 30 && std::memcmp(bytes.data() + 12, "BMHD", 4) == 0;
    return known && bytes[30] == 1 ? "packbits" : "none";
}

// Radiance.

// The loader prints why it refuses a file, and system reasons that have nothing to do with it.
bool loadHdr(const char* path, DibStream& image, DibProgressCallback callback, void* user) {
    const SilencedErrors silence;
    return LoadHDR(path, &image, callback, user);
}

bool isHdr(FirstBytes bytes) { return startsWith(bytes, "#?RADIANCE") || startsWith(bytes, "#?RGBE"); }

// Each row has a way of its own.
std::string_view hdrCompression(FirstBytes) { return "unknown"; }

constexpr std::string_view kTga[] = {"tga"};
constexpr std::string_view kPpm[] = {"ppm", "pgm", "pnm"};
constexpr std::string_view kTim[] = {"tim"};
constexpr std::string_view kIff[] = {"iff", "lbm", "ilbm"};
constexpr std::string_view kHdr[] = {"hdr"};

constexpr Format kFormats[] = {
    {"tga", "Truevision TGA", kTga, "8, 16, 24, 32", "8, 16, 24, 32; 1 and 4 as 24", runCodec<LoadTGA>,
     saveTga, formats::diagnoseTga, nullptr, tgaCompression},
    {"ppm", "PPM and PGM, binary and ASCII", kPpm, "8, 24", "24", runCodec<LoadPPM>, savePpm,
     formats::diagnosePpm, isPnm},
    {"tim", "TIM texture", kTim, "4, 8, 16", "4, 8, 16; others as 16", runCodec<LoadTIM>, saveTim,
     formats::diagnoseTim, isTim},
    {"iff", "IFF ILBM", kIff, "1, 4, 8, 24", "1, 4, 8, 24; others as 24", runCodec<LoadIFF>, saveIff,
     formats::diagnoseIff, isIff, iffCompression},
    {"hdr", "Radiance HDR", kHdr, "24", "", loadHdr, nullptr, formats::diagnoseHdr, isHdr, hdrCompression},
};

}  // namespace

std::span<const Format> simpleFormats() { return kFormats; }

}  // namespace tool
