// Writing ILBM. The classic saver builds the FORM in memory, uncompressed, before it opens the file.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <span>

#include "dib/Bytes.h"
#include "dib/ColorTable.h"
#include "dib/ImageSize.h"
#include "dib/Memory.h"
#include "dib/Numbers.h"
#include "dib/Raster.h"
#include "formats/BitPlanes.h"
#include "formats/CodecFrame.h"
#include "formats/FileRows.h"
#include "formats/Ilbm.h"
#include "formats/IlbmLayout.h"
#include "formats/PackBits.h"

using formats::BitmapHeader;
using formats::ByteWriter;
using formats::clearBehind;
using formats::fail;
using formats::iff_chunk;
using formats::iff_outstream;
using formats::kMostPlanes;
using formats::pixelGroups;
using formats::planeRowBytes;

namespace {

// Splits a row of any written depth into planes.
class PlaneSpreader {
public:
    PlaneSpreader(int width, int bitCount)
        : width_(dib::asSize(width)),
          stride_(planeRowBytes(width_)),
          bitCount_(bitCount),
          planes_(dib::allocateZeroed<unsigned char>(kMostPlanes * stride_ + 1)),
          // Pixels beyond the end of a row stay 0.
          pixels_(dib::allocateZeroed<unsigned char>(3 * 8 * stride_ + 1)) {}

    bool ready() const { return planes_ != nullptr && pixels_ != nullptr; }
    const unsigned char* plane(std::size_t k) const { return planes_.get() + k * stride_; }
    std::size_t planeBytes() const { return stride_; }

    void spread(const unsigned char* row) {
        const std::size_t groups = pixelGroups(width_);
        switch (bitCount_) {
            case 1:
                std::memcpy(planes_.get(), row, groups);
                clearBehind(planes_.get(), width_);
                return;
            case 4:
                for (std::size_t x = 0; x < width_; ++x) {
                    pixels_[x] = dib::byteOf(x % 2 == 0 ? row[x / 2] >> 4 : row[x / 2] & 15);
                }
                return formats::bytesToPlanes(pixels_.get(), groups, planes_.get(), stride_);
            case 8:
                std::memcpy(pixels_.get(), row, width_);
                return formats::bytesToPlanes(pixels_.get(), groups, planes_.get(), stride_);
            default:
                formats::splitColors(row, width_, pixels_.get(), 8 * stride_);
                for (std::size_t channel = 0; channel < 3; ++channel) {
                    formats::bytesToPlanes(pixels_.get() + channel * 8 * stride_, groups,
                                           planes_.get() + channel * 8 * stride_, stride_);
                }
        }
    }

private:
    std::size_t width_;
    std::size_t stride_;
    int bitCount_;
    dib::MallocPtr<unsigned char> planes_;
    dib::MallocPtr<unsigned char> pixels_;
};

bool appendBitmapHeader(iff_outstream& out, const BITMAPINFOHEADER& info) {
    const BitmapHeader header{info.biWidth, dib::heightOf(info), info.biBitCount};
    return out.append("BMHD", 4) && out.dword(BitmapHeader::kBytes) &&
           out.append(header.bytes().data(), BitmapHeader::kBytes);
}

bool appendColors(iff_outstream& out, const BITMAPINFOHEADER& header) {
    const std::size_t count = dib::addressableEntries(header.biBitCount);
    if (count == 0) return true;
    const std::array<DibBGRA, 256> table = dib::readColorTable(header);
    unsigned char bytes[256 * 3];
    for (std::size_t i = 0; i < count; ++i) {
        bytes[3 * i] = table[i].red;
        bytes[3 * i + 1] = table[i].green;
        bytes[3 * i + 2] = table[i].blue;
    }
    const int length = dib::asInt(3 * count);
    return out.append("CMAP", 4) && out.dword(static_cast<unsigned>(length)) && out.append(bytes, length);
}

// Plane rows have even lengths, so the body needs no padding.
bool appendBody(iff_outstream& out, DibStream& image) {
    const BITMAPINFOHEADER& header = *image.Header;
    PlaneSpreader planes(header.biWidth, header.biBitCount);
    if (!planes.ready()) return false;
    const std::size_t length = header.biBitCount * dib::rowsOf(header) * planes.planeBytes();
    if (length > UINT32_MAX || !out.append("BODY", 4) || !out.dword(static_cast<unsigned>(length)))
        return false;
    for (int y = 0; y < dib::heightOf(header); ++y) {
        planes.spread(image.ScanLine(y));
        for (std::size_t k = 0; k < header.biBitCount; ++k) {
            if (!out.append(planes.plane(k), dib::asInt(planes.planeBytes()))) return false;
        }
    }
    return true;
}

void writeForm(ByteWriter& file, const iff_outstream& form) {
    unsigned char head[iff_chunk::kBytes] = {'F', 'O', 'R', 'M'};
    dib::writeBe32(head + 4, form.length);
    file.bytes(head, sizeof head);
    file.bytes(form.buffer, form.length);
}

// Opens the file only when its content has been built.
template <class Char>
bool saveForm(const Char* path, DibStream* image, DibProgressCallback callback, void* user) {
    if (image == nullptr) return false;
    iff_outstream form;
    if (!SaveIFF(form, image, callback, user)) return false;
    const dib::FilePtr file = dib::openForWriting(path);
    if (file == nullptr) return fail(image, DIB_ERROR_OPEN);
    ByteWriter out(file.get());
    writeForm(out, form);
    return true;
}

}  // namespace

