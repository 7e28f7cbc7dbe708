#include "formats/linux/TiffRows.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>

#include "dib/Bytes.h"
#include "dib/Numbers.h"

namespace formats {

namespace {

// Rows begin at whole bytes.
std::uint64_t bytesOfRow(const TiffLayout& layout, std::uint32_t width) {
    const std::uint64_t samples = layout.isPlanar ? 1 : layout.perPixel;
    return (std::uint64_t{width} * samples * layout.bits + 7) / 8;
}

// Larger strips and tiles are not read at once.
constexpr std::uint64_t kMostPieceBytes = 1 << 29;

}  // namespace

bool TiffRows::start(TIFF* tiff, TiffSource& source, const TiffLayout& layout, TiffDamage damage,
                     const std::size_t* planes, std::size_t planeCount) {
    tiff_ = tiff;
    source_ = &source;
    layout_ = layout;
    onDamage_ = damage;
    if (layout.isPlanar) {
        if (planeCount > kMostPlanes) return false;
        std::copy_n(planes, planeCount, planes_);
        planeCount_ = planeCount;
    }
    const std::uint64_t rowBytes = bytesOfRow(layout, layout.width);
    if (rowBytes > INT_MAX) return false;
    rowBytes_ = dib::asSize(rowBytes);

    isTiled_ = TIFFIsTiled(tiff) != 0;
    if (isTiled_) {
        if (!startTiles()) return false;
    } else {
        // The library must give rows of the announced length; otherwise the tags contradict each other.
        if (TIFFScanlineSize(tiff) != static_cast<tmsize_t>(rowBytes_)) return false;
        std::uint32_t rows = 1;
        TIFFGetFieldDefaulted(tiff, TIFFTAG_ROWSPERSTRIP, &rows);
        bandRows_ = std::min(rows, layout.height);
        // Strips are the fastest to read as a whole, but one may be all of the picture. Damaged ones can be
        // kept as a whole only.
        stripRows_ = bandRows_;
        const std::uint64_t mostAtOnce = damage == TiffDamage::kKept ? kMostPieceBytes : 1 << 20;
        if (!layout.isPlanar && rowBytes * bandRows_ > mostAtOnce) bandRows_ = 1;
        const bool hasRowStrips = damage != TiffDamage::kTolerated && stripRows_ == 1;
        isByStrip_ = bandRows_ > 1 || layout.isPlanar || hasRowStrips;
    }
    if (bandRows_ == 0 || rowBytes * bandRows_ * planeCount_ > INT_MAX) return false;
    band_ = dib::allocateZeroed<unsigned char>(rowBytes_ * bandRows_ * planeCount_);
    inBand_ = bandRows_ - 1;
    isShortOfMemory_ = band_ == nullptr;
    if (damage != TiffDamage::kTolerated && !isShortOfMemory_)
        isShortOfMemory_ = !deflate_.start(tiff, isTiled_ ? tileRowBytes_ : rowBytes_);
    return !isShortOfMemory_;
}

bool TiffRows::startTiles() {
    std::uint32_t tileHeight = 0;
    if (TIFFGetField(tiff_, TIFFTAG_TILEWIDTH, &tileWidth_) == 0 || tileWidth_ == 0) return false;
    if (TIFFGetField(tiff_, TIFFTAG_TILELENGTH, &tileHeight) == 0) return false;
    const std::uint64_t tileRowBytes = bytesOfRow(layout_, tileWidth_);
    if (tileRowBytes > INT_MAX || tileRowBytes * tileHeight > kMostPieceBytes) return false;
    tileRowBytes_ = dib::asSize(tileRowBytes);
    tileRows_ = tileHeight;
    if (TIFFTileSize(tiff_) != static_cast<tmsize_t>(tileRowBytes_ * tileRows_)) return false;
    // Tiles side by side must meet between two bytes.
    const std::uint64_t rowBits =
        std::uint64_t{tileWidth_} * (layout_.isPlanar ? 1 : layout_.perPixel) * layout_.bits;
    if (tileWidth_ < layout_.width && rowBits % 8 != 0) return false;
    tile_ = dib::allocateZeroed<unsigned char>(tileRowBytes_ * tileRows_);
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
    if (inBand_ >= wholeRows_) ++rowsLost_;
    return true;
}

bool TiffRows::readBand() {
    const std::size_t rows = std::min<std::size_t>(bandRows_, layout_.height - y_);
    const auto y = dib::dwordOf(y_);
    wholeRows_ = rows;
    begunRows_ = 0;
    for (std::size_t i = 0; i < planeCount_; ++i) {
        unsigned char* to = band_.get() + i * bandRows_ * rowBytes_;
        if (isTiled_) {
            if (!readTiles(i, rows)) return false;
            continue;
        }
        const std::uint32_t strip = TIFFComputeStrip(tiff_, y, dib::wordOf(planes_[i]));
        if (isByStrip_) {
            if (!readPiece(strip, to, rows, rowBytes_)) return false;
        } else if (TIFFReadScanline(tiff_, to, y, 0) != 1 || isBrokenJpeg() || !endsWhole(strip, to)) {
            if (!isShortOfMemory_) noteDamage(strip, false);
            return false;
        } else {
            begunRows_ = rows;
        }
    }
    return true;
}

// False for the last row of a strip that is read row by row when its stream is not whole.
bool TiffRows::endsWhole(std::uint32_t strip, const unsigned char* row) {
    const bool isFirst = y_ % stripRows_ == 0;
    const bool isLast = y_ + 1 == layout_.height || (y_ + 1) % stripRows_ == 0;
    return isWhole(strip, row, 1, rowBytes_, isFirst, isLast);
}

// Whether the rows are what a deflate stream holds by its sum; true for other packings.
bool TiffRows::isWhole(std::uint32_t number, const unsigned char* rows, std::size_t count,
                       std::size_t rowBytes, bool isFirst, bool isLast) {
    if (!deflate_.isUsed()) return true;
    if (isFirst) deflate_.begin();
    deflate_.add(rows, count, rowBytes);
    if (!isLast || deflate_.isWhole(source_->file, TIFFGetStrileOffset(tiff_, number),
                                    TIFFGetStrileByteCount(tiff_, number)))
        return true;
    isShortOfMemory_ = deflate_.isShortOfMemory();
    return false;
}

bool TiffRows::isBrokenJpeg() const { return onDamage_ != TiffDamage::kTolerated && source_->isJpegBroken; }

void TiffRows::noteDamage(std::uint32_t number, bool isCut) {
    if (damage_[0] != '\0') return;
    const std::uint32_t count = isTiled_ ? TIFFNumberOfTiles(tiff_) : TIFFNumberOfStrips(tiff_);
    const char* what = isTiled_ ? "tile" : "strip";
    std::snprintf(damage_, sizeof damage_, isCut ? "the file ends in %s %u of %u" : "%s %u of %u is damaged",
                  what, number + 1, count);
}

// A strip or tile, or what can be had of it; then the rest of it is 0.
bool TiffRows::readPiece(std::uint32_t number, unsigned char* to, std::size_t rows, std::size_t rowBytes) {
    const std::uint64_t start = TIFFGetStrileOffset(tiff_, number);
    const std::uint64_t packed = TIFFGetStrileByteCount(tiff_, number);
    if (deflate_.read(source_->file, start, packed, to, rows, rowBytes)) {
        begunRows_ = std::max(begunRows_, rows);
        return true;
    }
    isShortOfMemory_ = deflate_.isShortOfMemory();
    if (isShortOfMemory_) return false;
    const auto bytes = static_cast<tmsize_t>(rows * rowBytes);
    const tmsize_t read = isTiled_ ? TIFFReadEncodedTile(tiff_, number, to, bytes)
                                   : TIFFReadEncodedStrip(tiff_, number, to, bytes);
    if (read == bytes && !isBrokenJpeg() && isWhole(number, to, rows, rowBytes, true, true)) {
        begunRows_ = std::max(begunRows_, rows);
        return true;
    }
    if (isShortOfMemory_) return false;
    const auto fileBytes = source_->file.knownSize();
    const std::uint64_t there = start < fileBytes ? std::min(packed, fileBytes - start) : 0;
    noteDamage(number, there < packed);
    if (onDamage_ != TiffDamage::kKept) return false;
    const std::size_t whole = salvage(number, start, std::min(there, kMostPieceBytes), to, rows, rowBytes);
    std::memset(to + whole * rowBytes, 0, (rows - whole) * rowBytes);
    wholeRows_ = std::min(wholeRows_, whole);
    begunRows_ = std::max(begunRows_, whole);
    return !isShortOfMemory_;
}

// How many rows of a piece can be decoded of the bytes that are there.
std::size_t TiffRows::salvage(std::uint32_t number, std::uint64_t start, std::uint64_t bytes,
                              unsigned char* to, std::size_t rows, std::size_t rowBytes) {
    if (bytes == 0) return 0;
    const auto packed = dib::allocateArray<unsigned char>(dib::asSize(bytes));
    isShortOfMemory_ = packed == nullptr;
    if (isShortOfMemory_ || !source_->file.seek(start) ||
        !source_->file.read(packed.get(), dib::asSize(bytes))) {
        return 0;
    }
    // The library only says whether a given number of rows can all be decoded.
    const auto decodes = [&](std::size_t count) {
        source_->complaints = 0;
        return TIFFReadFromUserBuffer(tiff_, number, packed.get(), static_cast<tmsize_t>(bytes), to,
                                      static_cast<tmsize_t>(count * rowBytes)) == 1 &&
               source_->complaints == 0;
    };
    std::size_t most = rows;
    // It reads the missing bytes of a deflate stream as zeros, so the rows of those are counted here.
    if (deflate_.isUsed()) {
        const std::uint64_t unpacked = deflate_.unpackedBytes(packed.get(), dib::asSize(bytes));
        isShortOfMemory_ = deflate_.isShortOfMemory();
        most = dib::asSize(std::min<std::uint64_t>(rows - 1, unpacked / rowBytes));
    }
    std::size_t whole = 0;
    while (whole < most) {
        const std::size_t middle = most - (most - whole) / 2;
        if (decodes(middle)) {
            whole = middle;
        } else {
            most = middle - 1;
        }
    }
    source_->isJpegBroken = false;
    return whole > 0 && decodes(whole) ? whole : 0;
}

bool TiffRows::readTiles(std::size_t plane, std::size_t rows) {
    const auto y = dib::dwordOf(y_);
    std::size_t at = 0;  // bytes from the left
    for (std::uint64_t x = 0; x < layout_.width; x += tileWidth_, at += tileRowBytes_) {
        const std::uint32_t number =
            TIFFComputeTile(tiff_, dib::dwordOf(x), y, 0, dib::wordOf(planes_[plane]));
        if (!readPiece(number, tile_.get(), tileRows_, tileRowBytes_)) return false;
        const std::size_t width = std::min(tileRowBytes_, rowBytes_ - at);
        for (std::size_t row = 0; row < rows; ++row) {
            std::copy_n(tile_.get() + row * tileRowBytes_, width,
                        band_.get() + (plane * bandRows_ + row) * rowBytes_ + at);
        }
    }
    return true;
}

}  // namespace formats
