// A PPM or PGM file is three lines of text (kind, size, largest sample) and the samples, top row first:
// red, green and blue of each pixel or one grey.
#include "formats/Ppm.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "dib/Kernels.h"
#include "dib/PixelShuffles.h"
#include "formats/ByteReader.h"
#include "formats/CodecFrame.h"
#include "formats/ColorOrder.h"
#include "formats/Formats.h"
#include "formats/HeaderText.h"
#include "formats/NewImage.h"
#include "formats/Rows.h"

using formats::ByteReader;
using formats::ByteWriter;
using formats::fail;

namespace {

struct Kind {
    const char* firstLine;  // compared whole: a blank or carriage return after the letters is refused
    int bitCount;
    bool ascii;
};
constexpr Kind kKinds[] = {{"P6\n", 24, false}, {"P3\n", 24, true}, {"P5\n", 8, false}, {"P2\n", 8, true}};

const Kind* kindOf(const char* firstLine) {
    for (const Kind& kind : kKinds) {
        if (std::strcmp(firstLine, kind.firstLine) == 0) return &kind;
    }
    return nullptr;
}

struct Header {
    const Kind* kind = nullptr;
    int width = 0;
    int height = 0;
};

// Reads the three lines, with comments before the second. Returns the code of a failure.
DibErrorCode readHeader(ByteReader& file, Header& header) {
    formats::HeaderLines lines(file);
    if (!lines.next()) return DIB_ERROR_INVALID;
    header.kind = kindOf(lines.text());
    if (header.kind == nullptr) return DIB_ERROR_UNSUPPORTED;
    do {
        if (!lines.next()) return DIB_ERROR_INVALID;
    } while (lines.text()[0] == '#');
    const char* at = lines.text();
    if (!formats::readNumber(at, header.width) || !formats::readNumber(at, header.height) || header.width < 0)
        return DIB_ERROR_INVALID;
    lines.next();  // The largest sample is not interpreted: samples are stored as they are.
    return DIB_OK;
}

void writeHeader(ByteWriter& file, int width, int height) {
    char text[40];
    const int length = std::snprintf(text, sizeof text, "P6\n%d %d\n255\n", width, height);
    file.bytes(text, static_cast<std::size_t>(length));
}

// Exchanges two rows, and red and blue in each. Both may be the same row.
void exchangeColors(unsigned char* first, unsigned char* second, std::size_t bytes) {
    const std::size_t pixels = bytes / 3;
    for (std::size_t i = dib::runVectors<dib::shuffleAndExchange>(first, second, pixels); i < pixels; ++i) {
        const DibBGR one = {first[3 * i + 2], first[3 * i + 1], first[3 * i]};
        const DibBGR other = {second[3 * i + 2], second[3 * i + 1], second[3 * i]};
        std::memcpy(second + 3 * i, &one, sizeof one);
        std::memcpy(first + 3 * i, &other, sizeof other);
    }
}

// Row readers fill row y of the image from the file; false when the file ends before.

// Reads blocks of rows into the image and, for colours, turns them upside down in place: reading them
// elsewhere and copying takes twice the memory traffic.
class BinaryRows {
public:
    BinaryRows(ByteReader& file, formats::NewImage& image)
        : file_(file),
          image_(image),
          rowBytes_(static_cast<std::size_t>(image->Header->biWidth) * image->Header->biBitCount / 8) {}

    bool read(int y) {
        if (y == blockEnd_) readBlock();
        if (y < wholeRows_) return true;
        // Grey samples are stored as they are.
        if (image_->Header->biBitCount == 8) image_.readPart(image_->ScanLine(y), partBytes_);
        return false;
    }

    // The end of the rows that were read, reported or not.
    int readEnd() const { return blockEnd_; }

private:
    void readBlock() {
        const auto left = static_cast<std::size_t>(image_->Header->biHeight - blockEnd_);
        const bool hasColors = image_->Header->biBitCount == 24;
        // Rows that are exchanged must still be in the cache.
        const std::size_t rows = hasColors ? formats::rowsPerBlock(rowBytes_, left)
                                           : std::min(left, 4 * formats::rowsPerBlock(rowBytes_, left));
        const int first = blockEnd_;
        blockEnd_ += static_cast<int>(rows);
        const std::size_t bytes =
            hasColors ? readColors(image_->ScanLine(blockEnd_ - 1), rows)
                      : file_.readRows(image_->ScanLine(first),
                                       -static_cast<std::ptrdiff_t>(image_->GetPitch()), rowBytes_, rows);
        wholeRows_ = first + static_cast<int>(bytes / rowBytes_);
        partBytes_ = bytes % rowBytes_;
    }

