// A TIM file is an identifier, a word of flags, an optional block of lookup colours and a block of pixels,
// top row first. Colours are words of three times 5 bits, red lowest.
#include "formats/Tim.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

#include "dib/Bytes.h"
#include "dib/ColorTable.h"
#include "dib/Kernels.h"
#include "formats/ByteReader.h"
#include "formats/CodecFrame.h"
#include "formats/Formats.h"
#include "formats/NewImage.h"
#include "formats/Rows.h"

using formats::ByteReader;
using formats::ByteWriter;
using formats::fail;

namespace {

constexpr std::uint32_t kIdentifier = 0x10;
constexpr std::uint32_t kModeMask = 7;  // 0, 1 and 2 are pixels of 4, 8 and 16 bits; others are not handled
constexpr std::uint32_t kHasLookup = 8;
constexpr std::size_t kMostColors = 256;
using ColorTable = std::array<DibBGRA, kMostColors>;

// Reads fields of the file; missing ones are 0.
template <std::size_t kBytes>
std::array<unsigned char, kBytes> readFields(ByteReader& file) {
    std::array<unsigned char, kBytes> fields{};
    file.read(fields.data(), kBytes);
    return fields;
}

// The start of both kinds of blocks; their position in the frame buffer is ignored.
struct BlockHeader {
    static constexpr std::size_t kBytes = 12;
    std::uint32_t length = 0;  // bytes of the block, these included
    unsigned width = 0;        // in words
    unsigned height = 0;

    static BlockHeader read(ByteReader& file) {
        const auto fields = readFields<kBytes>(file);
        return {dib::readLe32(&fields[0]), dib::readLe16(&fields[8]), dib::readLe16(&fields[10])};
    }
    void write(ByteWriter& file) const {
        unsigned char fields[kBytes] = {};
        dib::writeLe32(fields, length);
        dib::writeLe16(fields + 8, width);
        dib::writeLe16(fields + 10, height);
        file.bytes(fields, kBytes);
    }
};

// Colours as words.

DibBGRA colorOf(unsigned word) {
    return {static_cast<std::uint8_t>(word >> 7 & 0xF8), static_cast<std::uint8_t>(word >> 2 & 0xF8),
            static_cast<std::uint8_t>(word << 3 & 0xF8), 0};
}

unsigned wordOf(const DibBGRA& color) {
    return static_cast<unsigned>(color.red >> 3 | color.green >> 3 << 5 | color.blue >> 3 << 10);
}

void readLookup(ByteReader& file, ColorTable& colors) {
    const std::int64_t start = file.position();
    const BlockHeader block = BlockHeader::read(file);
    const std::size_t count = std::min(std::size_t{block.width} * block.height, kMostColors);
    for (std::size_t i = 0; i < count; ++i) colors[i] = colorOf(dib::readLe16(readFields<2>(file).data()));
    // The pixels start after the length of the block, whatever the size of the table.
    file.seek(start + std::int64_t{block.length});
}

// The conversions between words of the file and of images, both ways; the 16th bit is lost.

DIB_ALWAYS_INLINE void swapColors(std::uint16_t* words, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        const unsigned word = words[i];
        words[i] = static_cast<std::uint16_t>((word >> 10 & 31) | (word & 0x3E0) | (word & 31) << 10);
    }
}

DIB_ALWAYS_INLINE void swapNibbles(unsigned char* bytes, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        bytes[i] = static_cast<unsigned char>(bytes[i] >> 4 | bytes[i] << 4);
    }
}

void exchangeOrder(unsigned char* row, std::size_t bytes, int bitCount) {
    if (bitCount == 16) dib::runKernel<swapColors>(reinterpret_cast<std::uint16_t*>(row), bytes / 2);
    if (bitCount == 4) dib::runKernel<swapNibbles>(row, bytes);
}

}  // namespace

bool LoadTIM(std::FILE* file, DibStream* image, DibProgressCallback, void*) {
    ByteReader reader(file);
    if (dib::readLe32(readFields<4>(reader).data()) != kIdentifier) return fail(image, DIB_ERROR_INVALID);
    const std::uint32_t flags = dib::readLe32(readFields<4>(reader).data());
    const std::uint32_t mode = flags & kModeMask;
    if (mode > 2) return fail(image, DIB_ERROR_UNSUPPORTED);
    const int bitCount = 4 << mode;

    ColorTable colors{};
    if ((flags & kHasLookup) != 0) readLookup(reader, colors);
    const BlockHeader block = BlockHeader::read(reader);
    const int width = static_cast<int>(block.width) * 16 / bitCount;
    const int height = static_cast<int>(block.height);
    const std::size_t rowBytes = std::size_t{block.width} * 2;
    formats::NewImage picture(image);
    if (!picture.create(reader, width, height, bitCount, rowBytes * block.height)) return false;
    if ((flags & kHasLookup) == 0) {
        image->SetMonoPalette();
    } else if (bitCount <= 8) {
        std::copy_n(colors.begin(), dib::addressableEntries(bitCount), dib::colorTable(image->Header));
    }

    // Missing pixels are 0: a file that ends early is not an error.
    for (int y = 0; y < height; ++y) {
        unsigned char* row = image->ScanLine(y);
        const std::size_t read = reader.copy(row, rowBytes);
        if (read == 0) break;
        picture.readPart(row, read);
        exchangeOrder(row, rowBytes, bitCount);
    }
    return true;
}

