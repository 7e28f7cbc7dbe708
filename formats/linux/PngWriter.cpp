// PNG files as the door writes them: the chunks of the file from top to bottom.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "dib/Bytes.h"
#include "dib/Numbers.h"
#include "formats/Exif.h"
#include "formats/linux/Deflater.h"
#include "formats/linux/ImageFiles.h"
#include "formats/linux/OutgoingPicture.h"
#include "formats/linux/PngChunk.h"
#include "formats/linux/PngExtras.h"
#include "formats/linux/PngFilters.h"

namespace formats {

namespace {

using Byte = unsigned char;

// A byte that says what a pixel is.
Byte colorType(PixelKind kind) {
    switch (kind) {
        case PixelKind::kGrey: return 0;
        case PixelKind::kRgb: return 2;
        case PixelKind::kPalette: return 3;
        default: return 6;
    }
}

void writeHeader(ByteWriter& file, const OutgoingPicture& picture) {
    file.bytes("\x89PNG\r\n\x1A\n", 8);
    Byte header[13] = {};
    dib::writeBe32(header, picture.width());
    dib::writeBe32(header + 4, picture.height());
    header[8] = dib::byteOf(picture.bits());
    header[9] = colorType(picture.kind());
    writeChunk(file, "IHDR", header, sizeof header);
}

// Pixels per metre.
void writeResolution(ByteWriter& file, const DibMetadata& metadata) {
    if (metadata.xResolution <= 0 && metadata.yResolution <= 0) return;
    constexpr double kInchesPerMetre = 1 / 0.0254;
    const double x = metadata.xResolution > 0 ? metadata.xResolution : metadata.yResolution;
    const double y = metadata.yResolution > 0 ? metadata.yResolution : metadata.xResolution;
    const auto perMetre = [](double perInch) {
        return static_cast<std::uint32_t>(std::lround(std::min(perInch * kInchesPerMetre, 2e9)));
    };
    Byte data[9];
    dib::writeBe32(data, perMetre(x));
    dib::writeBe32(data + 4, perMetre(y));
    data[8] = 1;
    writeChunk(file, "pHYs", data, sizeof data);
}

void writePalette(ByteWriter& file, const OutgoingPicture& picture) {
    if (picture.kind() != PixelKind::kPalette) return;
    Byte colors[3 * 256];
    for (int i = 0; i < picture.colorCount(); ++i) {
        const DibBGRA color = picture.color(i);
        colors[3 * i] = color.red;
        colors[3 * i + 1] = color.green;
        colors[3 * i + 2] = color.blue;
    }
    writeChunk(file, "PLTE", colors, dib::asSize(picture.colorCount()) * 3);
}

// Alpha of the first colours.
void writeTransparency(ByteWriter& file, const DibBytes& alpha, const OutgoingPicture& picture) {
    writeChunk(file, "tRNS", alpha.data, std::min(alpha.size, dib::asSize(picture.colorCount())));
}

// The chunk is a name, the number of the compression and the compressed profile.
bool writeProfile(ByteWriter& file, const DibBytes& profile, const OutgoingPicture& picture) {
    if (!isKeptByPng(profile, picture.kind() == PixelKind::kGrey)) return true;
    constexpr Byte kStart[] = {'I', 'C', 'C', 0, 0};
    // Bytes that cannot be packed take 5 more in 64 KB at most.
    const std::size_t room = sizeof kStart + profile.size + profile.size / 8 + 1024;
    const dib::MallocPtr<Byte> data = dib::allocateArray<Byte>(room);
    Deflater deflater;
    if (data == nullptr || !deflater.start(-1)) return false;
    std::memcpy(data.get(), kStart, sizeof kStart);
    deflater.feed(profile.data, profile.size, true);
    const std::size_t packed = deflater.pack(data.get() + sizeof kStart, room - sizeof kStart);
    writeChunk(file, "iCCP", data.get(), sizeof kStart + packed);
    return true;
}

bool writeExif(ByteWriter& file, const DibMetadata& metadata) {
    DibBytes block;
    if (!exifForFile(metadata, block, isKeptByPng(metadata.exif))) return false;
    if (block.size > 0) writeChunk(file, "eXIf", block.data, block.size);
    return true;
}

// Rows are filtered in bands, and bands packed into chunks.
class Pixels {
public:
    bool start(const OutgoingPicture& picture, int level) {
        const std::size_t rowBytes = picture.rowBytes();
        // Filters do not make indices and packed grey shorter.
        isFiltered_ = picture.kind() != PixelKind::kPalette && picture.bits() == 8;
        stride_ = rowBytes + 1;
        bandRows_ = std::clamp<std::size_t>(kBandBytes / stride_, 1, dib::asSize(picture.height()));
        band_ = dib::allocateArray<Byte>(bandRows_ * stride_);
        chunk_ = dib::allocateArray<Byte>(kChunkBytes);
        return band_ != nullptr && chunk_ != nullptr && deflater_.start(level) &&
               (!isFiltered_ || filters_.start(rowBytes, dib::asSize(picture.samples())));
    }

