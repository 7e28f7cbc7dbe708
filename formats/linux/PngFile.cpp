// Reads PNG files by libpng.
#include <libdeflate.h>
#include <png.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>
#include <new>
#include <utility>

#include "dib/Bytes.h"
#include "dib/ImageSize.h"
#include "dib/Memory.h"
#include "dib/Numbers.h"
#include "formats/Exif.h"
#include "formats/linux/ImageFiles.h"
#include "formats/linux/PngCalls.h"
#include "formats/linux/PngExtras.h"

namespace formats {

namespace {

void readFrom(png_structp png, png_bytep out, std::size_t bytes) {
    if (static_cast<ByteReader*>(png_get_io_ptr(png))->read(out, bytes)) return;
    static_cast<png::Calls*>(png_get_error_ptr(png))->isCut = true;
    png_error(png, "");
}
class PngDecoder final : public FileDecoder {
public:
    PngDecoder(ByteReader& file, const DecoderOptions& options) : file_(file), options_(options) {}
    ~PngDecoder() override { png_destroy_read_struct(&png_, &info_, nullptr); }
    PngDecoder(const PngDecoder&) = delete;
    PngDecoder& operator=(const PngDecoder&) = delete;

    bool readLayout(BitmapLayout& layout) override;
    ColorTriples readColors() override;
    bool startPixels() override;
    const unsigned char* nextRow() override;
    bool describe(DibFileInfo& info, DibFileResult& result) override;
    bool finish(DibFileResult& result) override;
    const char* damage() const override { return damage_[0] != '\0' ? damage_ : nullptr; }
    bool isShortOfMemory() const override { return isShortOfMemory_ || calls_.isShortOfMemory; }

private:
    void readHeader();
    void chooseChunks();
    bool isTransparent();
    bool isGrey() const { return (colorType_ & PNG_COLOR_MASK_COLOR) == 0; }
    bool hasIndices() const;
    std::size_t bitsPerPixel() const;
    void chooseTransforms();
    bool readPasses();
    void readPass(int pass, int passes);
    bool keepMetadata(DibMetadata& metadata);
    bool keepExif(DibMetadata& metadata);
    bool keepPaletteAlpha(DibMetadata& metadata);
    bool applyExifAtEnd(DibMetadata& metadata);
    void keepExtras(DibFileResult& result);

