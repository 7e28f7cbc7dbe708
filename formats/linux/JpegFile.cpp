// JPEG files by libjpeg: reading.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <new>
#include <span>

#include "dib/Bytes.h"
#include "dib/Kernels.h"
#include "dib/Memory.h"
#include "dib/Numbers.h"
#include "formats/Exif.h"
#include "formats/door/Orientation.h"
#include "formats/linux/ImageFiles.h"
#include "formats/linux/JpegExtras.h"
#include "formats/linux/JpegReports.h"

namespace formats {

namespace {

// Where the library gets the bytes of a file.
struct ReaderSource {
    jpeg_source_mgr manager{};  // first: the library knows this address only
    ByteReader* file = nullptr;
    std::size_t lent = 0;
    bool isFirst = true;

    static ReaderSource& of(j_decompress_ptr jpeg) { return *reinterpret_cast<ReaderSource*>(jpeg->src); }

    jpeg_source_mgr* connect(ByteReader& from) {
        file = &from;
        manager.init_source = [](j_decompress_ptr) {};
        manager.fill_input_buffer = [](j_decompress_ptr jpeg) -> boolean { return of(jpeg).fill(jpeg); };
        manager.skip_input_data = [](j_decompress_ptr jpeg, long bytes) { of(jpeg).skip(jpeg, bytes); };
        manager.resync_to_restart = jpeg_resync_to_restart;
        manager.term_source = [](j_decompress_ptr) {};
        return &manager;
    }

    // At the end of the file supplies an end marker: the library then returns the pixels read so far.
    boolean fill(j_decompress_ptr jpeg) {
        static constexpr JOCTET kEnd[] = {0xFF, JPEG_EOI};
        file->consume(lent);
        const ByteReader::Bytes bytes = file->ahead(1);
        lent = bytes.size;
        manager.next_input_byte = bytes.size > 0 ? bytes.data : kEnd;
        manager.bytes_in_buffer = bytes.size > 0 ? bytes.size : sizeof kEnd;
        if (bytes.size == 0 && isFirst) ERREXIT(jpeg, JERR_INPUT_EMPTY);
        if (bytes.size == 0) WARNMS(jpeg, JWRN_JPEG_EOF);
        isFirst = false;
        return TRUE;
    }
    void skip(j_decompress_ptr jpeg, long bytes) {
        auto left = dib::asSize(std::max(bytes, 0L));
        while (left > manager.bytes_in_buffer) {
            left -= manager.bytes_in_buffer;
            fill(jpeg);
        }
        manager.next_input_byte += left;
        manager.bytes_in_buffer -= left;
    }
};

// CMYK files with an APP14 marker store 255 - ink.
template <unsigned kInverted>
DIB_ALWAYS_INLINE void inksToRgb(const unsigned char* __restrict from, unsigned char* __restrict to,
                                 std::size_t pixels) {
    for (std::size_t i = 0; i < pixels; ++i) {
        const unsigned paper = from[4 * i + 3] ^ kInverted;
        for (std::size_t k = 0; k < 3; ++k) {
            // A rounded division by 255.
            const unsigned product = (from[4 * i + k] ^ kInverted) * paper + 128;
            to[3 * i + k] = dib::byteOf((product + (product >> 8)) >> 8);
        }
    }
}

// What the library calls between the rows of scans.
struct ScanWatch {
    jpeg_progress_mgr manager{};  // first: the library knows this address only
    Progress* progress = nullptr;
};

// Stops a picture that is drawn over and over by many small scans, and reads that are cancelled. Scans are
// read before the first row.
void watch(j_common_ptr codec) {
    const auto* jpeg = reinterpret_cast<j_decompress_ptr>(codec);
    constexpr std::uint64_t kAlwaysAllowed = 20;
    constexpr std::uint64_t kMostPixels = std::uint64_t{1} << 32;
    const auto scans = static_cast<std::uint64_t>(jpeg->input_scan_number);
    const std::uint64_t pixels = std::uint64_t{jpeg->image_width} * jpeg->image_height;
    JpegReports& reports = JpegReports::of(codec);
    if (scans > kAlwaysAllowed && scans * (pixels + 65536) > kMostPixels) reports.jump.leave();
    Progress* progress = reinterpret_cast<ScanWatch*>(codec->progress)->progress;
    if (progress == nullptr || jpeg->output_scanline > 0 || scans == 0) return;
    // The number of scans that follow is unknown: each takes half of what is left.
    if (!progress->report(0.8 * (1 - std::ldexp(1.0, 1 - dib::asInt(std::min<std::uint64_t>(scans, 50))))))
        reports.jump.leave();
}

class JpegDecoder final : public FileDecoder {
public:
    JpegDecoder(ByteReader& file, const DecoderOptions& options) : file_(file), options_(options) {}
    ~JpegDecoder() override { jpeg_destroy_decompress(&jpeg_); }
    JpegDecoder(const JpegDecoder&) = delete;
    JpegDecoder& operator=(const JpegDecoder&) = delete;

