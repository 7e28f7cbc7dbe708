// pixman, with which cairo paints.
#include <pixman.h>

#include <cmath>
#include <cstdlib>
#include <functional>
#include <memory>
#include <numbers>
#include <utility>
#include <vector>

#include "bench/harness/Harness.h"
#include "dib/Numbers.h"

namespace pb {
namespace {

using PixmanRef = std::shared_ptr<pixman_image_t>;
using Numbers = std::unique_ptr<pixman_fixed_t, void (*)(void*)>;

// A picture and the image of pixman that borrows its pixels.
struct Canvas {
    explicit Canvas(Image pixels, pixman_format_code_t format)
        : picture(std::move(pixels)),
          image(pixman_image_create_bits(format, picture.w, picture.h,
                                         reinterpret_cast<std::uint32_t*>(picture.d.data()),
                                         dib::asInt(picture.stride())),
                pixman_image_unref) {
        need(image != nullptr, "pixman_image_create_bits");
    }
    Image picture;
    PixmanRef image;
};
using CanvasRef = std::shared_ptr<Canvas>;

CanvasRef canvasOf(const Image& picture) {
    const pixman_format_code_t format = picture.ch == 3 ? PIXMAN_r8g8b8 : PIXMAN_x8r8g8b8;
    return std::make_shared<Canvas>(picture, format);
}

void paint(const CanvasRef& source, const CanvasRef& target) {
    pixman_image_composite32(PIXMAN_OP_SRC, source->image.get(), nullptr, target->image.get(), 0, 0, 0, 0, 0,
                             0, target->picture.w, target->picture.h);
}

void addPixman(const char* op, int depth, int toDepth, const char* note, int width, int height,
               const std::function<void(pixman_image_t*)>& set = {}, int fromW = W, int fromH = H) {
    add(op, fromW, fromH, depth, "pixman", note, [=] {
        const CanvasRef source = canvasOf(img(fromW, fromH, depth / 8));
        const CanvasRef target = canvasOf(Image(width, height, toDepth / 8));
        if (set) set(source->image.get());
        return Op([=] { paint(source, target); },
                  [=] {
                      const Image& result = target->picture;
                      return outOf(result.d.data(), result.w, result.h, result.ch, result.stride());
                  });
    });
}

void setBilinear(pixman_image_t* image, const pixman_transform_t& transform) {
    pixman_image_set_transform(image, &transform);
    pixman_image_set_filter(image, PIXMAN_FILTER_BILINEAR, nullptr, 0);
    pixman_image_set_repeat(image, PIXMAN_REPEAT_PAD);
}

void setScale(pixman_image_t* image, double across, double down) {
    pixman_transform_t transform;
    pixman_transform_init_scale(&transform, pixman_double_to_fixed(across), pixman_double_to_fixed(down));
    setBilinear(image, transform);
}

void setBox(pixman_image_t* image, double across, double down) {
    setScale(image, across, down);
    int count = 0;
    const Numbers weights(
        pixman_filter_create_separable_convolution(
            &count, pixman_double_to_fixed(across), pixman_double_to_fixed(down), PIXMAN_KERNEL_BOX,
            PIXMAN_KERNEL_BOX, PIXMAN_KERNEL_BOX, PIXMAN_KERNEL_BOX, 4, 4),
        std::free);
    pixman_image_set_filter(image, PIXMAN_FILTER_SEPARABLE_CONVOLUTION, weights.get(), count);
}

void setRotation(pixman_image_t* image) {
    const double angle = kRotateDeg * std::numbers::pi / 180, c = std::cos(angle), s = std::sin(angle);
    const double x = W * .5, y = H * .5;
    const pixman_f_transform_t exact = {{{c, -s, x - c * x + s * y}, {s, c, y - s * x - c * y}, {0, 0, 1}}};
    pixman_transform_t transform;
    pixman_transform_from_pixman_f_transform(&transform, &exact);
    setBilinear(image, transform);
}

void compose(int depth) {
    add("compose_half", W, H, depth, "pixman", "`composite32`, half a mask, in place", [=] {
        const CanvasRef target = canvasOf(img(W, H, depth / 8)), over = canvasOf(img2(W, H, depth / 8));
        const pixman_color_t half{0, 0, 0, 0x8000};
        const PixmanRef mask(pixman_image_create_solid_fill(&half), pixman_image_unref);
        return Op([=] {
            pixman_image_composite32(PIXMAN_OP_OVER, over->image.get(), mask.get(), target->image.get(), 0, 0,
                                     0, 0, 0, 0, W, H);
        });
    });
}

void gaussian() {
    std::vector<double> weights;
    double total = 0;
    for (int y = -5; y <= 5; ++y) {
        for (int x = -5; x <= 5; ++x) {
            weights.push_back(std::exp(-(x * x + y * y) / (2 * (5 / 3.0) * (5 / 3.0))));
            total += weights.back();
        }
    }
    std::vector<pixman_fixed_t> numbers = {pixman_int_to_fixed(11), pixman_int_to_fixed(11)};
    for (const double weight : weights) numbers.push_back(pixman_double_to_fixed(weight / total));
    addPixman("gauss_R5", 32, 32, "`PIXMAN_FILTER_CONVOLUTION` of 11 x 11", W, H, [=](pixman_image_t* image) {
        pixman_image_set_filter(image, PIXMAN_FILTER_CONVOLUTION, numbers.data(), dib::asInt(numbers.size()));
        pixman_image_set_repeat(image, PIXMAN_REPEAT_PAD);
    });
}

void to16Bits() {
    add("cvt_24_to_16", W, H, 24, "pixman", "`composite32`", [] {
        const CanvasRef source = canvasOf(img(W, H, 3));
        const auto target = std::make_shared<Canvas>(Image(W, H, 2), PIXMAN_x1r5g5b5);
        return Op([=] { paint(source, target); });
    });
}

void registerAll() {
    const auto scale = [](double across, double down) {
        return [=](pixman_image_t* image) { setScale(image, across, down); };
    };
    const auto box = [](double across, double down) {
        return [=](pixman_image_t* image) { setBox(image, across, down); };
    };
    const char* const linear = "`composite32`, bilinear, weights of 7 bits";
    const char* const average = "`composite32`, separable box";
    for (const int depth : {24, 32}) {
        addPixman("resize_bilinear_up", depth, depth, linear, UpW, UpH,
                  scale(double{W} / UpW, double{H} / UpH));
        addPixman("resize_bilinear_down", depth, depth, linear, DnW, DnH,
                  scale(double{W} / DnW, double{H} / DnH));
        addPixman("resize_half", depth, depth, average, HfW, HfH, box(2, 2));
        addPixman("rotate30", depth, depth, linear, W, H, setRotation);
        compose(depth);
    }
    addPixman("resize_area_037", 32, 32, average, ArW, ArH, box(double{W} / ArW, double{H} / ArH));
    addPixman("cvt_24_to_32", 24, 32, "`composite32`", W, H);
    addPixman("cvt_24_to_32", 24, 32, "`composite32`", W4, H4, {}, W4, H4);
    addPixman("cvt_32_to_24", 32, 24, "`composite32`", W, H);
    addPixman("clone_deep", 32, 32, "`composite32` into memory in use", W, H);
    to16Bits();
    gaussian();
}

}  // namespace
}  // namespace pb

int main(int argc, char** argv) {
    pb::addProgram("pixman", std::string("pixman ") + pixman_version_string());
    pb::registerAll();
    return pb::benchMain(argc, argv);
}
