// TIFF files by libtiff: its samples as they are stored, or its own conversion to 32-bit pixels where the
// colour space is not one of the simple ones.

#include <algorithm>
#include <climits>
#include <cstring>
#include <iterator>
#include <new>

#include "dib/Bytes.h"
#include "dib/ImageSize.h"
#include "dib/Memory.h"
#include "dib/Numbers.h"
#include "dib/Turn.h"
#include "formats/Exif.h"
#include "formats/linux/ImageFiles.h"
#include "formats/linux/TiffExif.h"
#include "formats/linux/TiffHandle.h"
#include "formats/linux/TiffRows.h"
#include "formats/linux/TiffSamples.h"
#include "formats/linux/TiffTags.h"

namespace formats {

namespace {

class TiffDecoder final : public FileDecoder {
public:
    TiffDecoder(ByteReader& file, const DecoderOptions& options) : source_{file}, options_(options) {}

    bool readLayout(BitmapLayout& layout) override;
    ColorTriples readColors() override;
    bool startPixels() override;
    const unsigned char* nextRow() override;
    bool describe(DibFileInfo& info, DibFileResult& result) override;
    const char* damage() const override;
    std::size_t rowsLost() const override { return rowsLost_ + rows_.rowsLost(); }
    bool isShortOfMemory() const override {
        return isShortOfMemory_ || source_.isShortOfMemory || rows_.isShortOfMemory();
    }

private:
    bool isPlain() const;
    bool hasIndices() const;
    bool startRows();
    bool readRaster();
    bool readConverted();
    bool convertRows(TIFFRGBAImage& picture);
    void divideAlpha();
    const unsigned char* turnedRow();

    std::size_t pixelBytes() const { return bitsPerPixel_ / 8; }
    std::size_t rowBytes(std::size_t width) const { return (width * bitsPerPixel_ + 7) / 8; }

