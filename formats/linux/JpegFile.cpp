// JPEG files by libjpeg.
#include <cstdio>
// jpeglib.h needs FILE from the header above.
#include <jerror.h>
#include <jpeglib.h>

#include <algorithm>
#include <new>

#include "dib/Kernels.h"
#include "dib/Memory.h"
#include "formats/linux/ErrorJump.h"
#include "formats/linux/ImageFiles.h"

namespace formats {

namespace {

// What the library's callbacks find behind their error manager.
struct Reports {
    jpeg_error_mgr manager{};  // first: the library knows this address only
    ErrorJump jump;
    bool fileEnded = false;    // the library went on with an end marker of its own
    bool pixelsEnded = false;  // the end marker came before the last pixel

    static Reports& of(j_common_ptr codec) { return *reinterpret_cast<Reports*>(codec->err); }

    jpeg_error_mgr* connect() {
        jpeg_std_error(&manager);
        manager.error_exit = [](j_common_ptr codec) { of(codec).jump.leave(); };
        manager.emit_message = [](j_common_ptr codec, int) { of(codec).note(codec); };
        manager.output_message = [](j_common_ptr) {};
        return &manager;
    }

    void note(j_common_ptr codec) {
        if (manager.msg_code == JWRN_JPEG_EOF) fileEnded = true;
        if (manager.msg_code == JWRN_HIT_MARKER && codec->is_decompressor != 0 &&
            reinterpret_cast<j_decompress_ptr>(codec)->unread_marker == JPEG_EOI) {
            pixelsEnded = true;
        }
    }
};

// Ink is kept as 255 - ink in the files of the program that wrote the first ones, which say so by a marker.
template <unsigned kInverted>
DIB_ALWAYS_INLINE void inksToRgb(const unsigned char* __restrict from, unsigned char* __restrict to,
                                 std::size_t pixels) {
    for (std::size_t i = 0; i < pixels; ++i) {
        const unsigned paper = from[4 * i + 3] ^ kInverted;
        for (std::size_t k = 0; k < 3; ++k) {
            // A rounded division by 255.
            const unsigned product = (from[4 * i + k] ^ kInverted) * paper + 128;
            to[3 * i + k] = static_cast<unsigned char>((product + (product >> 8)) >> 8);
        }
    }
}

class JpegDecoder final : public BitmapDecoder {
public:
    explicit JpegDecoder(dib::FilePtr file) : file_(std::move(file)) {}
    ~JpegDecoder() override { jpeg_destroy_decompress(&jpeg_); }
    JpegDecoder(const JpegDecoder&) = delete;
    JpegDecoder& operator=(const JpegDecoder&) = delete;

    bool readLayout(BitmapLayout& layout) override;
    ColorTriples readColors() override { return {}; }
    bool startPixels() override;
    const unsigned char* nextRow() override;

private:
    bool couldHold(std::uint64_t fileBytes) const;
    bool isCutShort() const;

