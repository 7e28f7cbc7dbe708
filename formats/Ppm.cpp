// A PPM or PGM file is three lines of text (kind, size, largest sample) and the samples, top row first:
// red, green and blue of each pixel or one grey.
#include "formats/Ppm.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "dib/Kernels.h"
#include "dib/PixelShuffles.h"
#include "formats/CodecFrame.h"
#include "formats/ColorOrder.h"
#include "formats/HeaderText.h"
#include "formats/NewImage.h"
#include "formats/Rows.h"

using formats::fail;

namespace {

struct Kind {
    const char* firstLine;  // compared whole: a blank or a carriage return after the letters is another file
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

struct PictureSize {
    int width = 0;
    int height = 0;
};

// The first line that is no comment.
bool readSize(formats::HeaderLines& lines, PictureSize& size) {
    do {
        if (!lines.next()) return false;
    } while (lines.text()[0] == '#');
    const char* at = lines.text();
    return formats::readNumber(at, size.width) && formats::readNumber(at, size.height);
}

// Exchanges two rows, and their red and blue. The two may be one.
void exchangeColors(unsigned char* first, unsigned char* second, std::size_t bytes) {
    const std::size_t pixels = bytes / 3;
    const bool wide = dib::kernelLevel() >= dib::KernelLevel::kAvx2;
    for (std::size_t i = wide ? dib::shuffleAndExchange(first, second, pixels) : 0; i < pixels; ++i) {
        const DibBGR one = {first[3 * i + 2], first[3 * i + 1], first[3 * i]};
        const DibBGR other = {second[3 * i + 2], second[3 * i + 1], second[3 * i]};
        std::memcpy(second + 3 * i, &one, sizeof one);
        std::memcpy(first + 3 * i, &other, sizeof other);
    }
}

// Row readers fill row y of the image from the file; false when the file ends before.

// Blocks of rows are read to where they belong, which for colours means turning them round there: a row that is copied
// from elsewhere costs the memory of the picture twice.
class BinaryRows {
public:
    BinaryRows(std::FILE* file, formats::NewImage& image)
        : file_(file),
          image_(image),
          rowBytes_(static_cast<std::size_t>(image->Header->biWidth) * image->Header->biBitCount / 8) {}

    bool read(int y) {
        if (y == blockEnd_) readBlock();
        if (y < wholeRows_) return true;
        // Grey bytes are the pixels themselves.
        if (image_->Header->biBitCount == 8) image_.readPart(image_->ScanLine(y), partBytes_);
        return false;
    }

private:
    void readBlock() {
        const auto left = static_cast<std::size_t>(image_->Header->biHeight - blockEnd_);
        const bool hasColors = image_->Header->biBitCount == 24;
        // What is passed over once more must still be in the cache then.
        const std::size_t rows = hasColors ? formats::rowsPerBlock(rowBytes_, left)
                                           : std::min(left, 4 * formats::rowsPerBlock(rowBytes_, left));
        const int first = blockEnd_;
        blockEnd_ += static_cast<int>(rows);
        const std::size_t bytes =
            hasColors ? readColors(image_->ScanLine(blockEnd_ - 1), rows)
                      : dib::readRows(file_, image_->ScanLine(first),
                                      -static_cast<std::ptrdiff_t>(image_->GetPitch()), rowBytes_, rows);
        wholeRows_ = first + static_cast<int>(bytes / rowBytes_);
        partBytes_ = bytes % rowBytes_;
    }

    // The block is read in one piece, the top row first and without fill. Exchanging rows exchanges their red and blue.
    std::size_t readColors(unsigned char* block, std::size_t rows) {
        const std::size_t bytes = std::fread(block, 1, rows * rowBytes_, file_);
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

    std::FILE* file_;
    formats::NewImage& image_;
    std::size_t rowBytes_;
    int blockEnd_ = 0;           // rows read so far, those that the file lacks included
    int wholeRows_ = 0;          // and those that it had
    std::size_t partBytes_ = 0;  // of the row after these
};

class AsciiRows {
public:
    AsciiRows(std::FILE* file, formats::NewImage& image) : file_(file), image_(image) {}

