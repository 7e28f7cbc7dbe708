// Where the samples of a PSD channel go: one row of one channel into one byte of each pixel.
#include <DibPSDLoader.h>

#include <cstring>

#include "dib/Bytes.h"
#include "dib/ImageSize.h"
#include "formats/PsdPixels.h"

namespace formats {

bool createImage(DibStream& image, std::int64_t width, std::int64_t height, int bitCount, PsdReader& reader) {
    // Numbers that are no int are no size either; the largest int never fits with the other side above 0.
    const int columns = static_cast<int>(std::min<std::int64_t>(width, INT32_MAX));
    const int rows = static_cast<int>(std::min<std::int64_t>(height, INT32_MAX));
    const dib::ImageSize size = dib::admitSize(columns, rows, bitCount);
    if (size.admitted && !reader.admitWork(static_cast<std::int64_t>(size.imageBytes))) {
        image.Clear();
        image.ErrorCode = DIB_ERROR_MEMORY;
        return false;
    }
    return image.Create(columns, rows, bitCount);
}

void fillWhite(DibStream& image) {
    std::memset(image.Buffer, 0xFF, dib::admitSize(*image.Header).imageBytes);
}

bool createWhite(DibStream& image, std::int64_t width, std::int64_t height, int bitCount, PsdReader& reader) {
    if (!createImage(image, width, height, bitCount, reader)) return false;
    fillWhite(image);
    return true;
}

}  // namespace formats

namespace {

// How a byte is taken from a sample, per depth.

struct Sample8 {
    static unsigned char at(const unsigned char* line, std::size_t x) { return line[x]; }
};

struct Sample16 {
    static unsigned char at(const unsigned char* line, std::size_t x) { return line[2 * x]; }
};

struct SampleFloat {
    static unsigned char at(const unsigned char* line, std::size_t x) {
        const std::uint32_t bits = dib::readBe32(line + 4 * x);
        float value = 0;
        std::memcpy(&value, &bits, sizeof value);
        const double scaled = value * 255.0;
        // Asked this way round, NaN is white and never converted.
        if (!(scaled < 255.0)) return 255;
        return scaled < 0.0 ? 0 : static_cast<unsigned char>(scaled);
    }
};

// A set bit is ink: black.
struct SampleBit {
    static unsigned char at(const unsigned char* line, std::size_t x) {
        return ((line[x / 8] << (x % 8)) & 0x80) != 0 ? 0 : 255;
    }
};

template <class Sample, std::size_t kStep>
void storeRow(unsigned char* __restrict to, const unsigned char* __restrict line, std::size_t width) {
    for (std::size_t x = 0; x < width; ++x) to[x * kStep] = Sample::at(line, x);
}

template <class Sample>
void storeRow(unsigned char* to, std::size_t step, const unsigned char* line, std::size_t width) {
    switch (step) {
        case 1: storeRow<Sample, 1>(to, line, width); break;
        case 3: storeRow<Sample, 3>(to, line, width); break;
        case 4: storeRow<Sample, 4>(to, line, width); break;
        default: break;
    }
}

std::size_t pixelBytes(int bitCount) {
    return bitCount == 8 ? 1 : bitCount == 24 ? 3 : bitCount == 32 ? 4 : 0;
}

constexpr std::size_t kNowhere = 4;

// The byte of a pixel that a channel is stored in. The only byte of a grey pixel also takes red, which is
// what the masks of colour documents are stored as.
std::size_t byteOfChannel(int mode, PSD_CHANNEL_ID id, std::size_t step) {
    const bool colours = mode == formats::kPsdRgb || mode == formats::kPsdCmyk;
    if (!colours || step == 1) return id == PSD_CHANNEL_RED ? 0 : kNowhere;
    switch (id) {
        case PSD_CHANNEL_RED: return 2;
        case PSD_CHANNEL_GREEN: return 1;
        case PSD_CHANNEL_BLUE: return 0;
        case PSD_CHANNEL_TRANSPARENCY: return step == 4 ? 3 : kNowhere;
        default: return kNowhere;
    }
}

}  // namespace

bool DibPSDLoader::StoreLineToDib(DibStream* dib, int row, PSD_CHANNEL_ID id, const unsigned char* line) {
    if (dib == nullptr || dib->Header == nullptr || dib->Buffer == nullptr || line == nullptr) return false;
    const std::size_t step = pixelBytes(dib->Header->biBitCount);
    if (step == 0 || row < 0 || row >= dib::rowCount(dib->Header->biHeight)) return false;
    if (!formats::isPsdVariant(header_.mode, header_.depth)) return false;
    const std::size_t byte = byteOfChannel(header_.mode, id, step);
    if (byte == kNowhere || dib->Header->biWidth < 1) return true;

    unsigned char* to = dib->ScanLine(row) + byte;
    const std::size_t width = static_cast<std::size_t>(dib->Header->biWidth);
    switch (header_.depth) {
        case 1: storeRow<SampleBit>(to, step, line, width); break;
        case 8: storeRow<Sample8>(to, step, line, width); break;
        case 16: storeRow<Sample16>(to, step, line, width); break;
        case 32: storeRow<SampleFloat>(to, step, line, width); break;
        default: return false;
    }
    return true;
}

void DibPSDLoader::ConvertCMYKToRGB(DibStream*) {}
