#include "dib/ChangeDepth.h"

#include <algorithm>

#include "dib/ColorTable.h"
#include "dib/MedianCut.h"
#include "dib/MedianLookup.h"
#include "dib/Numbers.h"
#include "dib/PixelKernels.h"

namespace dib {

DepthChange::DepthChange(DibStream& image, Packed form, int bitCount)
    : image_(image), bitCount_(bitCount), source_(image, form) {
    if (!source_.readable()) return;
    size_ = admitSize(image.Header->biWidth, image.Header->biHeight, bitCount);
    if (size_.admitted) pixels_ = allocateImageBlock(size_.imageBytes);
    if (pixels_ == nullptr) {
        failForMemory(image);
        return;
    }
    clearRowFill(pixels_.get(), size_);
}

bool DepthChange::finish() {
    const std::int32_t width = image_.Header->biWidth;
    const std::int32_t height = image_.Header->biHeight;
    MallocPtr<BITMAPINFOHEADER> header;
    if (size_.imageBytes > 0) header.reset(image_.CreateHeader(width, height, bitCount_));
    if (header == nullptr) {
        image_.Clear();
        return failForMemory(image_);
    }
    return image_.SetDib(header.release(), kOwned, pixels_.release(), kOwned);
}

void packNibbles(const std::uint8_t* values, std::uint8_t* to, std::size_t count) {
    for (std::size_t i = 0; i < count / 2; ++i) {
        to[i] = (values[2 * i] << 4 & 0xF0) | values[2 * i + 1];
    }
    if (count % 2 != 0) to[count / 2] = values[count - 1] << 4 & 0xF0;
}

}  // namespace dib

using dib::DepthChange;
using dib::forEachStrip;
using dib::kStripPixels;
using dib::Packed;
using dib::Progress;

namespace {

unsigned int selector(unsigned int flags) { return flags & 0xFFFF; }

// The packed form is the new image, but for the fill of its rows.
bool convertRows(DibStream& image, Packed form, const Progress& progress) {
    const std::size_t pixelBytes = dib::bytesOf(form);
    DepthChange change(image, form, dib::bitsOf(form));
    if (!change.ready()) return false;
    const bool isDone = change.forEachRow(progress, [&](std::size_t row) {
        forEachStrip(change.width(), [&](std::size_t x, std::size_t count) {
            change.source().read(row, x, count, change.row(row) + pixelBytes * x);
        });
    });
    return isDone && change.finish();
}

bool changeToBits(DibStream& image, const Progress& progress) {
    DepthChange change(image, Packed::kGrey, 1);
    if (!change.ready()) return false;
    dib::ErrorDiffusion diffusion(change.width());
    if (!diffusion.ready()) return dib::failForMemory(image);
    const bool isDone = change.forEachRow(progress, [&](std::size_t row) {
        forEachStrip(change.width(), [&](std::size_t x, std::size_t count) {
            change.source().read(row, x, count, diffusion.grey() + x);
        });
        diffusion.diffuse(change.row(row));
    });
    return isDone && change.finish();
}

bool changeToGreyNibbles(DibStream& image, const Progress& progress) {
    DepthChange change(image, Packed::kGrey, 4);
    if (!change.ready()) return false;
    std::uint8_t grey[kStripPixels];
    const bool isDone = change.forEachRow(progress, [&](std::size_t row) {
        forEachStrip(change.width(), [&](std::size_t x, std::size_t count) {
            change.source().read(row, x, count, grey);
            for (std::size_t i = 0; i < count; ++i) grey[i] >>= 4;
            dib::packNibbles(grey, change.row(row) + x / 2, count);
        });
    });
    if (!isDone || !change.finish()) return false;
    image.SetMonoPalette();
    return true;
}

bool changeToDitheredCube(DibStream& image, const Progress& progress) {
    DepthChange change(image, Packed::kBgr, 8);
    if (!change.ready()) return false;
    std::uint8_t scratch[kStripPixels * 3];
    const bool isDone = change.forEachRow(progress, [&](std::size_t row) {
        forEachStrip(change.width(), [&](std::size_t x, std::size_t count) {
            const std::uint8_t* bgr = change.source().strip(row, x, count, scratch);
            dib::ditherToCube(bgr, change.row(row) + x, count, row);
        });
    });
    if (!isDone || !change.finish()) return false;
    // Entries beyond the cube keep the grey ramp of a new image.
    DibBGRA* table = dib::colorTable(image.Header);
    for (unsigned int i = 0; i < dib::kCubeColors; ++i) table[i] = dib::cubeColor(i);
    return true;
}

bool changeToWords(DibStream& image, bool carriesRemainders, const Progress& progress) {
    DepthChange change(image, Packed::kBgr, 16);
    if (!change.ready()) return false;
    std::uint8_t scratch[kStripPixels * 3];
    dib::RemainderCarry carry;
    const bool isDone = change.forEachRow(progress, [&](std::size_t row) {
        auto* words = reinterpret_cast<std::uint16_t*>(change.row(row));
        forEachStrip(change.width(), [&](std::size_t x, std::size_t count) {
            const std::uint8_t* bgr = change.source().strip(row, x, count, scratch);
            if (carriesRemainders) {
                dib::carryToWords(bgr, words + x, count, carry);
            } else {
                dib::runKernel<dib::bgrToWords>(bgr, words + x, count);
            }
        });
    });
    return isDone && change.finish();
}

bool changeTo32Bit(DibStream& image) {
    dib::MallocPtr<unsigned char> pixels(image.Create32Bit());
    if (pixels == nullptr) return false;
    // Packed rows already have the pitch of this depth. Unlike the other conversions this one keeps the old
    // image when there is no memory for the header.
    BITMAPINFOHEADER* header = image.CreateHeader(image.Header->biWidth, image.Header->biHeight, 32);
    return header != nullptr && image.SetDib(header, dib::kOwned, pixels.release(), dib::kOwned);
}

// A palette of the picture's own. The boxes may outnumber the entries when more colours are requested.
bool changeToMedianCut(DibStream& image, int bitCount, int colorLimit, const Progress& progress) {
    dib::MallocPtr<unsigned char> pixels(image.Create24Bit());
    if (pixels == nullptr) return false;
    const std::int32_t height = image.Header->biHeight;
    const auto width = dib::asSize(image.Header->biWidth);
    const auto rows = dib::asInt(dib::rowCount(height));

    const dib::PartProgress counting = dib::PartProgress{progress}.part(0, 2);
    const dib::PartProgress mapping = dib::PartProgress{progress}.part(1, 2);
    dibmedian::mediancut quantizer;
    const std::size_t pixelCount = width * dib::asSize(rows);
    const bool divided = dibmedian::divideColors(quantizer, pixels.get(), pixelCount, colorLimit, counting);
    // When the caller has cancelled, the code of the failure is not used.
    if (!divided) return dib::failForMemory(image);
    dib::MedianLookup lookup(quantizer, pixelCount);
    if (!lookup.ready()) return dib::failForMemory(image);
    if (!image.Create(image.Header->biWidth, height, bitCount)) return false;

    const std::size_t entries = dib::addressableEntries(bitCount);
    DibBGRA* table = dib::colorTable(image.Header);
    for (int i = 0; std::cmp_less(i, entries); ++i) {
        table[i] = i < quantizer.boxCount ? dib::boxCentre(quantizer.boxes[i].info) : DibBGRA{};
    }
    const std::size_t rowBytes = image.GetPitch();
    std::uint8_t strip[kStripPixels];
    for (int y = 0; y < rows; ++y) {
        const auto row = dib::asSize(y);
        unsigned char* to = image.Buffer + row * rowBytes;
        forEachStrip(width, [&](std::size_t x, std::size_t count) {
            const std::uint8_t* bgr = pixels.get() + 3 * (row * width + x);
            lookup.map(bgr, bitCount == 8 ? to + x : strip, count);
            if (bitCount == 4) dib::packNibbles(strip, to + x / 2, count);
        });
        if (!mapping.report(std::int64_t{y} + 1, rows)) return false;
    }
    return true;
}

// The limit is taken from bits 16 to 23 without a shift, so any limit given there is far above the
// quantizer's table and means as many boxes as that holds. At 4 bits such a limit can never be below 16 and
// so is never used. Callers pass the selector alone.
int colorLimit(int bitCount, unsigned int flags) {
    const int limit = flags & 0xFF0000;
    if (bitCount == 8) return limit != 0 ? limit : 256;
    return limit != 0 && limit < 16 ? limit : 16;
}

}  // namespace

