#include "formats/linux/OutgoingPicture.h"

#include <algorithm>
#include <cstring>

#include "dib/Bytes.h"
#include "dib/ColorTable.h"
#include "dib/ImageSize.h"
#include "dib/Numbers.h"
#include "dib/PixelReader.h"
#include "formats/ColorOrder.h"
#include "formats/Exif.h"
#include "formats/FileRows.h"

namespace formats {

namespace {

bool isGrey(const DibBGRA& color, int level) {
    return color.blue == level && color.green == level && color.red == level;
}

template <class IsRight>
bool haveAllColors(const BITMAPINFOHEADER& header, const IsRight& isRight) {
    const std::array<DibBGRA, 256> colors = dib::readColorTable(header);
    const std::size_t count = dib::addressableEntries(header.biBitCount);
    for (std::size_t i = 0; i < count; ++i) {
        if (!isRight(colors[i], dib::asInt(i))) return false;
    }
    return count > 0;
}

PixelKind kindOf(const BITMAPINFOHEADER& header, bool keepsPalette) {
    if (header.biBitCount == 32) return PixelKind::kRgba;
    if (header.biBitCount > 8) return PixelKind::kRgb;
    return !keepsPalette && hasGreyRamp(header) ? PixelKind::kGrey : PixelKind::kPalette;
}

}  // namespace

bool hasGreyRamp(const BITMAPINFOHEADER& header) {
    const int largest = (1 << header.biBitCount) - 1;
    return haveAllColors(header,
                         [&](const DibBGRA& color, int i) { return isGrey(color, i * 255 / largest); });
}

bool hasGreysOnly(const BITMAPINFOHEADER& header) {
    return haveAllColors(header, [](const DibBGRA& color, int) { return isGrey(color, color.red); });
}

bool isKept(const DibBytes& profile, bool isGrey) {
    constexpr std::size_t kColorSpace = 16;  // where a profile names it
    if (profile.size < kColorSpace + 4 || profile.size > kMostMetadataBytes) return false;
    return std::memcmp(profile.data + kColorSpace, isGrey ? "GRAY" : "RGB ", 4) == 0;
}

bool isKeptByPng(const DibBytes& profile, bool isGrey) {
    constexpr std::size_t kTags = 132;  // after the header and the number of tags
    constexpr std::size_t kTagBytes = 12;
    if (!isKept(profile, isGrey) || profile.size < kTags) return false;
    const auto number = [&](std::size_t at) { return std::size_t{dib::readBe32(profile.data + at)}; };
    const auto hasName = [&](std::size_t at, const char* name) {
        return std::memcmp(profile.data + at, name, 4) == 0;
    };
    const std::size_t size = number(0);
    const bool isVersion4 = profile.data[8] > 3;
    const bool isWhole = size >= kTags && size <= profile.size && (!isVersion4 || size % 4 == 0);
    constexpr std::size_t kIntents = 0xFFFF;
    if (!isWhole || !hasName(36, "acsp") || number(64) >= kIntents) return false;
    const bool isOfDevice = !hasName(12, "abst") && !hasName(12, "link");
    if (!isOfDevice || (!hasName(20, "XYZ ") && !hasName(20, "Lab "))) return false;
    const std::size_t tags = number(128);
    if (tags > (size - kTags) / kTagBytes) return false;
    for (std::size_t i = 0; i < tags; ++i) {
        const std::size_t start = number(kTags + i * kTagBytes + 4);
        if (start > size || number(kTags + i * kTagBytes + 8) > size - start) return false;
    }
    return true;
}

bool isKeptByPng(const DibBytes& exif) {
    if (exif.size < 2 || exif.size > kMostMetadataBytes) return false;
    return std::memcmp(exif.data, "II", 2) == 0 || std::memcmp(exif.data, "MM", 2) == 0;
}

OutgoingPicture::OutgoingPicture(const DibStream& image, bool keepsPalette)
    : kind_(kindOf(*image.Header, keepsPalette)) {
    dib::viewRows(image, raster_);
    if (kind_ != PixelKind::kPalette) return;
    colors_ = dib::readColorTable(*image.Header);
    const std::size_t most = dib::addressableEntries(raster_.bitCount);
    colorCount_ = dib::asInt(std::min(dib::announcedEntries(*image.Header), most));
    if (colorCount_ < dib::asInt(most)) colorCount_ = std::max(colorCount_, countColors());
}

// The largest index plus one.
int OutgoingPicture::countColors() const {
    const int bits = raster_.bitCount;
    const unsigned mask = (1U << bits) - 1;
    unsigned largest = 0;
    for (int y = 0; y < raster_.height; ++y) {
        const unsigned char* row = raster_.row(y);
        for (int x = 0; x < raster_.width; ++x) {
            const unsigned byte = row[std::ptrdiff_t{x} * bits / 8];
            largest = std::max(largest, byte >> (8 - bits - x * bits % 8) & mask);
        }
    }
    return dib::asInt(largest) + 1;
}

std::size_t OutgoingPicture::rowBytes() const { return dib::packedBytes(raster_.width, bits() * samples()); }

bool OutgoingPicture::start() {
    row_ = dib::allocateArray<unsigned char>(rowBytes());
    return row_ != nullptr;
}

const unsigned char* OutgoingPicture::row(int y) {
    const unsigned char* from = raster_.row(y);
    const std::size_t width = raster_.columns();
    switch (raster_.bitCount) {
        case 32: swapRedBlue32(from, row_.get(), width); break;
        case 24: swapRedBlue(from, row_.get(), width); break;
        case 16: {
            static const dib::IndexColors kNoColors;
            const dib::RowConverter widen = fileConverterOf(16, dib::Packed::kBgr);
            unsigned char strip[3 * dib::kStripPixels];
            dib::forEachStrip(width, [&](std::size_t x, std::size_t count) {
                widen(from + 2 * x, strip, count, kNoColors);
                swapRedBlue(strip, row_.get() + 3 * x, count);
            });
            break;
        }
        default: {
            std::copy_n(from, rowBytes(), row_.get());
            // What follows the last pixel does not belong to the picture.
            const int used = raster_.width * raster_.bitCount % 8;
            if (used > 0) row_[rowBytes() - 1] &= dib::byteOf(0xFF00U >> used);
        }
    }
    return row_.get();
}

}  // namespace formats
