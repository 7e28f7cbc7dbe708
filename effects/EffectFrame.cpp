#include "effects/EffectFrame.h"

#include "dib/LentPixels.h"
#include "dib/Numbers.h"

namespace dib {

RowTable initRow(DibStream& image) {
    const std::int64_t rows = image.Header != nullptr ? rowCount(image.Header->biHeight) : 0;
    // One entry more, so that an image without rows still differs from a failed allocation.
    RowTable table = allocateArray<unsigned char*>(rows + 1);
    if (table == nullptr) return nullptr;
    for (std::int64_t y = 0; y < rows; ++y) {
        table[y] = image.ScanLine(asInt(y));
    }
    return table;
}

std::unique_ptr<DibStream> cloneOf(DibStream& image) {
    const std::int32_t errorCode = image.ErrorCode;
    std::unique_ptr<DibStream> copy(image.Clone());
    image.ErrorCode = errorCode;
    return copy;
}

FullCopy::FullCopy(DibStream& image) : copy_(cloneOf(image)) {
    if (copy_ == nullptr) return;
    if (hasLentPixels(image)) {
        std::swap(image.Buffer, copy_->Buffer);
        std::swap(image.BufferOwner, copy_->BufferOwner);
    }
    rows_ = initRow(*copy_);
}

}  // namespace dib
