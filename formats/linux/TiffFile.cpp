// TIFF files by libtiff: common layouts row by row, all others through its own conversion to 32-bit pixels.
#include <tiffio.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <new>

#include "dib/ImageSize.h"
#include "dib/Memory.h"
#include "formats/linux/ImageFiles.h"

namespace formats {

namespace {

struct CloseTiff {
    void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};
using TiffPtr = std::unique_ptr<TIFF, CloseTiff>;

std::FILE* fileOf(thandle_t handle) { return static_cast<std::FILE*>(handle); }
tmsize_t readFrom(thandle_t handle, void* out, tmsize_t bytes) {
    return static_cast<tmsize_t>(std::fread(out, 1, static_cast<std::size_t>(bytes), fileOf(handle)));
}
tmsize_t writeTo(thandle_t handle, void* from, tmsize_t bytes) {
    return static_cast<tmsize_t>(std::fwrite(from, 1, static_cast<std::size_t>(bytes), fileOf(handle)));
}
toff_t seekTo(thandle_t handle, toff_t offset, int origin) {
    if (fseeko(fileOf(handle), static_cast<off_t>(offset), origin) != 0) return static_cast<toff_t>(-1);
    return static_cast<toff_t>(ftello(fileOf(handle)));
}
toff_t sizeOf(thandle_t handle) {
    const off_t position = ftello(fileOf(handle));
    const toff_t size = seekTo(handle, 0, SEEK_END);
    if (fseeko(fileOf(handle), position, SEEK_SET) != 0) return 0;
    return size;
}
// The file has another owner.
int closeNothing(thandle_t) { return 0; }

int keepQuiet(TIFF*, void*, const char*, const char*, va_list) { return 1; }

TiffPtr openTiffFile(std::FILE* file, const char* mode) {
    TIFFOpenOptions* options = TIFFOpenOptionsAlloc();
    if (options == nullptr) return nullptr;
    // Strips and tiles are unpacked whole; no picture needs larger ones than this.
    constexpr tmsize_t kMostAtOnce = 1 << 29;
    TIFFOpenOptionsSetMaxSingleMemAlloc(options, kMostAtOnce);
    TIFFOpenOptionsSetErrorHandlerExtR(options, keepQuiet, nullptr);
    TIFFOpenOptionsSetWarningHandlerExtR(options, keepQuiet, nullptr);
    TiffPtr tiff(TIFFClientOpenExt("", mode, file, readFrom, writeTo, seekTo, closeNothing, sizeOf, nullptr,
                                   nullptr, options));
    TIFFOpenOptionsFree(options);
    return tiff;
}

// What decides how the samples of a picture are read.
struct Samples {
    std::uint16_t bits = 1;
    std::uint16_t perPixel = 1;
    std::uint16_t kind = 0;  // photometric interpretation
    std::uint16_t format = SAMPLEFORMAT_UINT;
    std::uint16_t extraCount = 0;
    std::uint16_t extra = EXTRASAMPLE_UNSPECIFIED;

    // Alpha is an extra sample that says so, or the fourth of colours that says nothing of itself.
    bool hasAlpha() const {
        if (extraCount == 0) return false;
        return extra == EXTRASAMPLE_UNASSALPHA || extra == EXTRASAMPLE_ASSOCALPHA ||
               (kind == PHOTOMETRIC_RGB && perPixel == 4);
    }
};

class TiffDecoder final : public BitmapDecoder {
public:
    explicit TiffDecoder(dib::FilePtr file) : file_(std::move(file)) {}

    bool readLayout(BitmapLayout& layout) override;
    ColorTriples readColors() override;
    bool startPixels() override;
    const unsigned char* nextRow() override;

private:
    bool hasRowsInOrder();
    std::size_t bitsByRow() const;
    const unsigned char* floatRow();
    const unsigned char* convertedRow();

