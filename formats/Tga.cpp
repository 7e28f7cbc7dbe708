// A TGA file is an 18-byte header, an identification text, a colour map and the pixels. They have the byte order
// of images in memory, so they are stored as they are; only colour maps of 32-bit entries are looked up.
#include "formats/Tga.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

#include "dib/Bytes.h"
#include "dib/ColorTable.h"
#include "dib/Memory.h"
#include "formats/ByteSource.h"
#include "formats/CodecFrame.h"
#include "formats/NewImage.h"
#include "formats/Rows.h"

using formats::fail;
using formats::NewImage;

namespace {

enum ImageType : unsigned {
    kMapped = 1,
    kTrueColor = 2,
    kGrey = 3,
    kRunLengthMapped = 9,
    kRunLengthTrueColor = 10
};

struct TgaHeader {
    static constexpr std::size_t kBytes = 18;

    unsigned idBytes = 0;
    unsigned colorMapType = 0;
    unsigned imageType = 0;
    std::int16_t mapEntries = 0;
    unsigned mapEntryBits = 0;
    std::int16_t width = 0;
    std::int16_t height = 0;
    int bitCount = 0;
    unsigned descriptor = 0;

    bool hasMap() const { return colorMapType != 0; }
    bool topRowFirst() const { return (descriptor & 0x20) != 0; }
    std::size_t rowBytes() const {
        return static_cast<std::size_t>(width) * static_cast<std::size_t>(bitCount) / 8;
    }
    std::size_t rows() const { return static_cast<std::size_t>(height); }
};

TgaHeader parseHeader(const unsigned char* bytes) {
    TgaHeader header;
    header.idBytes = bytes[0];
    header.colorMapType = bytes[1];
    header.imageType = bytes[2];
    // Bytes 3 and 4 name the first entry of the map; indices count from the first stored one all the same.
    header.mapEntries = static_cast<std::int16_t>(dib::readLe16(bytes + 5));
    header.mapEntryBits = bytes[7];
    header.width = static_cast<std::int16_t>(dib::readLe16(bytes + 12));
    header.height = static_cast<std::int16_t>(dib::readLe16(bytes + 14));
    header.bitCount = bytes[16];
    header.descriptor = bytes[17];
    return header;
}

// Bytes of one entry of a map beside pixels that do not use it. Sizes other than these skip nothing: files with
// 15-bit entries, whose pixels then start too early, have always been read so.
std::size_t skippedEntryBytes(const TgaHeader& header) {
    const unsigned bits = header.mapEntryBits;
    return bits == 8 || bits == 16 || bits == 24 || bits == 32 ? bits / 8 : 0;
}

// Whether that map can be skipped: not backwards.
bool unusedMapIsValid(const TgaHeader& header) {
    return !header.hasMap() || header.mapEntries >= 0 || skippedEntryBytes(header) == 0;
}

void skipUnusedMap(std::FILE* file, const TgaHeader& header) {
    const std::size_t entryBytes = skippedEntryBytes(header);
    if (header.hasMap() && entryBytes > 0)
        dib::skipBytes(file, entryBytes * static_cast<std::size_t>(header.mapEntries));
}

// Image sizes. Raw pixels are kept in the row order of the file; run-length ones always bottom-up.
bool createInFileOrder(std::FILE* file, NewImage& image, const TgaHeader& header, int bitCount) {
    const int height = header.topRowFirst() ? -header.height : header.height;
    // A height below 1 in the header makes an image without any row to read.
    const std::uint64_t fewestBytes = header.height < 1 ? 0 : header.rowBytes() * header.rows();
    return image.create(file, header.width, height, bitCount, fewestBytes);
}

bool readRawPixels(std::FILE* file, NewImage& image, const TgaHeader& header) {
    if (header.height < 1) return true;
    const std::size_t pitch = image->GetPitch();
    const std::size_t bytes = dib::readRows(file, image->Buffer, static_cast<std::ptrdiff_t>(pitch),
                                            header.rowBytes(), header.rows());
    const std::size_t whole = bytes / header.rowBytes();
    image.read(image->Buffer, whole);
    if (whole == header.rows()) return true;
    image.readPart(image->Buffer + whole * pitch, bytes % header.rowBytes());
    return fail(image, DIB_ERROR_READ);
}

// Reads a map of 24-bit entries into the table of an 8-bit image.
bool readMap24(std::FILE* file, NewImage& image, const TgaHeader& header) {
    std::array<unsigned char, 256 * 3> map;
    const std::size_t entries = static_cast<std::size_t>(header.mapEntries);
    if (!dib::readBytes(file, map.data(), entries * 3)) return fail(image, DIB_ERROR_READ);
    DibBGRA* table = dib::colorTable(image->Header);
    for (std::size_t i = 0; i < entries; ++i) table[i] = {map[3 * i], map[3 * i + 1], map[3 * i + 2], 0};
    return true;
}

constexpr int kTableEntries = 256;

// Raw pixels looked up in a map of 32-bit entries, which an image keeps only as pixels.
bool readExpanded(std::FILE* file, NewImage& image, const TgaHeader& header) {
    if (!createInFileOrder(file, image, header, 32)) return false;
    const std::size_t entries = static_cast<std::size_t>(header.mapEntries);
    const auto map = dib::allocateArray<DibBGRA>(std::max(entries, std::size_t{1}));
    if (map == nullptr) return fail(image, DIB_ERROR_MEMORY);
    if (!dib::readBytes(file, map.get(), entries * sizeof(DibBGRA))) return fail(image, DIB_ERROR_READ);
    if (header.height < 1) return true;

    std::array<DibBGRA, kTableEntries> table{};  // what the map lacks is transparent black
    std::copy_n(map.get(), std::min(entries, table.size()), table.begin());
    formats::RowReader rows(file, header.rowBytes(), header.rows());
    if (!rows.ready()) return fail(image, DIB_ERROR_MEMORY);
    for (std::size_t row = 0; row < header.rows(); ++row) {
        const unsigned char* indices = rows.next();
        if (indices == nullptr) return fail(image, DIB_ERROR_READ);
        auto* out = reinterpret_cast<DibBGRA*>(image->Buffer + row * image->GetPitch());
        for (int x = 0; x < header.width; ++x) out[x] = table[indices[x]];
        image.read(image->Buffer + row * image->GetPitch());
    }
    return true;
}

bool readMapped(std::FILE* file, NewImage& image, const TgaHeader& header) {
    const bool known = header.mapEntryBits == 24 || header.mapEntryBits == 32;
    if (header.bitCount != 8 || !header.hasMap() || !known) return fail(image, DIB_ERROR_UNSUPPORTED);
    if (header.mapEntries < 0) return fail(image, DIB_ERROR_INVALID);
    if (header.mapEntryBits == 32) return readExpanded(file, image, header);
    if (header.mapEntries > kTableEntries) return fail(image, DIB_ERROR_INVALID);
    return createInFileOrder(file, image, header, 8) && readMap24(file, image, header) &&
           readRawPixels(file, image, header);
}

bool readTrueColor(std::FILE* file, NewImage& image, const TgaHeader& header) {
    const bool known = header.bitCount == 16 || header.bitCount == 24 || header.bitCount == 32;
    if (!known) return fail(image, DIB_ERROR_UNSUPPORTED);
    if (!unusedMapIsValid(header)) return fail(image, DIB_ERROR_INVALID);
    if (!createInFileOrder(file, image, header, header.bitCount)) return false;
    skipUnusedMap(file, header);
    return readRawPixels(file, image, header);
}

bool readGrey(std::FILE* file, NewImage& image, const TgaHeader& header) {
    if (header.bitCount != 8) return fail(image, DIB_ERROR_UNSUPPORTED);
    if (!unusedMapIsValid(header)) return fail(image, DIB_ERROR_INVALID);
    if (!createInFileOrder(file, image, header, 8)) return false;
    image->SetMonoPalette();
    skipUnusedMap(file, header);
    return readRawPixels(file, image, header);
}

template <std::size_t kPixelBytes>
void fillPixels(unsigned char* out, const unsigned char* pixel, int count) {
    unsigned char value[kPixelBytes];
    std::memcpy(value, pixel, kPixelBytes);
    for (int i = 0; i < count; ++i)
        std::memcpy(out + static_cast<std::size_t>(i) * kPixelBytes, value, kPixelBytes);
}

// Packets of a count byte and pixels: with its top bit set one pixel to repeat, else as many as counted. They run
// on across the ends of rows, and the last one may hold more than the image takes.
template <std::size_t kPixelBytes>
bool decodePackets(std::FILE* file, NewImage& image, const TgaHeader& header) {
    formats::ByteSource source(file);
    const int step = header.topRowFirst() ? 1 : -1;
    const int end = header.topRowFirst() ? header.height : -1;
    int y = header.topRowFirst() ? 0 : header.height - 1;
    int x = 0;
    unsigned char* row = image->ScanLine(y);
    const auto endInRow = [&](std::size_t pixels) {
        image.readPart(row, pixels * kPixelBytes);
        return fail(image, DIB_ERROR_READ);
    };
    while (y != end) {
        const int packet = source.byte();
        if (packet < 0) return endInRow(static_cast<std::size_t>(x));
        const bool isRun = (packet & 0x80) != 0;
        const unsigned char* repeated = isRun ? source.take(kPixelBytes) : nullptr;
        if (isRun && repeated == nullptr) return endInRow(static_cast<std::size_t>(x));
        for (int left = (packet & 0x7F) + 1; left > 0 && y != end;) {
            const int count = std::min(left, header.width - x);
            unsigned char* out = row + static_cast<std::size_t>(x) * kPixelBytes;
            if (isRun) {
                fillPixels<kPixelBytes>(out, repeated, count);
            } else {
                const std::size_t wanted = static_cast<std::size_t>(count) * kPixelBytes;
                const std::size_t atHand = std::min(wanted, source.fill(wanted));
                std::memcpy(out, source.advance(atHand), atHand - atHand % kPixelBytes);
                if (atHand < wanted) return endInRow(static_cast<std::size_t>(x) + atHand / kPixelBytes);
            }
            left -= count;
            x += count;
            if (x < header.width) continue;
            image.read(row);
            x = 0;
            y += step;
            row = image->ScanLine(y);
        }
    }
    return true;
}

// A run of 128 pixels takes a count byte and a pixel.
std::uint64_t fewestPacketBytes(const TgaHeader& header) {
    const std::uint64_t pixels = static_cast<std::size_t>(header.width) * header.rows();
    return (pixels + 127) / 128 * (1 + static_cast<unsigned>(header.bitCount) / 8);
}

bool readRunLengthMapped(std::FILE* file, NewImage& image, const TgaHeader& header) {
    if (header.bitCount != 8 || !header.hasMap()) return false;
    const bool known = header.mapEntryBits == 24;
    const bool fitting = header.mapEntries >= 0 && header.mapEntries <= kTableEntries;
    if (header.height < 0 || (known && !fitting)) return fail(image, DIB_ERROR_INVALID);
    const std::uint64_t fewestBytes = known ? fewestPacketBytes(header) : 0;
    if (!image.create(file, header.width, header.height, 8, fewestBytes)) return false;
    if (!known) return false;  // the new image stays
    return readMap24(file, image, header) && decodePackets<1>(file, image, header);
}

bool readRunLengthTrueColor(std::FILE* file, NewImage& image, const TgaHeader& header) {
    if (header.bitCount != 16 && header.bitCount != 24 && header.bitCount != 32) return false;
    if (header.height < 0 || !unusedMapIsValid(header)) return fail(image, DIB_ERROR_INVALID);
    if (!image.create(file, header.width, header.height, header.bitCount, fewestPacketBytes(header)))
        return false;
    skipUnusedMap(file, header);
    switch (header.bitCount) {
        case 16: return decodePackets<2>(file, image, header);
        case 24: return decodePackets<3>(file, image, header);
        default: return decodePackets<4>(file, image, header);
    }
}

bool readImage(std::FILE* file, NewImage& image, const TgaHeader& header) {
    switch (header.imageType) {
        case kMapped: return readMapped(file, image, header);
        case kTrueColor: return readTrueColor(file, image, header);
        case kGrey: return readGrey(file, image, header);
        case kRunLengthMapped: return readRunLengthMapped(file, image, header);
        case kRunLengthTrueColor: return readRunLengthTrueColor(file, image, header);
        default: return false;
    }
}

constexpr bool isKnownType(unsigned type) {
    return (type >= kMapped && type <= kGrey) || type == kRunLengthMapped || type == kRunLengthTrueColor;
}

void writeHeader(std::FILE* file, const TgaHeader& header) {
    unsigned char bytes[TgaHeader::kBytes] = {};
    bytes[1] = static_cast<unsigned char>(header.colorMapType);
    bytes[2] = static_cast<unsigned char>(header.imageType);
    dib::writeLe16(bytes + 5, static_cast<std::uint16_t>(header.mapEntries));
    bytes[7] = static_cast<unsigned char>(header.mapEntryBits);
    dib::writeLe16(bytes + 12, static_cast<std::uint16_t>(header.width));
    dib::writeLe16(bytes + 14, static_cast<std::uint16_t>(header.height));
    bytes[16] = static_cast<unsigned char>(header.bitCount);
    bytes[17] = static_cast<unsigned char>(header.descriptor);
    dib::writeBytes(file, bytes, sizeof bytes);
}

// The colours of a table as blue, green, red.
bool writeMap(std::FILE* file, const DibBGRA* table, std::size_t entries) {
    formats::RowWriter map(file, sizeof(DibBGR), entries);
    if (!map.ready()) return false;
    for (std::size_t i = 0; i < entries; ++i) std::memcpy(map.next(), &table[i], sizeof(DibBGR));
    return true;
}

// The header that says how an image of 8 bits or more is written.
TgaHeader headerOf(const BITMAPINFOHEADER& info) {
    TgaHeader header;
    header.imageType = kTrueColor;
    header.width = static_cast<std::int16_t>(info.biWidth);
    header.height = static_cast<std::int16_t>(dib::rowCount(info.biHeight));
    header.bitCount = info.biBitCount;
    header.descriptor = info.biBitCount == 32 ? 8 : 0;  // bits of alpha
    if (info.biBitCount == 8) {
        header.imageType = kMapped;
        header.colorMapType = 1;
        header.mapEntries = static_cast<std::int16_t>(dib::announcedEntries(info));
        header.mapEntryBits = 24;
    }
    return header;
}

}  // namespace

