// The seam between the library and the platform's image decoders and encoders. Everything that makes a
// picture of this library out of a foreign bitmap, or the reverse, is written against it; a platform's side
// is thin.
#ifndef FORMATS_PLATFORM_IMAGES_H
#define FORMATS_PLATFORM_IMAGES_H

#include <DibCocoaUtil.h>

#include <cstddef>
#include <memory>

namespace formats {

class NewImage;

struct BitmapLayout {
    std::size_t width = 0;
    std::size_t height = 0;
    std::size_t bitsPerComponent = 0;
    std::size_t bitsPerPixel = 0;
    std::size_t bytesPerRow = 0;
    bool isAsStored = false;  // the decoder stores its rows as images have them, without a conversion
};

// The colours of an indexed bitmap: red, green and blue of each.
struct ColorTriples {
    const unsigned char* bytes = nullptr;
    std::size_t count = 0;
    bool isWhole = false;  // there are no others: the image announces this number
};

// A file that is open for decoding. The calls come in this order, each once; what they return is valid as
// long as the decoder, a row until the next one. Nothing throws.
class BitmapDecoder {
public:
    virtual ~BitmapDecoder() = default;
    // What kind of bitmap there is; false when there is none. No memory for the pixels is taken yet.
    virtual bool readLayout(BitmapLayout& layout) = 0;
    virtual ColorTriples readColors() = 0;
    virtual bool startPixels() = 0;
    // The next row from the top: bytesPerRow bytes in the order red, green, blue, alpha; null when it cannot
    // be had.
    virtual const unsigned char* nextRow() = 0;
    // The same where rows are as stored: the next row of the image, which has room for fill bytes. The bytes
    // are undefined after a failure.
    virtual bool storeRow(unsigned char*) { return false; }
};

// A picture in the platform's own form, to be written. The calls come in this order, each once.
class PlatformImage {
public:
    virtual ~PlatformImage() = default;
    virtual bool encode(DibCocoaUtil::DibCocoaFileType type) = 0;
    // All of the file or nothing of it.
    virtual bool write(const char* path) = 0;
};

// How the platform returns the pixels that it borrowed: DibCocoaUtil::rawdata_free.
using ReleasePixels = void (*)(void* info, const void* data, std::size_t size);

class ImagePlatform {
public:
    virtual ~ImagePlatform() = default;
    // Null when the file cannot be opened or is of no known kind. Paths are UTF-8.
    virtual std::unique_ptr<BitmapDecoder> open(const char* path) = 0;
    // Takes over rows of red, green, blue, alpha bytes without fill, top row first. They are given back with
    // `release` once, at the latest with the image, and also when there is none.
    virtual std::unique_ptr<PlatformImage> makeImage(const unsigned char* pixels, int width, int height,
                                                     ReleasePixels release) = 0;
};

// The platform that this library was built for.
ImagePlatform& imagePlatform();

// Creates the image of a bitmap and reads its rows. False when the rows end early, or `image` cancels: what
// was read stays.
bool readBitmap(BitmapDecoder& decoder, const BitmapLayout& layout, NewImage& image);

// The bridge itself. Paths are UTF-8.
bool loadImageFile(ImagePlatform& platform, const char* path, DibStream* dib);
bool saveImageFile(ImagePlatform& platform, const char* path, DibStream* dib,
                   DibCocoaUtil::DibCocoaFileType type);
// A platform image of blue, green, red, alpha rows without fill; null when memory is short.
std::unique_ptr<PlatformImage> rawData32ToImage(ImagePlatform& platform, const void* data, int width,
                                                int height, bool bottomUp);

}  // namespace formats

namespace DibCocoaUtil {
// The same on the platform that the library was built for.
std::unique_ptr<formats::PlatformImage> RawData32ToNSImage(void* data, int width, int height, bool bottomUp);
}  // namespace DibCocoaUtil

#endif
