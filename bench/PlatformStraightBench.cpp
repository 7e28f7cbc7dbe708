// The image libraries used straight, for comparison, as an application with pixels in our order would: the
// same files into fresh memory, and the same kinds of files (32-bit PNG and TIFF with the settings of ours,
// JPEG of quality 90).
#include <cstdio>
// jpeglib.h needs FILE from the header above.
#include <jpeglib.h>
#include <png.h>
#include <tiffio.h>

#include <memory>
#include <utility>
#include <vector>

#include "bench/Bench.h"

namespace {

constexpr auto kWidth = static_cast<std::size_t>(pb::W);
constexpr auto kHeight = static_cast<std::size_t>(pb::H);
using Pixels = std::unique_ptr<unsigned char[]>;
Pixels fresh() { return Pixels(new unsigned char[kWidth * kHeight * 3]); }
using FilePtr = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;
FilePtr open(const std::string& path, const char* mode) {
    return {std::fopen(path.c_str(), mode), std::fclose};
}

void loadPng(const std::string& path) {
    const Pixels pixels = fresh();
    const FilePtr file = open(path, "rb");
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_init_io(png, file.get());
    png_read_info(png, info);
    png_set_bgr(png);
    for (std::size_t y = 0; y < kHeight; ++y) png_read_row(png, &pixels[y * kWidth * 3], nullptr);
    png_destroy_read_struct(&png, &info, nullptr);
}

void savePng(const std::string& path, const unsigned char* bgra) {
    const FilePtr file = open(path, "wb");
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_init_io(png, file.get());
    png_set_IHDR(png, info, pb::W, pb::H, 8, PNG_COLOR_TYPE_RGB_ALPHA, 0, 0, 0);
    png_set_compression_level(png, 4);
    png_set_filter(png, 0, PNG_FAST_FILTERS);
    png_write_info(png, info);
    png_set_bgr(png);
    for (std::size_t y = 0; y < kHeight; ++y) png_write_row(png, bgra + y * kWidth * 4);
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
}

void loadJpeg(const std::string& path) {
    const Pixels pixels = fresh();
    const FilePtr file = open(path, "rb");
    jpeg_error_mgr errors;
    jpeg_decompress_struct jpeg;
    jpeg.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&jpeg);
    jpeg_stdio_src(&jpeg, file.get());
    jpeg_read_header(&jpeg, TRUE);
    jpeg.out_color_space = JCS_EXT_BGR;
    jpeg_start_decompress(&jpeg);
    while (jpeg.output_scanline < jpeg.output_height) {
        JSAMPROW row = &pixels[jpeg.output_scanline * kWidth * 3];
        jpeg_read_scanlines(&jpeg, &row, 1);
    }
    jpeg_destroy_decompress(&jpeg);
}

void saveJpeg(const std::string& path, const unsigned char* bgra) {
    const FilePtr file = open(path, "wb");
    jpeg_error_mgr errors;
    jpeg_compress_struct jpeg;
    jpeg.err = jpeg_std_error(&errors);
    jpeg_create_compress(&jpeg);
    jpeg_stdio_dest(&jpeg, file.get());
    jpeg.image_width = pb::W;
    jpeg.image_height = pb::H;
    jpeg.input_components = 4;
    jpeg.in_color_space = JCS_EXT_BGRX;
    jpeg_set_defaults(&jpeg);
    jpeg_set_quality(&jpeg, 90, TRUE);
    jpeg_start_compress(&jpeg, TRUE);
    while (jpeg.next_scanline < jpeg.image_height) {
        JSAMPROW row = const_cast<JSAMPROW>(bgra + jpeg.next_scanline * kWidth * 4);
        jpeg_write_scanlines(&jpeg, &row, 1);
    }
    jpeg_finish_compress(&jpeg);
    jpeg_destroy_compress(&jpeg);
}

void loadTiff(const std::string& path) {
    const Pixels pixels = fresh();
    TIFF* tiff = TIFFOpen(path.c_str(), "r");
    for (std::size_t y = 0; y < kHeight; ++y) {
        unsigned char* row = &pixels[y * kWidth * 3];
        TIFFReadScanline(tiff, row, static_cast<std::uint32_t>(y), 0);
        for (std::size_t x = 0; x < kWidth; ++x) std::swap(row[3 * x], row[3 * x + 2]);
    }
    TIFFClose(tiff);
}

void saveTiff(const std::string& path, const unsigned char* bgra) {
    TIFF* tiff = TIFFOpen(path.c_str(), "w");
    const std::uint16_t alpha = EXTRASAMPLE_UNASSALPHA;
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, pb::W);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, pb::H);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 4);
    TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &alpha);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, 16);
    std::vector<unsigned char> row(kWidth * 4);
    for (std::size_t y = 0; y < kHeight; ++y) {
        std::memcpy(row.data(), bgra + y * kWidth * 4, row.size());
        for (std::size_t x = 0; x < kWidth; ++x) std::swap(row[4 * x], row[4 * x + 2]);
        TIFFWriteScanline(tiff, row.data(), static_cast<std::uint32_t>(y), 0);
    }
    TIFFClose(tiff);
}

void load(const char* op, void (*read)(const std::string& path), const std::string& library) {
    pb::add(op, pb::W, pb::H, 24, "straight", library, [=] {
        const std::string path = pb::loadFile(op, pb::W);
        return pb::Op([=] { read(path); });
    });
}

void save(const char* op, const char* file, void (*write)(const std::string& path, const unsigned char* bgra),
          const std::string& library) {
    pb::add(op, pb::W, pb::H, 32, "straight", library, [=] {
        const pb::Image& picture = pb::img(pb::W, pb::H, 4);
        const std::string path = pb::file(file);
        return pb::Op([=, &picture] { write(path, picture.row(0)); });
    });
}

#define DIB_TEXT_OF(number) #number
#define DIB_TEXT(number) DIB_TEXT_OF(number)

const bench::Registrar cases([] {
    const std::string png = std::string("libpng ") + png_get_libpng_ver(nullptr);
    const std::string jpeg = "libjpeg-turbo " DIB_TEXT(LIBJPEG_TURBO_VERSION);
    const std::string version = TIFFGetVersion();  // "LIBTIFF, Version 4.5.0", and a line for each owner
    const std::string tiff = "libtiff " + version.substr(17, version.find('\n') - 17);
    load("load_png24", loadPng, png);
    load("load_jpeg", loadJpeg, jpeg);
    load("load_tiff24", loadTiff, tiff);
    load("load_tiff24_lzw", loadTiff, tiff);
    save("save_png32", "out_straight.png", savePng, png);
    save("save_jpeg32", "out_straight.jpg", saveJpeg, jpeg);
    save("save_tiff32", "out_straight.tif", saveTiff, tiff);
});

}  // namespace
