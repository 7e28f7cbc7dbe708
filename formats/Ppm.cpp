// A PPM or PGM file is three lines of text (kind, size, largest sample) and the samples, top row first:
// red, green and blue of each pixel or one grey.
#include "formats/Ppm.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "dib/Bytes.h"
#include "dib/ImageSize.h"
#include "dib/Numbers.h"
#include "formats/ByteReader.h"
#include "formats/CodecFrame.h"
#include "formats/ColorOrder.h"
#include "formats/Formats.h"
#include "formats/HeaderText.h"
#include "formats/NewImage.h"
#include "formats/Pnm.h"
#include "formats/PpmRows.h"
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
    file.bytes(text, dib::asSize(length));
}

// Row readers fill row y of the image from the file; false when the file ends before.

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
                    image_.readPart(image_->ScanLine(y), (dib::asSize(x) + 1) * dib::asSize(channels));
                    return false;
                }
                out[channel] = dib::byteOf(sample);
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
    const std::ptrdiff_t pitch = dib::asOffset(image->GetPitch());
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
    const int height = dib::asInt(size.rows);
    const std::size_t width = dib::columnsOf(*source.Header);
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
        const std::size_t count = left > 0 ? std::min(ahead.size, dib::asSize(left)) : ahead.size;
        for (std::size_t i = 0; i < count; ++i) {
            const unsigned char c = ahead.data[i];
            if (c >= '0' && c <= '9') {
                magnitude = magnitude * 10 + static_cast<unsigned int>(c - '0');
                anyDigit = true;
            } else if (c == '-') {
                negative = true;
            } else if (anyDigit) {
                file.consume(i + 1);
                value = dib::asInt(negative ? 0U - magnitude : magnitude);
                return 1;
            }
        }
        file.consume(count);
        left -= dib::asOffset(count);
        if (count > 0) continue;
        if (anyDigit) value = dib::asInt(negative ? 0U - magnitude : magnitude);
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
    return readPixels(formats::BinaryRows(reader, picture), picture, callback, user);
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

constexpr const char* kExtensions[] = {"ppm", "pgm", "pnm", "pbm", "pam", "pfm", nullptr};
constexpr const char* kCompose[] = {"ppm", "pgm", nullptr};
constexpr const char* kMimeTypes[] = {"image/x-portable-pixmap",       "image/x-portable-graymap",
                                      "image/x-portable-anymap",       "image/x-portable-bitmap",
                                      "image/x-portable-arbitrarymap", nullptr};

}  // namespace

constinit const FileFormat kPpmFormat = {
    .info = {.name = "ppm",
             .title = "PBM, PGM, PPM, PAM and PFM",
             .extensions = kExtensions,
             .mimeTypes = kMimeTypes,
             .readDepths = depths({1, 8, 24, 32}),
             .writeDepths = depths({1, 8, 24, 32})},
    .composeExtensions = kCompose,
    .recognizes = recognizesPnm,
    .load = LoadPPM,
    .save = saveWhole<writePpm>,
    .probe = probePnm,
    .read = readPnm,
    .losses = findPnmLosses,
    .write = writePnm,
};

}  // namespace formats
