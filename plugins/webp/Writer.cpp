// Writes WebP files by libwebp: every pixel as it is, or changed a little by a quality.
#include "plugins/webp/Writer.h"

#include <webp/encode.h>

#include <cstdint>
#include <cstring>
#include <string_view>

#include "dib/Bytes.h"

namespace plugins::webp {

namespace {

constexpr double kRowsPart = 0.05;  // of the work: the rest is encoding

bool refuse(const DibPluginSave& call, DibErrorCode code, const char* reason) {
    call.refuse(call.library, code, reason);
    return false;
}

bool refuseMemory(const DibPluginSave& call) {
    return refuse(call, DIB_ERROR_MEMORY, "there is not enough memory");
}

// A picture for the encoder, and the bitstream that it makes.
class Encoder {
public:
    explicit Encoder(const DibPluginSave& call) : call_(call) {
        isReady_ = WebPPictureInit(&picture_) != 0;
        WebPMemoryWriterInit(&encoded_);
        picture_.use_argb = 1;
        picture_.width = call.width;
        picture_.height = call.height;
        picture_.writer = WebPMemoryWrite;
        picture_.custom_ptr = &encoded_;
        picture_.progress_hook = report;
        picture_.user_data = this;
    }
    ~Encoder() {
        WebPPictureFree(&picture_);
        WebPMemoryWriterClear(&encoded_);
    }
    Encoder(const Encoder&) = delete;
    Encoder& operator=(const Encoder&) = delete;

    // False with a reason, unless the caller has cancelled.
    bool run() {
        WebPConfig config;
        if (!isReady_ || !configure(config))
            return refuse(call_, DIB_ERROR_GENERAL, "libwebp cannot be used");
        if (WebPPictureAlloc(&picture_) == 0) return refuseMemory(call_);
        return copyRows() && (WebPEncode(&config, &picture_) != 0 || refuseCode());
    }
    unsigned char* file() { return encoded_.mem; }
    std::size_t fileBytes() const { return encoded_.size; }

private:
    bool configure(WebPConfig& config) const {
        constexpr int kUsualLevel = 6;
        if (WebPConfigInit(&config) == 0) return false;
        if (call_.isLossy) {
            config.quality = static_cast<float>(call_.quality);
        } else {
            const int level = call_.compressionLevel >= 0 ? call_.compressionLevel : kUsualLevel;
            if (WebPConfigLosslessPreset(&config, level) == 0) return false;
            config.exact = 1;  // clear pixels keep their colours
        }
        return WebPValidateConfig(&config) != 0;
    }

    // Pixels of the encoder are numbers with alpha above red, green and blue.
    bool copyRows() {
        static_assert(sizeof *picture_.argb == 4);
        for (int y = 0; y < call_.height; ++y) {
            std::uint32_t* row = picture_.argb + static_cast<std::ptrdiff_t>(y) * picture_.argb_stride;
            auto* bytes = reinterpret_cast<unsigned char*>(row);
            call_.readRow(call_.library, y, bytes);
            for (int x = 0; x < call_.width; ++x) row[x] = dib::readLe32(bytes + std::ptrdiff_t{4} * x);
            if (!call_.report(call_.library, kRowsPart * (y + 1) / call_.height)) return false;
        }
        return true;
    }

    static int report(int percent, const WebPPicture* picture) {
        const DibPluginSave& call = static_cast<const Encoder*>(picture->user_data)->call_;
        return call.report(call.library, kRowsPart + (1 - kRowsPart) * percent / 100) ? 1 : 0;
    }

    bool refuseCode() const {
        switch (picture_.error_code) {
            case VP8_ENC_ERROR_OUT_OF_MEMORY:
            case VP8_ENC_ERROR_BITSTREAM_OUT_OF_MEMORY:
            case VP8_ENC_ERROR_BAD_WRITE: return refuseMemory(call_);
            case VP8_ENC_ERROR_USER_ABORT: return false;
            default: return refuse(call_, DIB_ERROR_MISMATCH, "libwebp cannot encode the picture");
        }
    }

