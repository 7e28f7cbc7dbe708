// Writing ILBM: the FORM is built in memory, uncompressed, before the file is opened.
#include <array>
#include <cstring>

#include "dib/Bytes.h"
#include "dib/ColorTable.h"
#include "dib/Memory.h"
#include "formats/BitPlanes.h"
#include "formats/CodecFrame.h"
#include "formats/Formats.h"
#include "formats/Ilbm.h"
#include "formats/IlbmLayout.h"

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
    explicit PlaneSpreader(const BITMAPINFOHEADER& header)
        : width_(static_cast<std::size_t>(header.biWidth)),
          stride_(planeRowBytes(width_)),
          bitCount_(header.biBitCount),
          planes_(dib::allocateZeroed<unsigned char>(kMostPlanes * stride_ + 1)),
          // Pixels beyond the end of a row stay 0.
          pixels_(dib::allocateZeroed<unsigned char>(3 * 8 * stride_ + 1)) {}

    bool ready() const { return planes_ != nullptr && pixels_ != nullptr; }
    const unsigned char* plane(int k) const { return planes_.get() + static_cast<std::size_t>(k) * stride_; }
    int planeBytes() const { return static_cast<int>(stride_); }

    void spread(const unsigned char* row) {
        const std::size_t groups = pixelGroups(width_);
        switch (bitCount_) {
            case 1:
                std::memcpy(planes_.get(), row, groups);
                clearBehind(planes_.get(), width_);
                return;
            case 4:
                for (std::size_t x = 0; x < width_; ++x) {
                    pixels_[x] = static_cast<unsigned char>(x % 2 == 0 ? row[x / 2] >> 4 : row[x / 2] & 15);
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
    const BitmapHeader header{info.biWidth, static_cast<int>(dib::rowCount(info.biHeight)), info.biBitCount};
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
    const int length = static_cast<int>(3 * count);
    return out.append("CMAP", 4) && out.dword(static_cast<unsigned>(length)) && out.append(bytes, length);
}

// Plane rows have even lengths, so the body needs no padding.
bool appendBody(iff_outstream& out, DibStream& image) {
    const BITMAPINFOHEADER& header = *image.Header;
    PlaneSpreader planes(header);
    if (!planes.ready()) return false;
    const int height = static_cast<int>(dib::admitSize(header).rows);
    const std::uint64_t length = std::uint64_t{header.biBitCount} * static_cast<std::uint64_t>(height) *
                                 static_cast<std::uint64_t>(planes.planeBytes());
    if (length > UINT32_MAX || !out.append("BODY", 4) || !out.dword(static_cast<unsigned>(length)))
        return false;
    for (int y = 0; y < height; ++y) {
        planes.spread(image.ScanLine(y));
        for (int k = 0; k < header.biBitCount; ++k) {
            if (!out.append(planes.plane(k), planes.planeBytes())) return false;
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

namespace {

bool writeIlbm(ByteWriter& file, DibStream* image, DibProgressCallback callback, void* user) {
    iff_outstream form;
    if (!SaveIFF(form, image, callback, user)) return false;
    writeForm(file, form);
    return true;
}

bool recognizes(FirstBytes bytes) {
    return startsWith(bytes, "FORM") && bytes.size() >= 12 && startsWith(bytes.subspan(8), "ILBM");
}

std::string_view compression(FirstBytes bytes) {
    const bool known = bytes.size() > 30 && startsWith(bytes.subspan(12), "BMHD");
    return known && bytes[30] == 1 ? "packbits" : "none";
}

constexpr const char* kExtensions[] = {"iff", "lbm", "ilbm", nullptr};
constexpr const char* kCompose[] = {"iff", nullptr};
constexpr const char* kMimeTypes[] = {"image/x-ilbm", nullptr};

}  // namespace

constinit const FileFormat kIlbmFormat = {
    .info = {.name = "iff",
             .title = "IFF ILBM",
             .extensions = kExtensions,
             .mimeTypes = kMimeTypes,
             .readDepths = depths({1, 4, 8, 24}),
             .writeDepths = depths({1, 4, 8, 24})},
    .composeExtensions = kCompose,
    .recognizes = recognizes,
    .compression = compression,
    .load = LoadIFF,
    .save = saveWhole<writeIlbm>,
    .diagnose = diagnoseIff,
};

}  // namespace formats
