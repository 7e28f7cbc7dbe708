// Image files through the Windows Imaging Component, which detects the format itself.
#include <climits>
#include <cstring>
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

namespace formats {

namespace {

constexpr float kJpegQuality = 0.9F;

// How each kind of file is written.
struct Kind {
    const GUID& container;
    const GUID& pixels;
    std::size_t pixelBytes;
    void (*convert)(const unsigned char* rgba, unsigned char* to, std::size_t pixels);
    const wchar_t* option;  // null for none
    float quality;          // of that option; 0: it says that nothing is compressed
};

// Alpha is dropped.
void bgrOfRgba(const unsigned char* rgba, unsigned char* to, std::size_t pixels) {
    for (std::size_t i = 0; i < pixels; ++i) {
        to[3 * i] = rgba[4 * i + 2];
        to[3 * i + 1] = rgba[4 * i + 1];
        to[3 * i + 2] = rgba[4 * i];
    }
}

const Kind* kindOf(DibCocoaUtil::DibCocoaFileType type) {
    static const Kind kPng = {
        GUID_ContainerFormatPng, GUID_WICPixelFormat32bppBGRA, 4, swapRedBlue32, nullptr, 0};
    static const Kind kJpeg = {
        GUID_ContainerFormatJpeg, GUID_WICPixelFormat24bppBGR, 3, bgrOfRgba, L"ImageQuality", kJpegQuality};
    static const Kind kTiff = {GUID_ContainerFormatTiff,
                               GUID_WICPixelFormat32bppBGRA,
                               4,
                               swapRedBlue32,
                               L"TiffCompressionMethod",
                               0};
    switch (type) {
        case DibCocoaUtil::DIB_COCOA_PNG: return &kPng;
        case DibCocoaUtil::DIB_COCOA_JPEG: return &kJpeg;
        case DibCocoaUtil::DIB_COCOA_TIFF: return &kTiff;
        default: return nullptr;
    }
}

bool setOption(IPropertyBag2& options, const Kind& kind) {
    if (kind.option == nullptr) return true;
    std::wstring name(kind.option);
    PROPBAG2 option = {};
    option.pstrName = name.data();
    VARIANT value = {};
    if (kind.quality > 0) {
        value.vt = VT_R4;
        value.fltVal = kind.quality;
    } else {
        value.vt = VT_UI1;
        value.bVal = WICTiffCompressionNone;
    }
    return SUCCEEDED(options.Write(1, &option, &value));
}

class WindowsImage final : public PlatformImage {
public:
    WindowsImage(const unsigned char* pixels, int width, int height, ReleasePixels release)
        : pixels_(pixels), width_(dib::asSize(width)), height_(dib::asSize(height)), release_(release) {}
    ~WindowsImage() override { release_(nullptr, pixels_, 0); }
    WindowsImage(const WindowsImage&) = delete;
    WindowsImage& operator=(const WindowsImage&) = delete;

    bool encode(DibCocoaUtil::DibCocoaFileType type) override {
        const Kind* kind = kindOf(type);
        const ComPtr<IWICImagingFactory> factory = imagingFactory();
        ComPtr<IWICBitmapEncoder> encoder;
        ComPtr<IWICBitmapFrameEncode> frame;
        ComPtr<IPropertyBag2> options;
        try {
            return kind != nullptr && factory &&
                   SUCCEEDED(CreateStreamOnHGlobal(nullptr, TRUE, file_.out())) &&
                   SUCCEEDED(factory->CreateEncoder(kind->container, nullptr, encoder.out())) &&
                   SUCCEEDED(encoder->Initialize(file_.get(), WICBitmapEncoderNoCache)) &&
                   SUCCEEDED(encoder->CreateNewFrame(frame.out(), options.out())) &&
                   setOption(*options.get(), *kind) && SUCCEEDED(frame->Initialize(options.get())) &&
                   writePixels(*frame.get(), *kind) && SUCCEEDED(frame->Commit()) &&
                   SUCCEEDED(encoder->Commit());
        } catch (const std::bad_alloc&) {
            return false;
        }
    }

    bool write(const char* path) override {
        HGLOBAL block = nullptr;
        STATSTG status = {};
        if (FAILED(GetHGlobalFromStream(file_.get(), &block)) ||
            FAILED(file_->Stat(&status, STATFLAG_NONAME)))
            return false;
        const void* bytes = GlobalLock(block);
        if (bytes == nullptr) return false;
        const bool isWritten = writeWhole(path, bytes, dib::asSize(status.cbSize.QuadPart));
        GlobalUnlock(block);
        return isWritten;
    }

private:
    bool writePixels(IWICBitmapFrameEncode& frame, const Kind& kind) const {
        WICPixelFormatGUID format = kind.pixels;
        const std::size_t rowBytes = width_ * kind.pixelBytes;
        const auto row = dib::allocateArray<unsigned char>(rowBytes);
        if (row == nullptr || FAILED(frame.SetSize(static_cast<UINT>(width_), static_cast<UINT>(height_))) ||
            FAILED(frame.SetPixelFormat(&format)) || !IsEqualGUID(format, kind.pixels))
            return false;
        const auto bytes = static_cast<UINT>(rowBytes);
        for (std::size_t y = 0; y < height_; ++y) {
            kind.convert(pixels_ + y * width_ * 4, row.get(), width_);
            if (FAILED(frame.WritePixels(1, bytes, bytes, row.get()))) return false;
        }
        return true;
    }

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