    dib::FilePtr file_;
    jpeg_decompress_struct jpeg_{};
    Reports reports_;
    jpeg_progress_mgr progress_{};
    std::size_t width_ = 0;
    dib::MallocPtr<unsigned char> samples_;
    dib::MallocPtr<unsigned char> colors_;  // of inks only
};

// Stops a picture that is drawn over and over by many small scans.
void limitScans(j_common_ptr codec) {
    const auto* jpeg = reinterpret_cast<j_decompress_ptr>(codec);
    constexpr std::uint64_t kAlwaysAllowed = 20;
    constexpr std::uint64_t kMostPixels = std::uint64_t{1} << 32;
    const auto scans = static_cast<std::uint64_t>(jpeg->input_scan_number);
    const std::uint64_t pixels = std::uint64_t{jpeg->image_width} * jpeg->image_height;
    if (scans > kAlwaysAllowed && scans * (pixels + 65536) > kMostPixels) Reports::of(codec).jump.leave();
}

// A block of 8 x 8 samples takes a bit at least. Packed arithmetically it can take next to nothing: there the
// limit is what no picture with anything in it comes near to.
bool JpegDecoder::couldHold(std::uint64_t fileBytes) const {
    const std::uint64_t blocksPerByte = jpeg_.arith_code != 0 ? 8192 : 8;
    std::uint64_t fewest = UINT64_MAX;
    for (int i = 0; i < jpeg_.num_components; ++i) {
        const jpeg_component_info& component = jpeg_.comp_info[i];
        fewest = std::min(fewest, std::uint64_t{component.width_in_blocks} * component.height_in_blocks);
    }
    return fewest / blocksPerByte <= fileBytes;
}

bool JpegDecoder::readLayout(BitmapLayout& layout) {
    const std::uint64_t fileBytes = dib::bytesLeft(file_.get()).value_or(UINT64_MAX);
    jpeg_.err = reports_.connect();
    const bool read = reports_.jump.run([this] {
        jpeg_create_decompress(&jpeg_);
        // Progressive pictures are kept as coefficients, 2 bytes for every sample.
        constexpr long kMostCoefficientBytes = 1L << 30;
        jpeg_.mem->max_memory_to_use = kMostCoefficientBytes;
        jpeg_stdio_src(&jpeg_, file_.get());
        jpeg_read_header(&jpeg_, TRUE);
    });
    if (!read || !couldHold(fileBytes)) return false;

    switch (jpeg_.jpeg_color_space) {
        case JCS_UNKNOWN: return false;
        case JCS_GRAYSCALE: jpeg_.out_color_space = JCS_GRAYSCALE; break;
        case JCS_CMYK:
        case JCS_YCCK: jpeg_.out_color_space = JCS_CMYK; break;
        default: jpeg_.out_color_space = JCS_RGB; break;
    }
    layout.width = width_ = jpeg_.image_width;
    layout.height = jpeg_.image_height;
    layout.bitsPerComponent = 8;
    layout.bitsPerPixel = jpeg_.out_color_space == JCS_GRAYSCALE ? 8 : 24;
    layout.bytesPerRow = layout.width * (layout.bitsPerPixel / 8);
    return true;
}

bool JpegDecoder::startPixels() {
    samples_ = dib::allocateArray<unsigned char>(4 * width_);
    if (samples_ == nullptr) return false;
    if (jpeg_.out_color_space == JCS_CMYK) {
        colors_ = dib::allocateArray<unsigned char>(3 * width_);
        if (colors_ == nullptr) return false;
    }
    progress_.progress_monitor = limitScans;
    jpeg_.progress = &progress_;
    return reports_.jump.run([this] { jpeg_start_decompress(&jpeg_); });
}

// Where the decoder cannot tell by the pixels that some are missing, the missing end marker tells it.
bool JpegDecoder::isCutShort() const {
    if (reports_.pixelsEnded) return true;
    return reports_.fileEnded && (jpeg_.arith_code != 0 || jpeg_.buffered_image != 0 ||
                                  jpeg_has_multiple_scans(const_cast<j_decompress_ptr>(&jpeg_)) != 0);
}

const unsigned char* JpegDecoder::nextRow() {
    const bool read = reports_.jump.run([this] {
        JSAMPROW row = samples_.get();
        if (jpeg_read_scanlines(&jpeg_, &row, 1) != 1) reports_.jump.leave();
    });
    if (!read || isCutShort()) return nullptr;
    if (colors_ == nullptr) return samples_.get();
    const bool inverted = jpeg_.saw_Adobe_marker != 0;
    if (inverted) {
        dib::runKernel<inksToRgb<0>>(samples_.get(), colors_.get(), width_);
    } else {
        dib::runKernel<inksToRgb<255>>(samples_.get(), colors_.get(), width_);
    }
    return colors_.get();
}

struct JpegWriter {
    jpeg_compress_struct jpeg{};
    Reports reports;

    JpegWriter() = default;
    ~JpegWriter() { jpeg_destroy_compress(&jpeg); }
    JpegWriter(const JpegWriter&) = delete;
    JpegWriter& operator=(const JpegWriter&) = delete;

    void write(std::FILE* file, const RgbaPicture& picture) {
        constexpr int kQuality = 90;
        jpeg_create_compress(&jpeg);
        jpeg_stdio_dest(&jpeg, file);
        jpeg.image_width = static_cast<JDIMENSION>(picture.width);
        jpeg.image_height = static_cast<JDIMENSION>(picture.height);
        jpeg.input_components = 4;
        jpeg.in_color_space = JCS_EXT_RGBX;
        jpeg_set_defaults(&jpeg);
        jpeg_set_quality(&jpeg, kQuality, TRUE);
        jpeg_start_compress(&jpeg, TRUE);
        for (int y = 0; y < picture.height; ++y) {
            JSAMPROW row = const_cast<JSAMPROW>(picture.row(y));
            jpeg_write_scanlines(&jpeg, &row, 1);
        }
        jpeg_finish_compress(&jpeg);
    }
};

}  // namespace

std::unique_ptr<BitmapDecoder> openJpeg(dib::FilePtr file) {
    return std::unique_ptr<BitmapDecoder>(new (std::nothrow) JpegDecoder(std::move(file)));
}

bool writeJpeg(std::FILE* file, const RgbaPicture& picture) {
    JpegWriter writer;
    writer.jpeg.err = writer.reports.connect();
    return writer.reports.jump.run([&] { writer.write(file, picture); });
}

}  // namespace formats
