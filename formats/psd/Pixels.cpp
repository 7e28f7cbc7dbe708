#include "formats/psd/Pixels.h"

#include <algorithm>
#include <cstring>

#include "dib/Bytes.h"
#include "dib/ImageSize.h"
#include "dib/Kernels.h"
#include "dib/Memory.h"
#include "dib/Numbers.h"
#include "formats/psd/ChannelBytes.h"
#include "formats/psd/Document.h"

namespace formats::psd {

bool createPicture(Reader& file, DibStream& image, std::int64_t width, std::int64_t height, int bitCount) {
    // Larger numbers fail as the largest int does.
    const int columns = dib::saturatedInt(width);
    const int rows = dib::saturatedInt(height);
    const dib::ImageSize size = dib::admitSize(columns, rows, bitCount);
    if (size.admitted && !file.admitWork(dib::asOffset(size.imageBytes))) {
        image.Clear();
        return dib::failForMemory(image);
    }
    return image.Create(columns, rows, bitCount);
}

void fillWhite(DibStream& image, std::size_t fromRow) {
    const dib::ImageSize size = dib::admitSize(*image.Header);
    std::memset(image.Buffer, 0xFF, size.rowBytes * (size.rows - fromRow));
}

bool createWhitePicture(Reader& file, DibStream& image, std::int64_t width, std::int64_t height,
                        int bitCount) {
    if (!createPicture(file, image, width, height, bitCount)) return false;
    fillWhite(image);
    return true;
}

namespace {

constexpr std::size_t kNowhere = 4;

// The byte of a pixel that a channel is stored in. The only byte of a grey pixel also takes red, which is
// what the masks of colour documents are stored as.
std::size_t byteOfChannel(int mode, PSD_CHANNEL_ID id, std::size_t pixelBytes) {
    const bool colours = mode == kRgb || mode == kCmyk;
    if (!colours || pixelBytes == 1) return id == PSD_CHANNEL_RED ? 0 : kNowhere;
    switch (id) {
        case PSD_CHANNEL_RED: return 2;
        case PSD_CHANNEL_GREEN: return 1;
        case PSD_CHANNEL_BLUE: return 0;
        case PSD_CHANNEL_TRANSPARENCY: return pixelBytes == 4 ? 3 : kNowhere;
        default: return kNowhere;
    }
}

// One byte from each sample of a row, by depth. `count` samples begin at the sample `first`, a multiple of 8.
void toBytes(int depth, const unsigned char* line, std::size_t first, std::size_t count, unsigned char* to) {
    switch (depth) {
        case 1: dib::runKernel<bytesOfBits>(line + first / 8, to, count); break;
        case 16: dib::runKernel<bytesOfWords>(line + 2 * first, to, count); break;
        case 32: dib::runKernel<bytesOfFloats>(line + 4 * first, to, count); break;
        default: std::memcpy(to, line + first, count); break;
    }
}

}  // namespace

bool storeRow(SampleKind kind, DibStream* image, int row, PSD_CHANNEL_ID id, const unsigned char* line) {
    if (image == nullptr || image->Header == nullptr || image->Buffer == nullptr || line == nullptr)
        return false;
    const int bitCount = image->Header->biBitCount;
    if (bitCount != 8 && bitCount != 24 && bitCount != 32) return false;
    if (row < 0 || row >= dib::rowCount(image->Header->biHeight)) return false;
    if (!isVariant(kind.mode, kind.depth)) return false;
    const std::size_t pixelBytes = dib::asSize(bitCount) / 8;
    const std::size_t byte = byteOfChannel(kind.mode, id, pixelBytes);
    if (byte == kNowhere || image->Header->biWidth < 1) return true;

    const std::size_t width = dib::asSize(image->Header->biWidth);
    unsigned char* const to = image->ScanLine(row);
    if (pixelBytes == 1) {
        toBytes(kind.depth, line, 0, width, to);
        return true;
    }
    if (kind.depth == 8) {
        placeBytes(line, to, pixelBytes, byte, width);
        return true;
    }
    unsigned char bytes[4096];
    for (std::size_t x = 0; x < width; x += sizeof bytes) {
        const std::size_t count = std::min(sizeof bytes, width - x);
        toBytes(kind.depth, line, x, count, bytes);
        placeBytes(bytes, to + x * pixelBytes, pixelBytes, byte, count);
    }
    return true;
}

}  // namespace formats::psd
