#include "effects/EffectFrame.h"

namespace dib {

bool admitImage(DibStream* image, Raster& raster) {
    if (image == nullptr || image->Header == nullptr) return false;
    const BITMAPINFOHEADER& header = *image->Header;
    const ImageSize size = admitSize(header);
    if (!size.admitted) return false;
    // An image without rows has no pixel block, and nothing that an effect could miss.
    if (image->Buffer == nullptr && size.rows != 0) return false;
    const bool bottomUp = header.biHeight > 0;
    raster.top = image->Buffer + (bottomUp ? (size.rows - 1) * size.rowBytes : 0);
    raster.rowStep = static_cast<std::ptrdiff_t>(size.rowBytes) * (bottomUp ? -1 : 1);
    raster.width = header.biWidth;
    raster.height = static_cast<int>(size.rows);
    raster.bitCount = header.biBitCount;
    raster.rowBytes = size.rowBytes;
    return true;
}

RowTable initRow(DibStream& image) {
    const std::int64_t rows = image.Header != nullptr ? rowCount(image.Header->biHeight) : 0;
    // One entry more, so that an image without rows still differs from a failed allocation.
    RowTable table = allocateArray<unsigned char*>(static_cast<std::size_t>(rows) + 1);
    if (table == nullptr) return nullptr;
    for (std::int64_t y = 0; y < rows; ++y) {
        table[static_cast<std::size_t>(y)] = image.ScanLine(static_cast<int>(y));
    }
    return table;
}

std::unique_ptr<DibStream> cloneOf(DibStream& image) {
    const std::int32_t errorCode = image.ErrorCode;
    std::unique_ptr<DibStream> copy(image.Clone());
    image.ErrorCode = errorCode;
    return copy;
}

WorkingCopy::WorkingCopy(DibStream& image) : copy_(cloneOf(image)) {
    if (copy_ != nullptr) rows_ = initRow(*copy_);
}

namespace {

// In 64 bits, where the lowest int has a positive counterpart.
int loopPosition(std::int64_t v, std::int64_t size, bool wrap) {
    if (!wrap) return static_cast<int>(v < 0 ? 0 : v >= size ? size - 1 : v);
    if (size == 0) return 0;
    if (v >= size) return static_cast<int>(v % size);
    if (v >= 0) return static_cast<int>(v);
    const std::int64_t back = -v % size;
    return static_cast<int>(back == 0 ? 0 : size - back);
}

EdgeTable edgeTable(int size, int before, int after, bool wrap) {
    const std::int64_t count = std::int64_t{before} + size + after;
    EdgeTable table = allocateArray<int>(static_cast<std::size_t>(count));
    if (table == nullptr) return nullptr;
    for (std::int64_t i = 0; i < count; ++i) {
        table[static_cast<std::size_t>(i)] = loopPosition(i - before, size, wrap);
    }
    return table;
}

}  // namespace

int getLoopX(int x, int width, unsigned int flags) {
    return loopPosition(x, width, (flags & DIB_WRAP_X) != 0);
}

int getLoopY(int y, int height, unsigned int flags) {
    return loopPosition(y, height, (flags & DIB_WRAP_Y) != 0);
}

EdgeTable edgeColumns(int width, int before, int after, unsigned int flags) {
    return edgeTable(width, before, after, (flags & DIB_WRAP_X) != 0);
}

EdgeTable edgeRows(int height, int before, int after, unsigned int flags) {
    return edgeTable(height, before, after, (flags & DIB_WRAP_Y) != 0);
}

}  // namespace dib
