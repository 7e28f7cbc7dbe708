// Foreign bitmaps become images, and images foreign bitmaps: choice of depth, pixels, row order, and the
// order of the platform's steps.
#include "formats/PlatformImages.h"

#include <algorithm>
#include <climits>
#include <new>

#include "dib/Bytes.h"
#include "dib/ColorTable.h"
#include "dib/ImageSize.h"
#include "dib/Memory.h"
#include "dib/Numbers.h"
#include "formats/CodecFrame.h"
#include "formats/ColorOrder.h"
#include "formats/FloatPixels.h"
#include "formats/NewImage.h"

namespace formats {

namespace {

template <std::size_t kBits>
void copyPacked(const unsigned char* from, unsigned char* to, std::size_t pixels) {
    std::copy_n(from, (pixels * kBits + 7) / 8, to);
}

// The kinds of bitmaps that images can hold, and the conversion of their rows.
struct Conversion {
    std::size_t bitsPerPixel;
    std::size_t bitsPerComponent;
    int bitCount;
    void (*convert)(const unsigned char* from, unsigned char* to, std::size_t pixels);
};
constexpr Conversion kConversions[] = {
    {1, 1, 1, copyPacked<1>}, {4, 4, 4, copyPacked<4>},   {8, 8, 8, copyPacked<8>},
    {24, 8, 24, swapRedBlue}, {32, 8, 32, swapRedBlue32}, {128, 32, 32, floatsToBgra},
};

const Conversion* conversionOf(const BitmapLayout& layout) {
    for (const Conversion& conversion : kConversions) {
        if (conversion.bitsPerPixel == layout.bitsPerPixel &&
            conversion.bitsPerComponent == layout.bitsPerComponent) {
            return &conversion;
        }
    }
    return nullptr;
}

bool isReadable(const BitmapLayout& layout) {
    return layout.width <= INT_MAX && layout.height <= INT_MAX &&
           layout.bytesPerRow >= (layout.width * layout.bitsPerPixel + 7) / 8;
}

void storeColors(const ColorTriples& colors, DibStream& dib) {
    DibBGRA* table = dib::colorTable(dib.Header);
    const std::size_t most = dib::addressableEntries(dib.Header->biBitCount);
    const std::size_t count = std::min(colors.count, most);
    for (std::size_t i = 0; i < count; ++i) {
        const unsigned char* triple = colors.bytes + 3 * i;
        table[i] = {triple[2], triple[1], triple[0], 0};
    }
    if (!colors.isWhole) return;
    std::fill(table + count, table + most, DibBGRA{});
    dib.Header->biClrUsed = dib::dwordOf(count);
}

// Reads the next row of the file into a row of the image.
bool readRow(BitmapDecoder& decoder, const BitmapLayout& layout, const Conversion& conversion,
             unsigned char* to) {
    if (layout.isAsStored) return decoder.storeRow(to);
    const unsigned char* row = decoder.nextRow();
    if (row != nullptr) conversion.convert(row, to, layout.width);
    return row != nullptr;
}

bool copyRows(BitmapDecoder& decoder, const BitmapLayout& layout, const Conversion& conversion,
              NewImage& dib) {
    if (!decoder.startPixels()) return false;
    for (int y = 0; y < dib->Header->biHeight; ++y) {
        unsigned char* to = dib->ScanLine(y);
        if (!readRow(decoder, layout, conversion, to) || !dib.read(to)) return false;
    }
    return true;
}

// Rows of pixels and their conversion to red, green, blue, alpha.
struct RowSource {
    const unsigned char* data;
    void (*convert)(const unsigned char* from, unsigned char* to, std::size_t pixels);
    int bitCount;
};

std::unique_ptr<PlatformImage> makeImage(ImagePlatform& platform, const RowSource& source, int width,
                                         int height, bool bottomUp) {
    const dib::ImageSize from = dib::admitSize(width, height, source.bitCount);
    const dib::ImageSize to = dib::admitSize(width, height, 32);
    if (source.data == nullptr || height < 0) return nullptr;
    if (!from.admitted || !to.admitted || to.imageBytes == 0) return nullptr;
    dib::MallocPtr<unsigned char> block = dib::allocateImageBlock(to.imageBytes);
    if (block == nullptr) return nullptr;
    for (std::size_t y = 0; y < to.rows; ++y) {
        const std::size_t row = bottomUp ? to.rows - 1 - y : y;
        source.convert(source.data + row * from.rowBytes, block.get() + y * to.rowBytes, dib::asSize(width));
    }
    return platform.makeImage(block.release(), width, height, DibCocoaUtil::rawdata_free);
}

// A 32-bit image with the same picture: the image itself, or a converted copy that `converted` owns. Of 24
// bits, too, the image itself: its colours are made opaque on their way to the platform as the conversion
// would make them.
DibStream* as32Bit(DibStream* dib, ImagePtr& converted) {
    if (dib->Header->biBitCount == 32 || dib->Header->biBitCount == 24) return dib;
    // A failing Clone would leave its code in the caller's image; only the result must show it.
    const int code = dib->ErrorCode;
    converted.reset(dib->Clone());
    dib->ErrorCode = code;
    return converted != nullptr && converted->ChangeBpp(32, 0) ? converted.get() : nullptr;
}

}  // namespace

bool readBitmap(BitmapDecoder& decoder, const BitmapLayout& layout, NewImage& image) {
    const ColorTriples colors = decoder.readColors();
    const Conversion* conversion = conversionOf(layout);
    if (conversion == nullptr || !isReadable(layout)) return false;
    // Indices of less than a byte come with their table.
    if (conversion->bitCount < 8 && !colors.isWhole) return false;
    const int width = dib::asInt(layout.width);
    if (!image.create(width, dib::asInt(layout.height), conversion->bitCount)) return false;
    if (conversion->bitCount <= 8) storeColors(colors, *image.get());
    return copyRows(decoder, layout, *conversion, image);
}

bool loadImageFile(ImagePlatform& platform, const char* path, DibStream* dib) {
    if (dib == nullptr) return false;
    const std::unique_ptr<BitmapDecoder> decoder = platform.open(path);
    if (decoder == nullptr) return false;
    BitmapLayout layout;
    if (!decoder->readLayout(layout)) return false;
    NewImage image(dib);
    if (readBitmap(*decoder, layout, image)) return true;
    if (image.isIntact()) dib->Clear();
    return false;
}

std::unique_ptr<PlatformImage> rawData32ToImage(ImagePlatform& platform, const void* data, int width,
                                                int height, bool bottomUp) {
    return makeImage(platform, {static_cast<const unsigned char*>(data), swapRedBlue32, 32}, width, height,
                     bottomUp);
}

bool saveImageFile(ImagePlatform& platform, const char* path, DibStream* dib,
                   DibCocoaUtil::DibCocoaFileType type) {
    const int number = type;
    if (number < 0 || number > DibCocoaUtil::DIB_COCOA_TIFF) return false;
    if (dib == nullptr || !dib::hasRows(*dib)) return false;
    ImagePtr converted;
    const DibStream* source = as32Bit(dib, converted);
    if (source == nullptr) return false;
    const std::int32_t height = source->Header->biHeight;
    const bool isOpaque = source->Header->biBitCount == 24;
    const RowSource rows = {source->Buffer, isOpaque ? expandToRgba : swapRedBlue32,
                            source->Header->biBitCount};
    const std::unique_ptr<PlatformImage> image =
        makeImage(platform, rows, source->Header->biWidth, dib::asInt(dib::rowCount(height)), height > 0);
    return image != nullptr && image->encode(type) && image->write(path);
}

}  // namespace formats

namespace DibCocoaUtil {

// Only the text of a path can throw here.
bool LoadImageFile(const VexString& path, DibStream* dib) {
    try {
        return formats::loadImageFile(formats::imagePlatform(), path.toUtf8String().c_str(), dib);
    } catch (const std::bad_alloc&) {
        return false;
    }
}

bool SaveImageFile(const VexString& path, DibStream* dib, DibCocoaFileType type) {
    try {
        return formats::saveImageFile(formats::imagePlatform(), path.toUtf8String().c_str(), dib, type);
    } catch (const std::bad_alloc&) {
        return false;
    }
}

std::unique_ptr<formats::PlatformImage> RawData32ToNSImage(void* data, int width, int height, bool bottomUp) {
    return formats::rawData32ToImage(formats::imagePlatform(), data, width, height, bottomUp);
}

void rawdata_free(void*, const void* data, std::size_t) { std::free(const_cast<void*>(data)); }

}  // namespace DibCocoaUtil
