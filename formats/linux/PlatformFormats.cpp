// The formats that libpng, libjpeg and libtiff read and write: their rows of the table, and what their
// decoders have in common.
#include <DibCodec.h>

#include <algorithm>
#include <new>

#include "dib/ImageSize.h"
#include "dib/Numbers.h"
#include "formats/GreyInfo.h"
#include "formats/NewImage.h"
#include "formats/PlatformFormats.h"
#include "formats/linux/ImageFiles.h"

namespace formats {

namespace {

using Open = std::unique_ptr<FileDecoder> (*)(ByteReader& file, const DecoderOptions& options);

// At the end of the file the data are short; before it they are invalid.
DibErrorCode codeOfDamage(ByteReader& file) {
    return file.remaining() > 0 ? DIB_ERROR_INVALID : DIB_ERROR_READ;
}

bool end(ReadRequest& request, bool isShortOfMemory, const char* damage = nullptr) {
    if (isShortOfMemory) return refuseForMemory(request.result);
    request.result.code = codeOfDamage(request.file);
    if (damage == nullptr) return false;
    return refuse(request.result, static_cast<DibErrorCode>(request.result.code), "%s", damage);
}

template <Open open>
bool decode(ReadRequest& request, bool keepsDamaged) {
    const DecoderOptions options = {.dialect = kWide,
                                    .page = request.options.page,
                                    .keepsDamaged = keepsDamaged,
                                    .keepsPalette = request.options.keepsPalette,
                                    .atLeastWidth = request.options.atLeastWidth,
                                    .atLeastHeight = request.options.atLeastHeight,
                                    .isTurned = request.options.appliesOrientation,
                                    .progress = &request.progress};
    const std::unique_ptr<FileDecoder> decoder = open(request.file, options);
    if (decoder == nullptr) return end(request, true);
    BitmapLayout layout;
    DibFileInfo info;
    if (!decoder->readLayout(layout)) return end(request, decoder->isShortOfMemory());
    if (!decoder->describe(info, request.result)) return end(request, true);
    NewImage image(request.image, &request.progress);
    const bool isRead = readBitmap(*decoder, layout, image);
    const bool isFinished = !isRead || decoder->finish(request.result);
    const bool isShortOfMemory =
        !isFinished || decoder->isShortOfMemory() || request.image->ErrorCode == DIB_ERROR_MEMORY;
    request.progress.loseRows(decoder->rowsLost());
    const char* damage = decoder->damage();
    return (isRead && !isShortOfMemory && damage == nullptr) || end(request, isShortOfMemory, damage);
}

// Counts the whole rows of a damaged file, for the reason of the failure: decodes it again by a decoder that
// keeps what it can, because one that refuses damage reads far ahead and drops whole pieces.
template <Open open>
void countRows(ReadRequest& request) {
    const std::size_t before = request.progress.rowsDone();
    DibFileResult unheard;
    ReadRequest again = {request.file,  request.path, request.options,
                         request.image, unheard,      request.progress};
    if (!request.file.seek(0)) return;
    decode<open>(again, true);
    const BITMAPINFOHEADER* header = request.image->Header;
    const std::size_t rows = header != nullptr ? dib::rowsOf(*header) : 0;
    if (request.progress.rowsDone() >= rows) request.progress.loseRows(request.progress.rowsDone() - before);
}

template <Open open, bool readsFarAhead = false>
bool read(ReadRequest& request) {
    if (decode<open>(request, request.keepsDamaged())) return true;
    const bool isDamage = request.result.code == DIB_ERROR_READ || request.result.code == DIB_ERROR_INVALID;
    const bool hasRows = request.image->Buffer != nullptr;
    const Progress& progress = request.progress;
    const bool isCounted = progress.rowsDone() > 0 && !readsFarAhead;
    if (isDamage && hasRows && !request.keepsDamaged() && !progress.isCancelled() && !isCounted)
        countRows<open>(request);
    return false;
}

// Whether the colours are the evenly spaced greys, from black or from white on, that a load makes for a file
// without a palette.
bool isGreyRamp(const ColorTriples& colors) {
    const bool isInverted = colors.count > 0 && colors.bytes[0] != 0;
    for (std::size_t i = 0; i < colors.count; ++i) {
        const std::size_t place = isInverted ? colors.count - 1 - i : i;
        const std::size_t grey = 255 * place / std::max<std::size_t>(1, colors.count - 1);
        for (std::size_t channel = 0; channel < 3; ++channel) {
            if (colors.bytes[3 * i + channel] != grey) return false;
        }
    }
    return colors.count > 1;
}

template <Open open>
bool probe(ProbeRequest& request) {
    const std::unique_ptr<FileDecoder> decoder =
        open(request.file, {.dialect = kWide,
                            .page = request.options.page,
                            .keepsDamaged = request.options.damage == DIB_DAMAGE_KEEP,
                            .readsHeadersOnly = true,
                            .keepsPalette = request.options.keepsPalette});
    BitmapLayout layout;
    const bool isRead = decoder != nullptr && decoder->readLayout(layout);
    // A load continues without what a probe cannot read, but not without memory.
    if (decoder == nullptr || decoder->isShortOfMemory()) throw std::bad_alloc();
    if (!isRead) {
        request.result.code = codeOfDamage(request.file);
        return false;
    }
    request.info.width = dib::asInt(layout.width);
    request.info.height = dib::asInt(layout.height);
    request.info.bitCount = dib::asInt(std::min<std::size_t>(layout.bitsPerPixel, 32));
    request.info.hasAlpha = layout.bitsPerPixel >= 32;
    if (layout.bitsPerPixel <= 8) {
        const ColorTriples colors = decoder->readColors();
        request.info.paletteSize = dib::asInt(colors.count);
        if (isGreyRamp(colors)) markGrey(request.info);
    }
    if (!decoder->describe(request.info, request.result)) throw std::bad_alloc();
    return true;
}

}  // namespace

constinit const FileFormat kPngFormat = {
    .info = {.name = "png",
             .title = "PNG",
             .extensions = platform::kPng,
             .mimeTypes = platform::kPngTypes,
             .readDepths = depths({1, 4, 8, 24, 32}),
             .writeDepths = depths({1, 4, 8, 24, 32}),
             .hasPaletteAlpha = true},
    .composeExtensions = platform::kPngCompose,
    .recognizes = platform::isPng,
    .load = LoadPNG,
    .save = SavePNG,
    .probe = probe<openPng>,
    .read = read<openPng, true>,
    .losses = lossesPng,
    .write = writePng,
    .diagnose = diagnosePng,
};

constinit const FileFormat kJpegFormat = {
    .info = {.name = "jpeg",
             .title = "JPEG, opaque",
             .extensions = platform::kJpeg,
             .mimeTypes = platform::kJpegTypes,
             .readDepths = depths({8, 24}),
             .writeDepths = depths({8, 24})},
    .composeExtensions = platform::kJpegCompose,
    .recognizes = platform::isJpeg,
    .load = LoadJPEG,
    .save = SaveJPEG,
    .probe = probe<openJpeg>,
    .read = read<openJpeg>,
    .losses = lossesJpeg,
    .write = writeJpeg,
    .diagnose = diagnoseJpeg,
};

constinit const FileFormat kTiffFormat = {
    .info = {.name = "tiff",
             .title = "TIFF",
             .extensions = platform::kTiff,
             .mimeTypes = platform::kTiffTypes,
             .readDepths = depths({1, 4, 8, 24, 32}),
             .writeDepths = depths({1, 4, 8, 24, 32}),
             .hasPages = true},
    .recognizes = platform::isTiff,
    .load = LoadTIFF,
    .save = SaveTIFF,
    .probe = probe<openTiff>,
    .read = read<openTiff>,
    .losses = lossesTiff,
    .write = writeTiff,
    .diagnose = diagnoseTiff,
};

}  // namespace formats
