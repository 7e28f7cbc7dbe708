// What a call notes, and why it fails.
#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstring>

#include "dib/ImageSize.h"
#include "formats/door/Request.h"

namespace formats {

void note(DibFileResult& result, DibNoteKind kind, const char* text, ...) {
    if (result.noteCount == DibFileResult::kMostNotes) return;
    DibNote& note = result.notes[result.noteCount++];
    note.kind = kind;
    std::va_list values;
    va_start(values, text);
    std::vsnprintf(note.text, sizeof note.text, text, values);
    va_end(values);
}

bool refuse(DibFileResult& result, DibErrorCode code, const char* reason, ...) {
    if (result.reason[0] != '\0') return false;
    result.code = code;
    std::va_list values;
    va_start(values, reason);
    std::vsnprintf(result.reason, sizeof result.reason, reason, values);
    va_end(values);
    return false;
}

bool refuseForMemory(DibFileResult& result, const char* purpose) {
    return refuse(result, DIB_ERROR_MEMORY, "there is not enough memory%s%s", *purpose != '\0' ? " " : "",
                  purpose);
}

void nameCompression(DibFileInfo& info, std::string_view name) {
    const std::size_t length = std::min(name.size(), sizeof info.compression - 1);
    std::memcpy(info.compression, name.data(), length);
    info.compression[length] = '\0';
}

void setResolution(double x, double y, DibMetadata& metadata) {
    metadata.xResolution = std::isfinite(x) && x > 0 ? x : 0;
    metadata.yResolution = std::isfinite(y) && y > 0 ? y : 0;
}

namespace {

bool hasTransparency(const DibStream& image) {
    const std::size_t bytes = dib::admitSize(*image.Header).imageBytes;
    for (std::size_t i = 3; i < bytes; i += 4) {
        if (image.Buffer[i] != 255) return true;
    }
    return false;
}

}  // namespace

void noteDepth(LossRequest& request, int fileBits) {
    const int bitCount = request.image.Header->biBitCount;
    if (bitCount == fileBits) return;
    if (bitCount == 32 && hasTransparency(request.image))
        note(request.result, DIB_NOTE_LOSS, "transparency is not kept");
    note(request.result, DIB_NOTE_LOSS,
         bitCount == 1 ? "%d bit a pixel becomes %d" : "%d bits a pixel become %d", bitCount, fileBits);
}

bool hasPaletteAlpha(const DibStream& image, const DibMetadata* metadata) {
    if (metadata == nullptr || image.Header->biBitCount > 8) return false;
    const DibBytes& alpha = metadata->paletteAlpha;
    return std::any_of(alpha.data, alpha.data + alpha.size, [](unsigned char a) { return a != 255; });
}

void notePaletteAlpha(LossRequest& request) {
    if (hasPaletteAlpha(request.image, request.options.metadata))
        note(request.result, DIB_NOTE_LOSS, "the transparency of the palette is not kept");
}

void noteMetadata(LossRequest& request, const HeldMetadata& held) {
    if (!held.paletteAlpha) notePaletteAlpha(request);
    const DibMetadata* metadata = request.options.metadata;
    if (metadata == nullptr) return;
    const auto lose = [&](bool isThere, bool isHeld, const char* text) {
        if (isThere && !isHeld) note(request.result, DIB_NOTE_LOSS, "%s", text);
    };
    lose(metadata->xResolution > 0 || metadata->yResolution > 0, held.resolution,
         "the resolution is not kept");
    lose(metadata->orientation != 1, held.orientation, "the orientation is not kept");
    lose(metadata->colorProfile.size > 0, held.colorProfile, "the colour profile is not kept");
    lose(metadata->exif.size > 0, held.exif, "the EXIF block is not kept");
    lose(metadata->timFrame.size > 0, held.timFrame, "the positions in video memory are not kept");
    lose(metadata->texts.size > 0, held.texts, "the texts are not kept");
    lose(metadata->xmp.size > 0, held.xmp, "the XMP packet is not kept");
}

}  // namespace formats
