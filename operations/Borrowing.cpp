#include "operations/Borrowing.h"

#include <cstring>
#include <utility>

#include "dib/ColorTable.h"
#include "dib/ImageSize.h"
#include "dib/LentPixels.h"
#include "dib/Memory.h"
#include "operations/Refusal.h"
#include "operations/pixels/Pixels.h"

namespace operations {

namespace {

// `Clone` cuts the table after a header of more than 40 bytes, so such a block is copied here.
void copyLongHeader(const DibStream& from, DibStream& to) {
    const std::size_t offset = dib::tableOffset(*from.Header);
    if (offset == dib::kHeaderBytes) return;
    const std::size_t bytes = offset + dib::announcedEntries(*from.Header) * dib::kEntryBytes;
    void* block = std::malloc(bytes);
    if (block == nullptr) throw std::bad_alloc();
    std::memcpy(block, from.Header, bytes);
    to.HeaderFree();
    to.Header = static_cast<BITMAPINFOHEADER*>(block);
}

// Whether a copy of the pixels has the same rows. Where a header announces fewer bytes, the others are 0 in a
// copy.
bool announcesAllRows(DibStream& image) {
    const dib::ImageSize size = dib::admitSize(*image.Header);
    return size.admitted && static_cast<std::uint32_t>(image.GetImageSize()) >= size.imageBytes;
}

}  // namespace

ImagePtr borrow(DibStream& image) {
    DibStream header;
    header.Header = image.Header;
    ImagePtr working(header.Clone());
    if (working == nullptr) throw Refusal{DIB_ERROR_MEMORY, kNoMemory};
    copyLongHeader(image, *working);
    working->HeaderOwner = dib::kOwnedWithLentPixels;
    working->Buffer = image.Buffer;
    if (!announcesAllRows(image)) ownPixels(*working);
    return working;
}

void ownPixels(DibStream& image) {
    if (!dib::hasLentPixels(image)) return;
    const ImagePtr copy(image.Clone());
    if (copy == nullptr || copy->Buffer == nullptr) throw Refusal{DIB_ERROR_MEMORY, kNoMemory};
    image.SetBuffer(copy->Buffer, std::exchange(copy->BufferOwner, 0U));
}

OwnRows::OwnRows(DibStream& image) : from_(rowsOf(image)), to_(from_) {
    if (!dib::hasLentPixels(image)) return;
    const auto announced = static_cast<std::uint32_t>(image.GetImageSize());
    if (announced != dib::admitSize(*image.Header).imageBytes) {
        ownPixels(image);
        from_ = to_ = rowsOf(image);
        return;
    }
    unsigned char* const block = image.CreateBuffer(image.Header);
    if (block == nullptr) throw Refusal{DIB_ERROR_MEMORY, kNoMemory};
    image.SetBuffer(block, dib::kOwned);
    to_ = rowsOf(image);
}

}  // namespace operations
