#include "formats/IlbmRows.h"

#include <algorithm>
#include <cstring>

#include "dib/Bytes.h"
#include "dib/Numbers.h"
#include "formats/BitPlanes.h"
#include "formats/PackBits.h"

namespace formats {

PlaneRow::PlaneRow(const BitmapHeader& header, IlbmPixels pixels, const IlbmColors* colors, IlbmAlpha alpha)
    : header_(header),
      kind_(pixels),
      colors_(colors),
      alpha_(alpha),
      width_(dib::asSize(header.width)),
      planesBytes_(dib::asSize(std::max(kMostPlanes, header.planes)) * header.planeBytes()),
      planes_(dib::allocateZeroed<unsigned char>(planesBytes_ + header.maskBytes())),
      pixels_(dib::allocateArray<unsigned char>(std::size_t{4} * 8 * header.planeBytes())) {}

void PlaneRow::storeInto(unsigned char* row, std::size_t rowBytes) {
    if (alpha_ != IlbmAlpha::kNone) return storeWithAlpha(row);
    storeOpaque(row, rowBytes);
}

void PlaneRow::storeOpaque(unsigned char* row, std::size_t rowBytes) {
    switch (kind_) {
        case IlbmPixels::kBits: return storeBits(row, rowBytes, false);
        case IlbmPixels::kRotatedBits: return storeBits(row, rowBytes, true);
        case IlbmPixels::kNibbles: return storeNibbles(row, rowBytes);
        case IlbmPixels::kTwoValues: return storeTwoValues(row, rowBytes);
        case IlbmPixels::kBytes:
            if (!header_.isChunky) gatherBytes();
            std::memcpy(row, header_.isChunky ? planes() : pixels_.get(), width_);
            return;
        case IlbmPixels::kHeldColors: return storeHeldColors(row);
        case IlbmPixels::kColors: return storeColors(row, 3);
        case IlbmPixels::kColorsAndAlpha: return storeColors(row, 4);
    }
}

// The values of all pixels of up to eight planes.
void PlaneRow::gatherBytes() {
    planesToBytes(planes(), header_.planeBytes(), pixels_.get(), pixelGroups(width_));
}

void PlaneRow::storeBits(unsigned char* row, std::size_t rowBytes, bool rotates) {
    clearBehind(planes(), width_);
    std::memset(row, 0, rowBytes);
    for (std::size_t i = 0; i < pixelGroups(width_); ++i) {
        const unsigned bits = planes()[i];
        row[i] = dib::byteOf(rotates ? bits >> 1 | bits << 7 : bits);
    }
}

void PlaneRow::storeNibbles(unsigned char* row, std::size_t rowBytes) {
    gatherBytes();
    if (width_ % 2 != 0) pixels_[width_] = 0;
    std::memset(row, 0, rowBytes);
    for (std::size_t i = 0; i < (width_ + 1) / 2; ++i)
        row[i] = dib::byteOf(pixels_[2 * i] << 4 | pixels_[2 * i + 1]);
}

void PlaneRow::storeTwoValues(unsigned char* row, std::size_t rowBytes) {
    constexpr unsigned char kPairs[] = {0x00, 0x0F, 0xF0, 0xFF};
    const std::size_t stride = header_.planeBytes();
    unsigned char* any = planes();
    for (int k = 1; k < header_.planes; ++k) {
        const unsigned char* plane = planes() + dib::asSize(k) * stride;
        for (std::size_t i = 0; i < stride; ++i) any[i] = dib::byteOf(any[i] | plane[i]);
    }
    clearBehind(any, width_);
    std::memset(row, 0, rowBytes);
    for (std::size_t i = 0; i < pixelGroups(width_); ++i) {
        for (std::size_t pair = 0; pair < 4; ++pair) row[4 * i + pair] = kPairs[any[i] >> (6 - 2 * pair) & 3];
    }
}

// The two planes above the first four or six say what the others are: a colour of the table, or another value
// of blue, red or green. A row starts with the first colour.
void PlaneRow::storeHeldColors(unsigned char* row) {
    enum Change : unsigned { kColor, kBlue, kRed, kGreen };
    gatherBytes();
    const unsigned bits = header_.planes > 6 ? 6 : 4;
    const auto widen = [bits](unsigned value) {
        return dib::byteOf(bits == 4 ? value * 17 : value << 2 | value >> 4);
    };
    DibBGRA color = (*colors_)[0];
    for (std::size_t x = 0; x < width_; ++x, row += 3) {
        const unsigned value = pixels_[x] & ((1U << bits) - 1);
        switch (pixels_[x] >> bits) {
            case kColor: color = (*colors_)[value]; break;
            case kBlue: color.blue = widen(value); break;
            case kRed: color.red = widen(value); break;
            default: color.green = widen(value); break;
        }
        row[0] = color.blue;
        row[1] = color.green;
        row[2] = color.red;
    }
}

void PlaneRow::storeColors(unsigned char* row, std::size_t channels) {
    const std::size_t stride = header_.planeBytes();
    const std::size_t channelBytes = 8 * stride;
    const unsigned char* colors[4] = {};
    for (std::size_t channel = 0; channel < channels; ++channel) {
        unsigned char* bytes = pixels_.get() + channel * channelBytes;
        planesToBytes(planes() + 8 * channel * stride, stride, bytes, pixelGroups(width_));
        colors[channel] = bytes;
    }
    joinColors({colors, channels}, row, width_);
}

void PlaneRow::storeWithAlpha(unsigned char* row) {
    const bool hasIndices = areIndices(kind_);
    // Colours of 3 bytes are stored at the end of the row, before which they grow to 4.
    const unsigned char* color = row + width_;
    if (!hasIndices) storeOpaque(row + width_, 3 * width_);
    if (hasIndices && !header_.isChunky) gatherBytes();
    const unsigned char* indices = header_.isChunky ? planes() : pixels_.get();
    for (std::size_t x = 0; x < width_; ++x, color += 3) {
        DibBGRA pixel = hasIndices ? (*colors_)[indices[x]] : DibBGRA{color[0], color[1], color[2], 0};
        const bool isVisible = alpha_ == IlbmAlpha::kMask ? (mask()[x / 8] & 0x80U >> x % 8) != 0
                                                          : indices[x] != header_.transparent;
        pixel.alpha = isVisible ? 255 : 0;
        std::memcpy(row + 4 * x, &pixel, sizeof pixel);
    }
}

bool readIlbmRows(ByteReader& file, const BitmapHeader& header, PlaneRow& row, NewImage& picture,
                  DibProgressCallback callback, void* user) {
    PackBits packets(file);
    // Packets may cross the ends of planes and rows.
    const auto fill = [&](unsigned char* planes, std::size_t bytes) {
        if (header.compression == 0) return file.read(planes, bytes);
        return packets.unpack({planes, bytes}) != PackBitsEnd::kShort;
    };
    for (int y = 0; y < header.height; ++y) {
        if (!fill(row.planes(), header.colorBytes()) || !fill(row.mask(), header.maskBytes()))
            return fail(picture, DIB_ERROR_INVALID);
        unsigned char* out = picture->ScanLine(y);
        row.storeInto(out, picture->GetPitch());
        if (!picture.read(out) || !picture.report(callback, user, y)) return false;
    }
    return true;
}

}  // namespace formats
