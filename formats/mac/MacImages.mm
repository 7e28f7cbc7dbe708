// Image files through the system's imaging framework, which detects the format itself.
#import <AppKit/AppKit.h>

#include <cstddef>
#include <cstring>
#include <memory>
#include <new>

#include "dib/Memory.h"
#include "formats/PlatformImages.h"

namespace formats {

namespace {

// Objects that the framework lends live as long as the newest pool, and a program without an event loop has
// none. Pools are nested: the bridge releases its decoders and images in reverse order.
class Pool {
public:
    Pool() : pool_([[NSAutoreleasePool alloc] init]) {}
    ~Pool() { [pool_ drain]; }
    Pool(const Pool&) = delete;
    Pool& operator=(const Pool&) = delete;

private:
    NSAutoreleasePool* pool_;
};

// An object that was made here; null when it could not be.
template <class Pointer>
class Owned {
public:
    explicit Owned(Pointer object) : object_(object) {}
    ~Owned() { letGo(object_); }
    Owned(const Owned&) = delete;
    Owned& operator=(const Owned&) = delete;

    Pointer get() const { return object_; }
    explicit operator bool() const { return object_ != nullptr; }

private:
    static void letGo(NSObject* object) { [object release]; }
    static void letGo(CFTypeRef object) {
        if (object != nullptr) CFRelease(object);
    }

    Pointer object_;
};

NSString* newString(const char* path) {
    return [[NSString alloc] initWithBytes:path length:std::strlen(path) encoding:NSUTF8StringEncoding];
}

NSImage* newImage(const char* path) {
    const Owned<NSString*> text(newString(path));
    return text ? [[NSImage alloc] initWithContentsOfFile:text.get()] : nullptr;
}

// Lent; null when the image has no bitmap.
CGImageRef bitmapOf(NSImage* image) {
    return [image CGImageForProposedRect:nullptr context:nullptr hints:nullptr];
}

class MacDecoder final : public BitmapDecoder {
public:
    explicit MacDecoder(const char* path) : image_(newImage(path)) {}
    ~MacDecoder() override {
        if (pixels_ != nullptr) CFRelease(pixels_);
    }
    MacDecoder(const MacDecoder&) = delete;
    MacDecoder& operator=(const MacDecoder&) = delete;

    bool isOpen() const { return static_cast<bool>(image_); }

    bool readLayout(BitmapLayout& layout) override {
        bitmap_ = bitmapOf(image_.get());
        if (bitmap_ == nullptr) return false;
        layout.width = CGImageGetWidth(bitmap_);
        layout.height = CGImageGetHeight(bitmap_);
        layout.bitsPerComponent = CGImageGetBitsPerComponent(bitmap_);
        layout.bitsPerPixel = CGImageGetBitsPerPixel(bitmap_);
        layout.bytesPerRow = rowBytes_ = CGImageGetBytesPerRow(bitmap_);
        return takeColors(CGImageGetColorSpace(bitmap_));
    }

    ColorTriples readColors() override { return {colors_.get(), colorCount_}; }

    bool startPixels() override {
        const CGDataProviderRef provider = CGImageGetDataProvider(bitmap_);
        if (provider == nullptr) return false;
        pixels_ = CGDataProviderCopyData(provider);
        if (pixels_ == nullptr) return false;
        nextRow_ = CFDataGetBytePtr(pixels_);
        return nextRow_ != nullptr;
    }

    const unsigned char* nextRow() override {
        const unsigned char* row = nextRow_;
        nextRow_ += rowBytes_;
        return row;
    }

private:
    // The colour table of an indexed bitmap; none is no failure.
    bool takeColors(CGColorSpaceRef space) {
        colorCount_ = space != nullptr ? CGColorSpaceGetColorTableCount(space) : 0;
        if (colorCount_ == 0) return true;
        // Entries are triples, but those of a table over four inks must not run past the block.
        colors_ = dib::allocateZeroed<unsigned char>(colorCount_ * 4);
        if (colors_ == nullptr) return false;
        CGColorSpaceGetColorTable(space, colors_.get());
        return true;
    }

