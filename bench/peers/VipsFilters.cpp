// Blurs, ranks, edges and noise.
#include <vector>

#include "bench/peers/Vips.h"

namespace pb {
namespace {

using vips::VImage;

vips::VOption* wholeNumbers() { return VImage::option()->set("precision", VIPS_PRECISION_INTEGER); }

VImage kernelOf(std::vector<double> values, int width, double scale, double offset = 0) {
    const int height = static_cast<int>(values.size()) / width;
    VImage kernel = VImage::new_matrix(width, height, values.data(), static_cast<int>(values.size()));
    kernel.set("scale", scale);
    kernel.set("offset", offset);
    return kernel;
}

VipsOperation convolution(const VImage& kernel) {
    return [=](const VImage& source) { return source.conv(kernel, wholeNumbers()); };
}

VipsOperation box(int size) {
    const VImage ones = kernelOf(std::vector<double>(static_cast<std::size_t>(size), 1.0), size, size);
    return [=](const VImage& source) { return source.convsep(ones, wholeNumbers()); };
}

VipsOperation rank(int size, int place) {
    return [=](const VImage& source) { return source.rank(size, size, place); };
}

void ranks(int depth) {
    const std::string note = "`rank`, each channel by itself";
    for (const int radius : {1, 5}) {
        const int size = 2 * radius + 1;
        const int slow = radius == 5 ? 1 : 0;
        addVips("max_r" + std::to_string(radius), depth, note, rank(size, size * size - 1), W, H, slow);
        addVips("min_r" + std::to_string(radius), depth, note, rank(size, 0), W, H, slow);
    }
    for (const int radius : {1, 3, 5}) {
        const int size = 2 * radius + 1;
        addVips("median_r" + std::to_string(radius), depth, note, rank(size, size * size / 2), W, H, 1);
    }
}

}  // namespace

void addVipsFilters() {
    const VImage light = kernelOf({0, 1, 0, 1, 0, 1, 0, 1, 0}, 3, 4);
    const VImage sharp = kernelOf({0, -1, 0, -1, 5, -1, 0, -1, 0}, 3, 1);
    const VImage relief = kernelOf({-1, -1, 0, -1, 0, 1, 0, 1, 1}, 3, 3, 127);
    for (const int depth : {8, 24, 32}) {
        for (const int radius : {2, 10, 50}) {
            addVips("box_blur_r" + std::to_string(radius), depth,
                    "`convsep` of ones, its time grows with the radius", box(2 * radius + 1));
        }
        addVips("blur_light", depth, "`conv` of whole numbers", convolution(light));
        addVips("sharpen_light", depth, "`conv` of whole numbers", convolution(sharp));
        for (const int size : {5, 15, 50}) {
            addVips("gauss_R" + std::to_string(size), depth, "`gaussblur` of whole numbers, two passes",
                    [=](const VImage& source) {
                        return source.gaussblur(size / 3.0, wholeNumbers()->set("min_ampl", 0.011));
                    });
        }
    }
    for (const int depth : {8, 24}) {
        ranks(depth);
        addVips("edge_mag", depth, "`sobel`, squares of 3 x 3",
                [](const VImage& source) { return source.sobel(); });
        addVips("emboss", depth, "`conv` of whole numbers, a fixed square of 3 x 3", convolution(relief));
    }
    addVips("noise20", 24, "`gaussnoise`, numbers of its own", [](const VImage& source) {
        const VImage noise = VImage::gaussnoise(W, H, VImage::option()->set("sigma", 11.5)->set("mean", 0));
        return (source + noise).cast(VIPS_FORMAT_UCHAR);
    });
}

}  // namespace pb
