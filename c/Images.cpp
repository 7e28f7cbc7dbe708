#include <DibHandle.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>

#include "c/Call.h"
#include "dib/Bytes.h"
#include "dib/ColorTable.h"
#include "dib/ImageSize.h"
#include "dib/Memory.h"

using c_interface::handleOf;
using c_interface::imageOf;

namespace {

// The numbers that describe an image.
struct Shape {
    int width;
    int height;
    int bitCount;
    int rowOrder;

    bool isValid() const {
        return width > 0 && height > 0 && dib::isDepth(bitCount) &&
               (rowOrder == DIB_C_BOTTOM_UP || rowOrder == DIB_C_TOP_DOWN);
    }
    int storedHeight() const { return rowOrder == DIB_C_TOP_DOWN ? -height : height; }
};

// Makes an empty image, which `build` completes. Returns code 2 when it cannot.
template <class Build>
dib_code makeImage(dib_image** image, const Build& build) {
    DibHandle made = DibHandle::make();
    if (!made || !build(*made)) return DIB_C_ERROR_MEMORY;
    *image = handleOf(made.release());
    return DIB_C_OK;
}

bool hasPixels(const dib_image* image) {
    return image != nullptr && imageOf(image)->Header != nullptr && imageOf(image)->Buffer != nullptr;
}
const BITMAPINFOHEADER& headerOf(const dib_image* image) { return *imageOf(image)->Header; }

std::size_t paletteSize(const BITMAPINFOHEADER& header) {
    return std::min(dib::announcedEntries(header), dib::addressableEntries(header.biBitCount));
}

unsigned char* rowOf(const dib_image* image, int row) {
    const int height = dib_image_height(image);
    if (row < 0 || row >= height) return nullptr;
    const int stored = headerOf(image).biHeight < 0 ? row : height - 1 - row;
    return imageOf(image)->Buffer + static_cast<std::size_t>(stored) * imageOf(image)->GetPitch();
}

}  // namespace

size_t dib_row_bytes(int width, int bit_count) {
    if (width < 1 || !dib::isDepth(bit_count)) return 0;
    return dib::admitSize(width, 1, bit_count).rowBytes;
}

dib_code dib_image_new(int width, int height, int bit_count, int row_order, dib_image** image) {
    if (image == nullptr) return DIB_C_ERROR_INVALID;
    *image = nullptr;
    const Shape shape = {width, height, bit_count, row_order};
    if (!shape.isValid()) return DIB_C_ERROR_INVALID;
    return makeImage(image, [&](DibStream& made) {
        if (!made.Create(width, shape.storedHeight(), bit_count)) return false;
        made.SetMonoPalette();
        std::memset(made.Buffer, 0, dib::admitSize(*made.Header).imageBytes);
        return true;
    });
}

dib_code dib_image_wrap(void* pixels, size_t row_bytes, int width, int height, int bit_count, int row_order,
                        dib_image** image) {
    if (image == nullptr) return DIB_C_ERROR_INVALID;
    *image = nullptr;
    const Shape shape = {width, height, bit_count, row_order};
    if (pixels == nullptr || !shape.isValid()) return DIB_C_ERROR_INVALID;
    if (!dib::admitSize(width, height, bit_count).admitted) return DIB_C_ERROR_MEMORY;
    if (row_bytes != dib_row_bytes(width, bit_count)) return DIB_C_ERROR_MISMATCH;
    if (reinterpret_cast<std::uintptr_t>(pixels) % 4 != 0) return DIB_C_ERROR_MISMATCH;
    return makeImage(image, [&](DibStream& made) {
        BITMAPINFOHEADER* header = made.CreateHeader(width, shape.storedHeight(), bit_count);
        if (header == nullptr) return false;
        made.SetDib(header, dib::kOwned, pixels, 0);
        made.SetMonoPalette();
        return true;
    });
}

dib_code dib_image_clone(const dib_image* image, dib_image** copy) {
    if (copy == nullptr) return DIB_C_ERROR_INVALID;
    *copy = nullptr;
    if (!hasPixels(image)) return DIB_C_ERROR_INVALID;
    return makeImage(
        copy, [&](DibStream& made) { return made.Copy(imageOf(image)->Header, imageOf(image)->Buffer); });
}

void dib_image_release(dib_image* image) {
    if (image != nullptr) imageOf(image)->Release();
}

int dib_image_width(const dib_image* image) { return hasPixels(image) ? headerOf(image).biWidth : 0; }

int dib_image_height(const dib_image* image) {
    return hasPixels(image) ? static_cast<int>(dib::rowCount(headerOf(image).biHeight)) : 0;
}

int dib_image_bit_count(const dib_image* image) { return hasPixels(image) ? headerOf(image).biBitCount : 0; }

dib_row_order dib_image_row_order(const dib_image* image) {
    return hasPixels(image) && headerOf(image).biHeight < 0 ? DIB_C_TOP_DOWN : DIB_C_BOTTOM_UP;
}

size_t dib_image_row_bytes(const dib_image* image) {
    return hasPixels(image) ? imageOf(image)->GetPitch() : 0;
}

unsigned char* dib_image_row(dib_image* image, int row) { return rowOf(image, row); }

const unsigned char* dib_image_const_row(const dib_image* image, int row) { return rowOf(image, row); }

int dib_image_get_palette(const dib_image* image, uint32_t* colors, int most) {
    if (!hasPixels(image)) return 0;
    const int count = static_cast<int>(paletteSize(headerOf(image)));
    const DibBGRA* table = dib::colorTable(&headerOf(image));
    for (int i = 0; colors != nullptr && i < std::min(most, count); ++i) {
        const auto& [blue, green, red, alpha] = table[i];
        colors[i] = std::uint32_t{red} << 16 | std::uint32_t{green} << 8 | blue;
    }
    return count;
}

dib_code dib_image_set_palette(dib_image* image, const uint32_t* colors, int count) {
    if (!hasPixels(image) || colors == nullptr) return DIB_C_ERROR_INVALID;
    const std::size_t most = dib::addressableEntries(headerOf(image).biBitCount);
    if (most == 0) return DIB_C_ERROR_MISMATCH;
    if (count < 1 || std::cmp_greater(count, most)) return DIB_C_ERROR_INVALID;
    if (!dib::ensureColorTable(*imageOf(image), most)) return DIB_C_ERROR_MEMORY;
    BITMAPINFOHEADER* header = imageOf(image)->Header;
    header->biClrUsed = static_cast<std::uint32_t>(count);
    DibBGRA* table = dib::colorTable(header);
    std::fill_n(table, most, DibBGRA{});
    for (int i = 0; i < count; ++i) {
        const std::uint32_t color = colors[i];
        table[i] = {dib::byteOf(color), dib::byteOf(color >> 8), dib::byteOf(color >> 16), 0};
    }
    return DIB_C_OK;
}
