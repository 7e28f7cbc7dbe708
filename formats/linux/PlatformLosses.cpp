// What PNG, JPEG and TIFF files cannot hold of an image.
#include <algorithm>
#include <string>

#include "dib/ColorTable.h"
#include "formats/Exif.h"
#include "formats/Texts.h"
#include "formats/linux/ImageFiles.h"
#include "formats/linux/JpegExtras.h"
#include "formats/linux/OutgoingPicture.h"
#include "formats/linux/PngExtras.h"
#include "formats/linux/TiffExif.h"

namespace formats {

namespace {

bool isGreyFile(const DibStream& image) {
    const BITMAPINFOHEADER& header = *image.Header;
    return header.biBitCount <= 8 && hasGreyRamp(header);
}

void noteProfile(LossRequest& request, bool isGrey) {
    const DibMetadata* metadata = request.options.metadata;
    if (metadata == nullptr || metadata->colorProfile.size == 0) return;
    if (isKept(metadata->colorProfile, isGrey)) return;
    note(request.result, DIB_NOTE_LOSS, "the colour profile is not kept: it is not for %s pixels",
         isGrey ? "grey" : "RGB");
}

void noteExif(LossRequest& request, std::size_t mostBytes) {
    const DibMetadata* metadata = request.options.metadata;
    if (metadata == nullptr || metadata->exif.size <= mostBytes) return;
    note(request.result, DIB_NOTE_LOSS, "the EXIF block of %zu bytes is not kept: it is too long",
         metadata->exif.size);
}

void noteXmp(LossRequest& request, std::size_t mostBytes) {
    const DibMetadata* metadata = request.options.metadata;
    if (metadata == nullptr || metadata->xmp.size <= mostBytes) return;
    note(request.result, DIB_NOTE_LOSS, "the XMP packet of %zu bytes is not kept: it is too long",
         metadata->xmp.size);
}

// Notes each text that a file cannot have.
template <class CanHave>
void noteTexts(LossRequest& request, const CanHave& canHave) {
    if (request.options.metadata == nullptr) return;
    TextList list(request.options.metadata->texts);
    for (Text text; list.next(text);) {
        if (canHave(text)) continue;
        note(request.result, DIB_NOTE_LOSS, "the text \"%.60s\" is not kept",
             std::string(text.keyword).c_str());
    }
}

bool isGreyPng(const LossRequest& request) {
    return isGreyFile(request.image) && !hasPaletteAlpha(request.image, request.options.metadata);
}

// What libpng would leave out when it reads the file.
void notePngRefusals(LossRequest& request) {
    const DibMetadata* metadata = request.options.metadata;
    if (metadata == nullptr) return;
    const bool isGrey = isGreyPng(request);
    if (isKept(metadata->colorProfile, isGrey) && !isKeptByPng(metadata->colorProfile, isGrey))
        note(request.result, DIB_NOTE_LOSS, "the colour profile is not kept: it is damaged");
    const std::size_t exifBytes = metadata->exif.size;
    if (exifBytes > 0 && exifBytes <= kMostMetadataBytes && !isKeptByPng(metadata->exif))
        note(request.result, DIB_NOTE_LOSS, "the EXIF block is not kept: it names no byte order");
}

}  // namespace

bool lossesPng(LossRequest& request) {
    if (request.image.Header->biBitCount == 16) noteDepth(request, 24);
    noteProfile(request, isGreyPng(request));
    noteExif(request, kMostMetadataBytes);
    notePngRefusals(request);
    noteXmp(request, kMostMetadataBytes);
    noteTexts(request, [](const Text& text) { return isPngKeyword(text.keyword); });
    return true;
}

bool lossesJpeg(LossRequest& request) {
    constexpr int kMostPixels = 65500;  // of libjpeg; the format has 35 more
    const BITMAPINFOHEADER& header = *request.image.Header;
    if (header.biWidth > kMostPixels || dib::rowCount(header.biHeight) > kMostPixels) {
        return refuse(request.result, DIB_ERROR_MISMATCH, "JPEG files hold at most %dx%d pixels", kMostPixels,
                      kMostPixels);
    }
    const bool isGrey = header.biBitCount <= 8 && hasGreysOnly(header);
    noteDepth(request, isGrey ? 8 : 24);
    if (header.biBitCount <= 8 && !isGreyFile(request.image))
        note(request.result, DIB_NOTE_LOSS, "the palette and its indices are not kept");
    note(request.result, DIB_NOTE_LOSS, "pixels change a little, as JPEG packs them (quality %d)",
         std::clamp(request.options.quality, 1, 100));
    noteProfile(request, isGrey);
    noteExif(request, kMostJpegExif);
    noteXmp(request, kMostJpegXmp);
    noteTexts(request, isJpegComment);
    notePaletteAlpha(request);
    return true;
}

bool lossesTiff(LossRequest& request) {
    if (request.image.Header->biBitCount == 16) noteDepth(request, 24);
    noteProfile(request, isGreyFile(request.image));
    noteExif(request, kMostMetadataBytes);
    const DibMetadata* metadata = request.options.metadata;
    if (metadata != nullptr && metadata->exif.size > 0 && !isTiffExif(metadata->exif))
        note(request.result, DIB_NOTE_LOSS, "the EXIF block is not kept: it has no directory");
    noteXmp(request, kMostMetadataBytes);
    noteTexts(request, [](const Text&) { return false; });
    notePaletteAlpha(request);
    return true;
}

}  // namespace formats
