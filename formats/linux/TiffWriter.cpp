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

void describe(TiffTagSetter& tags, int width, int height, int bits, int samples, std::uint16_t photometric) {
    tags.setNumber(TIFFTAG_IMAGEWIDTH, width);
    tags.setNumber(TIFFTAG_IMAGELENGTH, height);
    tags.set(TIFFTAG_BITSPERSAMPLE, bits);
    tags.set(TIFFTAG_SAMPLESPERPIXEL, samples);
    if (samples == 4) {
        const std::uint16_t alpha = EXTRASAMPLE_UNASSALPHA;
        tags.set(TIFFTAG_EXTRASAMPLES, 1, &alpha);
    }
    tags.set(TIFFTAG_PHOTOMETRIC, photometric);
    tags.set(TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
}

std::uint16_t photometricOf(PixelKind kind) {
    switch (kind) {
        case PixelKind::kGrey: return PHOTOMETRIC_MINISBLACK;
        case PixelKind::kPalette: return PHOTOMETRIC_PALETTE;
        default: return PHOTOMETRIC_RGB;
    }
}

void setCompression(TiffTagSetter& tags, const DibSaveOptions& options, const OutgoingPicture& picture) {
    const bool hasDifferences = picture.bits() == 8 && picture.kind() != PixelKind::kPalette;
    const int predictor = hasDifferences ? PREDICTOR_HORIZONTAL : PREDICTOR_NONE;
    switch (options.tiffCompression) {
        case DIB_TIFF_NONE: tags.set(TIFFTAG_COMPRESSION, COMPRESSION_NONE); break;
        case DIB_TIFF_PACKBITS: tags.set(TIFFTAG_COMPRESSION, COMPRESSION_PACKBITS); break;
        case DIB_TIFF_LZW:
            tags.set(TIFFTAG_COMPRESSION, COMPRESSION_LZW);
            tags.set(TIFFTAG_PREDICTOR, predictor);
            break;
        default:
            tags.set(TIFFTAG_COMPRESSION, COMPRESSION_ADOBE_DEFLATE);
            tags.set(TIFFTAG_PREDICTOR, predictor);
            if (options.compressionLevel >= 0)
                tags.set(TIFFTAG_ZIPQUALITY, std::clamp(options.compressionLevel, 1, 9));
    }
}

// Tables of TIFF files have a colour for every index.
void setPalette(TiffTagSetter& tags, const OutgoingPicture& picture) {
    if (picture.kind() != PixelKind::kPalette) return;
    std::uint16_t channels[3][256] = {};
    for (int i = 0; i < picture.colorCount(); ++i) {
        const DibBGRA color = picture.color(i);
        const auto level = [](std::uint8_t byte) { return dib::wordOf(byte * 257); };
        channels[0][i] = level(color.red);
        channels[1][i] = level(color.green);
        channels[2][i] = level(color.blue);
    }
    tags.set(TIFFTAG_COLORMAP, channels[0], channels[1], channels[2]);
}

void setMetadata(TiffTagSetter& tags, const DibMetadata* metadata, bool isGrey) {
    const int orientation = metadata != nullptr ? metadata->orientation : 1;
    tags.set(TIFFTAG_ORIENTATION, orientation);
    if (metadata == nullptr) return;
    if (metadata->xResolution > 0 || metadata->yResolution > 0) {
        const double x = metadata->xResolution > 0 ? metadata->xResolution : metadata->yResolution;
        const double y = metadata->yResolution > 0 ? metadata->yResolution : metadata->xResolution;
        tags.set(TIFFTAG_XRESOLUTION, x);
        tags.set(TIFFTAG_YRESOLUTION, y);
        tags.set(TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
    }
    if (isKept(metadata->colorProfile, isGrey)) {
        tags.set(TIFFTAG_ICCPROFILE, dib::dwordOf(metadata->colorProfile.size), metadata->colorProfile.data);
    }
    if (metadata->xmp.size > 0 && metadata->xmp.size <= kMostMetadataBytes)
        tags.set(TIFFTAG_XMLPACKET, static_cast<std::uint32_t>(metadata->xmp.size), metadata->xmp.data);
}

// Of the directory and of the values that are too long for its entries, without the texts of an EXIF block.
std::size_t mostDirectoryBytes(const OutgoingPicture& picture, int strips, const DibMetadata* metadata) {
    constexpr std::size_t kMostEntries = 32;
    constexpr std::size_t kEntries = 2 + kMostEntries * 12 + 4;
    constexpr std::size_t kShortValues = 64;  // bits of four samples, resolution, what makes places even
    const std::size_t placesAndLengths = std::size_t{8} * dib::asSize(strips);
    const std::size_t palette = picture.kind() == PixelKind::kPalette ? 6 * 256 : 0;
    const std::size_t blocks = metadata != nullptr ? metadata->colorProfile.size + metadata->xmp.size : 0;
    return kEntries + kShortValues + placesAndLengths + palette + blocks;
}

bool writeStrip(TIFF* tiff, int number, const unsigned char* from, std::size_t bytes) {
    const auto count = static_cast<tmsize_t>(bytes);
    return TIFFWriteEncodedStrip(tiff, dib::dwordOf(number), const_cast<unsigned char*>(from), count) ==
           count;
}

// Where the file takes all bytes, nothing but memory can be short.
bool endShort(WriteRequest& request) {
    if (request.file.isWhole()) request.result.code = DIB_ERROR_MEMORY;
    return false;
}

}  // namespace

bool writeClassicTiff(ByteWriter& file, const RgbaPicture& picture) {
    TiffTarget target(file);
    const TiffPtr owner = writeTiff(target);
    TIFF* tiff = owner.get();
    if (tiff == nullptr) return false;
    TiffTagSetter tags(tiff);
    describe(tags, picture.width, picture.height, 8, 4, PHOTOMETRIC_RGB);
    tags.set(TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    tags.set(TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    const std::size_t rowBytes = dib::packedBytes(picture.width, 32);
    const int rows = rowsPerStrip(rowBytes, picture.height);
    tags.setNumber(TIFFTAG_ROWSPERSTRIP, rows);
    if (!tags.areSet()) return false;
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
    if (strip == nullptr || tiff == nullptr || !hasExif || !picture.start()) return endShort(request);
    TiffTagSetter tags(tiff);
    describe(tags, picture.width(), height, picture.bits(), picture.samples(), photometricOf(picture.kind()));
    setCompression(tags, request.options, picture);
    setPalette(tags, picture);
    setMetadata(tags, metadata, picture.kind() == PixelKind::kGrey);
    const std::size_t textBytes = writeTiffExif(tags, request.file, exif);
    tags.setNumber(TIFFTAG_ROWSPERSTRIP, rows);
    if (!tags.areSet()) return endShort(request);
    const int strips = (height + rows - 1) / rows;
    target.leaveRoom(mostDirectoryBytes(picture, strips, metadata) + textBytes);
    std::size_t held = 0;  // bytes of the strip
    for (int y = 0; y < height; ++y) {
        std::memcpy(strip.get() + held, picture.row(y), rowBytes);
        held += rowBytes;
        if (held == stripBytes || y + 1 == height) {
            if (!writeStrip(tiff, y / rows, strip.get(), held)) return endShort(request);
            held = 0;
        }
        if (!request.progress.rows(y + 1, height)) return false;
    }
    target.beginDirectory();
    return (TIFFFlush(tiff) == 1 && target.endDirectory(!isBig)) || endShort(request);
}

}  // namespace formats
