// Operations that have no classic function, by their names, on 1600x1200 pixels. Second pictures are copied
// from memory. bench/python/operations.py compares the same work with other programs.
#include <DibOperation.h>
#include <DibPictures.h>

#include <string>

#include "bench/Bench.h"

namespace {

constexpr int kWidth = 1600;
constexpr int kHeight = 1200;

bool openOther(void* context, const char*, DibStream* to, DibFileResult*, DibProgressCallback, void*) {
    const auto* other = static_cast<const DibStream*>(context);
    return to->Copy(other->Header, other->Buffer);
}

// A step on pixels that are borrowed: a new block, or a copy of them, is included.
void addStep(const std::string& name, const std::string& step, int depth) {
    pb::add(name, kWidth, kHeight, depth, "ours", "pixels borrowed, new block included", [=] {
        const bench::DibRef source = bench::dibOf(pb::img(kWidth, kHeight, depth / 8));
        const bench::DibRef other = bench::dibOf(pb::img2(kWidth, kHeight, depth / 8));
        if (step.starts_with("remap")) pb::need(DibApply(other.get(), "colors:64"), "a palette");
        const bench::DibRef image = bench::adopt(new DibStream);
        return pb::Op(
            [=] {
                image->SetDib(source->CreateHeader(kWidth, -kHeight, depth), 6, source->Buffer, 0);
                DibApplyOptions options;
                options.open = openOther;
                options.context = other.get();
                pb::need(DibApply(image.get(), step.c_str(), &options), "the step ran");
            },
            [=] { return bench::outOf(*image); });
    });
}

// Four pictures on a sheet of 32 bits.
void addMontage(int depth) {
    pb::add("op_montage", kWidth, kHeight, depth, "ours", "new block included", [=] {
        const bench::DibRef one = bench::dibOf(pb::img(kWidth, kHeight, depth / 8));
        const bench::DibRef two = bench::dibOf(pb::img2(kWidth, kHeight, depth / 8));
        const bench::DibRef sheet = bench::adopt(new DibStream);
        return pb::Op(
            [=] {
                const DibStream* const pictures[] = {one.get(), two.get(), two.get(), one.get()};
                pb::need(DibMontage(pictures, 4, sheet.get()), "a sheet");
            },
            [=] { return bench::outOf(*sheet); });
    });
}

void registerCases() {
    struct Case {
        const char* name;
        const char* step;
    };
    constexpr Case kCases[] = {
        {"op_area_down", "resize:710x532,filter=area"},
        {"op_bicubic_up", "resize:2400x1800,filter=bicubic"},
        {"op_bicubic_down", "resize:710x532,filter=bicubic"},
        {"op_lanczos_up", "resize:2400x1800,filter=lanczos"},
        {"op_lanczos_down", "resize:710x532,filter=lanczos"},
        {"op_fit", "fit:400x400"},
        {"op_gaussian_2", "gaussian:2"},
        {"op_gaussian_60", "gaussian:60"},
        {"op_unsharp", "unsharp:2"},
        {"op_overlay", "overlay:other"},
        {"op_overlay_multiply", "overlay:other,mode=multiply"},
        {"op_colors_256", "colors:256"},
        {"op_remap", "remap:other"},
        {"op_levels", "levels:20,230"},
        {"op_grey", "grey"},
        {"op_threshold", "threshold"},
        {"op_posterize", "posterize:4"},
        {"op_trim", "trim"},
        {"op_border", "border:20,#ff8000"},
        {"op_join", "join:other"},
        {"op_flatten", "flatten"},
        {"op_text", "text:Sample\\ text,size=96"},
    };
    for (const int depth : {24, 32}) {
        for (const Case& each : kCases) addStep(each.name, each.step, depth);
        addMontage(depth);
    }
}

const bench::Registrar registrar(registerCases);

}  // namespace
