// Size, position and tone. The image of a case borrows the picture's pixels, so that an operation that
// replaces them pays for its own work and its new block, and nothing else.
#include <DibColor.h>
#include <benchmark/benchmark.h>

#include <cstdint>
#include <functional>
#include <string>

#include "bench/Bench.h"

namespace {

using Operation = std::function<void(DibStream&)>;

// Operations that put a new pixel block into the image.
void addReplacing(const std::string& name, int width, int height, int depth, const Operation& operate) {
    pb::add(name, width, height, depth, "ours", "pixels borrowed, new block included", [=] {
        const bench::DibRef source = bench::dibOf(pb::img(width, height, depth / 8));
        const bench::DibRef image = bench::adopt(new DibStream);
        const auto restart = [=] {
            image->SetDib(source->CreateHeader(width, -height, depth), 6, source->Buffer, 0);
        };
        return pb::Op(
            [=] {
                restart();
                operate(*image);
            },
            [=] { return bench::outOf(*image); });
    });
}

// Operations that change the pixels of the image, again and again.
void addInPlace(const std::string& name, int width, int height, int depth, const Operation& operate,
                const std::string& peer = "ours") {
    pb::add(name, width, height, depth, peer, "in place", [=] {
        const bench::DibRef image = bench::dibOf(pb::img(width, height, depth / 8));
        return pb::Op([=] { operate(*image); }, [=] { return bench::outOf(*image); });
    });
}

// The picture stays the same when the row order turns; what changes is the order in memory.
void addFlip(int width, int height, int depth) {
    pb::add("flip_v", width, height, depth, "ours", "in place", [=] {
        const bench::DibRef image = bench::dibOf(pb::img(width, height, depth / 8));
        return pb::Op([=] { image->UpDown(image->Header->biHeight > 0); },
                      [=] { return pb::outOf(image->Buffer, width, height, depth / 8, image->GetPitch()); });
    });
}

void addClip(int depth) {
    pb::add("crop_half", pb::W, pb::H, depth, "ours", "ClipClone", [=] {
        const bench::DibRef source = bench::dibOf(pb::img(pb::W, pb::H, depth / 8));
        auto clip = std::make_shared<bench::DibRef>();
        return pb::Op(
            [=] { *clip = bench::adopt(source->ClipClone(pb::CropX, pb::CropY, pb::CropW, pb::CropH)); },
            [=] { return bench::outOf(**clip); });
    });
}

// One million single calls, walking over the picture.
void addSampler(const char* name, int depth, std::uint32_t (*sample)(DibStream*, float, float, unsigned)) {
    pb::add(name, 1000, 1000, depth, "ours", "1e6 calls", [=] {
        const bench::DibRef image = bench::dibOf(pb::img(pb::W, pb::H, depth / 8));
        return pb::Op([=] {
            std::uint32_t sum = 0;
            for (int y = 0; y < 1000; ++y) {
                const float line = static_cast<float>(y) * 1.07F;
                for (int x = 0; x < 1000; ++x) {
                    sum += sample(image.get(), static_cast<float>(x) * 1.9F, line + 0.3F, 0);
                }
            }
            benchmark::DoNotOptimize(sum);
        });
    });
}

void registerCases() {
    for (const int depth : {24, 32}) {
        addReplacing("resize_bilinear_up", pb::W, pb::H, depth,
                     [](DibStream& d) { d.ResizeBilinear(pb::UpW, pb::UpH); });
        addReplacing("resize_bilinear_down", pb::W, pb::H, depth,
                     [](DibStream& d) { d.ResizeBilinear(pb::DnW, pb::DnH); });
        addReplacing("resize_area_037", pb::W, pb::H, depth,
                     [](DibStream& d) { d.ResizeIntegral(pb::ArW, pb::ArH); });
        addReplacing("resize_half", pb::W, pb::H, depth, [](DibStream& d) { d.ResizeHalf(); });
        addClip(depth);
    }
    addReplacing("resize_area_037", pb::W4, pb::H4, 24, [](DibStream& d) { d.ResizeIntegral(1515, 1515); });
    addReplacing("resize_half", pb::W4, pb::H4, 24, [](DibStream& d) { d.ResizeHalf(); });

    // The op `invert` of peer `ours` is the effect; this is the method.
    const auto invert = [](DibStream& d) { d.InvertTone(); };
    const auto scroll = [](DibStream& d) { d.Scroll(101, 37); };
    for (const int depth : {8, 24, 32}) {
        addFlip(pb::W, pb::H, depth);
        addInPlace("invert", pb::W, pb::H, depth, invert, "ours.tone");
        addInPlace("scroll", pb::W, pb::H, depth, scroll);
    }
    addFlip(pb::W4, pb::H4, 24);
    addInPlace("invert", pb::W4, pb::H4, 24, invert, "ours.tone");
    addInPlace("scroll", pb::W4, pb::H4, 24, scroll);
    addInPlace("scroll", pb::W4, pb::H4, 32, scroll);

    addSampler("call_sample24", 24, DibGetColor24);
    addSampler("call_sample32", 32, DibGetColor32);
}

const bench::Registrar registrar(registerCases);

}  // namespace