    dib::FilePtr file_;
    TiffPtr tiff_;
    Samples samples_;
    std::uint32_t width_ = 0;
    std::uint32_t height_ = 0;
    bool byRow_ = false;
    std::size_t bitsPerPixel_ = 0;
    dib::MallocPtr<unsigned char> row_;
    dib::MallocPtr<unsigned char> raster_;  // of pictures that are converted as a whole
    std::uint32_t nextRow_ = 0;
    unsigned char colors_[256 * 3] = {};
};

bool TiffDecoder::hasRowsInOrder() {
    std::uint16_t planar = PLANARCONFIG_CONTIG;
    std::uint16_t orientation = ORIENTATION_TOPLEFT;
    TIFFGetFieldDefaulted(tiff_.get(), TIFFTAG_PLANARCONFIG, &planar);
    TIFFGetFieldDefaulted(tiff_.get(), TIFFTAG_ORIENTATION, &orientation);
    return TIFFIsTiled(tiff_.get()) == 0 && (planar == PLANARCONFIG_CONTIG || samples_.perPixel == 1) &&
           orientation == ORIENTATION_TOPLEFT;
}

// Bits per pixel of the layouts that are read row by row; 0 for all others.
std::size_t TiffDecoder::bitsByRow() const {
    const bool rgb = samples_.kind == PHOTOMETRIC_RGB;
    const bool rgba =
        rgb && samples_.perPixel == 4 && samples_.hasAlpha() && samples_.extra != EXTRASAMPLE_ASSOCALPHA;
    if (samples_.bits == 8 && samples_.format == SAMPLEFORMAT_UINT) {
        if (rgba) return 32;
        if (rgb && samples_.perPixel == 3) return 24;
        const bool table = samples_.kind == PHOTOMETRIC_MINISBLACK || samples_.kind == PHOTOMETRIC_PALETTE;
        return table && samples_.perPixel == 1 ? 8 : 0;
    }
    if (samples_.bits == 32 && samples_.format == SAMPLEFORMAT_IEEEFP) {
        return rgba || (rgb && samples_.perPixel == 3) ? 128 : 0;
    }
    return 0;
}

bool TiffDecoder::readLayout(BitmapLayout& layout) {
    tiff_ = openTiffFile(file_.get(), "rm");
    if (tiff_ == nullptr) return false;
    TIFF* tiff = tiff_.get();
    if (TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &width_) == 0) return false;
    if (TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &height_) == 0) return false;
    if (TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &samples_.kind) == 0) return false;
    TIFFGetFieldDefaulted(tiff, TIFFTAG_BITSPERSAMPLE, &samples_.bits);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLESPERPIXEL, &samples_.perPixel);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLEFORMAT, &samples_.format);
    std::uint16_t* extras = nullptr;
    TIFFGetFieldDefaulted(tiff, TIFFTAG_EXTRASAMPLES, &samples_.extraCount, &extras);
    if (samples_.extraCount > 0 && extras != nullptr) samples_.extra = extras[0];

    bitsPerPixel_ = hasRowsInOrder() ? bitsByRow() : 0;
    byRow_ = bitsPerPixel_ != 0;
    if (!byRow_) {
        char reason[1024];
        if (TIFFRGBAImageOK(tiff, reason) == 0) return false;
        bitsPerPixel_ = samples_.hasAlpha() ? 32 : 24;
    }
    layout.width = width_;
    layout.height = height_;
    layout.bitsPerComponent = bitsPerPixel_ == 128 ? 32 : 8;
    layout.bitsPerPixel = bitsPerPixel_;
    layout.bytesPerRow = layout.width * (bitsPerPixel_ / 8);
    return true;
}

ColorTriples TiffDecoder::readColors() {
    std::uint16_t* channels[3] = {};
    if (bitsPerPixel_ != 8 || samples_.kind != PHOTOMETRIC_PALETTE ||
        TIFFGetField(tiff_.get(), TIFFTAG_COLORMAP, &channels[0], &channels[1], &channels[2]) == 0) {
        return {};
    }
    // Colours have 16 bits, but some writers store 8.
    bool wide = false;
    for (const std::uint16_t* channel : channels) {
        wide = wide || std::any_of(channel, channel + 256, [](std::uint16_t v) { return v > 255; });
    }
    for (std::size_t i = 0; i < 256; ++i) {
        for (std::size_t k = 0; k < 3; ++k) {
            colors_[3 * i + k] = static_cast<unsigned char>(wide ? channels[k][i] >> 8 : channels[k][i]);
        }
    }
    return {colors_, 256};
}

