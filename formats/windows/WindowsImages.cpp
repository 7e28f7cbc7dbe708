// Image files through the Windows Imaging Component, which detects the format itself.
#include <memory>
#include <new>

#include "dib/File.h"
#include "dib/Memory.h"
#include "dib/Numbers.h"
#include "files/ReplacedFile.h"
#include "formats/ColorOrder.h"
#include "formats/PlatformImages.h"
#include "formats/windows/Com.h"
#include "formats/windows/WindowsDecoder.h"
#include "formats/windows/WindowsEncoder.h"

namespace formats {

namespace {

// Red, green, blue, alpha as the encoders take them.
class RgbaRows final : public OutgoingRows {
public:
    RgbaRows(const unsigned char* pixels, std::size_t width, bool hasAlpha)
        : pixels_(pixels),
          width_(width),
          hasAlpha_(hasAlpha),
          row_(dib::allocateArray<unsigned char>(width * (hasAlpha ? 4 : 3))) {}

    const unsigned char* row(std::size_t y) override {
        const unsigned char* from = pixels_ + y * width_ * 4;
        if (row_ == nullptr) return nullptr;
        if (hasAlpha_) {
            swapRedBlue32(from, row_.get(), width_);
        } else {
            bgrOfRgba(from, row_.get(), width_);
        }
        return row_.get();
    }

private:
    // Alpha is dropped.
    static void bgrOfRgba(const unsigned char* rgba, unsigned char* to, std::size_t pixels) {
        for (std::size_t i = 0; i < pixels; ++i) {
            to[3 * i] = rgba[4 * i + 2];
            to[3 * i + 1] = rgba[4 * i + 1];
            to[3 * i + 2] = rgba[4 * i];
        }
    }

    const unsigned char* pixels_;
    std::size_t width_;
    bool hasAlpha_;
    dib::MallocPtr<unsigned char> row_;
};

class WindowsImage final : public PlatformImage {
public:
    WindowsImage(const unsigned char* pixels, int width, int height, ReleasePixels release)
        : pixels_(pixels), width_(dib::asSize(width)), height_(dib::asSize(height)), release_(release) {}
    ~WindowsImage() override { release_(nullptr, pixels_, 0); }
    WindowsImage(const WindowsImage&) = delete;
    WindowsImage& operator=(const WindowsImage&) = delete;

    bool encode(DibCocoaUtil::DibCocoaFileType type) override {
        try {
            Encoding encoding = {.type = type, .width = width_, .height = height_};
            encoding.hasAlpha = type != DibCocoaUtil::DIB_COCOA_JPEG;
            RgbaRows rows(pixels_, width_, encoding.hasAlpha);
            file_ = encodeByImagingComponent(encoding, rows);
            return static_cast<bool>(file_);
        } catch (const std::bad_alloc&) {
            return false;
        }
    }

    bool write(const char* path) override {
        return useBytes(*file_.get(), [path](const void* bytes, std::size_t size) {
            return writeWhole(path, bytes, size);
        });
    }

private:
    static bool writeWhole(const char* path, const void* bytes, std::size_t size) {
        try {
            if (*path == '\0') return false;
            files::ReplacedFile replaced(path);
            dib::FilePtr file = dib::openDescriptor(replaced.descriptor().number());
            if (file == nullptr) return false;
            replaced.descriptor().take();
            return dib::writeBytes(file.get(), bytes, size) && dib::closeWritten(std::move(file)) &&
                   replaced.commit();
        } catch (const std::bad_alloc&) {
            return false;
        }
    }

    const ComThread thread_;  // before all references
    const unsigned char* pixels_;
    std::size_t width_;
    std::size_t height_;
    ReleasePixels release_;
    ComPtr<IStream> file_;
};

class WindowsImages final : public ImagePlatform {
public:
    std::unique_ptr<BitmapDecoder> open(const char* path) override { return openByImagingComponent(path); }

    std::unique_ptr<PlatformImage> makeImage(const unsigned char* pixels, int width, int height,
                                             ReleasePixels release) override {
        std::unique_ptr<PlatformImage> image(new (std::nothrow) WindowsImage(pixels, width, height, release));
        if (image == nullptr) release(nullptr, pixels, 0);
        return image;
    }
};

}  // namespace

ImagePlatform& imagePlatform() {
    static WindowsImages platform;
    return platform;
}

}  // namespace formats
