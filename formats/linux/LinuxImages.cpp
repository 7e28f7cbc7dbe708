// The platform's images where there is no imaging framework: files told apart by their first bytes, and
// written whole.
#include <algorithm>
#include <cstring>
#include <new>

#include "files/ReplacedFile.h"
#include "formats/linux/ImageFiles.h"

namespace formats {

namespace {

struct Signature {
    const char* bytes;
    std::size_t length;
    std::unique_ptr<BitmapDecoder> (*open)(dib::FilePtr file);
};
constexpr Signature kSignatures[] = {
    {"\x89PNG\r\n\x1A\n", 8, openPng},
    {"\xFF\xD8\xFF", 3, openJpeg},
    {"II*\0", 4, openTiff},
    {"MM\0*", 4, openTiff},
    {"II+\0", 4, openTiff},
    {"MM\0+", 4, openTiff},
};

using Writer = bool (*)(std::FILE* file, const RgbaPicture& picture);

Writer writerOf(DibCocoaUtil::DibCocoaFileType type) {
    switch (type) {
        case DibCocoaUtil::DIB_COCOA_PNG: return writePng;
        case DibCocoaUtil::DIB_COCOA_JPEG: return writeJpeg;
        case DibCocoaUtil::DIB_COCOA_TIFF: return writeTiff;
        default: return nullptr;
    }
}

// The pixels are encoded on their way into the file.
class LinuxImage final : public PlatformImage {
public:
    LinuxImage(const RgbaPicture& picture, ReleasePixels release) : picture_(picture), release_(release) {}
    ~LinuxImage() override { release_(nullptr, picture_.pixels, 0); }
    LinuxImage(const LinuxImage&) = delete;
    LinuxImage& operator=(const LinuxImage&) = delete;

    bool encode(DibCocoaUtil::DibCocoaFileType type) override {
        writer_ = writerOf(type);
        return writer_ != nullptr;
    }
    bool write(const VexString& path) override {
        try {
            const VexAnsiString name = path.toUtf8String();
            if (name.empty()) return false;
            files::ReplacedFile replaced(name.c_str());
            dib::FilePtr file(::fdopen(replaced.descriptor().number(), "wb"));
            if (file == nullptr) return false;
            replaced.descriptor().take();
            return writer_(file.get(), picture_) && dib::closeWritten(std::move(file)) && replaced.commit();
        } catch (const std::bad_alloc&) {
            return false;
        }
    }

private:
    RgbaPicture picture_;
    ReleasePixels release_;
    Writer writer_ = nullptr;
};

class LinuxImages final : public ImagePlatform {
public:
    std::unique_ptr<BitmapDecoder> open(const VexString& path) override {
        dib::FilePtr file = dib::openForReading(path.c_str());
        if (file == nullptr) return nullptr;
        char start[8] = {};
        const std::size_t length = std::fread(start, 1, sizeof start, file.get());
        if (std::fseek(file.get(), 0, SEEK_SET) != 0) return nullptr;
        for (const Signature& signature : kSignatures) {
            if (length >= signature.length && std::memcmp(start, signature.bytes, signature.length) == 0) {
                return signature.open(std::move(file));
            }
        }
        return nullptr;
    }

    std::unique_ptr<PlatformImage> makeImage(const unsigned char* pixels, int width, int height,
                                             ReleasePixels release) override {
        std::unique_ptr<PlatformImage> image(new (std::nothrow) LinuxImage({pixels, width, height}, release));
        if (image == nullptr) release(nullptr, pixels, 0);
        return image;
    }
};

}  // namespace

ImagePlatform& imagePlatform() {
    static LinuxImages platform;
    return platform;
}

}  // namespace formats
