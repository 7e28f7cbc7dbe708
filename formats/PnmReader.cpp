// Reading PBM, PGM, PPM, PAM and PFM files for the functions of DibFile.h. `LoadPPM` (Ppm.cpp) is a
// reader of its own, which never changes. This one differs from it in that it
// - reads bitmaps (P1, P4), PAM (P7) with alpha or inks, and floats (PFM), whose rows begin at the bottom;
// - takes blanks, line ends and comments anywhere in the header, where `LoadPPM` has three lines;
// - scales every largest value to 255, where `LoadPPM` stores samples as they are;
// - reads binary samples of 16 bits;
// - notes samples above the largest value.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "dib/Bytes.h"
#include "dib/ColorTable.h"
#include "dib/FloatBits.h"
#include "dib/ImageSize.h"
#include "dib/Memory.h"
#include "dib/Numbers.h"
#include "formats/GreyInfo.h"
#include "formats/NewImage.h"
#include "formats/Pnm.h"
#include "formats/PnmHeader.h"
#include "formats/PpmRows.h"
#include "formats/Rows.h"

namespace formats {

namespace {

using Samples = PnmHeader::Samples;

// Samples of one row as bytes: read from the file, scaled and rounded.
class RowReader {
public:
    RowReader(ByteReader& file, const PnmHeader& header)
        : file_(file), header_(header), count_(dib::asSize(header.width) * dib::asSize(header.channels)) {}

    // False when memory is short.
    bool prepare() {
        samples_ = dib::allocateZeroed<unsigned char>(count_);
        if (!header_.isText) row_ = dib::allocateZeroed<unsigned char>(header_.rowBytes());
        if (samples_ == nullptr || (!header_.isText && row_ == nullptr)) return false;
        if (header_.samples == Samples::kFloats) return true;
        scaled_ = dib::allocateArray<unsigned char>(std::size_t{header_.largest} + 1);
        if (scaled_ == nullptr) return false;
        for (std::uint32_t i = 0; i <= header_.largest; ++i)
            scaled_[i] = dib::byteOf((i * 255 + header_.largest / 2) / header_.largest);
        return true;
    }

    // False when the file ends before the row does, or text holds something else than numbers.
    bool read() {
        if (header_.isText) return header_.isBitmap ? readDigits() : readNumbers();
        if (!file_.read(row_.get(), dib::asSize(header_.rowBytes()))) return false;
        switch (header_.samples) {
            case Samples::kBits: return expandBits();
            case Samples::kBytes: return scale([from = row_.get()](std::size_t i) { return from[i]; });
            case Samples::kWords:
                return scale([from = row_.get()](std::size_t i) { return dib::readBe16(from + 2 * i); });
            default:
                for (std::size_t i = 0; i < count_; ++i) samples_[i] = byteOf(&row_[4 * i]);
                return true;
        }
    }

    const unsigned char* samples() const { return samples_.get(); }
    // Whether samples were above the largest value; they count as that.
    bool breaksRules() const { return most_ > header_.largest; }

private:
    unsigned char scaled(std::uint32_t value) {
        most_ = std::max(most_, value);
        return scaled_[std::min(value, header_.largest)];
    }

    template <class ValueAt>
    bool scale(const ValueAt& valueAt) {
        const std::uint32_t largest = header_.largest;
        const unsigned char* const table = scaled_.get();
        unsigned char* const to = samples_.get();
        std::uint32_t most = most_;
        for (std::size_t i = 0; i < count_; ++i) {
            const std::uint32_t value = valueAt(i);
            most = std::max(most, value);
            to[i] = table[std::min(value, largest)];
        }
        most_ = most;
        return true;
    }

    unsigned char byteOf(const unsigned char* bytes) const {
        const std::uint32_t word = header_.isLittleEndian ? dib::readLe32(bytes) : dib::readBe32(bytes);
        const double value = dib::floatOfBits(word) / header_.scale * 255;
        // NaN becomes 0.
        return value > 0 ? dib::byteOf(std::lround(std::min(value, 255.0))) : 0;
    }

