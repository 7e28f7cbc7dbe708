// Keeps a load from writing into blocks that its own progress callback has released.
#ifndef FORMATS_CALLBACK_GUARD_H
#define FORMATS_CALLBACK_GUARD_H

#include <DibStream.h>

namespace formats {

// Around one call of the callback: remembers the blocks of the image and marks its ownership words. Addresses
// alone would not do, because a new block often gets the address of the one just freed; every way to release
// or install a block also writes the ownership word.
class CallbackGuard {
public:
    explicit CallbackGuard(DibStream& image)
        : image_(image),
          headerBlock_(image.Header),
          pixelBlock_(image.Buffer),
          headerOwner_(image.HeaderOwner),
          bufferOwner_(image.BufferOwner) {
        if (image.Header != nullptr) header_ = *image.Header;
        if (headerOwner_ != 0) image_.HeaderOwner = kMark;
        if (bufferOwner_ != 0) image_.BufferOwner = kMark;
    }
    ~CallbackGuard() {
        if (image_.HeaderOwner == kMark) image_.HeaderOwner = headerOwner_;
        if (image_.BufferOwner == kMark) image_.BufferOwner = bufferOwner_;
    }
    CallbackGuard(const CallbackGuard&) = delete;
    CallbackGuard& operator=(const CallbackGuard&) = delete;

    // Whether the image still has both blocks, of the same size and depth.
    bool isIntact() const {
        if (image_.Header != headerBlock_ || image_.Buffer != pixelBlock_) return false;
        if (image_.HeaderOwner != marked(headerOwner_) || image_.BufferOwner != marked(bufferOwner_))
            return false;
        return headerBlock_ == nullptr ||
               (headerBlock_->biWidth == header_.biWidth && headerBlock_->biHeight == header_.biHeight &&
                headerBlock_->biBitCount == header_.biBitCount);
    }

private:
    // Any value that owns, other than the one that the library writes.
    static constexpr std::uint32_t kMark = 0x64616F6C;
    static constexpr std::uint32_t marked(std::uint32_t owner) { return owner != 0 ? kMark : 0; }

    DibStream& image_;
    BITMAPINFOHEADER* headerBlock_;
    unsigned char* pixelBlock_;
    std::uint32_t headerOwner_;
    std::uint32_t bufferOwner_;
    BITMAPINFOHEADER header_ = {};
};

}  // namespace formats

#endif