    bool readLayout(BitmapLayout& layout) override;
    ColorTriples readColors() override;
    bool startPixels() override;
    const unsigned char* nextRow() override;
    bool storeRow(unsigned char* row) override;
    bool describe(DibFileInfo& info, DibFileResult& result) override;
    bool finish(DibFileResult& result) override;
    const char* damage() const override { return damage_[0] != '\0' ? damage_ : nullptr; }
    bool isShortOfMemory() const override { return isShortOfMemory_ || reports_.isShortOfMemory; }

private:
    bool couldHold(std::uint64_t fileBytes) const;
    bool hasScans() const;
    bool isCutShort() const;
    bool isShown(std::size_t row);
    void chooseScale();
    std::span<const unsigned char> exif() const;
    bool keepMetadata(DibMetadata& metadata);

    ByteReader& file_;
    const DecoderOptions options_;
    jpeg_decompress_struct jpeg_{};
    JpegReports reports_;
    ReaderSource source_;
    ScanWatch progress_{};
    std::size_t width_ = 0;
    char damage_[64] = "";
    dib::MallocPtr<unsigned char> inks_;
    dib::MallocPtr<unsigned char> colors_;
    unsigned char greys_[256 * 3] = {};
};

// A block of 8 x 8 samples takes a bit at least. Packed arithmetically it can take next to nothing: there the
// limit is far above what real pictures need.
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
    const std::uint64_t fileBytes = file_.mostRemaining();
    jpeg_.err = reports_.connect();
    const bool read = reports_.jump.run([this] {
        jpeg_create_decompress(&jpeg_);
        // Progressive pictures are kept as coefficients, 2 bytes for every sample.
        constexpr long kMostCoefficientBytes = 1L << 30;
        jpeg_.mem->max_memory_to_use = kMostCoefficientBytes;
        jpeg_.src = source_.connect(file_);
        if (options_.dialect.readsMetadata) {
            jpeg_save_markers(&jpeg_, kExifMarker, 0xFFFF);
            if (!options_.readsHeadersOnly) {
                jpeg_save_markers(&jpeg_, kProfileMarker, 0xFFFF);
                watchJpegExtras(jpeg_);
            }
        }
        jpeg_read_header(&jpeg_, TRUE);
    });
    if (!read || (!options_.keepsDamaged && !options_.readsHeadersOnly && !couldHold(fileBytes)))
        return false;

