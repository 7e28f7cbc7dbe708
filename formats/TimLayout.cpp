#include "formats/TimLayout.h"

#include "dib/Bytes.h"
#include "dib/Kernels.h"
#include "dib/Numbers.h"

namespace formats {

namespace {

constexpr std::uint32_t kModeMask = 7;
constexpr unsigned kSpecialBit = 0x8000;
constexpr std::uint8_t kHalf = 128;

// Reads fields of the file; missing ones are 0.
template <std::size_t kBytes>
std::array<unsigned char, kBytes> readFields(ByteReader& file) {
    std::array<unsigned char, kBytes> fields{};
    file.read(fields.data(), kBytes);
    return fields;
}

// Reads the words of one table, or as many as there are; the pixels start after the length of the block,
// whatever the number of its colours.
void readLookup(ByteReader& file, int table, TimLayout& layout, TimColors& colors) {
    const std::int64_t start = file.position();
    const TimBlock block = TimBlock::read(file);
    layout.lookup = block;
    layout.firstColor = start + dib::asOffset(TimBlock::kBytes);
    layout.colors = std::size_t{block.width} * block.height;
    const std::size_t first = dib::asSize(table) * layout.tableColors();
    const std::size_t count = first < layout.colors ? std::min(layout.colors - first, kMostTimColors) : 0;
    if (first > 0) file.skip(2 * first);
    for (std::size_t i = 0; i < count; ++i)
        colors[i] = dib::wordOf(dib::readLe16(readFields<2>(file).data()));
    file.seek(start + std::int64_t{block.length});
}

// The conversions between words of the file and of images, both ways.

template <unsigned kKept>
DIB_ALWAYS_INLINE void swapColors(std::uint16_t* words, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        const unsigned word = words[i];
        words[i] = dib::wordOf((word >> 10 & 31) | (word & (0x3E0 | kKept)) | (word & 31) << 10);
    }
}

DIB_ALWAYS_INLINE void swapNibbles(unsigned char* bytes, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        bytes[i] = dib::byteOf(bytes[i] >> 4 | bytes[i] << 4);
    }
}

DIB_ALWAYS_INLINE void swapEnds(unsigned char* bytes, std::size_t pixels) {
    for (std::size_t i = 0; i < pixels; ++i) {
        const unsigned char first = bytes[3 * i];
        bytes[3 * i] = bytes[3 * i + 2];
        bytes[3 * i + 2] = first;
    }
}

}  // namespace

TimBlock TimBlock::read(ByteReader& file) {
    const auto fields = readFields<kBytes>(file);
    return {dib::readLe32(&fields[0]), dib::readLe16(&fields[4]), dib::readLe16(&fields[6]),
            dib::readLe16(&fields[8]), dib::readLe16(&fields[10])};
}

std::array<unsigned char, TimBlock::kBytes> TimBlock::bytes() const {
    std::array<unsigned char, kBytes> fields{};
    dib::writeLe32(&fields[0], length);
    dib::writeLe16(&fields[4], x);
    dib::writeLe16(&fields[6], y);
    dib::writeLe16(&fields[8], width);
    dib::writeLe16(&fields[10], height);
    return fields;
}

DibErrorCode readTimLayout(ByteReader& file, const TimDialect& dialect, int table, TimLayout& layout,
                           TimColors& colors) {
    if (dib::readLe32(readFields<4>(file).data()) != kTimIdentifier) return DIB_ERROR_INVALID;
    const std::uint32_t flags = dib::readLe32(readFields<4>(file).data());
    const std::uint32_t mode = flags & kModeMask;
    if (mode > (dialect.knowsTrueColor ? kTimTrueColor : kTimTrueColor - 1)) return DIB_ERROR_UNSUPPORTED;
    layout.bitCount = mode == kTimTrueColor ? 24 : 4 << mode;
    layout.hasLookup = (flags & kTimHasLookup) != 0;
    if (layout.hasLookup) readLookup(file, table, layout, colors);
    layout.pixelStart = file.position() + std::int64_t{TimBlock::kBytes};
    layout.pixels = TimBlock::read(file);
    return DIB_OK;
}

DibBGRA timColor(unsigned word, const TimDialect& dialect) {
    const auto channel = [&](unsigned shift) {
        const unsigned value = word >> shift & 31;
        return dib::byteOf(dialect.scalesColors ? (value * 255 + 15) / 31 : value << 3);
    };
    return {channel(10), channel(5), channel(0), 0};
}

DibBGRA timColorWithAlpha(unsigned word) {
    DibBGRA color = timColor(word, kWideTim);
    const bool isBlack = (word & ~kSpecialBit) == 0;
    const bool isSpecial = (word & kSpecialBit) != 0;
    // The special bit makes black opaque, and other colours half transparent.
    color.alpha = isBlack == isSpecial ? 255 : isBlack ? 0 : kHalf;
    return color;
}

unsigned timWord(const DibBGRA& color) {
    return static_cast<unsigned>(color.red >> 3 | color.green >> 3 << 5 | color.blue >> 3 << 10);
}

unsigned timWordWithAlpha(const DibBGRA& color) {
    if (color.alpha < kHalf / 2) return 0;
    const unsigned word = timWord(color);
    const bool isHalf = color.alpha < (kHalf + 255) / 2;
    return word == 0 || isHalf ? word | kSpecialBit : word;
}

void exchangeTimOrder(unsigned char* row, std::size_t bytes, int bitCount, bool keepsSpecialBit) {
    auto* words = reinterpret_cast<std::uint16_t*>(row);
    if (bitCount == 24) dib::runKernel<swapEnds>(row, bytes / 3);
    if (bitCount == 16 && keepsSpecialBit) dib::runKernel<swapColors<kSpecialBit>>(words, bytes / 2);
    if (bitCount == 16 && !keepsSpecialBit) dib::runKernel<swapColors<0>>(words, bytes / 2);
    if (bitCount == 4) dib::runKernel<swapNibbles>(row, bytes);
}

}  // namespace formats
