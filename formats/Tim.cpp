// A TIM file is an identifier, a word of flags, an optional block of lookup colours and a block of pixels,
// top row first. Colours are words of three times 5 bits, red lowest, or three bytes, red first.
#include "formats/Tim.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

#include "dib/Bytes.h"
#include "dib/ColorTable.h"
#include "dib/Kernels.h"
#include "dib/PixelReader.h"
#include "dib/Raster.h"
#include "dib/RowConverter.h"
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
constexpr std::uint32_t kModeMask = 7;  // 0 to 3 are pixels of 4, 8, 16 and 24 bits; others are not handled
constexpr std::uint32_t kTrueColor = 3;
constexpr std::uint32_t kHasLookup = 8;
constexpr std::size_t kMostColors = 256;
constexpr std::size_t kMostWords = 65535;  // in a row; the number of rows has the same limit
using ColorTable = std::array<DibBGRA, kMostColors>;

// What the functions of DibFile.h do otherwise than the classic ones.
struct Dialect {
    bool knowsTrueColor;  // pixels of 24 bits
    bool acceptsShort;    // pixels that are missing at the end of a file are 0
    bool keepsFill;       // the fill of an image's rows becomes pixels of the file
};
constexpr Dialect kClassic = {.knowsTrueColor = false, .acceptsShort = true, .keepsFill = true};
constexpr Dialect kWide = {.knowsTrueColor = true, .acceptsShort = false, .keepsFill = false};

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

// Everything before the pixels.
struct Layout {
    int bitCount = 0;
    bool hasLookup = false;
    std::size_t colors = 0;  // of all lookup tables
    BlockHeader pixels;

    int width() const { return static_cast<int>(pixels.width) * 16 / bitCount; }
    int height() const { return static_cast<int>(pixels.height); }
    std::size_t rowBytes() const { return std::size_t{pixels.width} * 2; }
    std::size_t tableColors() const { return dib::addressableEntries(bitCount); }
    // How many tables the pixels can be shown with.
    int tables() const {
        return tableColors() > 0 ? std::max(static_cast<int>(colors / tableColors()), 1) : 1;
    }
};

// Reads the colours of one table, or as many as there are; the pixels start after the length of the block,
// whatever the number of its colours.
void readLookup(ByteReader& file, int table, Layout& layout, ColorTable& colors) {
    const std::int64_t start = file.position();
    const BlockHeader block = BlockHeader::read(file);
    layout.colors = std::size_t{block.width} * block.height;
    const std::size_t first = static_cast<std::size_t>(table) * layout.tableColors();
    const std::size_t count = first < layout.colors ? std::min(layout.colors - first, kMostColors) : 0;
    if (first > 0) file.seek(file.position() + static_cast<std::int64_t>(2 * first));
    for (std::size_t i = 0; i < count; ++i) colors[i] = colorOf(dib::readLe16(readFields<2>(file).data()));
    file.seek(start + std::int64_t{block.length});
}

// The code of what is wrong.
DibErrorCode readLayout(ByteReader& file, const Dialect& dialect, int table, Layout& layout,
                        ColorTable& colors) {
    if (dib::readLe32(readFields<4>(file).data()) != kIdentifier) return DIB_ERROR_INVALID;
    const std::uint32_t flags = dib::readLe32(readFields<4>(file).data());
    const std::uint32_t mode = flags & kModeMask;
    if (mode > (dialect.knowsTrueColor ? kTrueColor : kTrueColor - 1)) return DIB_ERROR_UNSUPPORTED;
    layout.bitCount = mode == kTrueColor ? 24 : 4 << mode;
    layout.hasLookup = (flags & kHasLookup) != 0;
    if (layout.hasLookup) readLookup(file, table, layout, colors);
    layout.pixels = BlockHeader::read(file);
    return DIB_OK;
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

DIB_ALWAYS_INLINE void swapEnds(unsigned char* bytes, std::size_t pixels) {
    for (std::size_t i = 0; i < pixels; ++i) {
        const unsigned char first = bytes[3 * i];
        bytes[3 * i] = bytes[3 * i + 2];
        bytes[3 * i + 2] = first;
    }
}

void exchangeOrder(unsigned char* row, std::size_t bytes, int bitCount) {
    if (bitCount == 24) dib::runKernel<swapEnds>(row, bytes / 3);
    if (bitCount == 16) dib::runKernel<swapColors>(reinterpret_cast<std::uint16_t*>(row), bytes / 2);
    if (bitCount == 4) dib::runKernel<swapNibbles>(row, bytes);
}

bool decode(ByteReader& file, const Dialect& dialect, int table, formats::NewImage& picture) {
    Layout layout;
    ColorTable colors{};
    const DibErrorCode code = readLayout(file, dialect, table, layout, colors);
    if (code != DIB_OK) return fail(picture, code);
    const int bitCount = layout.bitCount;
    const std::size_t rowBytes = layout.rowBytes();
    const std::uint64_t fewestBytes = std::uint64_t{rowBytes} * layout.pixels.height;
    if (!picture.create(file, layout.width(), layout.height(), bitCount, fewestBytes)) return false;
    if (!layout.hasLookup) {
        picture->SetMonoPalette();
    } else if (bitCount <= 8) {
        std::copy_n(colors.begin(), layout.tableColors(), dib::colorTable(picture->Header));
    }

    // Rows of 24 bits may have up to two bytes behind their last pixel.
    const std::size_t pixelBytes = bitCount == 24 ? rowBytes / 3 * 3 : rowBytes;
    for (int y = 0; y < layout.height(); ++y) {
        unsigned char* row = picture->ScanLine(y);
        const std::size_t read = file.copy(row, pixelBytes);
        if (read == pixelBytes) {
            exchangeOrder(row, pixelBytes, bitCount);
            if (!picture.read(row)) return false;
            file.skip(rowBytes - pixelBytes);
            continue;
        }
        if (read > 0) {
            picture.readPart(row, read);
            exchangeOrder(row, pixelBytes, bitCount);
        }
        return dialect.acceptsShort || fail(picture, DIB_ERROR_READ);
    }
    return true;
}

}  // namespace

