// The platform's images where there is no imaging framework: files recognised by their first bytes, and
// written whole.
#include <algorithm>
#include <new>

#include "dib/File.h"
#include "files/ReplacedFile.h"
#include "formats/Formats.h"
#include "formats/linux/ImageFiles.h"

namespace formats {

namespace {

struct Kind {
    const FileFormat* format;
    std::unique_ptr<FileDecoder> (*open)(ByteReader& file, const DecoderOptions& options);
};
constexpr Kind kKinds[] = {{&kPngFormat, openPng}, {&kJpegFormat, openJpeg}, {&kTiffFormat, openTiff}};

// A file and what decodes it.
class LinuxDecoder final : public BitmapDecoder {
public:
    explicit LinuxDecoder(dib::FilePtr file) : file_(std::move(file)), reader_(file_.get()) {}

    // False when the content is of none of the kinds.
    bool start() {
        const ByteReader::Bytes bytes = reader_.ahead(kFirstBytes);
        const FileFormat* format = formatOfContent({bytes.data, std::min(bytes.size, kFirstBytes)});
        for (const Kind& kind : kKinds) {
            if (kind.format == format) decoder_ = kind.open(reader_, {});
        }
        return decoder_ != nullptr;
    }

    bool readLayout(BitmapLayout& layout) override { return decoder_->readLayout(layout); }
    ColorTriples readColors() override { return decoder_->readColors(); }
    bool startPixels() override { return decoder_->startPixels(); }
    const unsigned char* nextRow() override { return decoder_->nextRow(); }
    bool storeRow(unsigned char* row) override { return decoder_->storeRow(row); }

private:
    dib::FilePtr file_;
    ByteReader reader_;
    std::unique_ptr<FileDecoder> decoder_;
};

using Writer = bool (*)(ByteWriter& file, const RgbaPicture& picture);

Writer writerOf(DibCocoaUtil::DibCocoaFileType type) {
    switch (type) {
        case DibCocoaUtil::DIB_COCOA_PNG: return writeClassicPng;
        case DibCocoaUtil::DIB_COCOA_JPEG: return writeClassicJpeg;
        case DibCocoaUtil::DIB_COCOA_TIFF: return writeClassicTiff;
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
    bool write(const char* path) override {
        try {
            if (*path == '\0') return false;
            files::ReplacedFile replaced(path);
            dib::FilePtr file = dib::openDescriptor(replaced.descriptor().number());
            if (file == nullptr) return false;
            replaced.descriptor().take();
            ByteWriter writer(file.get());
            return writer_(writer, picture_) && writer.isWhole() && dib::closeWritten(std::move(file)) &&
                   replaced.commit();
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
    std::unique_ptr<BitmapDecoder> open(const char* path) override {
        dib::FilePtr file = dib::openForReading(path);
        if (file == nullptr || dib::positionIn(file.get()) < 0) return nullptr;
        std::unique_ptr<LinuxDecoder> decoder(new (std::nothrow) LinuxDecoder(std::move(file)));
        if (decoder == nullptr || !decoder->start()) return nullptr;
        return decoder;
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
