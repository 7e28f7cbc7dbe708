// TIFF files by libtiff: writing.
#include <algorithm>
#include <cstring>

#include "dib/Bytes.h"
#include "dib/ImageSize.h"
#include "dib/Numbers.h"
#include "formats/Exif.h"
#include "formats/linux/ImageFiles.h"
#include "formats/linux/OutgoingPicture.h"
#include "formats/linux/TiffExif.h"
#include "formats/linux/TiffHandle.h"

namespace formats {

namespace {

// Strips of the usual 8 KiB would be written one small piece after the other.
constexpr std::size_t kStripBytes = 1 << 18;

int rowsPerStrip(std::size_t rowBytes, int height) {
    const auto most = dib::asInt(std::max<std::size_t>(kStripBytes / rowBytes, 1));
    return std::min(most, height);
}

// Tags of 32 bits.
void setNumber(TIFF* tiff, std::uint32_t tag, int number) { TIFFSetField(tiff, tag, dib::dwordOf(number)); }

void describe(TIFF* tiff, int width, int height, int bits, int samples, std::uint16_t photometric) {
    setNumber(tiff, TIFFTAG_IMAGEWIDTH, width);
    setNumber(tiff, TIFFTAG_IMAGELENGTH, height);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, bits);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, samples);
    if (samples == 4) {
        const std::uint16_t alpha = EXTRASAMPLE_UNASSALPHA;
        TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &alpha);
    }
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, photometric);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
}

std::uint16_t photometricOf(PixelKind kind) {
    switch (kind) {
        case PixelKind::kGrey: return PHOTOMETRIC_MINISBLACK;
        case PixelKind::kPalette: return PHOTOMETRIC_PALETTE;
        default: return PHOTOMETRIC_RGB;
    }
}

void setCompression(TIFF* tiff, const DibSaveOptions& options, const OutgoingPicture& picture) {
    const bool hasDifferences = picture.bits() == 8 && picture.kind() != PixelKind::kPalette;
    const int predictor = hasDifferences ? PREDICTOR_HORIZONTAL : PREDICTOR_NONE;
    switch (options.tiffCompression) {
        case DIB_TIFF_NONE: TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_NONE); break;
        case DIB_TIFF_PACKBITS: TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_PACKBITS); break;
        case DIB_TIFF_LZW:
            TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_LZW);
            TIFFSetField(tiff, TIFFTAG_PREDICTOR, predictor);
            break;
        default:
            TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_ADOBE_DEFLATE);
            TIFFSetField(tiff, TIFFTAG_PREDICTOR, predictor);
            if (options.compressionLevel >= 0)
                TIFFSetField(tiff, TIFFTAG_ZIPQUALITY, std::clamp(options.compressionLevel, 1, 9));
    }
}

// Tables of TIFF files have a colour for every index.
void setPalette(TIFF* tiff, const OutgoingPicture& picture) {
    if (picture.kind() != PixelKind::kPalette) return;
    std::uint16_t channels[3][256] = {};
    for (int i = 0; i < picture.colorCount(); ++i) {
        const DibBGRA color = picture.color(i);
        const auto level = [](std::uint8_t byte) { return dib::wordOf(byte * 257); };
        channels[0][i] = level(color.red);
        channels[1][i] = level(color.green);
        channels[2][i] = level(color.blue);
    }
    TIFFSetField(tiff, TIFFTAG_COLORMAP, channels[0], channels[1], channels[2]);
}

void setMetadata(TIFF* tiff, const DibMetadata* metadata, bool isGrey) {
    const int orientation = metadata != nullptr ? metadata->orientation : 1;
    TIFFSetField(tiff, TIFFTAG_ORIENTATION, orientation);
    if (metadata == nullptr) return;
    if (metadata->xResolution > 0 || metadata->yResolution > 0) {
        const double x = metadata->xResolution > 0 ? metadata->xResolution : metadata->yResolution;
        const double y = metadata->yResolution > 0 ? metadata->yResolution : metadata->xResolution;
        TIFFSetField(tiff, TIFFTAG_XRESOLUTION, x);
        TIFFSetField(tiff, TIFFTAG_YRESOLUTION, y);
        TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
    }
    if (isKept(metadata->colorProfile, isGrey)) {
        TIFFSetField(tiff, TIFFTAG_ICCPROFILE, dib::dwordOf(metadata->colorProfile.size),
                     metadata->colorProfile.data);
    }
}

