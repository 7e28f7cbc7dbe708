// PNG, JPEG and TIFF, by their libraries.
#include <cstdio>
// jpeglib.h needs FILE from the header above.
#include <jpeglib.h>
#include <png.h>
#include <tiffio.h>

#include <memory>
#include <stdexcept>

#include "bench/harness/FileWriters.h"
#include "bench/harness/Files.h"
#include "dib/Numbers.h"

namespace pb {

void writePng(const std::string& name, const Image& picture) {
    const Image colors = rgbOf(picture);
    png_image png{};
    png.version = PNG_IMAGE_VERSION;
    png.width = dib::asUnsigned(picture.w);
    png.height = dib::asUnsigned(picture.h);
    png.format = PNG_FORMAT_RGB;
    if (png_image_write_to_file(&png, file(name).c_str(), 0, colors.d.data(), 0, nullptr) == 0) {
        throw std::runtime_error("cannot write " + file(name));
    }
}

void writeJpeg(const std::string& name, const Image& picture) {
    Image colors = rgbOf(picture);
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> out(std::fopen(file(name).c_str(), "wb"),
                                                              std::fclose);
    if (out == nullptr) throw std::runtime_error("cannot write " + file(name));
    jpeg_error_mgr errors;
    jpeg_compress_struct jpeg;
    jpeg.err = jpeg_std_error(&errors);
    jpeg_create_compress(&jpeg);
    jpeg_stdio_dest(&jpeg, out.get());
    jpeg.image_width = dib::asUnsigned(picture.w);
    jpeg.image_height = dib::asUnsigned(picture.h);
    jpeg.input_components = 3;
    jpeg.in_color_space = JCS_RGB;
    jpeg_set_defaults(&jpeg);
    jpeg_set_quality(&jpeg, 90, TRUE);
    jpeg_start_compress(&jpeg, TRUE);
    while (jpeg.next_scanline < jpeg.image_height) {
        JSAMPROW row = colors.row(dib::asInt(jpeg.next_scanline));
        jpeg_write_scanlines(&jpeg, &row, 1);
    }
    jpeg_finish_compress(&jpeg);
    jpeg_destroy_compress(&jpeg);
}

void writeTiff(const std::string& name, const Image& picture, int compression) {
    Image colors = rgbOf(picture);
    const std::unique_ptr<TIFF, void (*)(TIFF*)> tiff(TIFFOpen(file(name).c_str(), "w"), TIFFClose);
    if (tiff == nullptr) throw std::runtime_error("cannot write " + file(name));
    TIFFSetField(tiff.get(), TIFFTAG_IMAGEWIDTH, picture.w);
    TIFFSetField(tiff.get(), TIFFTAG_IMAGELENGTH, picture.h);
    TIFFSetField(tiff.get(), TIFFTAG_SAMPLESPERPIXEL, 3);
    TIFFSetField(tiff.get(), TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(tiff.get(), TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    TIFFSetField(tiff.get(), TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff.get(), TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
    TIFFSetField(tiff.get(), TIFFTAG_COMPRESSION, compression);
    if (compression == COMPRESSION_LZW) TIFFSetField(tiff.get(), TIFFTAG_PREDICTOR, 2);
    TIFFSetField(tiff.get(), TIFFTAG_ROWSPERSTRIP, 16);
    for (int y = 0; y < picture.h; ++y) {
        TIFFWriteScanline(tiff.get(), colors.row(y), static_cast<std::uint32_t>(y), 0);
    }
}

}  // namespace pb