bool TiffDecoder::startPixels() {
    if (byRow_) {
        // Rows of libtiff must be what was announced; a picture that changes its mind is broken.
        const std::size_t rowBytes = static_cast<std::size_t>(width_) * samples_.perPixel * samples_.bits / 8;
        if (TIFFScanlineSize(tiff_.get()) != static_cast<tmsize_t>(rowBytes)) return false;
        row_ = dib::allocateArray<unsigned char>(static_cast<std::size_t>(width_) * bitsPerPixel_ / 8);
        return row_ != nullptr;
    }
    const dib::ImageSize size = dib::admitSize(width_, static_cast<int>(height_), 32);
    if (!size.admitted) return false;
    raster_ = dib::allocateImageBlock(size.imageBytes);
    row_ = dib::allocateArray<unsigned char>(size.rowBytes);
    if (raster_ == nullptr || row_ == nullptr) return false;
    return TIFFReadRGBAImageOriented(tiff_.get(), width_, height_,
                                     reinterpret_cast<std::uint32_t*>(raster_.get()), ORIENTATION_TOPLEFT,
                                     1) != 0;
}

// Colours without alpha get an opaque one; from the last pixel on, so that the row can widen in place.
const unsigned char* TiffDecoder::floatRow() {
    constexpr std::size_t kPixel = 4 * sizeof(float);
    constexpr std::size_t kColors = 3 * sizeof(float);
    constexpr float kOpaque = 1.0F;
    for (std::size_t x = width_; samples_.perPixel == 3 && x-- > 0;) {
        std::memmove(row_.get() + kPixel * x, row_.get() + kColors * x, kColors);
        std::memcpy(row_.get() + kPixel * x + kColors, &kOpaque, sizeof kOpaque);
    }
    return row_.get();
}

// The library multiplies colours with their alpha, which is divided out again here.
const unsigned char* TiffDecoder::convertedRow() {
    const unsigned char* from = raster_.get() + static_cast<std::size_t>(nextRow_) * width_ * 4;
    const std::size_t step = bitsPerPixel_ / 8;
    unsigned char* to = row_.get();
    for (std::uint32_t x = 0; x < width_; ++x, from += 4, to += step) {
        const unsigned alpha = step == 4 ? from[3] : 255U;
        for (std::size_t k = 0; k < 3; ++k) {
            const unsigned color = alpha == 0 ? 0 : (from[k] * 255U + alpha / 2) / alpha;
            to[k] = static_cast<unsigned char>(std::min(color, 255U));
        }
        if (step == 4) to[3] = from[3];
    }
    return row_.get();
}

const unsigned char* TiffDecoder::nextRow() {
    const unsigned char* row = nullptr;
    if (!byRow_) {
        row = convertedRow();
    } else if (TIFFReadScanline(tiff_.get(), row_.get(), nextRow_, 0) == 1) {
        row = bitsPerPixel_ == 128 ? floatRow() : row_.get();
    }
    ++nextRow_;
    return row;
}

}  // namespace

std::unique_ptr<BitmapDecoder> openTiff(dib::FilePtr file) {
    return std::unique_ptr<BitmapDecoder>(new (std::nothrow) TiffDecoder(std::move(file)));
}

bool writeTiff(std::FILE* file, const RgbaPicture& picture) {
    const TiffPtr owner = openTiffFile(file, "w");
    TIFF* tiff = owner.get();
    if (tiff == nullptr) return false;
    const std::uint16_t alpha = EXTRASAMPLE_UNASSALPHA;
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(picture.width));
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(picture.height));
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 4);
    TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &alpha);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, TIFFDefaultStripSize(tiff, 0));
    for (int y = 0; y < picture.height; ++y) {
        auto* row = const_cast<unsigned char*>(picture.row(y));
        if (TIFFWriteScanline(tiff, row, static_cast<std::uint32_t>(y), 0) != 1) return false;
    }
    return TIFFFlush(tiff) == 1;
}

}  // namespace formats
