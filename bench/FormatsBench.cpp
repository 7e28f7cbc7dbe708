// Files of all formats but BMP.
#include <DibCodec.h>

#include "bench/Bench.h"

namespace {

using Codec = bool (*)(const char*, DibStream*, DibProgressCallback, void*);

void load(const char* op, int width, int height, int depth, Codec codec) {
    pb::add(op, width, height, depth, "ours", "", [=] {
        const std::string path = pb::loadFile(op, width);
        return pb::Op(
            [=] {
                const bench::DibRef fresh = bench::adopt(new DibStream);
                pb::need(codec(path.c_str(), fresh.get(), nullptr, nullptr), "load");
            },
            [=] {
                const bench::DibRef fresh = bench::adopt(new DibStream);
                pb::need(codec(path.c_str(), fresh.get(), nullptr, nullptr), "load");
                return bench::outOf(*fresh);
            });
    });
}

// Bottom-up images are as `Create` makes them; top-down ones have their first row where the file has its
// last, or the other way round.
void save(const char* op, const char* file, Codec codec) {
    for (const bool topDown : {false, true}) {
        pb::add(op, pb::W, pb::H, 24, topDown ? "ours.topdown" : "ours", "", [=] {
            const bench::DibRef dib = bench::dibOf(pb::img(pb::W, pb::H, 3));
            if (!topDown) dib->Header->biHeight = pb::H;
            const std::string path = pb::file(file);
            return pb::Op([=] { pb::need(codec(path.c_str(), dib.get(), nullptr, nullptr), "save"); });
        });
    }
}

const bench::Registrar cases([] {
    load("load_tga24_raw", pb::W, pb::H, 24, LoadTGA);
    load("load_tga24_raw", pb::W4, pb::H4, 24, LoadTGA);
    load("load_tga24_rle", pb::W, pb::H, 24, LoadTGA);
    load("load_ppm_p6", pb::W, pb::H, 24, LoadPPM);
    load("load_ppm_p6", pb::W4, pb::H4, 24, LoadPPM);
    load("load_pgm_p5", pb::W, pb::H, 8, LoadPGM);
    load("load_hdr_rle", pb::W, pb::H, 24, LoadHDR);
    load("load_ilbm24", pb::W, pb::H, 24, LoadIFF);
    load("load_ilbm8", pb::W, pb::H, 8, LoadIFF);
    load("load_tim16", pb::W, pb::H, 16, LoadTIM);
    save("save_tga24_raw", "out_ours.tga", SaveTGA);
    save("save_ppm_p6", "out_ours.ppm", SavePPM);
});

}  // namespace
