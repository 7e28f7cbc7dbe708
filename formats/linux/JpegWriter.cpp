// JPEG files by libjpeg: writing.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "dib/ColorTable.h"
#include "dib/ImageSize.h"
#include "dib/Raster.h"
#include "formats/Exif.h"
#include "formats/FileRows.h"
#include "formats/linux/ImageFiles.h"
#include "formats/linux/JpegExtras.h"
#include "formats/linux/JpegReports.h"
#include "formats/linux/OutgoingPicture.h"

namespace formats {

namespace {

// Where the library puts the bytes of a file.
struct WriterTarget {
    jpeg_destination_mgr manager{};  // first: the library knows this address only
    ByteWriter* file = nullptr;
    JOCTET buffer[4096];

    static WriterTarget& of(j_compress_ptr jpeg) { return *reinterpret_cast<WriterTarget*>(jpeg->dest); }

    jpeg_destination_mgr* connect(ByteWriter& to) {
        file = &to;
        manager.init_destination = [](j_compress_ptr jpeg) { of(jpeg).restart(); };
        manager.empty_output_buffer = [](j_compress_ptr jpeg) -> boolean {
            WriterTarget& target = of(jpeg);
            target.write(jpeg, sizeof target.buffer);
            target.restart();
            return TRUE;
        };
        manager.term_destination = [](j_compress_ptr jpeg) {
            WriterTarget& target = of(jpeg);
            target.write(jpeg, sizeof target.buffer - target.manager.free_in_buffer);
        };
        return &manager;
    }
    void restart() {
        manager.next_output_byte = buffer;
        manager.free_in_buffer = sizeof buffer;
    }
    void write(j_compress_ptr jpeg, std::size_t bytes) {
        file->bytes(buffer, bytes);
        if (!file->isWhole()) ERREXIT(jpeg, JERR_FILE_WRITE);
    }
};

struct Encoder {
    jpeg_compress_struct jpeg{};
    JpegReports reports;
    WriterTarget target;

    Encoder() = default;
    ~Encoder() { jpeg_destroy_compress(&jpeg); }
    Encoder(const Encoder&) = delete;
    Encoder& operator=(const Encoder&) = delete;