    void add(ByteWriter& file, const Byte* row, bool isLast) {
        Byte* to = band_.get() + rows_++ * stride_;
        if (isFiltered_) {
            filters_.filter(row, to);
        } else {
            to[0] = 0;
            std::memcpy(to + 1, row, stride_ - 1);
        }
        if (rows_ < bandRows_ && !isLast) return;
        pack(file, isLast);
        rows_ = 0;
    }

private:
    void pack(ByteWriter& file, bool isLast) {
        constexpr std::size_t kMostAtOnce = std::size_t{1} << 30;
        const std::size_t bytes = rows_ * stride_;
        for (std::size_t at = 0; at < bytes; at += kMostAtOnce) {
            const std::size_t part = std::min(kMostAtOnce, bytes - at);
            deflater_.feed(band_.get() + at, part, isLast && at + part == bytes);
            for (bool isFull = true; isFull;) {
                filled_ += deflater_.pack(chunk_.get() + filled_, kChunkBytes - filled_);
                isFull = filled_ == kChunkBytes;
                if (isFull) flush(file);
            }
        }
        if (isLast) flush(file);
    }
    void flush(ByteWriter& file) {
        if (filled_ > 0) writeChunk(file, "IDAT", chunk_.get(), filled_);
        filled_ = 0;
    }

    static constexpr std::size_t kBandBytes = 128 * 1024;
    static constexpr std::size_t kChunkBytes = 128 * 1024;

    bool isFiltered_ = false;
    std::size_t stride_ = 0;
    std::size_t bandRows_ = 1;
    std::size_t rows_ = 0;
    std::size_t filled_ = 0;
    dib::MallocPtr<Byte> band_;
    dib::MallocPtr<Byte> chunk_;
    PngFilters filters_;
    Deflater deflater_;
};

bool refuseForMemory(WriteRequest& request) {
    request.result.code = DIB_ERROR_MEMORY;
    return false;
}

}  // namespace

bool writePng(WriteRequest& request) {
    const bool isTransparent = hasPaletteAlpha(request.image, request.options.metadata);
    OutgoingPicture picture(request.image, isTransparent);
    Pixels pixels;
    if (!picture.start() || !pixels.start(picture, request.options.compressionLevel))
        return refuseForMemory(request);
    writeHeader(request.file, picture);
    if (const DibMetadata* metadata = request.options.metadata) {
        if (!writeProfile(request.file, metadata->colorProfile, picture)) return refuseForMemory(request);
        writeResolution(request.file, *metadata);
        if (!writeExif(request.file, *metadata)) return refuseForMemory(request);
        writePngTexts(request.file, *metadata);
    }
    writePalette(request.file, picture);
    if (isTransparent) writeTransparency(request.file, request.options.metadata->paletteAlpha, picture);
    const int height = picture.height();
    for (int y = 0; y < height; ++y) {
        pixels.add(request.file, picture.row(y), y + 1 == height);
        if (!request.progress.rows(y + 1, height)) return false;
    }
    writeChunk(request.file, "IEND", nullptr, 0);
    return true;
}

}  // namespace formats
