// Writing PBM, PGM, PPM and PAM files in binary, top row first. The name of the format or the extension says
// which; "pnm" and "pam" leave it to the image.
#include <cstring>
#include <string_view>

#include "dib/Bytes.h"
#include "dib/ColorTable.h"
#include "dib/ImageSize.h"
#include "dib/Memory.h"
#include "dib/Numbers.h"
#include "dib/Raster.h"
#include "formats/ColorOrder.h"
#include "formats/FileRows.h"
#include "formats/Pnm.h"
#include "formats/Rows.h"

namespace formats {

namespace {

enum class Content { kBits, kGreys, kColors, kColorsAndAlpha };

struct Variant {
    Content content;
    bool isPam;
};

bool isColor(const DibBGRA& color, unsigned grey) {
    return color.blue == grey && color.green == grey && color.red == grey;
}

// Whether a 1-bit image is black and white, in either order.
bool isBlackAndWhite(const BITMAPINFOHEADER& header) {
    const auto table = dib::readColorTable(header);
    return header.biBitCount == 1 && ((isColor(table[0], 0) && isColor(table[1], 255)) ||
                                      (isColor(table[0], 255) && isColor(table[1], 0)));
}

bool isGreyRamp(const BITMAPINFOHEADER& header) {
    return header.biBitCount == 8 && dib::IndexColors(header).isGreyRamp;
}

Variant variantOf(const DibStream& image, const DibSaveOptions& options) {
    const std::string_view name = options.format != nullptr ? options.format : "";
    if (name == "pbm") return {Content::kBits, false};
    if (name == "pgm") return {Content::kGreys, false};
    if (name == "ppm") return {Content::kColors, false};
    const bool isPam = name == "pam";
    if (isBlackAndWhite(*image.Header)) return {Content::kBits, isPam};
    if (isGreyRamp(*image.Header)) return {Content::kGreys, isPam};
    return {isPam && image.Header->biBitCount == 32 ? Content::kColorsAndAlpha : Content::kColors, isPam};
}

int bitsOf(Content content) {
    switch (content) {
        case Content::kBits: return 1;
        case Content::kGreys: return 8;
        case Content::kColors: return 24;
        default: return 32;
    }
}

class PnmWriter {
public:
    PnmWriter(WriteRequest& request, const DibStream& image, Variant variant)
        : file_(request.file),
          result_(request.result),
          progress_(request.progress),
          variant_(variant),
          colors_(*image.Header) {
        dib::viewRows(image, raster_);
        isOneWhite_ = raster_.bitCount == 1 && dib::readColorTable(*image.Header)[1].blue == 255;
    }

    bool write() {
        const std::size_t bytes = rowBytes();
        writeHeader();
        RowWriter rows(file_, bytes, raster_.rows());
        const auto colors = dib::allocateArray<unsigned char>(width() * 3);
        if (!rows.ready() || colors == nullptr) return refuseForMemory(result_);
        for (int y = 0; y < raster_.height; ++y) {
            writeRow(raster_.row(y), colors.get(), rows.next());
            if (!progress_.rows(y + 1, raster_.height)) return false;
        }
        return true;
    }

private:
    std::size_t width() const { return raster_.columns(); }
    bool isPacked() const { return variant_.content == Content::kBits && !variant_.isPam; }
    std::size_t rowBytes() const { return dib::packedBytes(raster_.width, isPacked() ? 1 : 8 * channels()); }
    int channels() const {
        return variant_.content == Content::kColors           ? 3
               : variant_.content == Content::kColorsAndAlpha ? 4
                                                              : 1;
    }