    ByteReader& file_;
    const DecoderOptions options_;
    png_structp png_ = nullptr;
    png_infop info_ = nullptr;
    png::Calls calls_;
    LeftOutChunks leftOut_;
    png_uint_32 width_ = 0;
    png_uint_32 height_ = 0;
    int depth_ = 0;
    int colorType_ = 0;
    int interlace_ = 0;
    bool hasTransparency_ = false;
    bool transparent_ = false;  // and the picture shows it
    std::size_t rowBytes_ = 0;
    dib::MallocPtr<unsigned char> rows_;  // one, or all of an interlaced picture
    dib::MallocPtr<unsigned char> wide_;  // a row of pixels of 2 bits, each in 4
    std::size_t nextRow_ = 0;
    std::size_t passRow_ = 0;  // that a pass of an interlaced picture is at
    unsigned char greys_[256 * 3] = {};
    char damage_[64] = "";
};

// Of the ancillary chunks the classic way reads transparency only: texts and profiles would be unpacked, into
// any size.
void PngDecoder::chooseChunks() {
    png_set_keep_unknown_chunks(png_, PNG_HANDLE_CHUNK_NEVER, nullptr, -1);
    if (!options_.dialect.readsMetadata) return;
    png_set_chunk_malloc_max(png_, kMostMetadataBytes);
    const auto read = [this](const char* chunk) {
        png_set_keep_unknown_chunks(png_, PNG_HANDLE_CHUNK_AS_DEFAULT,
                                    reinterpret_cast<png_const_bytep>(chunk), 1);
    };
    read("pHYs");
    read("eXIf");
    if (options_.readsHeadersOnly) return;
    for (const char* chunk : {"iCCP", "tEXt", "zTXt", "iTXt"}) read(chunk);
    leftOut_.watch(png_);
}

void PngDecoder::readHeader() {
    png_ = png_create_read_struct_2(PNG_LIBPNG_VER_STRING, &calls_, png::onError, png::onWarning, &calls_,
                                    png::allocate, png::release);
    if (png_ == nullptr) calls_.jump.leave();
    info_ = png_create_info_struct(png_);
    if (info_ == nullptr) calls_.jump.leave();
    png_set_read_fn(png_, &file_, readFrom);
    png_set_user_limits(png_, INT_MAX, INT_MAX);
    if (options_.keepsDamaged) {
        png_set_crc_action(png_, PNG_CRC_WARN_USE, PNG_CRC_WARN_DISCARD);
        // A block of packed pixels that is not whole is lost.
        constexpr std::size_t kSmallBlock = 64;
        png_set_compression_buffer_size(png_, kSmallBlock);
    }
    chooseChunks();
    png_read_info(png_, info_);
    png_get_IHDR(png_, info_, &width_, &height_, &depth_, &colorType_, &interlace_, nullptr, nullptr);
    hasTransparency_ = png_get_valid(png_, info_, PNG_INFO_tRNS) != 0;
    const bool keepsPalette = options_.keepsPalette && depth_ <= 8 &&
                              (colorType_ == PNG_COLOR_TYPE_PALETTE || colorType_ == PNG_COLOR_TYPE_GRAY);
    transparent_ = hasTransparency_ && !keepsPalette && isTransparent();
}

// False for a palette of opaque colours, where that counts.
bool PngDecoder::isTransparent() {
    if (!options_.dialect.keepsOpaqueTable || colorType_ != PNG_COLOR_TYPE_PALETTE) return true;
    png_bytep alphas = nullptr;
    int count = 0;
    png_get_tRNS(png_, info_, &alphas, &count, nullptr);
    return std::any_of(alphas, alphas + count, [](png_byte alpha) { return alpha != 255; });
}

// Whether the image holds the numbers of the file, of 1, 4 or 8 bits.
bool PngDecoder::hasIndices() const {
    return options_.dialect.keepsIndices && !transparent_ && depth_ <= 8 &&
           (colorType_ == PNG_COLOR_TYPE_PALETTE || colorType_ == PNG_COLOR_TYPE_GRAY);
}

std::size_t PngDecoder::bitsPerPixel() const {
    if (hasIndices()) return depth_ == 2 ? 4 : dib::asSize(depth_);
    if ((colorType_ & PNG_COLOR_MASK_ALPHA) != 0 || transparent_) return 32;
    return colorType_ == PNG_COLOR_TYPE_RGB ? 24 : 8;
}

bool PngDecoder::readLayout(BitmapLayout& layout) {
    const std::uint64_t fileBytes = file_.mostRemaining();
    if (!calls_.jump.run([this] { readHeader(); })) return false;
    calls_.isDamaged = false;
    layout.width = width_;
    layout.height = height_;
    layout.bitsPerPixel = bitsPerPixel();
    layout.bitsPerComponent = std::min<std::size_t>(layout.bitsPerPixel, 8);
    layout.bytesPerRow = (layout.width * layout.bitsPerPixel + 7) / 8;
    rowBytes_ = hasIndices() ? dib::packedBytes(layout.width, depth_) : layout.bytesPerRow;

    // Deflate expands to at most 1032 times the packed size: a file too short for its pixels is refused here.
    constexpr std::uint64_t kMostExpansion = 1032;
    if (options_.keepsDamaged || options_.readsHeadersOnly) return true;
    if (height_ > INT_MAX || !dib::admitSize(width_, dib::asInt(height_), 32).admitted) return true;
    const std::uint64_t pixelBits =
        static_cast<std::uint64_t>(depth_) * png_get_channels(png_, info_) * width_ * height_;
    return pixelBits / 8 / kMostExpansion <= fileBytes;
}

ColorTriples PngDecoder::readColors() {
    if (options_.dialect.keepsIndices && !transparent_ && colorType_ == PNG_COLOR_TYPE_GRAY) {
        const int levels = 1 << std::min(depth_, 8);
        for (int i = 0; i < levels; ++i) std::fill_n(greys_ + 3 * i, 3, dib::byteOf(i * 255 / (levels - 1)));
        return {greys_, dib::asSize(levels), true};
    }
    png_colorp colors = nullptr;
    int count = 0;
    const bool indexed = colorType_ == PNG_COLOR_TYPE_PALETTE && !transparent_;
    if (!indexed || png_get_PLTE(png_, info_, &colors, &count) == 0) return {};
    static_assert(sizeof(png_color) == 3);
    return {&colors->red, dib::asSize(count), options_.dialect.keepsIndices};
}

bool PngDecoder::keepExif(DibMetadata& metadata) {
    png_uint_32 length = 0;
    png_bytep bytes = nullptr;
    if (png_get_eXIf_1(png_, info_, &length, &bytes) == 0)
        return !options_.readsHeadersOnly || applyExifAtEnd(metadata);
    applyExif({bytes, length}, metadata);
    return options_.readsHeadersOnly || copyBytes({bytes, length}, metadata.exif);
}

// The block may also follow the pixels; they are not decoded to find it.
bool PngDecoder::applyExifAtEnd(DibMetadata& metadata) {
    constexpr std::int64_t kMostBytes = 1 << 16;
    constexpr std::size_t kFrame = 12;  // length, name and checksum of a chunk
    const std::int64_t size = file_.size();
    const auto count = dib::asSize(std::clamp<std::int64_t>(size, 0, kMostBytes));
    const auto bytes = dib::allocateArray<unsigned char>(count + 1);
    if (bytes == nullptr) return false;
    if (!file_.seek(size - dib::asOffset(count)) || !file_.read(bytes.get(), count)) return true;
    const unsigned char* all = bytes.get();
    const unsigned char* last = all + count;
    // Searches for the second letter alone: memchr is faster than comparing four letters everywhere.
    for (const unsigned char* next = all + std::min<std::size_t>(5, count);; ++next) {
        next = static_cast<const unsigned char*>(std::memchr(next, 'X', dib::bytesBetween(next, last)));
        if (next == nullptr || last - next < dib::asOffset(kFrame) - 5) break;
        const std::size_t at = dib::bytesBetween(all, next) - 5;
        if (std::memcmp(all + at + 4, "eXIf", 4) != 0) continue;
        const std::size_t length = dib::readBe32(all + at);
        if (length > count - at - kFrame) continue;
        const std::uint32_t check = libdeflate_crc32(0, all + at + 4, length + 4);
        if (check != dib::readBe32(all + at + 8 + length)) continue;
        applyExif({all + at + 8, length}, metadata);
        break;
    }
    return true;
}

bool PngDecoder::keepPaletteAlpha(DibMetadata& metadata) {
    if (!hasIndices() || !hasTransparency_ || options_.readsHeadersOnly) return true;
    png_bytep alphas = nullptr;
    png_color_16p color = nullptr;
    int count = 0;
    png_get_tRNS(png_, info_, &alphas, &count, &color);
    if (colorType_ == PNG_COLOR_TYPE_PALETTE)
        return copyBytes({alphas, dib::asSize(count)}, metadata.paletteAlpha);
    // One grey level is transparent.
    unsigned char levels[256];
    const std::size_t level = color->gray & ((1U << depth_) - 1);
    std::fill_n(levels, level, dib::byteOf(255));
    levels[level] = 0;
    return copyBytes({levels, level + 1}, metadata.paletteAlpha);
}

// Damage after the pixel data is ignored.
bool PngDecoder::finish(DibFileResult& result) {
    calls_.jump.run([this] { png_read_end(png_, info_); });
    if (calls_.isShortOfMemory) return false;
    if (calls_.isCut && damage_[0] == '\0') note(result, DIB_NOTE_WARNING, "%s", kNoEndMark);
    if (result.metadata.exif.size == 0 && !keepExif(result.metadata)) return false;
    keepExtras(result);
    if (calls_.warnedOfExif && result.metadata.exif.size == 0)
        note(result, DIB_NOTE_WARNING, "the EXIF block is damaged and was left out");
    return true;
}

void PngDecoder::keepExtras(DibFileResult& result) {
    keepPngTexts(png_, info_, result.metadata);
    leftOut_.note(png_get_valid(png_, info_, PNG_INFO_iCCP) != 0, result);
    if (std::exchange(calls_.warnedOfText, false))
        note(result, DIB_NOTE_WARNING, "a text of the file is damaged and was left out");
}

bool PngDecoder::keepMetadata(DibMetadata& metadata) {
    png_uint_32 x = 0;
    png_uint_32 y = 0;
    int unit = PNG_RESOLUTION_UNKNOWN;
    if (png_get_pHYs(png_, info_, &x, &y, &unit) != 0 && unit == PNG_RESOLUTION_METER) {
        constexpr double kMetresPerInch = 0.0254;
        metadata.xResolution = x * kMetresPerInch;
        metadata.yResolution = y * kMetresPerInch;
    }
    if (!keepExif(metadata) || !keepPaletteAlpha(metadata)) return false;
    png_uint_32 length = 0;
    png_bytep bytes = nullptr;
    png_charp name = nullptr;
    int packing = 0;
    if (png_get_iCCP(png_, info_, &name, &packing, &bytes, &length) != 0)
        return copyBytes({bytes, length}, metadata.colorProfile);
    return true;
}

bool PngDecoder::describe(DibFileInfo& info, DibFileResult& result) {
    info.channels = png_get_channels(png_, info_);
    info.storedBits = depth_ * info.channels;
    if (hasTransparency_ && isTransparent()) info.hasAlpha = true;  // of the palette, where that is kept
    nameCompression(info, "deflate");
    if (!options_.readsHeadersOnly) {
        if (depth_ == 16) note(result, DIB_NOTE_LOSS, "16 bits a sample became 8");
        if (transparent_ && colorType_ == PNG_COLOR_TYPE_PALETTE)
            note(result, DIB_NOTE_LOSS, "the palette has transparency: its indices became 32-bit colours");
        if (calls_.warnedOfProfile && png_get_valid(png_, info_, PNG_INFO_iCCP) == 0)
            note(result, DIB_NOTE_WARNING,
                 "the colour profile was left out: it is damaged or not for these pixels");
        keepExtras(result);
    }
    return keepMetadata(result.metadata) && !calls_.isShortOfMemory;
}

void PngDecoder::chooseTransforms() {
    png_set_scale_16(png_);
    if (hasIndices()) return;
    const bool grey = isGrey();
    if (transparent_) png_set_expand(png_);
    if (grey && depth_ < 8) png_set_expand_gray_1_2_4_to_8(png_);
    if (grey && (transparent_ || colorType_ == PNG_COLOR_TYPE_GRAY_ALPHA)) png_set_gray_to_rgb(png_);
    png_set_packing(png_);
}

bool PngDecoder::startPixels() {
    const bool interlaced = interlace_ != PNG_INTERLACE_NONE;
    const std::size_t bytes = rowBytes_ * (interlaced ? height_ : 1);
    // What is missing of a damaged file is 0, and so are the bits after the last pixel of a row.
    rows_ = options_.keepsDamaged || hasIndices() ? dib::allocateZeroedImageBlock(bytes)
                                                  : dib::allocateImageBlock(bytes);
    const bool isWidened = hasIndices() && depth_ == 2;
    if (isWidened) wide_ = dib::allocateArray<unsigned char>(2 * rowBytes_);
    isShortOfMemory_ = rows_ == nullptr || (isWidened && wide_ == nullptr);
    if (isShortOfMemory_) return false;
    const bool isStarted = calls_.jump.run([this] {
        chooseTransforms();
        if (interlace_ != PNG_INTERLACE_NONE) png_set_interlace_handling(png_);
        png_read_update_info(png_, info_);
        if (png_get_rowbytes(png_, info_) != rowBytes_) calls_.jump.leave();
    });
    return isStarted && (!interlaced || readPasses());
}

// An interlaced picture has no finished row before its last pass.
bool PngDecoder::readPasses() {
    constexpr int kPasses = 7;
    for (int pass = 0; pass < kPasses; ++pass) {
        if (calls_.jump.run([this, pass] { readPass(pass, kPasses); })) continue;
        std::snprintf(damage_, sizeof damage_, "the pixels end in pass %d of %d (in row %zu of %zu)",
                      pass + 1, kPasses, passRow_ + 1, std::size_t{height_});
        return pass > 0 && options_.keepsDamaged && !calls_.isShortOfMemory;
    }
    return true;
}

void PngDecoder::readPass(int pass, int passes) {
    for (std::size_t y = 0; y < height_; ++y) {
        passRow_ = y;
        unsigned char* row = rows_.get() + y * rowBytes_;
        // In damaged pictures each pixel of a pass fills its block until later passes refine it.
        if (options_.keepsDamaged) {
            png_read_row(png_, nullptr, row);
        } else {
            png_read_row(png_, row, nullptr);
        }
        if (options_.progress == nullptr) continue;
        const double done = (pass + static_cast<double>(y) / height_) / passes;
        // The rows themselves are reported when they are finished, which takes little time.
        if (!options_.progress->report(0.9 * done)) calls_.jump.leave();
    }
}

const unsigned char* PngDecoder::nextRow() {
    const unsigned char* row = rows_.get();
    if (interlace_ != PNG_INTERLACE_NONE) {
        row += nextRow_++ * rowBytes_;
    } else if (!calls_.jump.run([this] { png_read_row(png_, rows_.get(), nullptr); })) {
        return nullptr;
    }
    if (calls_.isDamaged && options_.keepsDamaged && damage_[0] == '\0')
        std::snprintf(damage_, sizeof damage_, "a checksum of the pixels is wrong");
    if (wide_ == nullptr) return row;
    widenPairs(row, wide_.get(), (std::size_t{width_} + 1) / 2);
    return wide_.get();
}

}  // namespace

std::unique_ptr<FileDecoder> openPng(ByteReader& file, const DecoderOptions& options) {
    return std::unique_ptr<FileDecoder>(new (std::nothrow) PngDecoder(file, options));
}

}  // namespace formats