bool dib::changeDepth(DibStream& image, int bitCount, unsigned int flags, const Progress& progress) {
    const bool isMedian = selector(flags) == DIB_MEDIAN_CUT && (bitCount == 4 || bitCount == 8);
    if (isMedian) return changeToMedianCut(image, bitCount, colorLimit(bitCount, flags), progress);
    const bool isDithered = selector(flags) == DIB_DITHER;
    switch (bitCount) {
        case 1: return changeToBits(image, progress);
        case 4: return changeToGreyNibbles(image, progress);
        case 8:
            return isDithered ? changeToDitheredCube(image, progress)
                              : convertRows(image, Packed::kGrey, progress);
        case 16: return changeToWords(image, isDithered, progress);
        case 24: return convertRows(image, Packed::kBgr, progress);
        case 32: return changeTo32Bit(image);
        default: return false;
    }
}

bool DibStream::ChangeBpp(int bitCount, unsigned int flags) {
    return Buffer != nullptr && dib::changeDepth(*this, bitCount, flags, dib::kSilent);
}
bool DibStream::ChangeTo1Bit(unsigned int flags) { return dib::changeDepth(*this, 1, flags, dib::kSilent); }
bool DibStream::ChangeTo4Bit(unsigned int flags) { return dib::changeDepth(*this, 4, flags, dib::kSilent); }
bool DibStream::ChangeTo8Bit(unsigned int flags) { return dib::changeDepth(*this, 8, flags, dib::kSilent); }
bool DibStream::ChangeTo16Bit(unsigned int flags) { return dib::changeDepth(*this, 16, flags, dib::kSilent); }
bool DibStream::ChangeTo24Bit(unsigned int flags) { return dib::changeDepth(*this, 24, flags, dib::kSilent); }
bool DibStream::ChangeTo32Bit(unsigned int flags) { return dib::changeDepth(*this, 32, flags, dib::kSilent); }

bool DibStream::MedianCut8(unsigned int flags) {
    return changeToMedianCut(*this, 8, colorLimit(8, flags), dib::kSilent);
}
bool DibStream::MedianCut4(unsigned int flags) {
    return changeToMedianCut(*this, 4, colorLimit(4, flags), dib::kSilent);
}