    void writeHeader() {
        char text[160];
        int length = 0;
        if (variant_.isPam) {
            constexpr const char* kTypes[] = {"BLACKANDWHITE", "GRAYSCALE", "RGB", "RGB_ALPHA"};
            length = std::snprintf(
                text, sizeof text, "P7\nWIDTH %d\nHEIGHT %d\nDEPTH %d\nMAXVAL %d\nTUPLTYPE %s\nENDHDR\n",
                raster_.width, raster_.height, channels(), variant_.content == Content::kBits ? 1 : 255,
                kTypes[static_cast<int>(variant_.content)]);
        } else if (isPacked()) {
            length = std::snprintf(text, sizeof text, "P4\n%d %d\n", raster_.width, raster_.height);
        } else {
            length = std::snprintf(text, sizeof text, "P%d\n%d %d\n255\n", channels() == 1 ? 5 : 6,
                                   raster_.width, raster_.height);
        }
        file_.bytes(text, dib::asSize(length));
    }

    void writeRow(const unsigned char* row, unsigned char* colors, unsigned char* out) {
        switch (variant_.content) {
            case Content::kBits: return writeBits(row, out);
            case Content::kColorsAndAlpha: return swapRedBlue32(row, out, width());
            default: break;
        }
        const int bits = raster_.bitCount;
        if (variant_.content == Content::kGreys)
            return convertFileRow(row, bits, out, dib::Packed::kGrey, width(), colors_);
        if (bits != 24) convertFileRow(row, bits, colors, dib::Packed::kBgr, width(), colors_);
        swapRedBlue(bits == 24 ? row : colors, out, width());
    }

    // Set bits of a PBM file are black, samples of 1 in a PAM file white.
    void writeBits(const unsigned char* row, unsigned char* out) const {
        if (variant_.isPam) {
            for (std::size_t x = 0; x < width(); ++x)
                out[x] = ((row[x / 8] >> (7 - x % 8) & 1) != 0) == isOneWhite_ ? 1 : 0;
            return;
        }
        const std::size_t bytes = (width() + 7) / 8;
        for (std::size_t i = 0; i < bytes; ++i) out[i] = dib::byteOf(isOneWhite_ ? ~row[i] : row[i]);
        if (width() % 8 != 0) out[bytes - 1] &= dib::byteOf(0xFF00U >> width() % 8);
    }

    ByteWriter& file_;
    DibFileResult& result_;
    Progress& progress_;
    Variant variant_;
    dib::IndexColors colors_;
    dib::Raster raster_;
    bool isOneWhite_ = false;
};

bool areGreys(const BITMAPINFOHEADER& header) {
    const auto table = dib::readColorTable(header);
    for (std::size_t i = 0; i < dib::addressableEntries(header.biBitCount); ++i) {
        if (!isColor(table[i], table[i].blue)) return false;
    }
    return true;
}

}  // namespace

bool findPnmLosses(LossRequest& request) {
    const std::string_view name = request.options.format != nullptr ? request.options.format : "";
    if (name == "pfm") return refuse(request.result, DIB_ERROR_UNSUPPORTED, "PFM files are not written");
    const BITMAPINFOHEADER& header = *request.image.Header;
    const Content content = variantOf(request.image, request.options).content;
    noteDepth(request, bitsOf(content));
    noteMetadata(request);
    const auto lose = [&](const char* what) { note(request.result, DIB_NOTE_LOSS, "%s", what); };
    const bool hasPalette = header.biBitCount <= 8;
    if (content == Content::kGreys && !(hasPalette && areGreys(header))) lose("colours become greys");
    if (content == Content::kBits && !isBlackAndWhite(header)) lose("colours become black and white");
    // Files in which the index is the brightness keep the order of a palette.
    const bool isExact =
        (content == Content::kGreys && isGreyRamp(header)) ||
        (content == Content::kBits && isBlackAndWhite(header) && dib::colorTable(&header)[0].blue == 0);
    if (hasPalette && !isExact) lose("the palette is not kept");
    return true;
}

bool writePnm(WriteRequest& request) {
    const Variant variant = variantOf(request.image, request.options);
    if (variant.content != Content::kBits || isBlackAndWhite(*request.image.Header))
        return PnmWriter(request, request.image, variant).write();
    DibStream bitmap;
    if (!bitmap.Copy(request.image.Header, request.image.Buffer) || !bitmap.ChangeTo1Bit(0))
        return refuseForMemory(request.result);
    return PnmWriter(request, bitmap, variant).write();
}

}  // namespace formats
