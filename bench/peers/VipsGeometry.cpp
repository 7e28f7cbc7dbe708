// Distortions and sizes.
#include <cmath>
#include <numbers>
#include <vector>

#include "bench/peers/Vips.h"

namespace pb {
namespace {

using vips::VImage;

constexpr double kCenterX = (W - 1) * .5, kCenterY = (H - 1) * .5;

vips::VOption* bilinear() {
    return VImage::option()->set("interpolate", vips::VInterpolate::new_from_name("bilinear"));
}

VImage rotate(const VImage& source) {
    const double angle = -kRotateDeg * std::numbers::pi / 180, c = std::cos(angle), s = std::sin(angle);
    return source.affine({c, -s, s, c}, bilinear()
                                            ->set("oarea", std::vector<int>{0, 0, W, H})
                                            ->set("idx", -kCenterX)
                                            ->set("idy", -kCenterY)
                                            ->set("odx", kCenterX)
                                            ->set("ody", kCenterY)
                                            ->set("extend", VIPS_EXTEND_COPY));
}

// Where each pixel of the whirl comes from.
VImage whirlMap() {
    const VImage place = VImage::xyz(W, H).linear({1, 1}, {-kCenterX, -kCenterY}).cast(VIPS_FORMAT_FLOAT);
    const VImage x = place[0], y = place[1];
    const VImage degrees = (x * x + y * y).pow(0.5) * (double{kWhirlTwist} * 180 / std::numbers::pi);
    const VImage c = degrees.cos(), s = degrees.sin();
    return (x * c - y * s + kCenterX).bandjoin(y * c + x * s + kCenterY);
}

VImage linearSize(const VImage& source, double factor) {
    return source.resize(factor, VImage::option()->set("kernel", VIPS_KERNEL_LINEAR));
}

}  // namespace

void addVipsGeometry() {
    for (const int depth : {8, 24, 32}) {
        addVips("rotate30", depth, "`affine`", rotate);
        addVips("mosaic10", depth, "`shrink`, `zoom`",
                [](const VImage& source) { return source.shrink(kMosaic, kMosaic).zoom(kMosaic, kMosaic); });
    }
    addVips("whirl", 24, "`mapim` of places in floats",
            [](const VImage& source) { return source.mapim(whirlMap(), bilinear()); });
    add("whirl_sampling_only", W, H, 24, "vips", "`mapim` alone, its places are ready", [] {
        const VImage source = vipsOf(img(W, H, 3)), places = computed(whirlMap());
        return Op([=] { computed(source.mapim(places, bilinear())); });
    });
    for (const int depth : {24, 32}) {
        addVips("resize_bilinear_up", depth, "`resize`, linear",
                [](const VImage& source) { return linearSize(source, 1.5); });
        addVips("resize_bilinear_down", depth, "`resize`, linear, averages more pixels",
                [](const VImage& source) { return linearSize(source, 0.75); });
        addVips("resize_area_037", depth, "`shrink`",
                [](const VImage& source) { return source.shrink(double{W} / ArW, double{H} / ArH); });
        addVips("resize_half", depth, "`shrink`", [](const VImage& source) { return source.shrink(2, 2); });
    }
    addVips(
        "resize_half", 24, "`shrink`", [](const VImage& source) { return source.shrink(2, 2); }, W4, H4);
}

}  // namespace pb
