// Reading TGA files for the functions of DibFile.h, as other programs show them. `LoadTGA` (Tga.cpp) is
// a reader of its own, which never changes. This one differs from it in that it
// - counts the indices of a colour map from its first one, where `LoadTGA` counts from 0;
// - reads maps of 15 and 16 bits, indices of 16 bits, and run lengths with maps of 32 bits;
// - reads grey in run lengths, of 1 bit, and of 16 bits with alpha, and pixels of 15 bits;
// - turns rows that are stored from right to left;
// - keeps the row order of packed pictures, too, where `LoadTGA` makes them bottom-up;
// - has alpha only where the header or the footer says so, and divides colours that were multiplied by it;
// - skips maps beside true colour whatever their entries are;
// - takes sizes up to 65535, where those of `LoadTGA` have a sign;
// - opens the thumbnail as level 1.
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "dib/Bytes.h"
#include "dib/ColorTable.h"
#include "dib/Kernels.h"
#include "dib/Memory.h"
#include "dib/Numbers.h"
#include "formats/GreyInfo.h"
#include "formats/NewImage.h"
#include "formats/Rows.h"
#include "formats/Tga.h"
#include "formats/TgaPackets.h"
#include "formats/TgaPicture.h"

namespace formats {

namespace {

template <std::size_t kPixelBytes>
void mirror(unsigned char* row, std::size_t width) {
    unsigned char pixel[kPixelBytes];
    for (std::size_t left = 0, right = width; left + 1 < right; ++left) {
        --right;
        std::memcpy(pixel, row + left * kPixelBytes, kPixelBytes);
        std::memcpy(row + left * kPixelBytes, row + right * kPixelBytes, kPixelBytes);
        std::memcpy(row + right * kPixelBytes, pixel, kPixelBytes);
    }
}

constexpr std::uint32_t kAlphaMask = 0xFF000000;

// Which bits of alpha all pixels had, and which of them any pixel had.
struct AlphaBits {
    std::uint32_t all = kAlphaMask;
    std::uint32_t any = 0;
};

DIB_ALWAYS_INLINE AlphaBits setOpaque(unsigned char* pixels, std::size_t count, AlphaBits bits) {
    for (std::size_t i = 0; i < count; ++i) {
        std::uint32_t word;
        std::memcpy(&word, pixels + 4 * i, sizeof word);
        bits.all &= word;
        bits.any |= word & kAlphaMask;
        word |= kAlphaMask;
        std::memcpy(pixels + 4 * i, &word, sizeof word);
    }
    return bits;
}

class RowsReader {
public:
    RowsReader(ReadRequest& request, const TgaPicture& picture, NewImage& image)
        : request_(request), file_(request.file), picture_(picture), image_(image) {}

    bool read() {
        if (!readPixels()) return false;
        // All 0 or all 255 is what programs without alpha write.
        if (fourthBytes_.all != kAlphaMask && fourthBytes_.any != 0) {
            note(request_.result, DIB_NOTE_ASSUMPTION,
                 "the header announces no alpha, so the fourth byte of the pixels was ignored");
        }
        return true;
    }

private:
    bool readPixels() {
        if (picture_.isPlain()) return readBlocks();
        switch (picture_.pixelBytes) {
            case 1: return readRows<1>();
            case 2: return readRows<2>();
            case 3: return readRows<3>();
            default: return readRows<4>();
        }
    }

    bool refuseShort() { return refuse(request_.result, DIB_ERROR_READ, "%s", kShortPixels); }
    std::size_t rows() const { return dib::asSize(picture_.height); }

    bool readBlocks() {
        const std::size_t pitch = image_->GetPitch();
        const bool isOpaque = picture_.change == TgaChange::kOpaque;
        // Pixels that are changed must still be in the cache.
        const std::size_t most = rowsPerStep(request_.progress, pitch, rows());
        const std::size_t step = isOpaque ? rowsPerBlock(pitch, most) : most;
        for (std::size_t y = 0; y < rows(); y += step) {
            unsigned char* first = image_->Buffer + y * pitch;
            const std::size_t count = std::min(step, rows() - y);
            const std::size_t bytes = file_.readRows(first, dib::asOffset(pitch), picture_.rowBytes(), count);
            const std::size_t whole = bytes / picture_.rowBytes();
            if (isOpaque) makeOpaque(first, whole * dib::asSize(picture_.width));
            if (whole > 0 && !image_.read(first, whole)) return false;
            if (whole == count) continue;
            image_.readPart(first + whole * pitch, bytes % picture_.rowBytes());
            return refuseShort();
        }
        return true;
    }

    template <std::size_t kPixelBytes>
    bool readRows() {
        const bool isInPlace = picture_.change == TgaChange::kNone || picture_.change == TgaChange::kOpaque;
        const auto buffer = dib::allocateZeroed<unsigned char>(isInPlace ? 1 : picture_.rowBytes());
        if (buffer == nullptr) return refuseForMemory(request_.result);
        PacketReader<kPixelBytes> packets(file_);
        const std::size_t bytes = picture_.rowBytes();
        const auto width = dib::asSize(picture_.width);
        unsigned char* out = image_->Buffer;
        for (std::size_t y = 0; y < rows(); ++y, out += image_->GetPitch()) {
            unsigned char* row = isInPlace ? out : buffer.get();
            const std::size_t got = picture_.isPacked ? packets.read(row, bytes) : file_.copy(row, bytes);
            if (got < bytes) {
                if (picture_.change == TgaChange::kNone && !picture_.header.isRightToLeft())
                    image_.readPart(out, got);
                return refuseShort();
            }
            if (picture_.header.isRightToLeft()) mirror<kPixelBytes>(row, width);
            change(row, out, width);
            if (!image_.read(out)) return false;
        }
        return true;
    }

