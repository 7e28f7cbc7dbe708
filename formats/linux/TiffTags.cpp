#include "formats/linux/TiffTags.h"

#include <cstdio>

#include "formats/Exif.h"
#include "formats/door/Request.h"
#include "formats/linux/TiffExif.h"

namespace formats {

bool readTiffLayout(TIFF* tiff, TiffLayout& layout) {
    if (TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &layout.width) == 0) return false;
    if (TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &layout.height) == 0) return false;
    layout.bits = tiffField<std::uint16_t>(tiff, TIFFTAG_BITSPERSAMPLE, 1);
    layout.perPixel = tiffField<std::uint16_t>(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
    layout.isPlanar =
        layout.perPixel > 1 &&
        tiffField<std::uint16_t>(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) == PLANARCONFIG_SEPARATE;
    return true;
}

namespace {

// Without the tag the number of samples decides: up to two are grey, black on white in faxes, and more are
// colours.
std::uint16_t photometric(TIFF* tiff, const TiffLayout& layout) {
    std::uint16_t value = PHOTOMETRIC_MASK;
    if (TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &value) != 0) return value;
    if (layout.perPixel > 2) return PHOTOMETRIC_RGB;
    switch (tiffField<std::uint16_t>(tiff, TIFFTAG_COMPRESSION, COMPRESSION_NONE)) {
        case COMPRESSION_CCITTRLE:
        case COMPRESSION_CCITTRLEW:
        case COMPRESSION_CCITTFAX3:
        case COMPRESSION_CCITTFAX4: return PHOTOMETRIC_MINISWHITE;
        default: return PHOTOMETRIC_MINISBLACK;
    }
}

// Makes the library turn the colours of JPEG pieces into red, green and blue.
bool unpackJpeg(TIFF* tiff, const TiffLayout& layout) {
    return layout.bits == 8 && layout.perPixel == 3 && !layout.isPlanar &&
           tiffField<std::uint16_t>(tiff, TIFFTAG_COMPRESSION, COMPRESSION_NONE) == COMPRESSION_JPEG &&
           TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB) != 0;
}

// The samples of the colours, the first ones of every pixel; 0 for kinds that only the library converts.
std::size_t colorSamples(TIFF* tiff, const TiffLayout& layout, const Dialect& dialect, TiffKind& kind) {
    switch (photometric(tiff, layout)) {
        case PHOTOMETRIC_MINISBLACK: kind = TiffKind::kGrey; return 1;
        case PHOTOMETRIC_MINISWHITE: kind = TiffKind::kInvertedGrey; return 1;
        case PHOTOMETRIC_PALETTE: kind = TiffKind::kPalette; return 1;
        case PHOTOMETRIC_RGB: kind = TiffKind::kRgb; return 3;
        case PHOTOMETRIC_YCBCR:
            if (!dialect.unpacksJpeg || !unpackJpeg(tiff, layout)) return 0;
            kind = TiffKind::kRgb;
            return 3;
        case PHOTOMETRIC_SEPARATED:
            kind = TiffKind::kInks;
            return tiffField<std::uint16_t>(tiff, TIFFTAG_INKSET, INKSET_CMYK) == INKSET_CMYK ? 4 : 0;
        default: return 0;
    }
}

// Alpha is an extra sample marked as alpha, or an unmarked fourth sample.
void findAlpha(TIFF* tiff, const TiffLayout& layout, std::size_t colors, TiffMeaning& meaning) {
    std::uint16_t count = 0;
    std::uint16_t* extras = nullptr;
    TIFFGetFieldDefaulted(tiff, TIFFTAG_EXTRASAMPLES, &count, &extras);
    std::size_t at = layout.perPixel;
    for (std::size_t i = 0; extras != nullptr && i < count && colors + i < layout.perPixel; ++i) {
        if (extras[i] != EXTRASAMPLE_ASSOCALPHA && extras[i] != EXTRASAMPLE_UNASSALPHA) continue;
        at = colors + i;
        meaning.isMultiplied = extras[i] == EXTRASAMPLE_ASSOCALPHA;
        break;
    }
    if (at == layout.perPixel && meaning.kind == TiffKind::kRgb && layout.perPixel == 4) at = 3;
    meaning.hasAlpha = at < layout.perPixel;
    if (meaning.hasAlpha) meaning.samples[meaning.sampleCount++] = at;
}

}  // namespace