    void start(ByteWriter& file, int width, int height, J_COLOR_SPACE space, int samples, int quality) {
        jpeg_create_compress(&jpeg);
        jpeg.dest = target.connect(file);
        jpeg.image_width = static_cast<JDIMENSION>(width);
        jpeg.image_height = static_cast<JDIMENSION>(height);
        jpeg.input_components = samples;
        jpeg.in_color_space = space;
        jpeg_set_defaults(&jpeg);
        jpeg_set_quality(&jpeg, quality, TRUE);
    }
    void writeRow(const unsigned char* from) {
        auto* row = const_cast<JSAMPROW>(from);
        jpeg_write_scanlines(&jpeg, &row, 1);
    }
};

// The rows of an image as the encoder takes them.
class Rows {
public:
    explicit Rows(const DibStream& image) : colors_(*image.Header) {
        dib::viewRows(image, raster_);
        const bool isIndexed = raster_.bitCount <= 8;
        form_ = isIndexed && hasGreysOnly(*image.Header) ? dib::Packed::kGrey : dib::Packed::kBgr;
        isConverted_ = raster_.bitCount < 24;
    }
    bool start() {
        if (!isConverted_) return true;
        row_ = dib::allocateArray<unsigned char>(raster_.columns() * dib::bytesOf(form_));
        return row_ != nullptr;
    }
    int width() const { return raster_.width; }
    int height() const { return raster_.height; }
    bool isGrey() const { return form_ == dib::Packed::kGrey; }
    int samples() const { return isGrey() ? 1 : raster_.bitCount == 32 ? 4 : 3; }
    J_COLOR_SPACE space() const {
        return isGrey() ? JCS_GRAYSCALE : raster_.bitCount == 32 ? JCS_EXT_BGRX : JCS_EXT_BGR;
    }
    const unsigned char* row(int y) {
        const unsigned char* from = raster_.row(y);
        if (!isConverted_) return from;
        convertFileRow(from, raster_.bitCount, row_.get(), form_, raster_.columns(), colors_);
        return row_.get();
    }

private:
    dib::Raster raster_;
    dib::IndexColors colors_;
    dib::Packed form_ = dib::Packed::kBgr;
    bool isConverted_ = false;
    dib::MallocPtr<unsigned char> row_;
};

void setResolution(jpeg_compress_struct& jpeg, const DibMetadata& metadata) {
    const double x = metadata.xResolution > 0 ? metadata.xResolution : metadata.yResolution;
    const double y = metadata.yResolution > 0 ? metadata.yResolution : metadata.xResolution;
    const auto perInch = [](double value) {
        return static_cast<UINT16>(std::clamp(std::lround(std::min(value, 1e6)), 1L, 65535L));
    };
    if (x <= 0) return;
    jpeg.density_unit = 1;
    jpeg.X_density = perInch(x);
    jpeg.Y_density = perInch(y);
}

// The EXIF block with the six bytes that start every marker of its kind.
bool makeExifMarker(const DibMetadata* metadata, DibBytes& marker) {
    DibBytes block;
    if (metadata == nullptr) return true;
    if (!exifForFile(*metadata, block)) return false;
    if (block.size == 0 || block.size > kMostJpegExif) return true;
    marker.data = dib::allocateArray<unsigned char>(sizeof kExifStart + block.size).release();
    if (marker.data == nullptr) return false;
    marker.size = sizeof kExifStart + block.size;
    std::memcpy(marker.data, kExifStart, sizeof kExifStart);
    std::memcpy(marker.data + sizeof kExifStart, block.data, block.size);
    return true;
}

void encode(Encoder& encoder, WriteRequest& request, Rows& rows, const DibBytes& exif) {
    jpeg_compress_struct& jpeg = encoder.jpeg;
    encoder.start(request.file, rows.width(), rows.height(), rows.space(), rows.samples(),
                  std::clamp(request.options.quality, 1, 100));
    const DibMetadata* metadata = request.options.metadata;
    if (metadata != nullptr) setResolution(jpeg, *metadata);
    jpeg_start_compress(&jpeg, TRUE);
    if (exif.size > 0) jpeg_write_marker(&jpeg, kExifMarker, exif.data, static_cast<unsigned>(exif.size));
    if (metadata != nullptr && isKept(metadata->colorProfile, rows.isGrey())) {
        jpeg_write_icc_profile(&jpeg, metadata->colorProfile.data,
                               static_cast<unsigned>(metadata->colorProfile.size));
    }
    if (metadata != nullptr) writeJpegExtras(jpeg, *metadata);
    for (int y = 0; y < rows.height(); ++y) {
        encoder.writeRow(rows.row(y));
        if (!request.progress.rows(y + 1, rows.height())) encoder.reports.jump.leave();
    }
    jpeg_finish_compress(&jpeg);
}

}  // namespace

bool writeClassicJpeg(ByteWriter& file, const RgbaPicture& picture) {
    Encoder encoder;
    encoder.jpeg.err = encoder.reports.connect();
    return encoder.reports.jump.run([&] {
        constexpr int kQuality = 90;
        encoder.start(file, picture.width, picture.height, JCS_EXT_RGBX, 4, kQuality);
        jpeg_start_compress(&encoder.jpeg, TRUE);
        for (int y = 0; y < picture.height; ++y) encoder.writeRow(picture.row(y));
        jpeg_finish_compress(&encoder.jpeg);
    });
}

bool writeJpeg(WriteRequest& request) {
    Rows rows(request.image);
    DibBytes exif;
    if (!rows.start() || !makeExifMarker(request.options.metadata, exif)) {
        request.result.code = DIB_ERROR_MEMORY;
        return false;
    }
    Encoder encoder;
    encoder.jpeg.err = encoder.reports.connect();
    const bool isEncoded = encoder.reports.jump.run([&] { encode(encoder, request, rows, exif); });
    if (encoder.reports.isShortOfMemory) request.result.code = DIB_ERROR_MEMORY;
    return isEncoded;
}

}  // namespace formats