    void change(const unsigned char* row, unsigned char* out, std::size_t width) {
        switch (picture_.change) {
            case TgaChange::kNone: break;
            case TgaChange::kOpaque: makeOpaque(out, width); break;
            case TgaChange::kWords: spreadChannels(row, 2, out, 4, width, kTgaWordsWithAlpha); break;
            case TgaChange::kGreyOnly:
                for (std::size_t x = 0; x < width; ++x) out[x] = row[2 * x];
                break;
            case TgaChange::kGreyAndAlpha:
                for (std::size_t x = 0; x < width; ++x) {
                    std::memset(out + 4 * x, row[2 * x], 3);
                    out[4 * x + 3] = row[2 * x + 1];
                }
                break;
            case TgaChange::kLookUp:
                if (picture_.bitCount == 32) {
                    lookUp<4>(row, out, width);
                } else {
                    lookUp<3>(row, out, width);
                }
                break;
        }
        if (picture_.isPremultiplied && picture_.bitCount == 32 && picture_.hasAlpha)
            divideByAlpha(out, width);
    }

    template <std::size_t kBytes>
    void lookUp(const unsigned char* row, unsigned char* out, std::size_t width) const {
        const bool isByte = picture_.pixelBytes == 1;
        for (std::size_t x = 0; x < width; ++x) {
            const std::size_t index = isByte ? row[x] : dib::readLe16(row + 2 * x);
            std::memcpy(out + kBytes * x, &picture_.map[index], kBytes);
        }
    }

    void makeOpaque(unsigned char* pixels, std::size_t count) {
        fourthBytes_ = dib::runKernel<setOpaque>(pixels, count, fourthBytes_);
    }

    static void divideByAlpha(unsigned char* row, std::size_t width) {
        for (std::size_t i = 0; i < 4 * width; i += 4) {
            const unsigned alpha = row[i + 3];
            for (std::size_t channel = i; alpha != 0 && channel < i + 3; ++channel)
                row[channel] = dib::byteOf(std::min(255U, (row[channel] * 255U + alpha / 2) / alpha));
        }
    }

    ReadRequest& request_;
    ByteReader& file_;
    const TgaPicture& picture_;
    NewImage& image_;
    AlphaBits fourthBytes_;
};

std::uint64_t fewestBytes(const TgaPicture& picture) {
    const std::uint64_t pixels =
        std::uint64_t{dib::asUnsigned(picture.width)} * dib::asUnsigned(picture.height);
    if (!picture.isPacked) return std::uint64_t{picture.rowBytes()} * dib::asUnsigned(picture.height);
    return (pixels + kMostPixels - 1) / kMostPixels * (1 + picture.pixelBytes);
}

void noteChanges(const TgaPicture& picture, DibFileResult& result) {
    if (picture.change == TgaChange::kWords)
        note(result, DIB_NOTE_ASSUMPTION, "pixels of 16 bits with an alpha bit became 32");
    if (picture.change == TgaChange::kLookUp && picture.pixelBytes == 2)
        note(result, DIB_NOTE_ASSUMPTION, "indices of %d bits became the colours of the map",
             picture.header.bitCount);
    if (picture.change == TgaChange::kLookUp && picture.pixelBytes == 1)
        note(result, DIB_NOTE_ASSUMPTION, "the colour map has alpha, so its colours replace the indices");
    if (picture.change == TgaChange::kGreyAndAlpha)
        note(result, DIB_NOTE_ASSUMPTION, "grey pixels with alpha became 32 bits");
    if (picture.dividesByAlpha())
        note(result, DIB_NOTE_ASSUMPTION, "colours were divided by the alpha that they were multiplied by");
}

}  // namespace

bool probeTga(ProbeRequest& request) {
    TgaPicture picture;
    if (!readTgaPicture(request.file, picture, request.options, request.result)) return false;
    DibFileInfo& info = request.info;
    info.width = picture.width;
    info.height = picture.height;
    info.bitCount = picture.bitCount;
    info.storedBits = picture.header.bitCount;
    info.hasAlpha = picture.bitCount == 32 && (picture.hasAlpha || picture.change == TgaChange::kLookUp);
    info.isTopDown = picture.header.topRowFirst();
    const int greys = picture.bitCount <= 8 ? 1 << picture.bitCount : 0;
    info.paletteSize = picture.isMapped && greys > 0 ? dib::asInt(picture.entries) : greys;
    if (!picture.isMapped && greys > 0) markGrey(info);
    nameCompression(info, picture.isPacked ? "rle" : "none");
    info.levels = picture.levels();
    return true;
}

bool readTga(ReadRequest& request) {
    TgaPicture picture;
    if (!readTgaPicture(request.file, picture, request.options, request.result)) return false;
    NewImage image(request.image, &request.progress);
    const int height = picture.header.topRowFirst() ? -picture.height : picture.height;
    if (!image.create(request.file, picture.width, height, picture.bitCount, fewestBytes(picture)))
        return refuseForMemory(request.result, "for the picture");
    if (picture.isMapped && picture.bitCount == 8) {
        for (DibBGRA& color : picture.map) color.alpha = 0;
        std::memcpy(dib::colorTable(image->Header), picture.map.data(), picture.map.size() * sizeof(DibBGRA));
        image->Header->biClrUsed = image->Header->biClrImportant = dib::dwordOf(picture.entries);
    }
    noteChanges(picture, request.result);
    if (picture.hasTexts) note(request.result, DIB_NOTE_LOSS, "%s", kLostTexts);
    return RowsReader(request, picture, image).read();
}

}  // namespace formats
