// Row order and tone.
#include <DibStream.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "dib/Numbers.h"
#include "dib/ToneLookup.h"
#include "geometry/Canvas.h"

namespace {

// In pieces, so that both rows are still in the cache when they are written.
void exchangeRows(unsigned char* low, unsigned char* high, unsigned char* saved, std::size_t rowBytes) {
    constexpr std::size_t kPiece = 2048;
    for (std::size_t at = 0; at < rowBytes; at += kPiece) {
        const std::size_t bytes = std::min(kPiece, rowBytes - at);
        std::memcpy(saved + at, low + at, bytes);
        std::memcpy(low + at, high + at, bytes);
        std::memcpy(high + at, saved + at, bytes);
    }
}

}  // namespace

bool DibStream::UpDown(bool topDown) {
    if (Buffer == nullptr) return false;
    if (Header == nullptr) return topDown;
    if (topDown ? Header->biHeight < 0 : Header->biHeight > 0) return true;
    const dib::ImageSize size = dib::admitSize(*Header);
    if (!size.admitted) return false;
    const auto saved = dib::allocateArray<unsigned char>(std::max(size.rowBytes, std::size_t{1}));
    if (saved == nullptr) {
        ErrorCode = DIB_ERROR_GENERAL;
        return false;
    }
    for (std::size_t i = 0; i < size.rows / 2; ++i) {
        exchangeRows(Buffer + i * size.rowBytes, Buffer + (size.rows - 1 - i) * size.rowBytes, saved.get(),
                     size.rowBytes);
    }
    Header->biHeight = -Header->biHeight;
    return true;
}

namespace {

// The bytes that the header announces, as far as they are rows of the image.
std::size_t passBytes(const DibStream& image) {
    const std::int32_t announced = image.GetImageSize();
    if (announced < 1) return 0;
    return std::min(dib::asSize(announced), dib::admitSize(*image.Header).imageBytes);
}

// Below 1 the value is scaled and rounded; above 1 its distance to white shrinks, truncated.
int brightened(int value, float factor) {
    if (factor < 1.0F) {
        const float scaled = static_cast<float>(value) * factor;
        const double raised = scaled + 0.5;
        return static_cast<int>(raised);
    }
    const float step = static_cast<float>(255 - value) * (1.0F - 1.0F / factor);
    return static_cast<int>(step) + value;
}

}  // namespace

bool DibStream::InvertTone() {
    if (Buffer == nullptr) return false;
    dib::invertBytes(Buffer, passBytes(*this));
    return true;
}

bool DibStream::Brighten(float factor) {
    if (Buffer == nullptr || !(factor >= 0.0F)) return false;
    if (factor == 1.0F) return true;
    if (Header == nullptr) return false;
    const dib::ToneTable table = dib::toneTable([factor](int value) { return brightened(value, factor); });
    const dib::ToneLookup lookup(table.data());
    switch (Header->biBitCount) {
        case 1:
        case 4:
        case 8: lookup.mapColorTable(Header); return true;
        case 24:
            // The fill bytes of the rows change too.
            lookup.mapBytes(Buffer, passBytes(*this));
            return true;
        case 32: lookup.mapColors(Buffer, dib::admitSize(*Header).imageBytes / 4); return true;
        default: return false;
    }
}