    TiffSource source_;
    const DecoderOptions options_;
    TiffPtr tiff_;
    TiffLayout layout_;
    TiffMeaning meaning_;
    std::uint16_t orientation_ = ORIENTATION_TOPLEFT;  // that rows are turned by here
    std::uint16_t storedOrientation_ = ORIENTATION_TOPLEFT;
    std::size_t bitsPerPixel_ = 0;
    std::size_t shownWidth_ = 0;
    TiffRows rows_;
    TiffConverter converter_;
    dib::MallocPtr<unsigned char> row_;
    dib::MallocPtr<unsigned char> raster_;  // of pictures that are needed as a whole
    std::size_t nextRow_ = 0;
    std::size_t rowsLost_ = 0;  // of the raster
    unsigned char colors_[256 * 3] = {};
};

bool TiffDecoder::readLayout(BitmapLayout& layout) {
    tiff_ = readTiff(source_);
    if (tiff_ == nullptr) return false;
    TIFF* tiff = tiff_.get();
    const bool hasPage =
        options_.page <= 0 || TIFFSetDirectory(tiff, static_cast<tdir_t>(options_.page)) != 0;
    // If the page does not exist the first is probed, because the caller compares the number of pages.
    if (!hasPage && (!options_.readsHeadersOnly || TIFFSetDirectory(tiff, 0) == 0)) return false;
    if (!readTiffLayout(tiff, layout_)) return false;
    orientation_ = tiffField<std::uint16_t>(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    if (orientation_ < 1 || orientation_ > std::size(dib::kTurns)) orientation_ = ORIENTATION_TOPLEFT;
    if (!readTiffMeaning(tiff, layout_, options_.dialect, meaning_)) return false;
    bitsPerPixel_ = hasIndices() ? (layout_.bits == 2 ? 4 : layout_.bits) : meaning_.bitsPerPixel();
    storedOrientation_ = orientation_;
    if (!options_.dialect.turnsRows) orientation_ = ORIENTATION_TOPLEFT;

    const bool exchanged = dib::kTurns[orientation_ - 1].isExchanged;
    shownWidth_ = exchanged ? layout_.height : layout_.width;
    layout.width = shownWidth_;
    layout.height = exchanged ? layout_.width : layout_.height;
    layout.bitsPerComponent = meaning_.givesFloats() ? 32 : std::min<std::size_t>(bitsPerPixel_, 8);
    layout.bitsPerPixel = bitsPerPixel_;
    layout.bytesPerRow = rowBytes(shownWidth_);
    return true;
}

// Whether the image holds the numbers of the file, of 1, 4 or 8 bits. Inverted grey of 8 bits becomes grey.
bool TiffDecoder::hasIndices() const {
    const bool isIndexed = meaning_.kind == TiffKind::kPalette || meaning_.kind == TiffKind::kGrey ||
                           (meaning_.kind == TiffKind::kInvertedGrey && layout_.bits < 8);
    return options_.dialect.keepsIndices && isIndexed && !meaning_.isForeign && !meaning_.isFloat &&
           layout_.perPixel == 1 && layout_.bits <= 8 && 8 % layout_.bits == 0;
}

ColorTriples TiffDecoder::readColors() {
    std::uint16_t* channels[3] = {};
    if (options_.dialect.keepsIndices && bitsPerPixel_ <= 8 && meaning_.kind != TiffKind::kPalette) {
        const int levels = hasIndices() ? 1 << layout_.bits : 256;
        const bool isInverted = hasIndices() && meaning_.kind == TiffKind::kInvertedGrey;
        for (int i = 0; i < levels; ++i) {
            const int level = (isInverted ? levels - 1 - i : i) * 255 / (levels - 1);
            std::fill_n(colors_ + 3 * i, 3, dib::byteOf(level));
        }
        return {colors_, dib::asSize(levels), true};
    }
    if (meaning_.isForeign || meaning_.kind != TiffKind::kPalette ||
        TIFFGetField(tiff_.get(), TIFFTAG_COLORMAP, &channels[0], &channels[1], &channels[2]) == 0) {
        return {};
    }
    const std::size_t count = std::size_t{1} << layout_.bits;
    // Colours have 16 bits, but some writers store 8.
    bool wide = false;
    for (const std::uint16_t* channel : channels) {
        wide = wide || std::any_of(channel, channel + count, [](std::uint16_t v) { return v > 255; });
    }
    for (std::size_t i = 0; i < count; ++i) {
        for (std::size_t k = 0; k < 3; ++k) {
            colors_[3 * i + k] = dib::byteOf(wide ? channels[k][i] >> 8 : channels[k][i]);
        }
    }
    return {colors_, count, options_.dialect.keepsIndices};
}

// Whether the samples are bytes or floats of the bitmap already.
bool TiffDecoder::isPlain() const {
    if (hasIndices()) return layout_.bits != 2;
    return !layout_.isPlanar && !meaning_.isMultiplied && meaning_.sampleCount == layout_.perPixel &&
           meaning_.kind != TiffKind::kInvertedGrey && meaning_.kind != TiffKind::kInks &&
           layout_.bits == (meaning_.givesFloats() ? 32 : 8) &&
           std::size_t{layout_.bits} * layout_.perPixel == bitsPerPixel_;
}

bool TiffDecoder::startPixels() {
    // The image may have an admitted size where its floats, four times as large, have none.
    const std::uint64_t rasterBytes = std::uint64_t{layout_.width} * layout_.height * pixelBytes();
    const bool isWhole = meaning_.isForeign || orientation_ != ORIENTATION_TOPLEFT;
    if (isWhole && rasterBytes > INT_MAX) return false;
    // Two pixels of 2 bits take half a byte more.
    row_ = dib::allocateArray<unsigned char>(rowBytes(std::max<std::size_t>(layout_.width, shownWidth_)) + 1);
    isShortOfMemory_ = row_ == nullptr;
    if (isShortOfMemory_) return false;
    if (meaning_.isForeign) return readConverted();
    return startRows() && (!isWhole || readRaster());
}

bool TiffDecoder::startRows() {
    const TiffDamage damage = options_.keepsDamaged                  ? TiffDamage::kKept
                              : options_.dialect.refusesBrokenPixels ? TiffDamage::kRefused
                                                                     : TiffDamage::kTolerated;
    if (!rows_.start(tiff_.get(), source_, layout_, damage, meaning_.samples, meaning_.sampleCount))
        return false;
    isShortOfMemory_ = !isPlain() && !converter_.start(layout_, meaning_, colors_);
    return !isShortOfMemory_;
}

bool TiffDecoder::readRaster() {
    const std::size_t rowBytes = layout_.width * pixelBytes();
    raster_ = dib::allocateImageBlock(rowBytes * layout_.height);
    isShortOfMemory_ = raster_ == nullptr;
    if (isShortOfMemory_) return false;
    for (std::size_t y = 0; y < layout_.height; ++y) {
        if (!rows_.next()) return false;
        if (isPlain()) {
            std::copy_n(rows_.row(0), rowBytes, raster_.get() + y * rowBytes);
        } else {
            converter_.convert(rows_, raster_.get() + y * rowBytes);
        }
    }
    return true;
}

bool TiffDecoder::readConverted() {
    const dib::ImageSize size = dib::admitSize(layout_.width, dib::asInt(layout_.height), 32);
    if (!size.admitted) return false;
    raster_ = dib::allocateImageBlock(size.imageBytes);
    isShortOfMemory_ = raster_ == nullptr;
    if (isShortOfMemory_) return false;
    TIFFRGBAImage picture;
    char reason[1024];
    if (TIFFRGBAImageBegin(&picture, tiff_.get(), 1, reason) == 0) return false;
    const bool isConverted = convertRows(picture);
    TIFFRGBAImageEnd(&picture);
    if (isConverted) divideAlpha();
    return isConverted;
}

// In pieces of the file, each of which comes whole or not at all.
bool TiffDecoder::convertRows(TIFFRGBAImage& picture) {
    // Requested as it is stored, so that nothing is turned yet.
    picture.req_orientation = storedOrientation_;
    std::uint32_t rows = layout_.height;
    TIFFGetFieldDefaulted(tiff_.get(),
                          TIFFIsTiled(tiff_.get()) != 0 ? TIFFTAG_TILELENGTH : TIFFTAG_ROWSPERSTRIP, &rows);
    if (rows == 0) return false;
    for (std::size_t y = 0; y < layout_.height; y += rows) {
        const std::size_t count = std::min<std::size_t>(rows, layout_.height - y);
        unsigned char* to = raster_.get() + y * layout_.width * 4;
        picture.row_offset = dib::asInt(y);
        const bool isWhole = TIFFRGBAImageGet(&picture, reinterpret_cast<std::uint32_t*>(to), layout_.width,
                                              dib::dwordOf(count)) != 0;
        if (!isWhole && !options_.keepsDamaged) return false;
        if (!isWhole) {
            std::memset(to, 0, count * layout_.width * 4);
            rowsLost_ += count;
        }
        // The rows themselves are reported when they are shown, which takes little time.
        if (options_.progress != nullptr &&
            !options_.progress->report(0.8 * static_cast<double>(y) / layout_.height))
            return false;
    }
    return true;
}

// The library multiplies colours with their alpha.
void TiffDecoder::divideAlpha() {
    const std::size_t pixels = std::size_t{layout_.width} * layout_.height;
    const std::size_t step = pixelBytes();
    for (std::size_t i = 0; i < pixels; ++i) {
        const unsigned char* from = raster_.get() + 4 * i;
        unsigned char* to = raster_.get() + step * i;
        const unsigned alpha = step == 4 ? from[3] : 255U;
        for (std::size_t k = 0; k < 3; ++k) {
            const unsigned color = alpha == 0 ? 0 : (from[k] * 255U + alpha / 2) / alpha;
            to[k] = dib::byteOf(std::min(color, 255U));
        }
    }
}

const unsigned char* TiffDecoder::turnedRow() {
    const dib::Turn& turn = dib::kTurns[orientation_ - 1];
    const std::size_t width = layout_.width;
    const std::size_t height = layout_.height;
    const std::size_t bytes = pixelBytes();
    for (std::size_t i = 0; i < shownWidth_; ++i) {
        const std::size_t x = turn.isExchanged ? nextRow_ : i;
        const std::size_t y = turn.isExchanged ? i : nextRow_;
        const std::size_t from =
            (turn.isMirroredY ? height - 1 - y : y) * width + (turn.isMirroredX ? width - 1 - x : x);
        std::memcpy(row_.get() + i * bytes, raster_.get() + from * bytes, bytes);
    }
    ++nextRow_;
    return row_.get();
}

const unsigned char* TiffDecoder::nextRow() {
    if (raster_ != nullptr) return turnedRow();
    if (!rows_.next()) return nullptr;
    if (isPlain()) return rows_.row(0);
    if (rows_.isLost()) {
        std::memset(row_.get(), 0, rowBytes(layout_.width));
    } else if (hasIndices()) {
        widenPairs(rows_.row(0), row_.get(), rowBytes(layout_.width));
    } else {
        converter_.convert(rows_, row_.get());
    }
    return row_.get();
}

const char* TiffDecoder::damage() const {
    if (rowsLost_ > 0) return "some pieces of the picture are damaged or missing";
    return rows_.damage()[0] != '\0' ? rows_.damage() : nullptr;
}

bool TiffDecoder::describe(DibFileInfo& info, DibFileResult& result) {
    info.channels = layout_.perPixel;
    info.storedBits = layout_.bits * layout_.perPixel;
    nameCompression(info, tiffCompression(tiff_.get()));
    result.metadata.orientation = storedOrientation_;
    readTiffResolution(tiff_.get(), result.metadata);
    if (options_.readsHeadersOnly) {
        info.pages = countTiffPages(source_.file);
        return true;
    }
    if (meaning_.isFloat) {
        note(result, DIB_NOTE_LOSS, "floats became 8 bits a sample");
    } else if (layout_.bits > 8) {
        note(result, DIB_NOTE_LOSS, "%d bits a sample became 8", layout_.bits);
    }
    if (meaning_.kind == TiffKind::kInks)
        note(result, DIB_NOTE_LOSS, "four inks became red, green and blue, without a colour profile");
    if (meaning_.kind == TiffKind::kPalette && meaning_.hasAlpha)
        note(result, DIB_NOTE_LOSS, "the palette has transparency: its indices became 32-bit colours");
    const bool readsExif = readTiffExif(tiff_.get(), source_.file, result.metadata.exif);
    if (!keepTiffExtras(tiff_.get(), readsExif, result)) return false;
    std::uint32_t bytes = 0;
    unsigned char* profile = nullptr;
    if (TIFFGetField(tiff_.get(), TIFFTAG_ICCPROFILE, &bytes, &profile) == 0 || bytes > kMostMetadataBytes)
        return true;
    return copyBytes({profile, bytes}, result.metadata.colorProfile);
}

}  // namespace

std::unique_ptr<FileDecoder> openTiff(ByteReader& file, const DecoderOptions& options) {
    return std::unique_ptr<FileDecoder>(new (std::nothrow) TiffDecoder(file, options));
}

}  // namespace formats
