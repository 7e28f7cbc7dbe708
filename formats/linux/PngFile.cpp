// PNG files by libpng.
#include <png.h>

#include <climits>
#include <new>

#include "dib/ImageSize.h"
#include "dib/Memory.h"
#include "formats/linux/ErrorJump.h"
#include "formats/linux/ImageFiles.h"

namespace formats {

namespace {

// A library that fails says so by the jump and keeps its texts to itself.
void onError(png_structp png, png_const_charp) { static_cast<ErrorJump*>(png_get_error_ptr(png))->leave(); }
void onWarning(png_structp, png_const_charp) {}

void* allocate(png_structp, png_alloc_size_t bytes) { return std::malloc(bytes); }
void release(png_structp, void* block) { std::free(block); }

void readFrom(png_structp png, png_bytep out, std::size_t bytes) {
    if (!dib::readBytes(static_cast<std::FILE*>(png_get_io_ptr(png)), out, bytes)) png_error(png, "");
}
void writeTo(png_structp png, png_bytep from, std::size_t bytes) {
    if (!dib::writeBytes(static_cast<std::FILE*>(png_get_io_ptr(png)), from, bytes)) png_error(png, "");
}
void flushNothing(png_structp) {}

class PngDecoder final : public BitmapDecoder {
public:
    explicit PngDecoder(dib::FilePtr file) : file_(std::move(file)) {}
    ~PngDecoder() override { png_destroy_read_struct(&png_, &info_, nullptr); }
    PngDecoder(const PngDecoder&) = delete;
    PngDecoder& operator=(const PngDecoder&) = delete;

    bool readLayout(BitmapLayout& layout) override;
    ColorTriples readColors() override;
    bool startPixels() override;
    const unsigned char* nextRow() override;

private:
    void readHeader();
    void chooseTransforms();

    dib::FilePtr file_;
    png_structp png_ = nullptr;
    png_infop info_ = nullptr;
    ErrorJump jump_;
    png_uint_32 width_ = 0;
    png_uint_32 height_ = 0;
    int depth_ = 0;
    int colorType_ = 0;
    int interlace_ = 0;
    bool transparent_ = false;
    std::size_t rowBytes_ = 0;
    dib::MallocPtr<unsigned char> rows_;  // one, or all of an interlaced picture
    std::size_t nextRow_ = 0;
};

void PngDecoder::readHeader() {
    png_ = png_create_read_struct_2(PNG_LIBPNG_VER_STRING, &jump_, onError, onWarning, nullptr, allocate,
                                    release);
    if (png_ == nullptr) jump_.leave();
    info_ = png_create_info_struct(png_);
    if (info_ == nullptr) jump_.leave();
    png_set_read_fn(png_, file_.get(), readFrom);
    png_set_user_limits(png_, INT_MAX, INT_MAX);
    // Of the ancillary chunks only transparency counts: text and profiles would be unpacked, into any size.
    png_set_keep_unknown_chunks(png_, PNG_HANDLE_CHUNK_NEVER, nullptr, -1);
    png_read_info(png_, info_);
    png_get_IHDR(png_, info_, &width_, &height_, &depth_, &colorType_, &interlace_, nullptr, nullptr);
    transparent_ = png_get_valid(png_, info_, PNG_INFO_tRNS) != 0;
}

bool PngDecoder::readLayout(BitmapLayout& layout) {
    const std::uint64_t fileBytes = dib::bytesLeft(file_.get()).value_or(UINT64_MAX);
    if (!jump_.run([this] { readHeader(); })) return false;
    layout.width = width_;
    layout.height = height_;
    layout.bitsPerComponent = 8;
    if ((colorType_ & PNG_COLOR_MASK_ALPHA) != 0 || transparent_) {
        layout.bitsPerPixel = 32;
    } else {
        layout.bitsPerPixel = colorType_ == PNG_COLOR_TYPE_RGB ? 24 : 8;
    }
    layout.bytesPerRow = rowBytes_ = layout.width * (layout.bitsPerPixel / 8);

    // Nothing is unpacked to more than 1032 times its size: what could not be in the file need not be waited
    // for.
    constexpr std::uint64_t kMostExpansion = 1032;
    if (height_ > INT_MAX || !dib::admitSize(width_, static_cast<int>(height_), 32).admitted) return true;
    const std::uint64_t pixelBits =
        static_cast<std::uint64_t>(depth_) * png_get_channels(png_, info_) * width_ * height_;
    return pixelBits / 8 / kMostExpansion <= fileBytes;
}

ColorTriples PngDecoder::readColors() {
    png_colorp colors = nullptr;
    int count = 0;
    const bool indexed = colorType_ == PNG_COLOR_TYPE_PALETTE && !transparent_;
    if (!indexed || png_get_PLTE(png_, info_, &colors, &count) == 0) return {};
    static_assert(sizeof(png_color) == 3);
    return {&colors->red, static_cast<std::size_t>(count)};
}

void PngDecoder::chooseTransforms() {
    png_set_scale_16(png_);
    const bool grey = (colorType_ & PNG_COLOR_MASK_COLOR) == 0;
    if (transparent_) png_set_expand(png_);
    if (grey && depth_ < 8) png_set_expand_gray_1_2_4_to_8(png_);
    if (grey && (transparent_ || colorType_ == PNG_COLOR_TYPE_GRAY_ALPHA)) png_set_gray_to_rgb(png_);
    png_set_packing(png_);
}

bool PngDecoder::startPixels() {
    const bool interlaced = interlace_ != PNG_INTERLACE_NONE;
    rows_ = dib::allocateImageBlock(rowBytes_ * (interlaced ? height_ : 1));
    if (rows_ == nullptr) return false;
    return jump_.run([this] {
        chooseTransforms();
        const int passes = png_set_interlace_handling(png_);
        png_read_update_info(png_, info_);
        if (png_get_rowbytes(png_, info_) != rowBytes_) jump_.leave();
        // An interlaced picture has no finished row before its last pass.
        for (int pass = 0; passes > 1 && pass < passes; ++pass) {
            for (std::size_t y = 0; y < height_; ++y) {
                png_read_row(png_, rows_.get() + y * rowBytes_, nullptr);
            }
        }
    });
}

const unsigned char* PngDecoder::nextRow() {
    if (interlace_ != PNG_INTERLACE_NONE) return rows_.get() + nextRow_++ * rowBytes_;
    return jump_.run([this] { png_read_row(png_, rows_.get(), nullptr); }) ? rows_.get() : nullptr;
}

struct PngWriter {
    png_structp png = nullptr;
    png_infop info = nullptr;
    ErrorJump jump;

