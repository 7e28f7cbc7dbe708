// The rows of the formats that the Windows Imaging Component reads and writes.
#include <DibCodec.h>

#include <algorithm>

#include "dib/Memory.h"
#include "dib/Numbers.h"
#include "dib/Raster.h"
#include "formats/FileRows.h"
#include "formats/PlatformFormats.h"
#include "formats/door/DecoderPath.h"
#include "formats/windows/WindowsDecoder.h"
#include "formats/windows/WindowsEncoder.h"

namespace formats {

namespace {

using DibCocoaUtil::DibCocoaFileType;

bool hasAlpha(const DibStream& image, DibCocoaFileType type) {
    return image.Header->biBitCount == 32 && type != DibCocoaUtil::DIB_COCOA_JPEG;
}

// The rows of an image of any depth.
class ConvertedRows final : public OutgoingRows {
public:
    ConvertedRows(const DibStream& image, DibCocoaFileType type, Progress& progress)
        : colors_(*image.Header),
          form_(hasAlpha(image, type) ? dib::Packed::kBgra : dib::Packed::kBgr),
          progress_(progress) {
        dib::viewRows(image, raster_);
        row_ = dib::allocateArray<unsigned char>(raster_.columns() * dib::bytesOf(form_));
    }
    bool hasMemory() const { return row_ != nullptr; }
    std::size_t width() const { return raster_.columns(); }
    std::size_t height() const { return raster_.rows(); }

    const unsigned char* row(std::size_t y) override {
        if (!progress_.rows(y, height())) return nullptr;
        const unsigned char* from = raster_.row(dib::asOffset(y));
        convertFileRow(from, raster_.bitCount, row_.get(), form_, width(), colors_);
        return row_.get();
    }

private:
    dib::Raster raster_;
    dib::IndexColors colors_;
    dib::Packed form_;
    Progress& progress_;
    dib::MallocPtr<unsigned char> row_;
};

void setResolution(Encoding& encoding, const DibMetadata* metadata) {
    if (metadata == nullptr) return;
    encoding.xResolution = metadata->xResolution > 0 ? metadata->xResolution : metadata->yResolution;
    encoding.yResolution = metadata->yResolution > 0 ? metadata->yResolution : metadata->xResolution;
}

WICTiffCompressionOption packingOf(DibTiffCompression compression) {
    switch (compression) {
        case DIB_TIFF_DEFLATE: return WICTiffCompressionZIP;
        case DIB_TIFF_LZW: return WICTiffCompressionLZW;
        default: return WICTiffCompressionNone;
    }
}

template <DibCocoaFileType type>
bool write(WriteRequest& request) {
    const ComThread thread;
    ConvertedRows rows(request.image, type, request.progress);
    if (!rows.hasMemory()) return refuseForMemory(request.result);
    Encoding encoding = {.type = type,
                         .width = rows.width(),
                         .height = rows.height(),
                         .hasAlpha = hasAlpha(request.image, type),
                         .quality = static_cast<float>(std::clamp(request.options.quality, 1, 100)) / 100,
                         .packing = packingOf(request.options.tiffCompression)};
    setResolution(encoding, request.options.metadata);
    const ComPtr<IStream> file = encodeByImagingComponent(encoding, rows);
    return file && useBytes(*file.get(), [&](const void* bytes, std::size_t size) {
               request.file.bytes(bytes, size);
               return true;
           });
}

// The component decodes files of any kind from paths alone.
bool probe(ProbeRequest& request) {
    DibFileResult unheard;  // a load tells the reason
    const DecoderPath path(request.file, request.path, unheard);
    const std::unique_ptr<BitmapDecoder> decoder =
        path.get() != nullptr ? openByImagingComponent(path.get()) : nullptr;
    BitmapLayout layout;
    if (decoder == nullptr || !decoder->readLayout(layout)) return false;
    request.info.width = dib::asInt(layout.width);
    request.info.height = dib::asInt(layout.height);
    request.info.bitCount = dib::asInt(layout.bitsPerPixel);
    request.info.hasAlpha = layout.bitsPerPixel == 32;
    if (layout.bitsPerPixel == 8) request.info.paletteSize = dib::asInt(decoder->readColors().count);
    return true;
}

template <DibCocoaFileType type>
bool losses(LossRequest& request) {
    noteDepth(request, hasAlpha(request.image, type) ? 32 : 24);
    if (type == DibCocoaUtil::DIB_COCOA_JPEG)
        note(request.result, DIB_NOTE_LOSS, "pixels change a little, as JPEG packs them (quality %d)",
             std::clamp(request.options.quality, 1, 100));
    noteMetadata(request, {.resolution = true});
    return true;
}

}  // namespace

constinit const FileFormat kPngFormat = {
    .info = {.name = "png",
             .title = "PNG",
             .extensions = platform::kPng,
             .mimeTypes = platform::kPngTypes,
             .readDepths = depths({8, 24, 32}),
             .writeDepths = depths({24, 32})},
    .composeExtensions = platform::kPngCompose,
    .recognizes = platform::isPng,
    .load = LoadPNG,
    .save = SavePNG,
    .probe = probe,
    .losses = losses<DibCocoaUtil::DIB_COCOA_PNG>,
    .write = write<DibCocoaUtil::DIB_COCOA_PNG>,
    .diagnose = diagnosePng,
};

constinit const FileFormat kJpegFormat = {
    .info = {.name = "jpeg",
             .title = "JPEG, opaque",
             .extensions = platform::kJpeg,
             .mimeTypes = platform::kJpegTypes,
             .readDepths = depths({8, 24}),
             .writeDepths = depths({24})},
    .composeExtensions = platform::kJpegCompose,
    .recognizes = platform::isJpeg,
    .load = LoadJPEG,
    .save = SaveJPEG,
    .probe = probe,
    .losses = losses<DibCocoaUtil::DIB_COCOA_JPEG>,
    .write = write<DibCocoaUtil::DIB_COCOA_JPEG>,
    .diagnose = diagnoseJpeg,
};

constinit const FileFormat kTiffFormat = {
    .info = {.name = "tiff",
             .title = "TIFF, its first picture",
             .extensions = platform::kTiff,
             .mimeTypes = platform::kTiffTypes,
             .readDepths = depths({8, 24, 32}),
             .writeDepths = depths({24, 32})},
    .recognizes = platform::isTiff,
    .load = LoadTIFF,
    .save = SaveTIFF,
    .probe = probe,
    .losses = losses<DibCocoaUtil::DIB_COCOA_TIFF>,
    .write = write<DibCocoaUtil::DIB_COCOA_TIFF>,
    .diagnose = diagnoseTiff,
};

}  // namespace formats
