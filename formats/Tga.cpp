// A TGA file is an 18-byte header, an identification text, a colour map and the pixels. Pixels have the byte
// order of images in memory and are stored unchanged; only colour maps of 32-bit entries are looked up.
#include "formats/Tga.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

#include "dib/Bytes.h"
#include "dib/ColorTable.h"
#include "dib/ImageSize.h"
#include "dib/Memory.h"
#include "dib/Numbers.h"
#include "formats/ByteReader.h"
#include "formats/CodecFrame.h"
#include "formats/Formats.h"
#include "formats/NewImage.h"
#include "formats/Rows.h"
#include "formats/TgaHeader.h"
#include "formats/TgaPackets.h"

using formats::ByteReader;
using formats::ByteWriter;
using formats::fail;
using formats::NewImage;
using formats::PacketReader;
using formats::TgaHeader;

namespace {

// Bytes of one entry of a map that the pixels do not use. Maps of other sizes, 15 bits among them, are not
// skipped: callers rely on how such files have always been read.
std::size_t skippedEntryBytes(const TgaHeader& header) {
    const unsigned bits = header.mapEntryBits;
    return bits == 8 || bits == 16 || bits == 24 || bits == 32 ? bits / 8 : 0;
}

// A map of negative length cannot be skipped.
bool unusedMapIsValid(const TgaHeader& header) {
    return !header.hasMap() || header.mapEntries >= 0 || skippedEntryBytes(header) == 0;
}

void skipUnusedMap(ByteReader& file, const TgaHeader& header) {
    const std::size_t entryBytes = skippedEntryBytes(header);
    if (header.hasMap() && entryBytes > 0) file.skip(entryBytes * header.entries());
}

// Raw pixels keep the row order of the file; run-length pictures are always bottom-up.
bool createInFileOrder(ByteReader& file, NewImage& image, const TgaHeader& header, int bitCount) {
    const int height = header.topRowFirst() ? -header.height : header.height;
    // A negative height makes an image without rows to read.
    const std::uint64_t fewestBytes = header.height < 1 ? 0 : header.rowBytes() * header.rows();
    return image.create(file, header.width, height, bitCount, fewestBytes);
}

bool readRawPixels(ByteReader& file, NewImage& image, const TgaHeader& header) {
    if (header.height < 1) return true;
    const std::size_t pitch = image->GetPitch();
    const std::size_t bytes =
        file.readRows(image->Buffer, dib::asOffset(pitch), header.rowBytes(), header.rows());
    const std::size_t whole = bytes / header.rowBytes();
    image.read(image->Buffer, whole);
    if (whole == header.rows()) return true;
    image.readPart(image->Buffer + whole * pitch, bytes % header.rowBytes());
    return fail(image, DIB_ERROR_READ);
}

// Reads a map of 24-bit entries into the table of an 8-bit image.
bool readMap24(ByteReader& file, NewImage& image, const TgaHeader& header) {
    std::array<unsigned char, 256 * 3> map;
    const std::size_t entries = header.entries();
    if (!file.read(map.data(), entries * 3)) return fail(image, DIB_ERROR_READ);
    DibBGRA* table = dib::colorTable(image->Header);
    for (std::size_t i = 0; i < entries; ++i) table[i] = {map[3 * i], map[3 * i + 1], map[3 * i + 2], 0};
    return true;
}

constexpr int kTableEntries = 256;

// Looks raw pixels up in a map of 32-bit entries, because tables of images have no alpha.
bool readExpanded(ByteReader& file, NewImage& image, const TgaHeader& header) {
    if (!createInFileOrder(file, image, header, 32)) return false;
    std::array<DibBGRA, kTableEntries> table{};  // missing entries are transparent black
    const std::size_t entries = header.entries();
    const std::size_t used = std::min(entries, table.size());
    if (!file.read(table.data(), used * sizeof(DibBGRA)) || !file.pass((entries - used) * sizeof(DibBGRA)))
        return fail(image, DIB_ERROR_READ);
    for (int row = 0; row < header.height; ++row) {
        const unsigned char* indices = file.take(header.rowBytes());
        if (indices == nullptr) return fail(image, DIB_ERROR_READ);
        unsigned char* out = image->Buffer + dib::asSize(row) * image->GetPitch();
        for (int x = 0; x < header.width; ++x) std::memcpy(out + 4 * x, &table[indices[x]], sizeof(DibBGRA));
        image.read(out);
    }
    return true;
}

bool readMapped(ByteReader& file, NewImage& image, const TgaHeader& header) {
    const bool known = header.mapEntryBits == 24 || header.mapEntryBits == 32;
    if (header.bitCount != 8 || !header.hasMap() || !known) return fail(image, DIB_ERROR_UNSUPPORTED);
    if (header.mapEntries < 0) return fail(image, DIB_ERROR_INVALID);
    if (header.mapEntryBits == 32) return readExpanded(file, image, header);
    if (header.mapEntries > kTableEntries) return fail(image, DIB_ERROR_INVALID);
    return createInFileOrder(file, image, header, 8) && readMap24(file, image, header) &&
           readRawPixels(file, image, header);
}

bool readTrueColor(ByteReader& file, NewImage& image, const TgaHeader& header) {
    const bool known = header.bitCount == 16 || header.bitCount == 24 || header.bitCount == 32;
    if (!known) return fail(image, DIB_ERROR_UNSUPPORTED);
    if (!unusedMapIsValid(header)) return fail(image, DIB_ERROR_INVALID);
    if (!createInFileOrder(file, image, header, header.bitCount)) return false;
    skipUnusedMap(file, header);
    return readRawPixels(file, image, header);
}

bool readGrey(ByteReader& file, NewImage& image, const TgaHeader& header) {
    if (header.bitCount != 8) return fail(image, DIB_ERROR_UNSUPPORTED);
    if (!unusedMapIsValid(header)) return fail(image, DIB_ERROR_INVALID);
    if (!createInFileOrder(file, image, header, 8)) return false;
    image->SetMonoPalette();
    skipUnusedMap(file, header);
    return readRawPixels(file, image, header);
}

template <std::size_t kPixelBytes>
bool readPackets(ByteReader& file, NewImage& image, const TgaHeader& header) {
    PacketReader<kPixelBytes> packets(file);
    const int last = header.height - 1;
    for (int i = 0; i <= last; ++i) {
        unsigned char* row = image->ScanLine(header.topRowFirst() ? i : last - i);
        const std::size_t bytes = packets.read(row, header.rowBytes());
        if (bytes < header.rowBytes()) {
            image.readPart(row, bytes);
            return fail(image, DIB_ERROR_READ);
        }
        image.read(row);
    }
    return true;
}

// The shortest packing: a count byte and a pixel for 128 pixels.
std::uint64_t fewestPacketBytes(const TgaHeader& header) {
    const std::uint64_t pixels = header.columns() * header.rows();
    return (pixels + 127) / 128 * (1 + dib::asUnsigned(header.bitCount) / 8);
}

bool readRunLengthMapped(ByteReader& file, NewImage& image, const TgaHeader& header) {
    if (header.bitCount != 8 || !header.hasMap()) return false;
    const bool known = header.mapEntryBits == 24;
    const bool fitting = header.mapEntries >= 0 && header.mapEntries <= kTableEntries;
    if (header.height < 0 || (known && !fitting)) return fail(image, DIB_ERROR_INVALID);
    const std::uint64_t fewestBytes = known ? fewestPacketBytes(header) : 0;
    if (!image.create(file, header.width, header.height, 8, fewestBytes)) return false;
    if (!known) return false;  // with a blank image
    return readMap24(file, image, header) && readPackets<1>(file, image, header);
}

bool readRunLengthTrueColor(ByteReader& file, NewImage& image, const TgaHeader& header) {
    if (header.bitCount != 16 && header.bitCount != 24 && header.bitCount != 32) return false;
    if (header.height < 0 || !unusedMapIsValid(header)) return fail(image, DIB_ERROR_INVALID);
    if (!image.create(file, header.width, header.height, header.bitCount, fewestPacketBytes(header)))
        return false;
    skipUnusedMap(file, header);
    switch (header.bitCount) {
        case 16: return readPackets<2>(file, image, header);
        case 24: return readPackets<3>(file, image, header);
        default: return readPackets<4>(file, image, header);
    }
}

bool readImage(ByteReader& file, NewImage& image, const TgaHeader& header) {
    switch (header.imageType) {
        case formats::kMapped: return readMapped(file, image, header);
        case formats::kTrueColor: return readTrueColor(file, image, header);
        case formats::kGrey: return readGrey(file, image, header);
        case formats::kRunLengthMapped: return readRunLengthMapped(file, image, header);
        case formats::kRunLengthTrueColor: return readRunLengthTrueColor(file, image, header);
        default: return false;
    }
}

constexpr bool isKnownType(unsigned type) {
    return (type >= formats::kMapped && type <= formats::kGrey) || type == formats::kRunLengthMapped ||
           type == formats::kRunLengthTrueColor;
}

// The colours of a table as blue, green, red.
bool writeMap(ByteWriter& file, const DibBGRA* table, std::size_t entries) {
    formats::RowWriter map(file, sizeof(DibBGR), entries);
    if (!map.ready()) return false;
    for (std::size_t i = 0; i < entries; ++i) std::memcpy(map.next(), &table[i], sizeof(DibBGR));
    return true;
}

// The header of a file for an image of 8 bits or more.
TgaHeader headerOf(const BITMAPINFOHEADER& info) {
    TgaHeader header;
    header.imageType = formats::kTrueColor;
    header.width = static_cast<std::int16_t>(info.biWidth);
    header.height = static_cast<std::int16_t>(dib::rowCount(info.biHeight));
    header.bitCount = info.biBitCount;
    header.descriptor = info.biBitCount == 32 ? 8 : 0;  // bits of alpha
    if (info.biBitCount == 8) {
        header.imageType = formats::kMapped;
        header.colorMapType = 1;
        header.mapEntries = static_cast<std::int16_t>(dib::announcedEntries(info));
        header.mapEntryBits = 24;
    }
    return header;
}

// Writes the rows, bottom row first.
bool writePixels(ByteWriter& file, DibStream& source, DibStream* image, DibProgressCallback callback,
                 void* user) {
    const dib::ImageSize size = dib::admitSize(*source.Header);
    const std::size_t rowBytes = dib::packedBytes(source.Header->biWidth, source.Header->biBitCount);
    const int height = dib::asInt(size.rows);
    if (callback == nullptr) {
        const unsigned char* bottom = source.ScanLine(height - 1);
        const std::ptrdiff_t up = height > 1 ? source.ScanLine(height - 2) - bottom : 0;
        file.rows(bottom, up, rowBytes, size.rows);
        return true;
    }
    formats::RowWriter rows(file, rowBytes, size.rows);
    if (!rows.ready()) return fail(image, DIB_ERROR_MEMORY);
    for (int row = 0; row < height; ++row) {
        std::memcpy(rows.next(), source.ScanLine(height - 1 - row), rowBytes);
        if (formats::report(callback, user, row, height)) continue;
        return source.Header->biBitCount == 8 ? false : fail(image, DIB_ERROR_INTERRUPTED);
    }
    return true;
}

bool writeClassicTga(ByteWriter& file, DibStream* image, DibProgressCallback callback, void* user) {
    // A callback may change the image, so a copy of it is written.
    const bool converts = image->Header == nullptr || image->Header->biBitCount < 8;
    formats::ImagePtr copy;
    if (converts || callback != nullptr) {
        copy.reset(image->Clone());
        if (copy == nullptr) return fail(image, DIB_ERROR_MEMORY);
        if (converts) copy->ChangeBpp(24, 0);
    }
    DibStream& source = copy != nullptr ? *copy : *image;
    if (source.Header == nullptr) {
        // Without an image the file has no pixels.
        TgaHeader empty;
        empty.imageType = formats::kTrueColor;
        file.bytes(empty.bytes().data(), TgaHeader::kBytes);
        return true;
    }
    if (!dib::hasRows(source)) return fail(image, DIB_ERROR_INVALID);
    const int bitCount = source.Header->biBitCount;
    if (bitCount != 8 && bitCount != 16 && bitCount != 24 && bitCount != 32) {
        return fail(image, converts ? DIB_ERROR_MEMORY : DIB_ERROR_UNSUPPORTED);
    }
    const TgaHeader header = headerOf(*source.Header);
    file.bytes(header.bytes().data(), TgaHeader::kBytes);
    const auto entries = dib::wordOf(header.mapEntries);
    if (!writeMap(file, dib::colorTable(image->Header), entries)) return fail(image, DIB_ERROR_MEMORY);
    return writePixels(file, source, image, callback, user);
}

}  // namespace