bool SaveIFF(iff_outstream& out, DibStream* image, DibProgressCallback, void*) {
    const int held = dib::hasRows(*image) ? image->Header->biBitCount : 0;
    formats::ImagePtr converted;
    if (held != 1 && held != 4 && held != 8 && held != 24) {
        converted.reset(image->Clone());
        if (converted == nullptr) return fail(image, DIB_ERROR_MEMORY);
        if (!converted->ChangeBpp(24, 0)) return false;
    }
    DibStream& source = converted != nullptr ? *converted : *image;
    const BITMAPINFOHEADER& header = *source.Header;
    const bool built = out.append("ILBM", 4) && appendBitmapHeader(out, header) &&
                       appendColors(out, header) && appendBody(out, source);
    return built || fail(image, DIB_ERROR_MEMORY);
}

bool SaveIFF(const char* path, DibStream* image, DibProgressCallback callback, void* user) {
    return saveForm(path, image, callback, user);
}
bool SaveIFF(const wchar_t* path, DibStream* image, DibProgressCallback callback, void* user) {
    return saveForm(path, image, callback, user);
}

namespace formats {

bool saveIlbmWhole(ByteWriter& file, DibStream* image, DibProgressCallback callback, void* user) {
    iff_outstream form;
    if (!SaveIFF(form, image, callback, user)) return false;
    writeForm(file, form);
    return true;
}

namespace {

constexpr int kMostSide = 65535;

// The depth that holds the pixels of an image.
int fileBits(int bitCount) { return bitCount == 16 || bitCount == 32 ? 24 : bitCount; }

void writeNumber(ByteWriter& file, std::integral auto number) {
    unsigned char bytes[4];
    dib::writeBe32(bytes, number);
    file.bytes(bytes, sizeof bytes);
}

void writeChunk(ByteWriter& file, const char* name, std::span<const unsigned char> content) {
    file.bytes(name, 4);
    writeNumber(file, content.size());
    file.bytes(content.data(), content.size());
}

void writeColors(ByteWriter& file, const BITMAPINFOHEADER& header) {
    const std::size_t count = dib::addressableEntries(header.biBitCount);
    if (count == 0) return;
    const std::array<DibBGRA, 256> table = dib::readColorTable(header);
    std::array<unsigned char, 256 * 3> bytes;
    for (std::size_t i = 0; i < count; ++i) {
        bytes[3 * i] = table[i].red;
        bytes[3 * i + 1] = table[i].green;
        bytes[3 * i + 2] = table[i].blue;
    }
    writeChunk(file, "CMAP", {bytes.data(), 3 * count});
}

long wholeResolution(double resolution) { return std::lround(std::clamp(resolution, 0.0, 65535.0)); }

void writeResolution(ByteWriter& file, const DibMetadata* metadata) {
    if (metadata == nullptr || metadata->xResolution <= 0) return;
    unsigned char bytes[4];
    dib::writeBe16(bytes, wholeResolution(metadata->xResolution));
    dib::writeBe16(bytes + 2, wholeResolution(metadata->yResolution));
    writeChunk(file, "DPI ", bytes);
}

// The rows of an image in a depth that the file has.
class RowSource {
public:
    RowSource(const DibStream& image, const dib::Raster& raster)
        : raster_(raster),
          isConverted_(fileBits(raster.bitCount) != raster.bitCount),
          colors_(*image.Header),
          row_(dib::allocateArray<unsigned char>(isConverted_ ? 3 * raster.columns() : 1)) {}
    bool ready() const { return row_ != nullptr; }