bool LoadTIM(std::FILE* file, DibStream* image, DibProgressCallback, void*) {
    ByteReader reader(file);
    formats::NewImage picture(image);
    return decode(reader, kClassic, 0, picture);
}

bool LoadTIM(const char* path, DibStream* image, DibProgressCallback callback, void* user) {
    return formats::loadPath(path, LoadTIM, image, callback, user);
}
bool LoadTIM(const wchar_t* path, DibStream* image, DibProgressCallback callback, void* user) {
    return formats::loadPath(path, LoadTIM, image, callback, user);
}

namespace {

// One row of all colours that the depth can address; missing ones are 0.
void writeLookup(ByteWriter& file, const BITMAPINFOHEADER& header, std::size_t count) {
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
        case 16: return 2;
        default: return kTrueColor;
    }
}

void writeWord(ByteWriter& file, std::uint32_t word) {
    unsigned char bytes[4];
    dib::writeLe32(bytes, word);
    file.bytes(bytes, sizeof bytes);
}

// The depth that holds the pixels of an image.
constexpr int fileBits(int bitCount) { return bitCount == 1 ? 4 : bitCount == 32 ? 24 : bitCount; }

std::size_t wordsOf(std::int64_t width, int bitCount) {
    return static_cast<std::size_t>((width * bitCount + 15) / 16);
}

// Pixels of an image as those of a file of `fileBits`.
class RowSource {
public:
    RowSource(const DibStream& image, const dib::Raster& raster)
        : raster_(raster),
          convert_(dib::converterOf(raster.bitCount, dib::Packed::kBgr)),
          colors_(*image.Header) {}

    void copy(int y, unsigned char* to) const {
        const unsigned char* row = raster_.row(y);
        if (raster_.bitCount == 1) return widen(row, to);
        if (raster_.bitCount != 32) {
            std::memcpy(to, row, static_cast<std::size_t>(raster_.pixelBytes()));
            if (raster_.bitCount == 4 && raster_.width % 2 != 0) to[raster_.width / 2] &= 0xF0;
            return;
        }
        dib::forEachStrip(static_cast<std::size_t>(raster_.width), [&](std::size_t x, std::size_t count) {
            convert_(row + 4 * x, to + 3 * x, count, colors_);
        });
    }

private:
    // Bits become indices of four bits.
    void widen(const unsigned char* row, unsigned char* to) const {
        for (int x = 0; x < raster_.width; ++x) {
            const unsigned bit = row[x / 8] >> (7 - x % 8) & 1;
            to[x / 2] = static_cast<unsigned char>(x % 2 == 0 ? bit << 4 : to[x / 2] | bit);
        }
    }

    dib::Raster raster_;
    dib::RowConverter convert_;
    dib::IndexColors colors_;
};

