// The alpha bytes of a 32-bit image as an 8-bit image, and back.
#include <DibStream.h>

#include <cstddef>
#include <new>

#include "dib/ImageSize.h"

namespace {

constexpr std::size_t kAlpha = 3;  // its byte in a pixel

// Calls `visit(pixels, alphas)` with the rows of both images in the order of their blocks.
template <class Visit>
void forEachRowPair(DibStream& image, DibStream& alpha, const Visit& visit) {
    const dib::ImageSize size = dib::admitSize(*image.Header);
    const std::size_t alphaRowBytes = alpha.GetPitch();
    for (std::size_t row = 0; row < size.rows; ++row)
        visit(image.Buffer + row * size.rowBytes, alpha.Buffer + row * alphaRowBytes);
}

bool hasDepth(const DibStream& image, int bitCount) {
    return image.Header != nullptr && image.Buffer != nullptr && image.Header->biBitCount == bitCount;
}

}  // namespace

DibStream* DibStream::CreateAlphaDib() {
    if (!hasDepth(*this, 32) || !dib::hasRows(*this)) return nullptr;
    auto* alpha = new (std::nothrow) DibStream;
    if (alpha == nullptr) return nullptr;
    if (!alpha->Create(Header->biWidth, Header->biHeight, 8)) {
        delete alpha;
        return nullptr;
    }
    const int width = Header->biWidth;
    forEachRowPair(*this, *alpha, [=](const unsigned char* from, unsigned char* to) {
        for (int x = 0; x < width; ++x, from += 4) to[x] = from[kAlpha];
    });
    return alpha;
}

bool DibStream::SetAlphaPlane(DibStream* alpha) {
    if (alpha == nullptr || !hasDepth(*this, 32) || !hasDepth(*alpha, 8) || !dib::hasRows(*this))
        return false;
    if (Header->biWidth != alpha->Header->biWidth) return false;
    if (dib::rowCount(Header->biHeight) != dib::rowCount(alpha->Header->biHeight)) return false;
    const int width = Header->biWidth;
    forEachRowPair(*this, *alpha, [=](unsigned char* to, const unsigned char* from) {
        for (int x = 0; x < width; ++x, to += 4) to[kAlpha] = from[x];
    });
    return true;
}