    // Reads the block in one piece, top row first and without fill, then spreads and exchanges the rows.
    std::size_t readColors(unsigned char* block, std::size_t rows) {
        const std::size_t bytes = file_.copy(block, rows * rowBytes_);
        const std::size_t pitch = image_->GetPitch();
        if (pitch > rowBytes_) spreadRows(block, pitch, rows);
        for (std::size_t row = 0; row < (rows + 1) / 2; ++row)
            exchangeColors(block + row * pitch, block + (rows - 1 - row) * pitch, rowBytes_);
        return bytes;
    }

    void spreadRows(unsigned char* block, std::size_t pitch, std::size_t rows) {
        for (std::size_t row = rows; row-- > 0;)
            std::memmove(block + row * pitch, block + row * rowBytes_, rowBytes_);
    }

    ByteReader& file_;
    formats::NewImage& image_;
    std::size_t rowBytes_;
    int blockEnd_ = 0;           // rows read so far, missing ones included
    int wholeRows_ = 0;          // rows that the file had
    std::size_t partBytes_ = 0;  // bytes of the row after these
};

class AsciiRows {
public:
    AsciiRows(ByteReader& file, formats::NewImage& image) : file_(file), image_(image) {}

    bool read(int y) {
        unsigned char* out = image_->ScanLine(y);
        const int channels = image_->Header->biBitCount / 8;
        for (int x = 0; x < image_->Header->biWidth; ++x, out += channels) {
            // Red comes first in the file and last in the image.
            for (int channel = channels - 1; channel >= 0; --channel) {
                int sample = 0;
                if (formats::readInt(file_, sample) == 0) {
                    std::fill_n(out, channel + 1, 0);
                    image_.readPart(image_->ScanLine(y),
                                    (static_cast<std::size_t>(x) + 1) * static_cast<std::size_t>(channels));
                    return false;
                }
                out[channel] = static_cast<unsigned char>(sample);
            }
        }
        return true;
    }

    int readEnd() const { return 0; }

private:
    ByteReader& file_;
    formats::NewImage& image_;
};

template <class Rows>
bool readPixels(Rows rows, formats::NewImage& image, DibProgressCallback callback, void* user) {
    const int height = image->Header->biHeight;
    const std::ptrdiff_t pitch = image->GetPitch();
    unsigned char* row = image->ScanLine(0);
    for (int y = 0; y < height; ++y, row -= pitch) {
        if (!rows.read(y)) return fail(image, DIB_ERROR_READ);
        image.read(row);
        if (image.report(callback, user, y)) continue;
        // Keep the rows that were reported, not those read ahead.
        image.clearRows(y + 1, rows.readEnd());
        return false;
    }
    image->ErrorCode = DIB_OK;
    return true;
}

bool writePpm(ByteWriter& file, DibStream* image, DibProgressCallback callback, void* user) {
    // A callback may change the image, so a copy of it is written.
    const bool converts = image->Header == nullptr || image->Header->biBitCount != 24;
    formats::ImagePtr copy;
    if (converts || callback != nullptr) {
        copy.reset(image->Clone());
        if (copy == nullptr || (converts && !copy->ChangeBpp(24, 0))) return false;
    }
    DibStream& source = copy != nullptr ? *copy : *image;
    if (!dib::hasRows(source)) return false;

    const dib::ImageSize size = dib::admitSize(*source.Header);
    const int height = static_cast<int>(size.rows);
    const auto width = static_cast<std::size_t>(source.Header->biWidth);
    writeHeader(file, source.Header->biWidth, height);
    formats::RowWriter rows(file, width * 3, size.rows);
    if (!rows.ready()) return false;
    for (int y = 0; y < height; ++y) {
        formats::swapRedBlue(source.ScanLine(y), rows.next(), width);
        if (!formats::report(callback, user, y, height)) return false;
    }
    return true;
}

}  // namespace

