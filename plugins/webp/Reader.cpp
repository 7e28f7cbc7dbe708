// WebP files by libwebp: a still picture, or the first one of an animation on its canvas.
#include "plugins/webp/Reader.h"

#include <webp/decode.h>
#include <webp/demux.h>
#include <webp/encode.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

#include "dib/Bytes.h"
#include "dib/ImageSize.h"
#include "dib/Memory.h"
#include "dib/Numbers.h"
#include "plugins/Job.h"
#include "plugins/webp/Writer.h"

namespace plugins::webp {

namespace {

constexpr int kOpaque = 24;

using Bytes = std::vector<unsigned char>;

struct DeleteDecoder {
    void operator()(WebPIDecoder* decoder) const { WebPIDelete(decoder); }
};
struct DeleteDemuxer {
    void operator()(WebPDemuxer* demuxer) const { WebPDemuxDelete(demuxer); }
};
using Decoder = std::unique_ptr<WebPIDecoder, DeleteDecoder>;
using Demuxer = std::unique_ptr<WebPDemuxer, DeleteDemuxer>;

bool refuseStatus(Job& job, VP8StatusCode status) {
    switch (status) {
        case VP8_STATUS_OUT_OF_MEMORY: return job.refuse(DIB_ERROR_MEMORY, "there is not enough memory");
        case VP8_STATUS_SUSPENDED:
        case VP8_STATUS_NOT_ENOUGH_DATA:
            return job.refuse(DIB_ERROR_READ, "the file ends before its pixels do");
        case VP8_STATUS_UNSUPPORTED_FEATURE:
            return job.refuse(DIB_ERROR_UNSUPPORTED, "a feature of the file is not read");
        default: return job.refuse(DIB_ERROR_INVALID, "the file is damaged");
    }
}

// The fields of the headers, which are in the first bytes.
bool readFeatures(Job& job, const unsigned char* bytes, std::size_t size, WebPBitstreamFeatures& features) {
    const VP8StatusCode status = WebPGetFeatures(bytes, size, &features);
    if (status == VP8_STATUS_NOT_ENOUGH_DATA)
        return job.refuse(DIB_ERROR_READ, "the file ends inside its header");
    return status == VP8_STATUS_OK || refuseStatus(job, status);
}

// Animations show what lies below a picture.
int bitCountOf(const WebPBitstreamFeatures& features) {
    return features.has_alpha != 0 || features.has_animation != 0 ? Picture::kColor : kOpaque;
}

// A part of a picture that a bitstream fills.
struct Window {
    std::size_t left;
    std::size_t top;
    std::size_t width;
    std::size_t height;
};

// Sizes of the pieces in which a watched load passes the file to the decoder, which decodes a whole piece
// before it can be stopped. The bytes of a row vary, so each size is estimated from the rows of the piece
// before. The decoder decodes up to eight rows of the last piece again.
class Pieces {
public:
    Pieces(const unsigned char* bytes, std::size_t size, std::size_t rows) : first_(headersOf(bytes, size)) {
        average_ = 1 + (size - first_) * kRows / std::max(rows, kRows);
        piece_ = average_;
    }
    // The bytes before the first row.
    std::size_t first() const { return std::max(first_, average_); }
    std::size_t next() const { return piece_; }
    // The last piece had that many rows.
    void learn(std::size_t rows) {
        const std::size_t wanted = rows > 0 ? piece_ * kRows / rows : 1 + piece_ + piece_ / 8;
        piece_ = std::clamp<std::size_t>(wanted, 1, 4 * average_);
    }

private:
    static constexpr std::size_t kRows = 16;

    // The decoder needs an eighth of a lossless picture before the first row, and of a lossy one its first
    // partition, which holds the predictions of the blocks.
    static std::size_t headersOf(const unsigned char* bytes, std::size_t size) {
        constexpr std::size_t kFrameHeader = 10;
        const bool isFile = size > 12 && std::memcmp(bytes, "RIFF", 4) == 0;
        for (std::size_t at = isFile ? 12 : 0; size - at > 8 + kFrameHeader;) {
            const std::size_t length = dib::readLe32(bytes + at + 4);
            if (std::memcmp(bytes + at, "VP8L", 4) == 0) return std::min(size, at + 9 + length / 8);
            if (std::memcmp(bytes + at, "VP8 ", 4) == 0) {
                const std::size_t partition = dib::readLe32(bytes + at + 7) >> 13;
                return std::min(size, at + 8 + kFrameHeader + partition);
            }
            at += std::min(8 + length + length % 2, size - at);
        }
        return 0;
    }