bool LoadTGA(std::FILE* file, DibStream* image, DibProgressCallback, void*) {
    image->ErrorCode = DIB_ERROR_GENERAL;
    unsigned char bytes[TgaHeader::kBytes];
    if (!dib::readBytes(file, bytes, sizeof bytes)) return fail(image, DIB_ERROR_READ);
    const TgaHeader header = parseHeader(bytes);
    dib::skipBytes(file, header.idBytes);
    if (!isKnownType(header.imageType)) return false;
    NewImage picture(image);
    if (!readImage(file, picture, header)) return false;
    image->ErrorCode = DIB_OK;
    return true;
}

bool LoadTGA(const char* path, DibStream* image, DibProgressCallback callback, void* user) {
    return formats::loadPath(path, LoadTGA, image, callback, user);
}
bool LoadTGA(const wchar_t* path, DibStream* image, DibProgressCallback callback, void* user) {
    return formats::loadPath(path, LoadTGA, image, callback, user);
}

bool SaveTGA(std::FILE* file, DibStream* image, DibProgressCallback callback, void* user) {
    // A callback may change the image: it is then written as it was at the start.
    const bool converts = image->Header == nullptr || image->Header->biBitCount < 8;
    formats::ImagePtr copy;
    if (converts || callback != nullptr) {
        copy.reset(image->Clone());
        if (copy == nullptr) return fail(image, DIB_ERROR_MEMORY);
        if (converts) copy->ChangeBpp(24, 0);
    }
    DibStream& source = copy != nullptr ? *copy : *image;
    if (source.Header == nullptr) {
        // No image makes a file without pixels.
        TgaHeader empty;
        empty.imageType = kTrueColor;
        writeHeader(file, empty);
        return true;
    }
    if (!dib::hasRows(source)) return fail(image, DIB_ERROR_INVALID);
    const int bitCount = source.Header->biBitCount;
    if (bitCount != 8 && bitCount != 16 && bitCount != 24 && bitCount != 32) {
        return fail(image, converts ? DIB_ERROR_MEMORY : DIB_ERROR_UNSUPPORTED);
    }

    const TgaHeader header = headerOf(*source.Header);
    writeHeader(file, header);
    const auto entries = static_cast<std::uint16_t>(header.mapEntries);
    if (!writeMap(file, dib::colorTable(image->Header), entries)) return fail(image, DIB_ERROR_MEMORY);

    const dib::ImageSize size = dib::admitSize(*source.Header);
    const std::size_t rowBytes =
        static_cast<std::size_t>(source.Header->biWidth) * static_cast<std::size_t>(bitCount) / 8;
    const int height = static_cast<int>(size.rows);
    if (copy == nullptr && source.Header->biHeight > 0 && rowBytes == size.rowBytes) {
        // The pixels lie in memory as the file has them.
        dib::writeBytes(file, source.Buffer, size.imageBytes);
        return true;
    }
    if (callback == nullptr) {
        const unsigned char* bottom = source.ScanLine(height - 1);
        const std::ptrdiff_t up = height > 1 ? source.ScanLine(height - 2) - bottom : 0;
        dib::writeRows(file, bottom, up, rowBytes, size.rows);
        return true;
    }
    formats::RowWriter rows(file, rowBytes, size.rows);
    if (!rows.ready()) return fail(image, DIB_ERROR_MEMORY);
    for (int row = 0; row < height; ++row) {
        std::memcpy(rows.next(), source.ScanLine(height - 1 - row), rowBytes);
        if (formats::report(callback, user, row, height)) continue;
        return bitCount == 8 ? false : fail(image, DIB_ERROR_INTERRUPTED);
    }
    return true;
}

bool SaveTGA(const char* path, DibStream* image, DibProgressCallback callback, void* user) {
    return formats::savePath(path, SaveTGA, image, callback, user);
}
bool SaveTGA(const wchar_t* path, DibStream* image, DibProgressCallback callback, void* user) {
    return formats::savePath(path, SaveTGA, image, callback, user);
}
