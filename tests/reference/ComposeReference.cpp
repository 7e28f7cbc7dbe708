#include "tests/reference/ComposeReference.h"

#include <cmath>
#include <cstdlib>
#include <limits>
#include <memory>

namespace reference {

namespace {

// The low byte of the truncated number, which ends at the limits of an int.
int shareOf(float opacity) {
    const double share = static_cast<double>(opacity * 255.0F) + 0.5;
    if (std::isnan(share)) return 0;
    if (share > 2147483646.0) return std::numeric_limits<int>::max() & 255;
    if (share < -2147483647.0) return std::numeric_limits<int>::min() & 255;
    return static_cast<int>(share) & 255;
}

}  // namespace

bool compose(DibStream& image, DibStream& second, float opacity, unsigned int mode) {
    const int bits = image.Header->biBitCount;
    if (bits != 8 && bits != 24 && bits != 32) return false;
    const std::unique_ptr<DibStream> other(second.Clone());
    if (other->Header->biBitCount != bits && !other->ChangeBpp(bits, 0)) return false;
    const int width = image.Header->biWidth;
    const int height = std::abs(image.Header->biHeight);
    const int bytesPerPixel = bits / 8;
    const int a = shareOf(opacity);
    if (mode > 1) return true;
    if (mode == 0 && !other->Resize(width, height, DibStream::DIB_RESIZE_BILINEAR)) return false;

    const int otherHeight = std::abs(other->Header->biHeight);
    const int otherBytes = other->Header->biWidth * bytesPerPixel;
    int otherRow = 0;
    for (int y = 0; y < height; ++y) {
        unsigned char* row = image.ScanLine(y);
        const unsigned char* from = other->ScanLine(otherRow);
        int otherByte = 0;
        for (int i = 0; i < width * bytesPerPixel; ++i) {
            row[i] = static_cast<unsigned char>((row[i] * (255 - a) + from[otherByte] * a) >> 8);
            if (++otherByte == otherBytes) otherByte = 0;
        }
        if (++otherRow == otherHeight) otherRow = 0;
    }
    return true;
}

}  // namespace reference