    bool read(int y) {
        unsigned char* out = image_->ScanLine(y);
        const int channels = image_->Header->biBitCount / 8;
        for (int x = 0; x < image_->Header->biWidth; ++x, out += channels) {
            // Samples of a pixel come red first and are stored blue first.
            for (int channel = channels - 1; channel >= 0; --channel) {
                int sample = 0;
                if (formats::readInt(file_, sample) == 0) {
                    std::fill_n(out, channel + 1, 0);
                    image_.readPart(image_->ScanLine(y), static_cast<std::size_t>((x + 1) * channels));
                    return false;
                }
                out[channel] = static_cast<unsigned char>(sample);
            }
        }
        return true;
    }

private:
    std::FILE* file_;
    formats::NewImage& image_;
};

template <class Rows>
bool readPixels(Rows rows, formats::NewImage& image, DibProgressCallback callback, void* user) {
    const int height = image->Header->biHeight;
    const std::ptrdiff_t pitch = image->GetPitch();
    unsigned char* row = image->ScanLine(0);
    for (int y = 0; y < height; ++y, row -= pitch) {
        if (!rows.read(y)) return fail(image, DIB_ERROR_READ);
        // A load that is cancelled keeps the rows that were reported, none that were read ahead.
        image.read(row);
        if (!formats::report(callback, user, y, height)) return fail(image, DIB_ERROR_INTERRUPTED);
    }
    image->ErrorCode = DIB_OK;
    return true;
}

}  // namespace

namespace formats {

int readInt(std::FILE* file, int& value) {
    // No number of a stream without a known end has more characters than this, its leading ones included.
    constexpr std::int64_t kMostCharacters = 1 << 24;
    bool negative = false;
    bool anyDigit = false;
    unsigned int magnitude = 0;  // wraps, which keeps the low byte right
    for (std::int64_t i = 0; i != kMostCharacters || dib::hasKnownEnd(file); ++i) {
        const int c = getc_unlocked(file);
        if (c == '-') {
            negative = true;
        } else if (c >= '0' && c <= '9') {
            magnitude = magnitude * 10 + static_cast<unsigned int>(c - '0');
            anyDigit = true;
        } else if (anyDigit) {
            value = static_cast<int>(negative ? 0U - magnitude : magnitude);
            return 1;
        } else if (c == EOF) {
            return 0;
        }
    }
    return 0;
}

}  // namespace formats

bool LoadPPM(std::FILE* file, DibStream* image, DibProgressCallback callback, void* user) {
    image->ErrorCode = DIB_ERROR_GENERAL;
    formats::HeaderLines lines(file);
    if (!lines.next()) return fail(image, DIB_ERROR_INVALID);
    const Kind* kind = kindOf(lines.text());
    if (kind == nullptr) return fail(image, DIB_ERROR_UNSUPPORTED);
    PictureSize size;
    if (!readSize(lines, size) || size.width < 0) return fail(image, DIB_ERROR_INVALID);
    lines.next();  // The largest sample is not interpreted: samples are stored as they are.

    // Below a height of 0 there are no rows to read, which leaves the load without its success.
    const std::uint64_t rows = static_cast<std::uint64_t>(std::max(size.height, 0));
    const std::uint64_t fewestBytes = static_cast<std::uint64_t>(size.width) * rows * (kind->bitCount / 8);
    formats::NewImage picture(image);
    if (!picture.create(file, size.width, size.height, kind->bitCount, fewestBytes)) return false;
    image->SetMonoPalette();
    if (size.height < 0) return false;
    if (kind->ascii) return readPixels(AsciiRows(file, picture), picture, callback, user);
    return readPixels(BinaryRows(file, picture), picture, callback, user);
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
    // A callback may change the image: it is then written as it was at the start.
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
    std::fprintf(file, "P6\n%d %d\n255\n", source.Header->biWidth, height);
    formats::RowWriter rows(file, width * 3, size.rows);
    if (!rows.ready()) return false;
    for (int y = 0; y < height; ++y) {
        formats::swapRedBlue(source.ScanLine(y), rows.next(), width);
        if (!formats::report(callback, user, y, height)) return false;
    }
    return true;
}

bool SavePPM(const char* path, DibStream* image, DibProgressCallback callback, void* user) {
    return formats::savePath(path, SavePPM, image, callback, user, formats::OpenFailure::kLeavesCode);
}
bool SavePPM(const wchar_t* path, DibStream* image, DibProgressCallback callback, void* user) {
    return formats::savePath(path, SavePPM, image, callback, user, formats::OpenFailure::kLeavesCode);
}
