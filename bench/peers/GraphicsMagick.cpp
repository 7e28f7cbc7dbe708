// GraphicsMagick 1.3 (Magick++), one thread: the files of which few other libraries know the formats. Its
// pictures have 16 bits per channel.
#include <Magick++.h>
#include <magick/api.h>

#include <memory>
#include <stdexcept>

#include "bench/harness/Harness.h"

namespace pb {
namespace {

const char* const kNote = "`Image::read`, makes 16 bits per channel";

void load(const char* op, int depth, const char* format) {
    add(op, W, H, depth, "graphicsmagick", kNote, [=] {
        const std::string path = format + loadFile(op);
        return Op([=] {
            Magick::Image image;
            image.read(path);
            need(image.columns() == W, "read");
        });
    });
}

void save(const char* op, const char* format, Magick::CompressionType packing) {
    add(op, W, H, 24, "graphicsmagick", "`Image::write` of 16 bits per channel", [=] {
        const std::string path = format + file(std::string("out_graphicsmagick_") + op);
        const auto image =
            std::make_shared<Magick::Image>(W, H, "BGR", Magick::CharPixel, img(W, H, 3).d.data());
        image->modifyImage();
        image->depth(8);
        image->compressType(packing);
        return Op([=] { image->write(path); });
    });
}

}  // namespace
}  // namespace pb

int main(int argc, char** argv) {
    Magick::InitializeMagick(*argv);
    MagickLib::SetMagickResourceLimit(MagickLib::ThreadsResource, 1);
    unsigned long number = 0;
    const std::string version =
        MagickLib::GetMagickVersion(&number);  // "GraphicsMagick 1.3.40 2023-01-14 Q16 ..."
    pb::addProgram("graphicsmagick", version.substr(0, version.find(' ', version.find(' ') + 1)));
    pb::load("load_bmp24", 24, "BMP:");
    pb::load("load_bmp8", 8, "BMP:");
    pb::load("load_bmp_rle8", 8, "BMP:");
    pb::load("load_bmp32", 32, "BMP:");
    pb::load("load_tga24_raw", 24, "TGA:");
    pb::load("load_tga24_rle", 24, "TGA:");
    pb::load("load_tim16", 16, "TIM:");
    pb::save("save_bmp24", "BMP3:", Magick::NoCompression);
    pb::save("save_tga24_raw", "TGA:", Magick::NoCompression);
    pb::save("save_tga24_rle", "TGA:", Magick::RLECompression);
    return pb::benchMain(argc, argv);
}