    bool expandBits() {
        for (std::size_t i = 0; i < count_; ++i)
            samples_[i] = (row_[i / 8] >> (7 - i % 8) & 1) != 0 ? 255 : 0;
        return true;
    }

    bool readNumbers() {
        for (std::size_t i = 0; i < count_; ++i) {
            i += readAhead(i);
            if (i == count_) break;
            std::uint32_t value = 0;
            if (!readPnmNumber(file_, value)) return false;
            samples_[i] = scaled(value);
        }
        return true;
    }

    // Reads samples from `first` on as long as each ends within the bytes that are there, which is fast, and
    // returns how many.
    std::size_t readAhead(std::size_t first) {
        constexpr std::ptrdiff_t kMostBytes = 12;  // of a blank or more, digits and a blank
        const ByteReader::Bytes ahead = file_.ahead(kMostBytes);
        const unsigned char* at = ahead.data;
        const unsigned char* const end = at + ahead.size;
        std::size_t i = first;
        for (; i < count_ && end - at >= kMostBytes; ++i) {
            const unsigned char* next = at;
            while (next < at + 4 && isPnmBlank(*next)) ++next;
            const unsigned char* const digits = next;
            std::uint32_t value = 0;
            while (next < at + kMostBytes - 1 && *next >= '0' && *next <= '9')
                value = value * 10 + (*next++ - '0');
            if (next == digits || next - digits > 7 || !isPnmBlank(*next)) break;
            samples_[i] = scaled(value);
            at = next + 1;
        }
        file_.consume(dib::bytesBetween(ahead.data, at));
        return i - first;
    }

    // The digits of a bitmap need no blanks between them.
    bool readDigits() {
        for (std::size_t i = 0; i < count_; ++i) {
            int byte = nextPnmByte(file_);
            while (isPnmBlank(byte)) byte = nextPnmByte(file_);
            if (byte != '0' && byte != '1') return false;
            samples_[i] = byte == '1' ? 255 : 0;
        }
        return true;
    }