bool LoadTIM(const char* path, DibStream* image, DibProgressCallback callback, void* user) {
    return formats::loadPath(path, LoadTIM, image, callback, user);
}
bool LoadTIM(const wchar_t* path, DibStream* image, DibProgressCallback callback, void* user) {
    return formats::loadPath(path, LoadTIM, image, callback, user);
}

namespace {

// One row of all colours that the depth can address; missing ones are 0.
void writeLookup(ByteWriter& file, const BITMAPINFOHEADER& header) {
    const std::size_t count = dib::addressableEntries(header.biBitCount);
    const ColorTable colors = dib::readColorTable(header);
    std::array<unsigned char, kMostColors * 2> words;
    for (std::size_t i = 0; i < count; ++i) dib::writeLe16(&words[2 * i], wordOf(colors[i]));
    BlockHeader{static_cast<std::uint32_t>(BlockHeader::kBytes + 2 * count), static_cast<unsigned>(count), 1}
        .write(file);
    file.bytes(words.data(), 2 * count);
}

std::uint32_t flagsOf(int bitCount) {
    switch (bitCount) {
        case 4: return 0 | kHasLookup;
        case 8: return 1 | kHasLookup;
        default: return 2;
    }
}

void writeWord(ByteWriter& file, std::uint32_t word) {
    unsigned char bytes[4];
    dib::writeLe32(bytes, word);
    file.bytes(bytes, sizeof bytes);
}

bool writeTim(ByteWriter& file, DibStream* image, DibProgressCallback, void*) {
    writeWord(file, kIdentifier);
    const int held = dib::hasRows(*image) ? image->Header->biBitCount : 0;
    formats::ImagePtr converted;
    if (held != 4 && held != 8 && held != 16) {
        converted.reset(image->Clone());
        if (converted == nullptr || !converted->ChangeBpp(16, 0)) return fail(image, DIB_ERROR_MEMORY);
    }
    DibStream& source = converted != nullptr ? *converted : *image;
    const BITMAPINFOHEADER& header = *source.Header;
    const dib::ImageSize size = dib::admitSize(header);
    // A word holds 4, 2 or 1 pixels, and the file counts at most 65535 words.
    const std::size_t words =
        (static_cast<std::size_t>(header.biWidth) * header.biBitCount + 15) / 16 & 0xFFFF;
    formats::RowWriter rows(file, words * 2, size.rows);
    if (!rows.ready()) return fail(image, DIB_ERROR_MEMORY);

    writeWord(file, flagsOf(header.biBitCount));
    if (header.biBitCount != 16) writeLookup(file, header);
    BlockHeader{static_cast<std::uint32_t>(words * 2 * size.rows + BlockHeader::kBytes),
                static_cast<unsigned>(words), static_cast<unsigned>(size.rows)}
        .write(file);
    for (int y = 0; y < static_cast<int>(size.rows); ++y) {
        unsigned char* row = rows.next();
        std::memcpy(row, source.ScanLine(y), words * 2);
        exchangeOrder(row, words * 2, header.biBitCount);
    }
    return true;
}

}  // namespace

void SaveTIM(std::FILE* file, DibStream* image, DibProgressCallback callback, void* user) {
    ByteWriter out(file);
    writeTim(out, image, callback, user);
}

// Always returns false, even for a complete file: callers must not use the result.
bool SaveTIM(const char* path, DibStream* image, DibProgressCallback callback, void* user) {
    formats::saveFile(path, writeTim, image, callback, user);
    return false;
}
bool SaveTIM(const wchar_t* path, DibStream* image, DibProgressCallback callback, void* user) {
    formats::saveFile(path, writeTim, image, callback, user);
    return false;
}

namespace formats {

namespace {

bool recognizes(FirstBytes bytes) {
    return bytes.size() >= 8 && dib::readLe32(bytes.data()) == kIdentifier && bytes[4] < 16;
}

constexpr const char* kExtensions[] = {"tim", nullptr};
constexpr const char* kMimeTypes[] = {"image/x-tim", nullptr};

}  // namespace

constinit const FileFormat kTimFormat = {
    .info = {.name = "tim",
             .title = "TIM texture",
             .extensions = kExtensions,
             .mimeTypes = kMimeTypes,
             .readDepths = depths({4, 8, 16}),
             .writeDepths = depths({4, 8, 16})},
    .recognizes = recognizes,
    .load = LoadTIM,
    .save = saveWhole<writeTim>,
    .diagnose = diagnoseTim,
};

}  // namespace formats
