#include "formats/linux/TiffRows.h"

#include <algorithm>
#include <climits>

namespace formats {

namespace {

// Rows begin at whole bytes.
std::uint64_t bytesOfRow(const TiffLayout& layout, std::uint32_t width) {
    const std::uint64_t samples = layout.isPlanar ? 1 : layout.perPixel;
    return (std::uint64_t{width} * samples * layout.bits + 7) / 8;
}

}  // namespace

bool TiffRows::start(TIFF* tiff, const TiffLayout& layout, const std::size_t* planes,
                     std::size_t planeCount) {
    tiff_ = tiff;
    layout_ = layout;
    if (layout.isPlanar) {
        if (planeCount > kMostPlanes) return false;
        std::copy_n(planes, planeCount, planes_);
        planeCount_ = planeCount;
    }
    const std::uint64_t rowBytes = bytesOfRow(layout, layout.width);
    if (rowBytes > INT_MAX) return false;
    rowBytes_ = static_cast<std::size_t>(rowBytes);

    isTiled_ = TIFFIsTiled(tiff) != 0;
    if (isTiled_) {
        if (!startTiles()) return false;
    } else {
        // Rows of the library must be what was announced; a picture that changes its mind is broken.
        if (TIFFScanlineSize(tiff) != static_cast<tmsize_t>(rowBytes_)) return false;
        std::uint32_t rows = 1;
        TIFFGetFieldDefaulted(tiff, TIFFTAG_ROWSPERSTRIP, &rows);
        bandRows_ = std::min(rows, layout.height);
        // Strips are the fastest to read as a whole, but one may be all of the picture.
        constexpr std::uint64_t kMostAtOnce = 1 << 20;
        if (!layout.isPlanar && rowBytes * bandRows_ > kMostAtOnce) bandRows_ = 1;
        isByStrip_ = bandRows_ > 1 || layout.isPlanar;
    }
    if (bandRows_ == 0 || rowBytes * bandRows_ * planeCount_ > INT_MAX) return false;
    band_ = dib::allocateZeroed<unsigned char>(rowBytes_ * bandRows_ * planeCount_);
    inBand_ = bandRows_ - 1;
    isShortOfMemory_ = band_ == nullptr;
    return !isShortOfMemory_;
}

bool TiffRows::startTiles() {
    std::uint32_t tileHeight = 0;
    if (TIFFGetField(tiff_, TIFFTAG_TILEWIDTH, &tileWidth_) == 0 || tileWidth_ == 0) return false;
    if (TIFFGetField(tiff_, TIFFTAG_TILELENGTH, &tileHeight) == 0) return false;
    const std::uint64_t tileRowBytes = bytesOfRow(layout_, tileWidth_);
    constexpr std::uint64_t kMostTileBytes = 1 << 29;
    if (tileRowBytes > INT_MAX || tileRowBytes * tileHeight > kMostTileBytes) return false;
    tileRowBytes_ = static_cast<std::size_t>(tileRowBytes);
    tileBytes_ = tileRowBytes_ * tileHeight;
    if (TIFFTileSize(tiff_) != static_cast<tmsize_t>(tileBytes_)) return false;
    // Tiles side by side must meet between two bytes.
    const std::uint64_t rowBits =
        std::uint64_t{tileWidth_} * (layout_.isPlanar ? 1 : layout_.perPixel) * layout_.bits;
    if (tileWidth_ < layout_.width && rowBits % 8 != 0) return false;
    tile_ = dib::allocateZeroed<unsigned char>(tileBytes_);
    bandRows_ = std::min(tileHeight, layout_.height);
    isShortOfMemory_ = tile_ == nullptr;
    return !isShortOfMemory_;
}

bool TiffRows::next() {
    if (y_ == layout_.height) return false;
    if (++inBand_ == bandRows_) {
        inBand_ = 0;
        if (!readBand()) return false;
    }
    ++y_;
    return true;
}

bool TiffRows::readBand() {
    const std::size_t rows = std::min<std::size_t>(bandRows_, layout_.height - y_);
    const auto y = static_cast<std::uint32_t>(y_);
    for (std::size_t i = 0; i < planeCount_; ++i) {
        unsigned char* to = band_.get() + i * bandRows_ * rowBytes_;
        if (isTiled_) {
            if (!readTiles(i, rows)) return false;
        } else if (isByStrip_) {
            const std::uint32_t strip = TIFFComputeStrip(tiff_, y, static_cast<std::uint16_t>(planes_[i]));
            const auto bytes = static_cast<tmsize_t>(rows * rowBytes_);
            if (TIFFReadEncodedStrip(tiff_, strip, to, bytes) != bytes) return false;
        } else if (TIFFReadScanline(tiff_, to, y, 0) != 1) {
            return false;
        }
    }
    return true;
}

bool TiffRows::readTiles(std::size_t plane, std::size_t rows) {
    const auto y = static_cast<std::uint32_t>(y_);
    std::size_t at = 0;  // bytes from the left
    for (std::uint64_t x = 0; x < layout_.width; x += tileWidth_, at += tileRowBytes_) {
        const std::uint32_t number = TIFFComputeTile(tiff_, static_cast<std::uint32_t>(x), y, 0,
                                                     static_cast<std::uint16_t>(planes_[plane]));
        if (TIFFReadEncodedTile(tiff_, number, tile_.get(), static_cast<tmsize_t>(tileBytes_)) !=
            static_cast<tmsize_t>(tileBytes_)) {
            return false;
        }
        const std::size_t width = std::min(tileRowBytes_, rowBytes_ - at);
        for (std::size_t row = 0; row < rows; ++row) {
            std::copy_n(tile_.get() + row * tileRowBytes_, width,
                        band_.get() + (plane * bandRows_ + row) * rowBytes_ + at);
        }
    }
    return true;
}

}  // namespace formats
