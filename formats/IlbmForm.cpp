// An ILBM file is a FORM chunk that holds chunks: BMHD (size and depth), CMAP (colours), CAMG (how a screen
// shows the planes), DPI and BODY (rows).
#include "formats/IlbmForm.h"

#include <algorithm>
#include <cstring>

#include "dib/Bytes.h"
#include "formats/Iff.h"
#include "formats/diagnosis/RefusedFile.h"
#include "formats/door/Request.h"

namespace formats {

namespace {

constexpr std::uint32_t kHalfBright = 0x80;
constexpr std::uint32_t kHoldAndModify = 0x800;

bool isName(const unsigned char* bytes) {
    return std::all_of(bytes, bytes + 4, [](unsigned char c) {
        return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == ' ';
    });
}

// Chunks of odd length are followed by a byte, which some writers forget: it is skipped unless a chunk's name
// starts there.
std::int64_t nextChunk(ByteReader& file, std::int64_t at, const iff_chunk& chunk) {
    const std::int64_t end = at + chunk.bytes();
    if (chunk.length % 2 == 0 || !file.seek(end)) return end;
    constexpr std::size_t kNameBytes = 4;
    const ByteReader::Bytes next = file.ahead(1 + kNameBytes);
    const bool isFilled = next.size <= kNameBytes || isName(next.data + 1) || !isName(next.data);
    return isFilled ? end + 1 : end;
}

// Reads what a chunk has of `count` bytes; the others are 0.
template <std::size_t count>
std::array<unsigned char, count> readFields(ByteReader& file, const iff_chunk& chunk) {
    std::array<unsigned char, count> fields{};
    file.copy(fields.data(), std::min<std::size_t>(chunk.length, count));
    return fields;
}

void readColors(ByteReader& file, const iff_chunk& chunk, IlbmForm& form) {
    std::array<unsigned char, 3> color{};
    form.colorCount = std::min<std::size_t>(chunk.length / color.size(), form.colors.size());
    for (std::size_t i = 0; i < form.colorCount; ++i) {
        if (!file.read(color.data(), color.size())) color = {};
        form.colors[i] = {color[2], color[1], color[0], 0};
    }
}

IlbmPixels pixelsOf(const IlbmForm& form) {
    const int planes = form.header.planes;
    if (form.header.isChunky) return IlbmPixels::kBytes;
    if (planes == 1) return IlbmPixels::kBits;
    const bool holds = (form.viewMode & kHoldAndModify) != 0 && planes > 4 && planes <= 8;
    if (holds) return IlbmPixels::kHeldColors;
    if (planes <= 4) return IlbmPixels::kNibbles;
    if (planes <= 8) return IlbmPixels::kBytes;
    return planes == kMostWidePlanes ? IlbmPixels::kColorsAndAlpha : IlbmPixels::kColors;
}

// Painting programs name a transparent colour in pictures that have none, so it counts only on request.
IlbmAlpha alphaOf(const IlbmForm& form, const DibLoadOptions& options) {
    if (form.pixels == IlbmPixels::kColorsAndAlpha) return IlbmAlpha::kNone;
    if (form.header.hasMask) return IlbmAlpha::kMask;
    const bool hasColor = form.header.transparent >= 0 && areIndices(form.pixels);
    return hasColor && options.alpha == DIB_ALPHA_STORED ? IlbmAlpha::kColor : IlbmAlpha::kNone;
}

// Pictures without colours are grey. With six planes the screen may show each of 32 colours half as bright,
// too.
void completeColors(IlbmForm& form) {
    const int planes = std::clamp(form.header.planes, 1, 8);
    const std::size_t values = std::size_t{1} << planes;
    if (form.colorCount == 0) {
        for (std::size_t i = 0; i < values; ++i) {
            const auto grey = dib::byteOf(i * 255 / (values - 1));
            form.colors[i] = {grey, grey, grey, 0};
        }
    }
    constexpr std::size_t kBright = 32;
    const bool hasHalf = (form.viewMode & kHalfBright) != 0 && form.header.planes == 6 &&
                         form.pixels == IlbmPixels::kBytes && form.colorCount <= kBright;
    for (std::size_t i = 0; hasHalf && i < kBright; ++i) {
        const DibBGRA& color = form.colors[i];
        form.colors[kBright + i] = {dib::byteOf(color.blue / 2), dib::byteOf(color.green / 2),
                                    dib::byteOf(color.red / 2), 0};
    }
}

bool judgeHeader(const BitmapHeader& header, DibFileResult& result) {
    if (header.compression > 1) {
        return refuse(result, DIB_ERROR_UNSUPPORTED, "compression %u is not known", header.compression);
    }
    const bool isKnown = header.isChunky ? header.planes == 8
                                         : header.planes >= 1 && (header.planes <= kMostPlanes ||
                                                                  header.planes == kMostWidePlanes);
    if (!isKnown) return refuse(result, DIB_ERROR_UNSUPPORTED, "%d bit planes are not read", header.planes);
    if (header.width == 0 || header.height == 0) {
        return refuse(result, DIB_ERROR_INVALID, "a picture of %dx%d pixels is empty", header.width,
                      header.height);
    }
    return true;
}

// Colours without a table may have other planes than eight each, which no painting program writes.
bool judgeChannels(const std::array<unsigned char, 3>& planes, DibFileResult& result) {
    if (planes == kEightPlanesEach) return true;
    return refuse(result, DIB_ERROR_UNSUPPORTED, "colours of %d, %d and %d planes are not read", planes[0],
                  planes[1], planes[2]);
}

}  // namespace

bool readIlbmForm(ByteReader& file, const DibLoadOptions& options, IlbmForm& form, DibFileResult& result) {
    constexpr std::size_t kTypeEnd = 12;
    constexpr std::int64_t kFormHeader = 8;
    const unsigned char* start = file.take(kTypeEnd);
    if (start == nullptr) return refuse(result, DIB_ERROR_READ, "%s", kShortHeader);
    if (std::memcmp(start, "FORM", 4) != 0) return refuse(result, DIB_ERROR_INVALID, "not an IFF file");
    const bool isChunky = std::memcmp(start + 8, "PBM ", 4) == 0;
    const bool isCut = file.size() < kFormHeader + std::int64_t{dib::readBe32(start + 4)};
    if (!isChunky && std::memcmp(start + 8, "ILBM", 4) != 0) {
        return refuse(result, DIB_ERROR_UNSUPPORTED, "FORM files of type %s are not read",
                      quoted(std::string(dib::textAt(start + 8, 4))).c_str());
    }
    bool hasHeader = false;
    iff_chunk chunk;
    for (std::int64_t at = kTypeEnd; file.seek(at) && chunk.load(file); at = nextChunk(file, at, chunk)) {
        if (chunk.is("BMHD")) {
            form.header = BitmapHeader::parse(readFields<BitmapHeader::kBytes>(file, chunk).data());
            form.header.isChunky = isChunky;
            hasHeader = true;
        } else if (chunk.is("CMAP")) {
            readColors(file, chunk, form);
        } else if (chunk.is("CAMG")) {
            form.viewMode = dib::readBe32(readFields<4>(file, chunk).data());
        } else if (chunk.is("DCOL")) {
            form.channelPlanes = readFields<3>(file, chunk);
        } else if (chunk.is("DPI ")) {
            const auto fields = readFields<4>(file, chunk);
            form.xResolution = dib::readBe16(fields.data());
            form.yResolution = dib::readBe16(fields.data() + 2);
        } else if (chunk.is("NAME") || chunk.is("AUTH") || chunk.is("ANNO") || chunk.is("(c) ")) {
            form.hasTexts = true;
        } else if (chunk.is("BODY") && hasHeader) {
            form.body = at + iff_chunk::kBytes;
            if (!judgeHeader(form.header, result) || !judgeChannels(form.channelPlanes, result)) return false;
            form.pixels = pixelsOf(form);
            form.alpha = alphaOf(form, options);
            completeColors(form);
            return true;
        }
    }
    if (isCut) return refuse(result, DIB_ERROR_READ, "%s", kShortHeader);
    return refuse(result, DIB_ERROR_INVALID,
                  hasHeader ? "the pixels (BODY) are missing" : "the header chunk (BMHD) is missing");
}

}  // namespace formats