// Writes everything behind the identifier. A word holds 4, 2 or 1 pixels, or two thirds of one.
bool encode(ByteWriter& file, const DibStream& image, const Dialect& dialect, formats::Progress* progress,
            DibErrorCode& code) {
    dib::Raster raster;
    dib::viewRows(image, raster);
    const int bitCount = fileBits(raster.bitCount);
    const std::size_t words = wordsOf(raster.width, bitCount) & kMostWords;
    const auto height = static_cast<std::size_t>(raster.height);
    formats::RowWriter rows(file, words * 2, height);
    if (!rows.ready()) {
        code = DIB_ERROR_MEMORY;
        return false;
    }
    writeWord(file, flagsOf(bitCount));
    if (bitCount <= 8) writeLookup(file, *image.Header, dib::addressableEntries(bitCount));
    BlockHeader{static_cast<std::uint32_t>(words * 2 * height + BlockHeader::kBytes),
                static_cast<unsigned>(words), static_cast<unsigned>(height)}
        .write(file);
    const RowSource source(image, raster);
    for (int y = 0; y < raster.height; ++y) {
        unsigned char* row = rows.next();
        if (dialect.keepsFill) {
            std::memcpy(row, raster.row(y), words * 2);
        } else {
            std::memset(row, 0, words * 2);
            source.copy(y, row);
        }
        exchangeOrder(row, words * 2, bitCount);
        if (progress != nullptr && !progress->rows(static_cast<std::size_t>(y) + 1, height)) return false;
    }
    return true;
}

bool writeTim(ByteWriter& file, DibStream* image, DibProgressCallback, void*) {
    writeWord(file, kIdentifier);
    const int held = dib::hasRows(*image) ? image->Header->biBitCount : 0;
    formats::ImagePtr converted;
    if (held != 4 && held != 8 && held != 16) {
        converted.reset(image->Clone());
        if (converted == nullptr || !converted->ChangeBpp(16, 0)) return fail(image, DIB_ERROR_MEMORY);
    }
    DibErrorCode code = DIB_OK;
    return encode(file, converted != nullptr ? *converted : *image, kClassic, nullptr, code) ||
           fail(image, code);
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

bool probe(ProbeRequest& request) {
    Layout layout;
    ColorTable colors;
    if (readLayout(request.file, kWide, 0, layout, colors) != DIB_OK) return false;
    request.info.width = layout.width();
    request.info.height = layout.height();
    request.info.bitCount = request.info.storedBits = layout.bitCount;
    request.info.paletteSize = static_cast<int>(layout.tableColors());
    request.info.pages = layout.tables();
    nameCompression(request.info, "none");
    return request.info.width > 0 && request.info.height > 0;
}

bool read(ReadRequest& request) {
    NewImage picture(request.image, &request.progress);
    return request.end(decode(request.file, kWide, request.options.page, picture));
}

bool losses(LossRequest& request) {
    const BITMAPINFOHEADER& header = *request.image.Header;
    const std::int64_t rows = dib::rowCount(header.biHeight);
    const int bitCount = fileBits(header.biBitCount);
    const std::size_t words = wordsOf(header.biWidth, bitCount);
    const auto most = static_cast<std::int64_t>(kMostWords);
    if (words > kMostWords || rows > most) {
        return refuse(request.result, DIB_ERROR_MISMATCH,
                      "TIM files hold at most %lldx%lld pixels of %d bits",
                      static_cast<long long>(most * 16 / bitCount), static_cast<long long>(most), bitCount);
    }
    noteDepth(request, bitCount);
    if (header.biBitCount <= 8) {
        const ColorTable colors = dib::readColorTable(header);
        if (std::any_of(colors.begin(), colors.end(), [](const DibBGRA& color) {
                return ((color.red | color.green | color.blue) & 7) != 0;
            }))
            note(request.result, DIB_NOTE_LOSS, "colours of the palette keep 5 of 8 bits");
    }
    const std::size_t stored = words * 16 / static_cast<std::size_t>(bitCount);
    if (stored != static_cast<std::size_t>(header.biWidth))
        note(request.result, DIB_NOTE_LOSS, "rows end with a word: the width of %d becomes %zu",
             header.biWidth, stored);
    noteMetadata(request);
    return true;
}

bool write(WriteRequest& request) {
    writeWord(request.file, kIdentifier);
    DibErrorCode code = DIB_OK;
    if (encode(request.file, request.image, kWide, &request.progress, code)) return true;
    request.result.code = code;
    return false;
}

constexpr const char* kExtensions[] = {"tim", nullptr};
constexpr const char* kMimeTypes[] = {"image/x-tim", nullptr};

}  // namespace

constinit const FileFormat kTimFormat = {
    .info = {.name = "tim",
             .title = "TIM texture",
             .extensions = kExtensions,
             .mimeTypes = kMimeTypes,
             .readDepths = depths({4, 8, 16, 24}),
             .writeDepths = depths({4, 8, 16, 24}),
             .hasPages = true},
    .recognizes = recognizes,
    .load = LoadTIM,
    .save = saveWhole<writeTim>,
    .probe = probe,
    .read = read,
    .losses = losses,
    .write = write,
    .diagnose = diagnoseTim,
};

}  // namespace formats