namespace formats {

int readInt(ByteReader& file, int& value) {
    // The limit of a number with the characters before it, when the end of the source is unknown.
    constexpr std::int64_t kMostCharacters = 1 << 24;
    bool negative = false;
    bool anyDigit = false;
    unsigned int magnitude = 0;  // wraps, which keeps the low byte right
    std::int64_t left = kMostCharacters;
    while (left > 0 || file.hasKnownEnd()) {
        const ByteReader::Bytes ahead = file.ahead(1);
        const std::size_t count =
            left > 0 ? std::min(ahead.size, static_cast<std::size_t>(left)) : ahead.size;
        for (std::size_t i = 0; i < count; ++i) {
            const unsigned char c = ahead.data[i];
            if (c >= '0' && c <= '9') {
                magnitude = magnitude * 10 + static_cast<unsigned int>(c - '0');
                anyDigit = true;
            } else if (c == '-') {
                negative = true;
            } else if (anyDigit) {
                file.consume(i + 1);
                value = static_cast<int>(negative ? 0U - magnitude : magnitude);
                return 1;
            }
        }
        file.consume(count);
        left -= static_cast<std::int64_t>(count);
        if (count > 0) continue;
        if (anyDigit) value = static_cast<int>(negative ? 0U - magnitude : magnitude);
        return anyDigit ? 1 : 0;
    }
    return 0;
}

}  // namespace formats

bool LoadPPM(std::FILE* file, DibStream* image, DibProgressCallback callback, void* user) {
    image->ErrorCode = DIB_ERROR_GENERAL;
    ByteReader reader(file);
    Header header;
    const DibErrorCode refused = readHeader(reader, header);
    if (refused != DIB_OK) return fail(image, refused);

    // A negative height creates an image without reading a row, and fails.
    const int bitCount = header.kind->bitCount;
    const std::uint64_t rows = static_cast<std::uint64_t>(std::max(header.height, 0));
    const std::uint64_t fewestBytes =
        static_cast<std::uint64_t>(header.width) * rows * (bitCount == 24 ? 3 : 1U);
    formats::NewImage picture(image);
    if (!picture.create(reader, header.width, header.height, bitCount, fewestBytes)) return false;
    image->SetMonoPalette();
    if (header.height < 0) return false;
    if (header.kind->ascii) return readPixels(AsciiRows(reader, picture), picture, callback, user);
    return readPixels(BinaryRows(reader, picture), picture, callback, user);
}

bool LoadPPM(const char* path, DibStream* image, DibProgressCallback callback, void* user) {
    return formats::loadPath(path, LoadPPM, image, callback, user);
}
bool LoadPPM(const wchar_t* path, DibStream* image, DibProgressCallback callback, void* user) {
    return formats::loadPath(path, LoadPPM, image, callback, user);
}
bool LoadPGM(const char* path, DibStream* image, DibProgressCallback callback, void* user) {
    return LoadPPM(path, image, callback, user);
}
bool LoadPGM(const wchar_t* path, DibStream* image, DibProgressCallback callback, void* user) {
    return LoadPPM(path, image, callback, user);
}

bool SavePPM(std::FILE* file, DibStream* image, DibProgressCallback callback, void* user) {
    ByteWriter out(file);
    return writePpm(out, image, callback, user);
}
bool SavePPM(const char* path, DibStream* image, DibProgressCallback callback, void* user) {
    return formats::savePath(path, writePpm, image, callback, user, formats::OpenFailure::kLeavesCode);
}
bool SavePPM(const wchar_t* path, DibStream* image, DibProgressCallback callback, void* user) {
    return formats::savePath(path, writePpm, image, callback, user, formats::OpenFailure::kLeavesCode);
}

namespace formats {

namespace {

bool recognizes(FirstBytes bytes) {
    for (const Kind& kind : kKinds) {
        if (startsWith(bytes, kind.firstLine)) return true;
    }
    return false;
}

constexpr const char* kExtensions[] = {"ppm", "pgm", "pnm", nullptr};
constexpr const char* kCompose[] = {"ppm", "pgm", nullptr};
constexpr const char* kMimeTypes[] = {"image/x-portable-pixmap", "image/x-portable-graymap",
                                      "image/x-portable-anymap", nullptr};

}  // namespace

constinit const FileFormat kPpmFormat = {
    .info = {.name = "ppm",
             .title = "PPM and PGM, binary and ASCII",
             .extensions = kExtensions,
             .mimeTypes = kMimeTypes,
             .readDepths = depths({8, 24}),
             .writeDepths = depths({24})},
    .composeExtensions = kCompose,
    .recognizes = recognizes,
    .load = LoadPPM,
    .save = saveWhole<writePpm>,
    .diagnose = diagnosePpm,
};

}  // namespace formats
