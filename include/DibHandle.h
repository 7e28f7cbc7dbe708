/// @file
/// A handle that owns a reference to an image: images as values of C++ programs.
#ifndef DIBSTREAM_DIBHANDLE_H
#define DIBSTREAM_DIBHANDLE_H

#include <DibStream.h>

#include <new>
#include <utility>

/// Owns one reference to an image on the heap, or none. Handles move; `share` makes a second one.
///
///     DibHandle picture = DibHandle::make();
///     if (picture && DibLoadFile("photo.jpg", picture.get())) ...
///
/// The methods that read may run in several threads while nobody changes the image.
class DibHandle {
public:
    /// No image.
    DibHandle() = default;
    /// Takes over the caller's reference, as `Clone`, `ClipClone` and `CreateAlphaDib` return it; null is no
    /// image.
    explicit DibHandle(DibStream* owned) noexcept : image_(owned) {}
    /// A new empty image; no image when memory is short.
    static DibHandle make() { return DibHandle(new (std::nothrow) DibStream); }

    /// Takes the reference of another handle, which then has none.
    DibHandle(DibHandle&& other) noexcept : image_(other.release()) {}
    /// Exchanges the references.
    DibHandle& operator=(DibHandle&& other) noexcept {
        std::swap(image_, other.image_);
        return *this;
    }
    /// Drops the reference.
    ~DibHandle() {
        if (image_ != nullptr) image_->Release();
    }

    /// A second handle of the same image. Handles of one image belong to one thread.
    DibHandle share() const {
        if (image_ != nullptr) image_->AddRef();
        return DibHandle(image_);
    }
    /// An independent copy; no image when there is none here or memory is short.
    DibHandle clone() const { return DibHandle(image_ != nullptr ? image_->Clone() : nullptr); }
    /// Gives the reference to the caller and keeps none.
    DibStream* release() noexcept { return std::exchange(image_, nullptr); }

    /// The image, which the handle keeps; null when there is none.
    DibStream* get() noexcept { return image_; }
    /// The image, read-only.
    const DibStream* get() const noexcept { return image_; }
    DibStream* operator->() noexcept { return image_; }              ///< As `get`.
    const DibStream* operator->() const noexcept { return image_; }  ///< As `get`.
    DibStream& operator*() noexcept { return *image_; }              ///< There must be an image.
    const DibStream& operator*() const noexcept { return *image_; }  ///< There must be an image.

    /// Whether there is an image, which may be empty.
    explicit operator bool() const noexcept { return image_ != nullptr; }
    /// Whether there is an image with pixels.
    bool hasPixels() const noexcept {
        return image_ != nullptr && image_->Header != nullptr && image_->Buffer != nullptr;
    }
    /// Columns; 0 without pixels.
    int width() const noexcept { return hasPixels() ? image_->Header->biWidth : 0; }
    /// Rows; 0 without pixels.
    int height() const noexcept { return hasPixels() ? rows() : 0; }
    /// Bits per pixel; 0 without pixels.
    int bitCount() const noexcept { return hasPixels() ? image_->Header->biBitCount : 0; }
    /// The start of row y, counted from the top of the picture, 0 to height - 1; null without pixels.
    const unsigned char* row(int y) const noexcept {
        if (!hasPixels()) return nullptr;
        const int stored = image_->Header->biHeight > 0 ? rows() - 1 - y : y;
        return image_->Buffer + static_cast<std::size_t>(stored) * image_->GetPitch();
    }

private:
    int rows() const noexcept {
        const int height = image_->Header->biHeight;
        return height < 0 ? -height : height;
    }

    DibStream* image_ = nullptr;
};

#endif