    switch (jpeg_.jpeg_color_space) {
        case JCS_UNKNOWN: return false;
        case JCS_GRAYSCALE: jpeg_.out_color_space = JCS_GRAYSCALE; break;
        case JCS_CMYK:
        case JCS_YCCK: jpeg_.out_color_space = JCS_CMYK; break;
        default: jpeg_.out_color_space = JCS_EXT_BGR; break;
    }
    chooseScale();
    layout.width = width_ = (jpeg_.image_width + jpeg_.scale_denom - 1) / jpeg_.scale_denom;
    layout.height = (jpeg_.image_height + jpeg_.scale_denom - 1) / jpeg_.scale_denom;
    layout.bitsPerComponent = 8;
    layout.bitsPerPixel = jpeg_.out_color_space == JCS_GRAYSCALE ? 8 : 24;
    layout.bytesPerRow = layout.width * (layout.bitsPerPixel / 8);
    layout.isAsStored = jpeg_.out_color_space != JCS_CMYK;
    return true;
}

ColorTriples JpegDecoder::readColors() {
    if (!options_.dialect.keepsIndices || jpeg_.out_color_space != JCS_GRAYSCALE) return {};
    for (int i = 0; i < 256; ++i) std::fill_n(greys_ + 3 * i, 3, dib::byteOf(i));
    return {greys_, 256, true};
}

// The EXIF block of the file, from its byte-order mark on; empty when there is none.
std::span<const unsigned char> JpegDecoder::exif() const {
    for (const jpeg_marker_struct* marker = jpeg_.marker_list; marker != nullptr; marker = marker->next) {
        if (marker->marker == kExifMarker && marker->data_length > sizeof kExifStart &&
            std::memcmp(marker->data, kExifStart, sizeof kExifStart) == 0)
            return {marker->data + sizeof kExifStart, marker->data_length - sizeof kExifStart};
    }
    return {};
}

// The library can decode each block of 8 x 8 samples to fewer samples.
void JpegDecoder::chooseScale() {
    DibMetadata metadata;
    if (options_.isTurned) applyExif(exif(), metadata);
    std::uint64_t columns = dib::asUnsigned(options_.atLeastWidth);
    std::uint64_t rows = dib::asUnsigned(options_.atLeastHeight);
    if (exchangesSides(metadata.orientation)) std::swap(columns, rows);
    jpeg_.scale_num = 1;
    jpeg_.scale_denom = columns > 0 || rows > 0 ? 8 : 1;
    const auto hasRoom = [](std::uint64_t size, std::uint64_t scale, std::uint64_t least) {
        return (size + scale - 1) / scale >= least;
    };
    while (jpeg_.scale_denom > 1 && !(hasRoom(jpeg_.image_width, jpeg_.scale_denom, columns) &&
                                      hasRoom(jpeg_.image_height, jpeg_.scale_denom, rows)))
        jpeg_.scale_denom /= 2;
}

bool JpegDecoder::keepMetadata(DibMetadata& metadata) {
    if (jpeg_.saw_JFIF_marker != 0 && jpeg_.density_unit != 0) {
        constexpr int kDotsPerCentimetre = 2;
        const double scale = jpeg_.density_unit == kDotsPerCentimetre ? 2.54 : 1.0;
        metadata.xResolution = jpeg_.X_density * scale;
        metadata.yResolution = jpeg_.Y_density * scale;
    }
    const std::span<const unsigned char> block = exif();
    if (!block.empty()) applyExif(block, metadata);
    if (options_.readsHeadersOnly) return true;
    if (!block.empty() && !copyBytes(block, metadata.exif)) return false;
    JOCTET* profile = nullptr;
    unsigned bytes = 0;
    reports_.jump.run([&] { jpeg_read_icc_profile(&jpeg_, &profile, &bytes); });
    const dib::MallocPtr<JOCTET> owner(profile);
    return profile == nullptr || bytes > kMostMetadataBytes ||
           copyBytes({profile, bytes}, metadata.colorProfile);
}

bool JpegDecoder::describe(DibFileInfo& info, DibFileResult& result) {
    info.channels = jpeg_.num_components;
    info.storedBits = jpeg_.num_components * jpeg_.data_precision;
    nameCompression(info, "dct");
    if (jpeg_.out_color_space == JCS_CMYK && !options_.readsHeadersOnly)
        note(result, DIB_NOTE_LOSS, "four inks became red, green and blue, without a colour profile");
    if (jpeg_.scale_denom > 1)
        note(result, DIB_NOTE_LOSS, "%ux%u pixels were decoded at 1/%u of their size", jpeg_.image_width,
             jpeg_.image_height, jpeg_.scale_denom);
    if (!options_.readsHeadersOnly) keepJpegExtras(jpeg_.marker_list, result);
    return keepMetadata(result.metadata);
}

bool JpegDecoder::startPixels() {
    if (jpeg_.out_color_space == JCS_CMYK) {
        inks_ = dib::allocateArray<unsigned char>(4 * width_);
        colors_ = dib::allocateArray<unsigned char>(3 * width_);
        isShortOfMemory_ = inks_ == nullptr || colors_ == nullptr;
        if (isShortOfMemory_) return false;
    }
    progress_.manager.progress_monitor = watch;
    progress_.progress = options_.progress;
    jpeg_.progress = &progress_.manager;
    return reports_.jump.run([this] { jpeg_start_decompress(&jpeg_); });
}

// Whether the picture is refined by scan after scan.
bool JpegDecoder::hasScans() const {
    return jpeg_.buffered_image != 0 || jpeg_has_multiple_scans(const_cast<j_decompress_ptr>(&jpeg_)) != 0;
}

// In arithmetic and multi-scan files only the missing end marker shows that pixels are missing.
bool JpegDecoder::isCutShort() const {
    if (reports_.pixelsEnded) return true;
    return reports_.fileEnded && (jpeg_.arith_code != 0 || hasScans());
}

// Whether the row that was read, counted from 1, is kept; notes what is wrong with it.
bool JpegDecoder::isShown(std::size_t row) {
    if (isCutShort()) {
        // Every scan covers the whole picture, so all rows have pixels.
        if (!options_.keepsDamaged || !hasScans()) return false;
        std::snprintf(damage_, sizeof damage_, "the file ends before its last scan does");
    }
    if (!options_.dialect.refusesBrokenPixels || !reports_.pixelsBroken || damage_[0] != '\0') return true;
    if (hasScans()) {
        std::snprintf(damage_, sizeof damage_, "a scan of the pixels is damaged");
    } else if (options_.keepsDamaged) {
        std::snprintf(damage_, sizeof damage_, "the pixels are damaged from row %zu on", row);
    } else {
        std::snprintf(damage_, sizeof damage_, "the pixels are damaged");
    }
    return options_.keepsDamaged;
}

// Bytes after the last pixel are only a warning: some cameras pad scans.
bool JpegDecoder::finish(DibFileResult& result) {
    reports_.jump.run([this] { jpeg_finish_decompress(&jpeg_); });
    if (reports_.hasBytesAfter)
        note(result, DIB_NOTE_WARNING, "bytes follow the last pixel: the picture may be damaged");
    if (reports_.fileEnded && damage_[0] == '\0') note(result, DIB_NOTE_WARNING, "%s", kNoEndMark);
    return true;
}

bool JpegDecoder::storeRow(unsigned char* row) {
    const bool read = reports_.jump.run([&] {
        if (jpeg_read_scanlines(&jpeg_, &row, 1) != 1) reports_.jump.leave();
    });
    return read && isShown(jpeg_.output_scanline);
}

const unsigned char* JpegDecoder::nextRow() {
    if (!storeRow(inks_.get())) return nullptr;
    const bool inverted = jpeg_.saw_Adobe_marker != 0;
    if (inverted) {
        dib::runKernel<inksToRgb<0>>(inks_.get(), colors_.get(), width_);
    } else {
        dib::runKernel<inksToRgb<255>>(inks_.get(), colors_.get(), width_);
    }
    return colors_.get();
}

}  // namespace

std::unique_ptr<FileDecoder> openJpeg(ByteReader& file, const DecoderOptions& options) {
    return std::unique_ptr<FileDecoder>(new (std::nothrow) JpegDecoder(file, options));
}

}  // namespace formats