    const Pool pool_;
    const Owned<NSImage*> image_;
    CGImageRef bitmap_ = nullptr;
    CFDataRef pixels_ = nullptr;
    const unsigned char* nextRow_ = nullptr;
    std::size_t rowBytes_ = 0;
    dib::MallocPtr<unsigned char> colors_;
    std::size_t colorCount_ = 0;
};

// An image of 32-bit pixels. The framework gives them back with its last reference to them.
NSImage* newImage(const unsigned char* pixels, std::size_t width, std::size_t height, ReleasePixels release) {
    const std::size_t rowBytes = width * 4;
    const Owned<CGDataProviderRef> provider(
        CGDataProviderCreateWithData(nullptr, pixels, rowBytes * height, release));
    if (!provider) {
        release(nullptr, pixels, rowBytes * height);
        return nullptr;
    }
    const Owned<CGColorSpaceRef> space(CGColorSpaceCreateDeviceRGB());
    if (!space) return nullptr;
    const Owned<CGImageRef> bitmap(CGImageCreate(width, height, 8, 32, rowBytes, space.get(),
                                                 static_cast<CGBitmapInfo>(kCGImageAlphaLast), provider.get(),
                                                 nullptr, true, kCGRenderingIntentDefault));
    if (!bitmap) return nullptr;
    const NSSize size = {static_cast<CGFloat>(width), static_cast<CGFloat>(height)};
    return [[NSImage alloc] initWithCGImage:bitmap.get() size:size];
}

NSBitmapImageFileType platformType(DibCocoaUtil::DibCocoaFileType type) {
    switch (type) {
        case DibCocoaUtil::DIB_COCOA_JPEG: return NSBitmapImageFileTypeJPEG;
        case DibCocoaUtil::DIB_COCOA_TIFF: return NSBitmapImageFileTypeTIFF;
        default: return NSBitmapImageFileTypePNG;
    }
}

class MacImage final : public PlatformImage {
public:
    MacImage(const unsigned char* pixels, int width, int height, ReleasePixels release)
        : image_(
              newImage(pixels, static_cast<std::size_t>(width), static_cast<std::size_t>(height), release)) {}
    bool isMade() const { return static_cast<bool>(image_); }

    bool encode(DibCocoaUtil::DibCocoaFileType type) override {
        const CGImageRef bitmap = bitmapOf(image_.get());
        if (bitmap == nullptr) return false;
        const Owned<NSBitmapImageRep*> encoder([[NSBitmapImageRep alloc] initWithCGImage:bitmap]);
        if (!encoder) return false;
        [encoder.get() setSize:[image_.get() size]];
        NSDictionary* noProperties = nullptr;
        file_ = [encoder.get() representationUsingType:platformType(type) properties:noProperties];
        return file_ != nullptr;
    }

    bool write(const char* path) override {
        const Owned<NSString*> text(newString(path));
        return text && [file_ writeToFile:text.get() atomically:YES];
    }

private:
    const Pool pool_;
    const Owned<NSImage*> image_;
    NSData* file_ = nullptr;  // lent
};

class MacImages final : public ImagePlatform {
public:
    std::unique_ptr<BitmapDecoder> open(const char* path) override {
        std::unique_ptr<MacDecoder> decoder(new (std::nothrow) MacDecoder(path));
        if (decoder == nullptr || !decoder->isOpen()) return nullptr;
        return decoder;
    }

    std::unique_ptr<PlatformImage> makeImage(const unsigned char* pixels, int width, int height,
                                             ReleasePixels release) override {
        std::unique_ptr<MacImage> image(new (std::nothrow) MacImage(pixels, width, height, release));
        if (image == nullptr) release(nullptr, pixels, 0);
        if (image == nullptr || !image->isMade()) return nullptr;
        return image;
    }
};

}  // namespace

ImagePlatform& imagePlatform() {
    static MacImages platform;
    return platform;
}

}  // namespace formats