    std::size_t first_;
    std::size_t average_ = 1;
    std::size_t piece_ = 1;
};

bool decode(Job& job, const unsigned char* bytes, std::size_t size, const Window& window, Picture& picture) {
    WebPDecoderConfig config;
    if (WebPInitDecoderConfig(&config) == 0) return refuseStatus(job, VP8_STATUS_INVALID_PARAM);
    const auto pixelBytes = static_cast<std::size_t>(picture.header().biBitCount / 8);
    WebPRGBABuffer& out = config.output.u.RGBA;
    config.output.colorspace = pixelBytes == 4 ? MODE_BGRA : MODE_BGR;
    config.output.is_external_memory = 1;
    config.options.flip = 1;  // the lowest address is that of the last row
    out.rgba = picture.row(window.top + window.height - 1) + window.left * pixelBytes;
    out.stride = static_cast<int>(picture.rowBytes());
    out.size = picture.rowBytes() * (window.height - 1) + window.width * pixelBytes;
    const Decoder decoder(WebPIDecode(nullptr, 0, &config));
    if (decoder == nullptr) return refuseStatus(job, VP8_STATUS_OUT_OF_MEMORY);
    VP8StatusCode status = VP8_STATUS_SUSPENDED;
    Pieces pieces(bytes, size, window.height);
    std::size_t rowsDone = 0;
    for (std::size_t end = 0; end < size && status == VP8_STATUS_SUSPENDED;) {
        const std::size_t piece = !job.isWatched ? size : end == 0 ? pieces.first() : pieces.next();
        end += std::min(piece, size - end);
        status = WebPIUpdate(decoder.get(), bytes, end);
        int rows = 0;
        if (WebPIDecGetRGB(decoder.get(), &rows, nullptr, nullptr, nullptr) == nullptr) rows = 0;
        pieces.learn(static_cast<std::size_t>(rows) - rowsDone);
        rowsDone = static_cast<std::size_t>(rows);
        picture.rowsRead = window.top + rowsDone;
        if (!job.report(picture.rowsRead, picture.rows())) return false;
    }
    if (status != VP8_STATUS_OK) return refuseStatus(job, status);
    picture.rowsRead = picture.rows();
    return true;
}

bool decodeFirstFrame(Job& job, const WebPDemuxer* demuxer, Picture& picture) {
    WebPIterator frame;
    if (demuxer == nullptr || WebPDemuxGetFrame(demuxer, 1, &frame) == 0)
        return refuseStatus(job, VP8_STATUS_NOT_ENOUGH_DATA);
    const Window window = {static_cast<std::size_t>(frame.x_offset), static_cast<std::size_t>(frame.y_offset),
                           static_cast<std::size_t>(frame.width), static_cast<std::size_t>(frame.height)};
    const std::size_t width = dib::columnsOf(picture.header());
    const std::size_t height = picture.rows();
    const bool isInside = window.left + window.width <= width && window.top + window.height <= height;
    const bool isRead = isInside ? decode(job, frame.fragment.bytes, frame.fragment.size, window, picture)
                                 : refuseStatus(job, VP8_STATUS_BITSTREAM_ERROR);
    WebPDemuxReleaseIterator(&frame);
    return isRead;
}

// A copy of a chunk; null when there is none.
unsigned char* copyChunk(const WebPDemuxer* demuxer, const char* name, std::size_t& size) {
    WebPChunkIterator chunk;
    if (demuxer == nullptr || WebPDemuxGetChunk(demuxer, name, 1, &chunk) == 0) return nullptr;
    size = chunk.chunk.size;
    unsigned char* copy = size > 0 ? dib::allocateArray<unsigned char>(size).release() : nullptr;
    if (copy != nullptr) std::memcpy(copy, chunk.chunk.bytes, size);
    if (copy == nullptr) size = 0;
    WebPDemuxReleaseChunkIterator(&chunk);
    return copy;
}

// The part of a file from there on; null when the file ends before or memory is short.
unsigned char* copyPart(Job& job, std::uint64_t at, std::size_t size) {
    auto copy = dib::allocateArray<unsigned char>(size);
    return copy != nullptr && job.readAt(at, copy.get(), size) == size ? copy.release() : nullptr;
}

// A copy of the EXIF chunk without the mark that some writers put first; null when there is none. It follows
// the pixels, of which nothing is read.
unsigned char* copyExif(Job& job, std::size_t& size) {
    constexpr unsigned char kHasExif = 0x08;
    constexpr std::string_view kMark("Exif\0\0", 6);
    constexpr std::size_t kMostBytes = std::size_t{1} << 24;
    constexpr std::size_t kChunkHeader = 8;
    unsigned char head[kChunkHeader + kMark.size()] = {};
    const auto isNamed = [&](const char* name) { return std::memcmp(head, name, 4) == 0; };
    std::uint64_t at = 12;
    const bool isExtended = job.readAt(at, head, sizeof head) == sizeof head && isNamed("VP8X");
    if (!isExtended || (head[kChunkHeader] & kHasExif) == 0) return nullptr;
    for (std::size_t length = 0; job.readAt(at, head, sizeof head) >= kChunkHeader;
         at += kChunkHeader + length + length % 2) {
        length = dib::readLe32(head + 4);
        if (!isNamed("EXIF") || length > kMostBytes) continue;
        const bool isMarked =
            length >= kMark.size() && std::memcmp(head + kChunkHeader, kMark.data(), kMark.size()) == 0;
        const std::size_t skipped = isMarked ? kMark.size() : 0;
        size = length - skipped;
        return size > 0 ? copyPart(job, at + kChunkHeader + skipped, size) : nullptr;
    }
    return nullptr;
}

bool readAll(Job& job, Bytes& bytes) {
    if (job.fileBytes() > UINT32_MAX) return refuseStatus(job, VP8_STATUS_BITSTREAM_ERROR);
    bytes.resize(dib::asSize(job.fileBytes()));
    return job.readAt(0, bytes.data(), bytes.size()) == bytes.size() ||
           job.refuse(DIB_ERROR_READ, "the file cannot be read");
}

bool read(Job& job, Picture& picture, DibPluginPicture& out) {
    Bytes bytes;
    WebPBitstreamFeatures features;
    if (!readAll(job, bytes) || !readFeatures(job, bytes.data(), bytes.size(), features)) return false;
    if (!picture.create(features.width, features.height, bitCountOf(features)))
        return job.refuse(DIB_ERROR_MEMORY, "there is not enough memory");
    const WebPData data = {bytes.data(), bytes.size()};
    WebPDemuxState state = WEBP_DEMUX_PARSING_HEADER;
    const Demuxer demuxer(WebPDemuxPartial(&data, &state));
    out.colorProfile = copyChunk(demuxer.get(), "ICCP", out.colorProfileBytes);
    out.exif = copyExif(job, out.exifBytes);
    if (Job::has(out, &DibPluginPicture::xmpBytes)) out.xmp = copyChunk(demuxer.get(), "XMP ", out.xmpBytes);
    if (features.has_animation != 0) {
        job.note(DIB_NOTE_LOSS, "of an animation the first picture is shown");
        return decodeFirstFrame(job, demuxer.get(), picture);
    }
    const Window all = {0, 0, static_cast<std::size_t>(features.width),
                        static_cast<std::size_t>(features.height)};
    return decode(job, bytes.data(), bytes.size(), all, picture);
}

bool recognizes(const unsigned char* bytes, std::size_t count) {
    return count >= 12 && std::memcmp(bytes, "RIFF", 4) == 0 && std::memcmp(bytes + 8, "WEBP", 4) == 0;
}

bool probe(const DibPluginCall* call, DibPluginInfo* info) {
    constexpr std::size_t kHeaderBytes = 4096;
    CallJob job(*call);
    unsigned char bytes[kHeaderBytes];
    WebPBitstreamFeatures features;
    if (!readFeatures(job, bytes, job.readAt(0, bytes, sizeof bytes), features)) return false;
    info->width = features.width;
    info->height = features.height;
    info->bitCount = bitCountOf(features);
    info->storedBits = info->bitCount;
    info->hasAlpha = info->bitCount == Picture::kColor;
    const char* packing = features.format == 1 ? "lossy" : features.format == 2 ? "lossless" : "";
    std::strncpy(info->compression, packing, sizeof info->compression - 1);
    if (info->size >= offsetof(DibPluginInfo, exifBytes) + sizeof info->exifBytes)  // not of an older library
        info->exif = copyExif(job, info->exifBytes);
    return true;
}

constexpr const char* kExtensions[] = {"webp", nullptr};
constexpr const char* kTypes[] = {"image/webp", nullptr};

// The version of the library that is loaded, which may be newer than the one that this was built with.
const char* libraryName() {
    static char name[32];
    const int version = WebPGetDecoderVersion();
    std::snprintf(name, sizeof name, "libwebp %d.%d.%d", version >> 16 & 255, version >> 8 & 255,
                  version & 255);
    return name;
}

}  // namespace

const DibPluginDescription& description() {
    static const DibPluginDescription kDescription = {
        .size = sizeof(DibPluginDescription),
        .version = DIB_PLUGIN_VERSION,
        .name = "webp",
        .title = "WebP, its first picture",
        .extensions = kExtensions,
        .mimeTypes = kTypes,
        .library = libraryName(),
        .readDepths = DibStream::DIB_ACCEPT_24 | DibStream::DIB_ACCEPT_32,
        .hasLayers = false,
        .hasPages = false,
        .recognizes = recognizes,
        .probe = probe,
        .load = loadBy<read>,
        .writeDepths = DibStream::DIB_ACCEPT_24 | DibStream::DIB_ACCEPT_32,
        .mostSide = WEBP_MAX_DIMENSION,
        .holdsColorProfile = true,
        .holdsExif = true,
        .save = save,
    };
    return kDescription;
}

}  // namespace plugins::webp