    const DibPluginSave& call_;
    WebPPicture picture_;
    WebPMemoryWriter encoded_;
    bool isReady_ = false;
};

constexpr std::size_t kRiffHeader = 12;
constexpr std::size_t kChunkHeader = 8;
constexpr std::size_t kExtendedChunk = kChunkHeader + 10;

std::size_t paddedBytes(std::size_t bytes) { return bytes + bytes % 2; }

void putNumber(std::uint32_t value, int bytes, unsigned char* to) {
    for (int i = 0; i < bytes; ++i) to[i] = static_cast<unsigned char>(value >> 8 * i);
}

// The chunk that says what others there are.
void fillExtended(const DibPluginSave& call, unsigned char* chunk) {
    constexpr unsigned kProfile = 0x20;
    constexpr unsigned kAlpha = 0x10;
    constexpr unsigned kExif = 0x08;
    std::memcpy(chunk, "VP8X\x0A\0\0\0", kChunkHeader);
    putNumber((call.bitCount == 32 ? kAlpha : 0) | (call.colorProfileBytes > 0 ? kProfile : 0) |
                  (call.exifBytes > 0 ? kExif : 0),
              4, chunk + 8);
    putNumber(static_cast<std::uint32_t>(call.width - 1), 3, chunk + 12);
    putNumber(static_cast<std::uint32_t>(call.height - 1), 3, chunk + 15);
}

class File {
public:
    explicit File(const DibPluginSave& call) : call_(call) {}

    bool bytes(const void* from, std::size_t count) { return call_.write(call_.library, from, count); }
    bool chunk(std::string_view name, const unsigned char* data, std::size_t count) {
        if (count == 0) return true;
        unsigned char header[kChunkHeader];
        std::memcpy(header, name.data(), 4);
        putNumber(static_cast<std::uint32_t>(count), 4, header + 4);
        return bytes(header, sizeof header) && bytes(data, count) && (count % 2 == 0 || bytes("", 1));
    }

private:
    const DibPluginSave& call_;
};

std::size_t chunkBytes(std::size_t data) { return data > 0 ? kChunkHeader + paddedBytes(data) : 0; }

// The file of the encoder, with a chunk before it when there is more to say. The encoder says that there is
// alpha only where some of it is not opaque: a lossless bitstream has a bit for that, which is set here.
bool writeFile(const DibPluginSave& call, unsigned char* encoded, std::size_t size) {
    constexpr std::size_t kAlphaByte = kRiffHeader + kChunkHeader + 4;
    constexpr unsigned char kAlphaBit = 0x10;
    File file(call);
    const bool hasAlpha = call.bitCount == 32;
    const bool isExtended = std::memcmp(encoded + kRiffHeader, "VP8X", 4) == 0;
    const bool isLossless = std::memcmp(encoded + kRiffHeader, "VP8L", 4) == 0;
    if (hasAlpha && isLossless) encoded[kAlphaByte] |= kAlphaBit;
    if ((!hasAlpha || isLossless) && call.colorProfileBytes == 0 && call.exifBytes == 0)
        return file.bytes(encoded, size);
    const std::size_t start = kRiffHeader + (isExtended ? kExtendedChunk : 0);
    unsigned char head[kRiffHeader + kExtendedChunk];
    const std::size_t whole =
        sizeof head + chunkBytes(call.colorProfileBytes) + (size - start) + chunkBytes(call.exifBytes);
    if (whole > UINT32_MAX - 1) return refuse(call, DIB_ERROR_MISMATCH, "WebP files hold at most 4 GiB");
    std::memcpy(head, encoded, kRiffHeader);
    putNumber(static_cast<std::uint32_t>(whole - kChunkHeader), 4, head + 4);
    fillExtended(call, head + kRiffHeader);
    return file.bytes(head, sizeof head) && file.chunk("ICCP", call.colorProfile, call.colorProfileBytes) &&
           file.bytes(encoded + start, size - start) && file.chunk("EXIF", call.exif, call.exifBytes);
}

}  // namespace

bool save(const DibPluginSave* call) {
    Encoder encoder(*call);
    return encoder.run() && writeFile(*call, encoder.file(), encoder.fileBytes());
}

}  // namespace plugins::webp