    // Valid until the next call.
    const unsigned char* row(int y) {
        const unsigned char* stored = raster_.row(y);
        if (!isConverted_) return stored;
        convertFileRow(stored, raster_.bitCount, row_.get(), dib::Packed::kBgr, raster_.columns(), colors_);
        return row_.get();
    }

private:
    dib::Raster raster_;
    bool isConverted_;
    dib::IndexColors colors_;
    dib::MallocPtr<unsigned char> row_;
};

// Every plane of a row is packed on its own.
bool writeRows(WriteRequest& request, const dib::Raster& raster) {
    const auto planeCount = dib::asSize(fileBits(raster.bitCount));
    RowSource source(request.image, raster);
    PlaneSpreader planes(raster.width, fileBits(raster.bitCount));
    const std::size_t planeBytes = planes.planeBytes();
    const auto packed = dib::allocateArray<unsigned char>(packedBound(planeBytes));
    if (!source.ready() || !planes.ready() || packed == nullptr) {
        request.result.code = DIB_ERROR_MEMORY;
        return false;
    }
    for (int y = 0; y < raster.height; ++y) {
        planes.spread(source.row(y));
        for (std::size_t k = 0; k < planeCount; ++k) {
            if (request.options.runLengths) {
                request.file.bytes(packed.get(), packRow(planes.plane(k), planeBytes, packed.get()));
            } else {
                request.file.bytes(planes.plane(k), planeBytes);
            }
        }
        if (!request.progress.rows(y + 1, raster.height)) return false;
    }
    return true;
}

// Lengths are known when everything is written.
void setLength(ByteWriter& file, std::int64_t at, std::int64_t end) {
    file.seek(at);
    writeNumber(file, end - at - 4);
    file.seek(file.size());
}

}  // namespace

bool noteIlbmLosses(LossRequest& request) {
    const BITMAPINFOHEADER& header = *request.image.Header;
    if (header.biWidth > kMostSide || dib::rowCount(header.biHeight) > kMostSide) {
        return refuse(request.result, DIB_ERROR_MISMATCH, "ILBM files hold at most %dx%d pixels", kMostSide,
                      kMostSide);
    }
    noteDepth(request, fileBits(header.biBitCount));
    noteMetadata(request, {.resolution = true});
    return true;
}

bool writeIlbm(WriteRequest& request) {
    ByteWriter& file = request.file;
    dib::Raster raster;
    dib::viewRows(request.image, raster);
    BitmapHeader header{raster.width, raster.height, fileBits(raster.bitCount)};
    header.compression = request.options.runLengths ? 1 : 0;
    constexpr std::int64_t kFormLength = 4;
    file.bytes("FORM\0\0\0\0ILBM", 12);
    writeChunk(file, "BMHD", header.bytes());
    writeColors(file, *request.image.Header);
    writeResolution(file, request.options.metadata);
    file.bytes("BODY\0\0\0\0", 8);
    const std::int64_t body = file.position();
    if (!writeRows(request, raster)) return false;
    const std::int64_t end = file.position();
    if (end % 2 != 0) file.bytes("", 1);
    setLength(file, body - 4, end);
    setLength(file, kFormLength, file.position());
    return true;
}

}  // namespace formats
