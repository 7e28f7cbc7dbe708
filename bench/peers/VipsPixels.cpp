// Tone, depths and copies.
#include "bench/peers/Vips.h"

namespace pb {
namespace {

using vips::VImage;

void tone() {
    const VImage table =
        VImage::new_from_memory(const_cast<std::uint8_t*>(gammaTable()), 256, 256, 1, 1, VIPS_FORMAT_UCHAR);
    const auto lookUp = [=](const VImage& source) { return source.maplut(table); };
    addVips("gamma_lut", 24, "`maplut`", lookUp);
    addVips("gamma_lut", 24, "`maplut`", lookUp, W4, H4);
    addVips("contrast", 24, "`linear`, arithmetic without a table", [](const VImage& source) {
        return source.linear(kContrast, ((1 - kContrast) * .5 + kBrightness) * 255,
                             VImage::option()->set("uchar", true));
    });
    const auto invert = [](const VImage& source) { return source.invert(); };
    addVips("invert", 24, "`invert`", invert, W4, H4);
    for (const int depth : {8, 24, 32}) {
        addVips("invert", depth, "`invert`", invert);
        addVips("compose_half", depth, "sum of products in floats", [=](const VImage& source) {
            const VImage other = vipsOf(img2(W, H, depth / 8));
            return (source * (1 - kOpacity) + other * kOpacity).cast(VIPS_FORMAT_UCHAR);
        });
    }
}

}  // namespace

void addVipsPixels() {
    tone();
    addVips("cvt_24_to_8grey", 24, "`colourspace`, other weights",
            [](const VImage& source) { return source.colourspace(VIPS_INTERPRETATION_B_W); });
    addVips("cvt_24_to_32", 24, "`bandjoin`", [](const VImage& source) { return source.bandjoin(255); });
    addVips("cvt_32_to_24", 32, "`extract_band`",
            [](const VImage& source) { return source.extract_band(0, VImage::option()->set("n", 3)); });
    for (const int depth : {8, 24, 32}) {
        addVips("flip_v", depth, "`flip`",
                [](const VImage& source) { return source.flip(VIPS_DIRECTION_VERTICAL); });
        addVips("clone_deep", depth, "`copy`, written to memory",
                [](const VImage& source) { return source.copy(); });
    }
    addVips("flip_h", 24, "`flip`",
            [](const VImage& source) { return source.flip(VIPS_DIRECTION_HORIZONTAL); });
    addVips("crop_half", 24, "`extract_area`",
            [](const VImage& source) { return source.extract_area(CropX, CropY, CropW, CropH); });
}

}  // namespace pb