bool LoadTGA(std::FILE* file, DibStream* image, DibProgressCallback, void*) {
    image->ErrorCode = DIB_ERROR_GENERAL;
    ByteReader reader(file);
    const unsigned char* bytes = reader.take(TgaHeader::kBytes);
    if (bytes == nullptr) return fail(image, DIB_ERROR_READ);
    const TgaHeader header = TgaHeader::parse(bytes);
    reader.skip(header.idBytes);
    if (!isKnownType(header.imageType)) return false;
    NewImage picture(image);
    if (!readImage(reader, picture, header)) return false;
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
    ByteWriter out(file);
    return writeClassicTga(out, image, callback, user);
}
bool SaveTGA(const char* path, DibStream* image, DibProgressCallback callback, void* user) {
    return formats::savePath(path, writeClassicTga, image, callback, user);
}
bool SaveTGA(const wchar_t* path, DibStream* image, DibProgressCallback callback, void* user) {
    return formats::savePath(path, writeClassicTga, image, callback, user);
}

namespace formats {

namespace {

constexpr const char* kExtensions[] = {"tga", nullptr};
constexpr const char* kCompose[] = {"tga", nullptr};
constexpr const char* kMimeTypes[] = {"image/x-tga", nullptr};

}  // namespace

constinit const FileFormat kTgaFormat = {
    .info = {.name = "tga",
             .title = "Truevision TGA",
             .extensions = kExtensions,
             .mimeTypes = kMimeTypes,
             .readDepths = depths({1, 8, 16, 24, 32}),
             .writeDepths = depths({8, 16, 24, 32})},
    .composeExtensions = kCompose,
    .resembles = resemblesTga,
    .load = LoadTGA,
    .save = saveWhole<writeClassicTga>,
    .probe = probeTga,
    .read = readTga,
    .losses = findTgaLosses,
    .write = writeTga,
};

}  // namespace formats