    PngWriter() = default;
    ~PngWriter() { png_destroy_write_struct(&png, &info); }
    PngWriter(const PngWriter&) = delete;
    PngWriter& operator=(const PngWriter&) = delete;

    void write(std::FILE* file, const RgbaPicture& picture) {
        png = png_create_write_struct_2(PNG_LIBPNG_VER_STRING, &jump, onError, onWarning, nullptr, allocate,
                                        release);
        if (png == nullptr) jump.leave();
        info = png_create_info_struct(png);
        if (info == nullptr) jump.leave();
        png_set_write_fn(png, file, writeTo, flushNothing);
        png_set_user_limits(png, INT_MAX, INT_MAX);
        png_set_IHDR(png, info, static_cast<png_uint_32>(picture.width),
                     static_cast<png_uint_32>(picture.height), 8, PNG_COLOR_TYPE_RGB_ALPHA,
                     PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
        // Against the library's own choice (level 6, all filters) files of photographs, drawings and noise
        // became -1 to +4 % longer and took a quarter to two thirds of the time.
        constexpr int kLevel = 4;
        png_set_compression_level(png, kLevel);
        png_set_filter(png, PNG_FILTER_TYPE_BASE, PNG_FAST_FILTERS);
        png_write_info(png, info);
        for (int y = 0; y < picture.height; ++y) png_write_row(png, picture.row(y));
        png_write_end(png, info);
    }
};

}  // namespace

std::unique_ptr<BitmapDecoder> openPng(dib::FilePtr file) {
    return std::unique_ptr<BitmapDecoder>(new (std::nothrow) PngDecoder(std::move(file)));
}

bool writePng(std::FILE* file, const RgbaPicture& picture) {
    PngWriter writer;
    return writer.jump.run([&] { writer.write(file, picture); });
}

}  // namespace formats
