#include "bench/Bench.h"

namespace {

void load(const char* op, int width, int height, int depth) {
    pb::add(op, width, height, depth, "ours", "", [=] {
        const std::string path = pb::loadFile(op, width);
        const bench::DibRef dib = bench::adopt(new DibStream);
        return pb::Op(
            [=] {
                const bench::DibRef fresh = bench::adopt(new DibStream);
                pb::need(fresh->LoadFromFile(path.c_str(), DibStream::DIB_ACCEPT_ALL), "load");
            },
            [=] {
                pb::need(dib->LoadFromFile(path.c_str(), DibStream::DIB_ACCEPT_ALL), "load");
                return bench::outOf(*dib);
            });
    });
}

// Bottom-up images, as `Create` makes them and the file holds them, are written as they lie; top-down ones
// are turned round on the way.
void save(const char* op, int width, int height, int channels) {
    for (const bool topDown : {false, true}) {
        pb::add(op, width, height, channels * 8, topDown ? "ours.topdown" : "ours", "", [=] {
            const bench::DibRef dib = bench::dibOf(pb::img(width, height, channels));
            if (!topDown) dib->Header->biHeight = height;
            const std::string path = pb::file("out_ours.bmp");
            return pb::Op([=] { pb::need(dib->SaveToFile(path.c_str()), "save"); });
        });
    }
}

void clone(int width, int height, int channels) {
    pb::add("clone_deep", width, height, channels * 8, "ours", "", [=] {
        const bench::DibRef dib = bench::dibOf(pb::img(width, height, channels));
        return pb::Op([=] { bench::adopt(dib->Clone()); },
                      [=] { return bench::outOf(*bench::adopt(dib->Clone())); });
    });
}

const bench::Registrar cases([] {
    load("load_bmp8", pb::W, pb::H, 8);
    load("load_bmp24", pb::W, pb::H, 24);
    load("load_bmp24", pb::W4, pb::H4, 24);
    load("load_bmp32", pb::W, pb::H, 32);
    load("load_bmp_rle8", pb::W, pb::H, 8);
    save("save_bmp8", pb::W, pb::H, 1);
    save("save_bmp24", pb::W, pb::H, 3);
    save("save_bmp24", pb::W4, pb::H4, 3);
    for (const int channels : {1, 3, 4}) clone(pb::W, pb::H, channels);
    for (const int channels : {3, 4}) clone(pb::W4, pb::H4, channels);
});

}  // namespace
