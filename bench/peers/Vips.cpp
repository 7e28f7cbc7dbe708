// libvips 8 (its C++ interface), one thread, nothing kept from call to call.
#include "bench/peers/Vips.h"

#include <cstdlib>
#include <memory>
#include <vector>

namespace pb {
namespace {

void load(const char* op, int depth, const char* note, int width = W, int height = H) {
    add(op, width, height, depth, "vips", note, [=] {
        const std::string path = loadFile(op, width);
        return Op([=] {
            computed(vips::VImage::new_from_file(
                path.c_str(), vips::VImage::option()->set("access", VIPS_ACCESS_SEQUENTIAL)));
        });
    });
}

void save(const char* op, const char* extension, const char* note) {
    add(op, W, H, 24, "vips", note, [=] {
        const std::string path = file(std::string("out_vips") + extension);
        const Image picture = rgbOf(img(W, H, 3));
        return Op([=] { vipsOf(picture).write_to_file(path.c_str()); });
    });
}

}  // namespace

vips::VImage vipsOf(const Image& picture) {
    const VipsInterpretation meaning = picture.ch == 1 ? VIPS_INTERPRETATION_B_W : VIPS_INTERPRETATION_sRGB;
    return vips::VImage::new_from_memory(const_cast<std::uint8_t*>(picture.d.data()), picture.bytes(),
                                         picture.w, picture.h, picture.ch, VIPS_FORMAT_UCHAR)
        .copy(vips::VImage::option()->set("interpretation", meaning));
}

vips::VImage computed(const vips::VImage& image) {
    vips::VImage memory = vips::VImage::new_memory();
    image.write(memory);
    return memory;
}

void addVips(const std::string& op, int depth, const std::string& note, const VipsOperation& operate,
             int width, int height, int slow) {
    add(
        op, width, height, depth, "vips", note,
        [=] {
            const auto source = std::make_shared<vips::VImage>(vipsOf(img(width, height, depth / 8)));
            const auto result = std::make_shared<vips::VImage>();
            return Op([=] { *result = computed(operate(*source)); },
                      [=] {
                          const vips::VImage bytes = result->cast(VIPS_FORMAT_UCHAR);
                          std::size_t size = 0;
                          const std::unique_ptr<void, void (*)(void*)> pixels(bytes.write_to_memory(&size),
                                                                              g_free);
                          const int channels = bytes.bands();
                          return outOf(pixels.get(), bytes.width(), bytes.height(), channels,
                                       size / static_cast<std::size_t>(bytes.height()));
                      });
        },
        slow);
}

void addVipsFiles() {
    load("load_bmp24", 24, "`new_from_file`, by ImageMagick");
    load("load_ppm_p6", 24, "`new_from_file`");
    load("load_ppm_p6", 24, "`new_from_file`", W4, H4);
    load("load_pgm_p5", 8, "`new_from_file`");
    load("load_png24", 24, "`new_from_file`, by libspng");
    load("load_jpeg", 24, "`new_from_file`");
    load("load_tiff24", 24, "`new_from_file`");
    load("load_tiff24_lzw", 24, "`new_from_file`");
    add("load_hdr_rle", W, H, 24, "vips", "`radload`, `rad2float`, `pow` of 1/2.2", [] {
        const std::string path = loadFile("load_hdr_rle");
        return Op([=] {
            const vips::VImage light = vips::VImage::radload(path.c_str()).rad2float();
            computed((light.pow(1 / kGamma) * 255.0 + 0.5).cast(VIPS_FORMAT_UCHAR));
        });
    });
    save("save_ppm_p6", ".ppm", "`write_to_file`");
    save("save_png24", ".png", "`write_to_file`, level 6 without filters");
    save("save_jpeg", ".jpg[Q=90]", "`write_to_file`, quality 90");
    save("save_tiff24", ".tif", "`write_to_file`, not packed");
    save("save_tiff24_lzw", ".tif[compression=lzw,predictor=horizontal]",
         "`write_to_file`, LZW with differences");
}

}  // namespace pb

int main(int argc, char** argv) {
    ::setenv("VIPS_CONCURRENCY", "1", 1);
    if (VIPS_INIT(argv[0])) return 1;
    vips_concurrency_set(1);
    vips_cache_set_max(0);
    pb::addProgram("vips", std::string("libvips ") + vips_version_string());
    pb::addVipsFiles();
    pb::addVipsFilters();
    pb::addVipsGeometry();
    pb::addVipsPixels();
    return pb::benchMain(argc, argv);
}