    ByteReader& file_;
    const PnmHeader& header_;
    std::size_t count_;
    std::uint32_t most_ = 0;  // of the samples so far
    dib::MallocPtr<unsigned char> samples_;
    dib::MallocPtr<unsigned char> row_;
    dib::MallocPtr<unsigned char> scaled_;  // by value
};

// Stores a row of samples as the pixels of an image.
void storeRow(const unsigned char* from, const PnmHeader& header, unsigned char* to) {
    const auto width = dib::asSize(header.width);
    if (header.isBitmap) {
        std::memset(to, 0, (width + 7) / 8);
        for (std::size_t x = 0; x < width; ++x) {
            const bool isWhite = (from[x] != 0) != header.isZeroWhite;
            to[x / 8] |= dib::byteOf((isWhite ? 0x80 : 0) >> x % 8);
        }
        return;
    }
    if (header.channels == 1) {
        std::memcpy(to, from, width);
        return;
    }
    const bool hasAlpha = header.hasAlpha();
    const auto channels = dib::asSize(header.channels);
    if (header.isCmyk) {
        const auto without = [](unsigned ink, unsigned black) {
            return dib::byteOf(((255 - ink) * (255 - black) + 127) / 255);
        };
        for (std::size_t x = 0; x < width; ++x, from += channels, to += hasAlpha ? 4 : 3) {
            to[0] = without(from[2], from[3]);
            to[1] = without(from[1], from[3]);
            to[2] = without(from[0], from[3]);
            if (hasAlpha) to[3] = from[4];
        }
        return;
    }
    const bool isGrey = header.channels == 2;
    for (std::size_t x = 0; x < width; ++x, from += channels, to += hasAlpha ? 4 : 3) {
        to[0] = from[isGrey ? 0 : 2];
        to[1] = from[isGrey ? 0 : 1];
        to[2] = from[0];
        if (hasAlpha) to[3] = from[channels - 1];
    }
}

void noteLosses(const PnmHeader& header, DibFileResult& result) {
    if (header.samples == Samples::kWords) {
        note(result, DIB_NOTE_LOSS, "samples of 16 bits became 8");
    } else if (header.samples == Samples::kFloats) {
        note(result, DIB_NOTE_LOSS, "floating-point samples became 8 bits");
    }
    if (header.isCmyk) note(result, DIB_NOTE_ASSUMPTION, "CMYK became RGB without a colour profile");
}

bool endShort(ReadRequest& request) {
    if (request.progress.isCancelled()) return false;
    return refuse(request.result, DIB_ERROR_READ, "%s", kShortPixels);
}

// Samples that are bytes already.
bool readBytes(ReadRequest& request, NewImage& image) {
    const std::size_t width = dib::columnsOf(*image->Header);
    BinaryRows rows(
        request.file, image,
        rowsPerStep(request.progress, width * image->Header->biBitCount / 8, dib::rowsOf(*image->Header)));
    for (int y = 0; y < image->Header->biHeight; ++y) {
        if (!rows.read(y)) return endShort(request);
        if (!image.read(image->ScanLine(y))) return false;
    }
    return true;
}

bool readRows(ReadRequest& request, const PnmHeader& header, RowReader& rows, NewImage& image) {
    for (int y = 0; y < header.height; ++y) {
        if (!rows.read()) {
            const bool isText = header.isText && request.file.ahead(1).size > 0;
            return isText ? refuse(request.result, DIB_ERROR_INVALID, "the pixels are not all numbers")
                          : endShort(request);
        }
        unsigned char* to = image->ScanLine(header.samples == Samples::kFloats ? header.height - 1 - y : y);
        storeRow(rows.samples(), header, to);
        if (!image.read(to)) return false;
    }
    return true;
}

bool readSamples(ReadRequest& request, const PnmHeader& header, NewImage& image) {
    RowReader rows(request.file, header);
    if (!rows.prepare()) return refuseForMemory(request.result);
    const bool isRead = readRows(request, header, rows, image);
    if (rows.breaksRules()) {
        note(request.result, DIB_NOTE_WARNING, "samples above the largest value, %u, were taken for it",
             header.largest);
    }
    return isRead;
}

}  // namespace

bool recognizesPnm(FirstBytes bytes) {
    if (bytes.size() < 3 || bytes[0] != 'P') return false;
    const bool isFloat = bytes[1] == 'F' || bytes[1] == 'f';
    const bool isKnown = isFloat || (bytes[1] >= '1' && bytes[1] <= '7');
    // "PF4" is recognized so that the refusal has its reason.
    return isKnown && (isPnmBlank(bytes[2]) || bytes[2] == '#' || (isFloat && bytes[2] == '4'));
}

bool probePnm(ProbeRequest& request) {
    PnmHeader header;
    if (!readPnmHeader(request.file, header, request.result)) return false;
    DibFileInfo& info = request.info;
    info.width = header.width;
    info.height = header.height;
    info.bitCount = header.imageBits();
    info.channels = header.channels;
    info.storedBits = header.storedBits();
    info.hasAlpha = info.bitCount == 32;
    info.paletteSize = info.bitCount <= 8 ? 1 << info.bitCount : 0;
    if (info.bitCount <= 8) markGrey(info);
    nameCompression(info, header.isText ? "text" : "none");
    return true;
}

bool readPnm(ReadRequest& request) {
    PnmHeader header;
    if (!readPnmHeader(request.file, header, request.result)) return false;
    NewImage image(request.image, &request.progress);
    const std::uint64_t fewestBytes = header.rowBytes() * dib::asUnsigned(header.height);
    if (!image.create(request.file, header.width, header.height, header.imageBits(), fewestBytes))
        return refuseForMemory(request.result, "for the picture");
    noteLosses(header, request.result);
    if (header.hasComments) note(request.result, DIB_NOTE_LOSS, "%s", kLostTexts);
    const bool isPlain = header.samples == Samples::kBytes && !header.isText && header.largest == 255 &&
                         (header.channels == 1 || header.channels == 3);
    return isPlain ? readBytes(request, image) : readSamples(request, header, image);
}

}  // namespace formats