bool readTiffMeaning(TIFF* tiff, const TiffLayout& layout, const Dialect& dialect, TiffMeaning& meaning) {
    const std::size_t colors = colorSamples(tiff, layout, dialect, meaning.kind);
    meaning.isForeign = colors == 0;
    if (meaning.isForeign) {
        char reason[1024];
        if (TIFFRGBAImageOK(tiff, reason) == 0) return false;
        meaning.kind = TiffKind::kRgb;
        findAlpha(tiff, layout, 3, meaning);
        return true;
    }
    if (layout.perPixel < colors) return false;
    for (std::size_t i = 0; i < colors; ++i) meaning.samples[meaning.sampleCount++] = i;
    findAlpha(tiff, layout, colors, meaning);
    const unsigned bits = layout.bits;
    // Small alphas leave little of the colours in bytes: they are divided before they are reduced.
    meaning.isWide =
        bits > 8 && (meaning.isMultiplied || (meaning.kind == TiffKind::kInks && dialect.keepsInkBits));
    switch (tiffField<std::uint16_t>(tiff, TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT)) {
        case SAMPLEFORMAT_IEEEFP:
            meaning.isFloat = true;
            meaning.isShownInBytes = dialect.showsFloatsAsTheyAre;
            return meaning.kind != TiffKind::kPalette && (bits == 16 || bits == 32 || bits == 64);
        case SAMPLEFORMAT_COMPLEXINT:
        case SAMPLEFORMAT_COMPLEXIEEEFP: return false;
        default: return bits >= 1 && bits <= (meaning.kind == TiffKind::kPalette ? 8 : 32);
    }
}

const char* tiffCompression(TIFF* tiff) {
    switch (tiffField<std::uint16_t>(tiff, TIFFTAG_COMPRESSION, COMPRESSION_NONE)) {
        case COMPRESSION_NONE: return "none";
        case COMPRESSION_LZW: return "lzw";
        case COMPRESSION_PACKBITS: return "packbits";
        case COMPRESSION_DEFLATE:
        case COMPRESSION_ADOBE_DEFLATE: return "deflate";
        case COMPRESSION_OJPEG:
        case COMPRESSION_JPEG: return "jpeg";
        case COMPRESSION_CCITTRLE:
        case COMPRESSION_CCITTRLEW:
        case COMPRESSION_CCITTFAX3:
        case COMPRESSION_CCITTFAX4: return "fax";
        case COMPRESSION_LZMA: return "lzma";
        case COMPRESSION_ZSTD: return "zstd";
        case COMPRESSION_WEBP: return "webp";
        default: return "";
    }
}

namespace {

// Tags that say what colours are, where there is no profile.
bool isOfColors(std::uint32_t tag) {
    return tag == TIFFTAG_TRANSFERFUNCTION || tag == TIFFTAG_WHITEPOINT ||
           tag == TIFFTAG_PRIMARYCHROMATICITIES;
}

bool isFax(std::uint32_t tag) { return tag >= TIFFTAG_FAXRECVPARAMS && tag <= TIFFTAG_FAXDCS; }

bool isLeftOut(std::uint32_t tag, bool hasProfile, bool readsExif) {
    constexpr std::uint32_t kFirstPrivate = 0x8000;
    if (tag == TIFFTAG_ICCPROFILE || isFax(tag)) return false;
    if (isOfTiffExif(tag)) return !readsExif;
    return isOfColors(tag) ? !hasProfile : tag >= kFirstPrivate;
}

}  // namespace

bool keepTiffExtras(TIFF* tiff, bool readsExif, DibFileResult& result) {
    std::uint32_t bytes = 0;
    unsigned char* packet = nullptr;
    const bool hasProfile = TIFFGetField(tiff, TIFFTAG_ICCPROFILE, &bytes, &packet) != 0;
    char numbers[64] = "";
    std::size_t length = 0;
    for (int i = 0; i < TIFFGetTagListCount(tiff); ++i) {
        const std::uint32_t tag = TIFFGetTagListEntry(tiff, i);
        if (!isLeftOut(tag, hasProfile, readsExif)) continue;
        if (tag == TIFFTAG_RICHTIFFIPTC) {
            note(result, DIB_NOTE_LOSS, "the IPTC block is not kept");
        } else if (length + 7 < sizeof numbers) {
            length += static_cast<std::size_t>(
                std::snprintf(numbers + length, sizeof numbers - length, " %u", tag));
        }
    }
    if (length > 0) note(result, DIB_NOTE_LOSS, "tags of the file are not kept:%s", numbers);
    if (TIFFGetField(tiff, TIFFTAG_XMLPACKET, &bytes, &packet) == 0 || bytes > kMostMetadataBytes)
        return true;
    return copyBytes({packet, bytes}, result.metadata.xmp);
}

void readTiffResolution(TIFF* tiff, DibMetadata& metadata) {
    const std::uint16_t unit = tiffField<std::uint16_t>(tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
    const double scale = unit == RESUNIT_CENTIMETER ? 2.54 : unit == RESUNIT_INCH ? 1.0 : 0.0;
    float x = 0;
    float y = 0;
    TIFFGetField(tiff, TIFFTAG_XRESOLUTION, &x);
    TIFFGetField(tiff, TIFFTAG_YRESOLUTION, &y);
    setResolution(x * scale, y * scale, metadata);
}

}  // namespace formats