// Of the directory and of the values that are too long for its entries, without the texts of an EXIF block.
std::size_t mostDirectoryBytes(const OutgoingPicture& picture, int strips, const DibMetadata* metadata) {
    constexpr std::size_t kMostEntries = 32;
    constexpr std::size_t kEntries = 2 + kMostEntries * 12 + 4;
    constexpr std::size_t kShortValues = 64;  // bits of four samples, resolution, what makes places even
    const std::size_t placesAndLengths = std::size_t{8} * dib::asSize(strips);
    const std::size_t palette = picture.kind() == PixelKind::kPalette ? 6 * 256 : 0;
    const std::size_t profile = metadata != nullptr ? metadata->colorProfile.size : 0;
    return kEntries + kShortValues + placesAndLengths + palette + profile;
}

bool writeStrip(TIFF* tiff, int number, const unsigned char* from, std::size_t bytes) {
    const auto count = static_cast<tmsize_t>(bytes);
    return TIFFWriteEncodedStrip(tiff, dib::dwordOf(number), const_cast<unsigned char*>(from), count) ==
           count;
}

}  // namespace

bool writeClassicTiff(ByteWriter& file, const RgbaPicture& picture) {
    TiffTarget target(file);
    const TiffPtr owner = writeTiff(target);
    TIFF* tiff = owner.get();
    if (tiff == nullptr) return false;
    describe(tiff, picture.width, picture.height, 8, 4, PHOTOMETRIC_RGB);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    const std::size_t rowBytes = dib::packedBytes(picture.width, 32);
    const int rows = rowsPerStrip(rowBytes, picture.height);
    setNumber(tiff, TIFFTAG_ROWSPERSTRIP, rows);
    for (int y = 0; y < picture.height; y += rows) {
        const auto count = dib::asSize(std::min(rows, picture.height - y));
        if (!writeStrip(tiff, y / rows, picture.row(y), count * rowBytes)) return false;
    }
    return TIFFFlush(tiff) == 1;
}

bool writeTiff(WriteRequest& request) {
    OutgoingPicture picture(request.image);
    const int height = picture.height();
    const std::size_t rowBytes = picture.rowBytes();
    const int rows = rowsPerStrip(rowBytes, height);
    const std::size_t stripBytes = rowBytes * dib::asSize(rows);
    const auto strip = dib::allocateArray<unsigned char>(stripBytes);
    const DibMetadata* metadata = request.options.metadata;
    DibBytes exif;
    const bool hasExif = metadata == nullptr || exifForTiff(*metadata, exif);
    const bool isBig = exif.size > 0 && exif.data[0] == 'M';
    TiffTarget target(request.file);
    const TiffPtr owner = writeTiff(target, isBig ? "wb" : "wl");
    TIFF* tiff = owner.get();
    if (strip == nullptr || tiff == nullptr || !hasExif || !picture.start()) {
        if (request.file.isWhole()) request.result.code = DIB_ERROR_MEMORY;
        return false;
    }
    describe(tiff, picture.width(), height, picture.bits(), picture.samples(), photometricOf(picture.kind()));
    setCompression(tiff, request.options, picture);
    setPalette(tiff, picture);
    setMetadata(tiff, metadata, picture.kind() == PixelKind::kGrey);
    const std::size_t textBytes = writeTiffExif(tiff, request.file, exif);
    setNumber(tiff, TIFFTAG_ROWSPERSTRIP, rows);
    const int strips = (height + rows - 1) / rows;
    target.leaveRoom(mostDirectoryBytes(picture, strips, metadata) + textBytes);
    std::size_t held = 0;  // bytes of the strip
    for (int y = 0; y < height; ++y) {
        std::memcpy(strip.get() + held, picture.row(y), rowBytes);
        held += rowBytes;
        if (held == stripBytes || y + 1 == height) {
            if (!writeStrip(tiff, y / rows, strip.get(), held)) return false;
            held = 0;
        }
        if (!request.progress.rows(y + 1, height)) return false;
    }
    target.beginDirectory();
    if (TIFFFlush(tiff) != 1 || !target.endDirectory(!isBig)) {
        if (request.file.isWhole()) request.result.code = DIB_ERROR_MEMORY;
        return false;
    }
    return true;
}

}  // namespace formats
