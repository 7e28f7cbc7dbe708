#include "formats/NewImage.h"

#include <cstring>

#include "dib/Bytes.h"
#include "dib/ImageSize.h"
#include "dib/Memory.h"
#include "dib/Numbers.h"
#include "formats/CallbackGuard.h"
#include "formats/CodecFrame.h"

namespace formats {

namespace {

// Up to this size clearing all rows costs little, and less than finding out the length of the file.
constexpr std::size_t kSmallBytes = 512 * 1024;

}  // namespace

bool NewImage::create(int width, int height, int bitCount) { return create(width, height, bitCount, false); }

bool NewImage::create(ByteReader& file, int width, int height, int bitCount, std::uint64_t fewestBytes) {
    const bool isSmall = dib::admitSize(width, height, bitCount).imageBytes <= kSmallBytes;
    const bool isShort = !isSmall && dib::asUnsigned(file.remaining()) < fewestBytes;
    return create(width, height, bitCount, isShort || fewestBytes == 0);
}

bool NewImage::create(int width, int height, int bitCount, bool isBlank) {
    clearUnread();
    pixels_ = begin_ = end_ = nullptr;
    image_->Clear();
    const dib::ImageSize size = dib::admitSize(width, height, bitCount);
    dib::MallocPtr<BITMAPINFOHEADER> header(image_->CreateHeader(width, height, bitCount));
    dib::MallocPtr<unsigned char> block;
    if (header != nullptr && size.imageBytes > 0) {
        block = isBlank ? dib::allocateZeroedImageBlock(size.imageBytes)
                        : dib::allocateImageBlock(size.imageBytes);
    }
    if (block == nullptr) return dib::failForMemory(*image_);

    width_ = width;
    height_ = height;
    bitCount_ = bitCount;
    rowBytes_ = size.rowBytes;
    const std::size_t pixelBytes = dib::packedBytes(width, header[0].biBitCount);
    lastWord_ = UINT32_MAX >> (8 * (rowBytes_ - pixelBytes));
    pixels_ = begin_ = block.get();
    end_ = isBlank ? pixels_ : pixels_ + size.imageBytes;
    return image_->SetDib(header.release(), dib::kOwned, block.release(), dib::kOwned);
}

void NewImage::readPart(unsigned char* row, std::size_t bytes) {
    std::memset(row + bytes, 0, rowBytes_ - bytes);
    progress_ = nullptr;  // no whole row: the load ends here
    read(row);
}

bool NewImage::isIntact() const {
    const BITMAPINFOHEADER* header = image_->Header;
    return header != nullptr && pixels_ != nullptr && image_->Buffer == pixels_ &&
           header->biWidth == width_ && header->biHeight == height_ && header->biBitCount == bitCount_;
}

bool NewImage::report(DibProgressCallback callback, void* user, int row) {
    if (callback == nullptr) return true;
    const CallbackGuard guard(*image_);
    const bool goesOn = formats::report(callback, user, row, height_);
    if (!guard.isIntact()) pixels_ = begin_ = end_ = nullptr;
    return (goesOn && pixels_ != nullptr) || fail(*this, DIB_ERROR_INTERRUPTED);
}

void NewImage::clearRows(int first, int end) {
    for (int y = first; y < end && isIntact(); ++y) std::memset(image_->ScanLine(y), 0, rowBytes_);
}

void NewImage::clearUnread() {
    if (begin_ < end_ && isIntact()) std::memset(begin_, 0, dib::bytesBetween(begin_, end_));
}

}  // namespace formats
