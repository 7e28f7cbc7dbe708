#include "formats/door/Alpha.h"

#include "dib/ImageSize.h"
#include "formats/door/Request.h"

namespace formats {

namespace {

constexpr std::size_t kPixelBytes = 4;
constexpr std::size_t kAlpha = 3;

bool isInvisible(const unsigned char* pixels, std::size_t bytes) {
    for (std::size_t i = kAlpha; i < bytes; i += kPixelBytes) {
        if (pixels[i] != 0) return false;
    }
    return bytes > 0;
}

}  // namespace

void judgeAlpha(DibStream& image, DibAlphaPolicy policy, DibFileResult& result) {
    if (policy == DIB_ALPHA_STORED || image.Header->biBitCount != 32) return;
    const std::size_t bytes = dib::admitSize(*image.Header).imageBytes;
    if (!isInvisible(image.Buffer, bytes)) return;
    for (std::size_t i = kAlpha; i < bytes; i += kPixelBytes) image.Buffer[i] = 255;
    note(result, DIB_NOTE_ASSUMPTION, "alpha is 0 everywhere, so it was taken for unused and made opaque");
}

}  // namespace formats
