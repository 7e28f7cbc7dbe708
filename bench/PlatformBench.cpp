// PNG, JPEG and TIFF files.
#include <DibCodec.h>

#include "bench/Bench.h"

namespace {

using Codec = bool (*)(const char*, DibStream*, DibProgressCallback, void*);

void load(const char* op, Codec codec) {
    pb::add(op, pb::W, pb::H, 24, "ours", "", [=] {
        const std::string path = pb::loadFile(op, pb::W);
        const auto loaded = [=] {
            bench::DibRef fresh = bench::adopt(new DibStream);
            pb::need(codec(path.c_str(), fresh.get(), nullptr, nullptr), "load");
            return fresh;
        };
        return pb::Op([=] { loaded(); }, [=] { return bench::outOf(*loaded()); });
    });
}

// Files are written at 32 bits; a picture of 24 is converted first.
void save(const char* op, const char* file, int channels, Codec codec) {
    pb::add(op, pb::W, pb::H, channels * 8, "ours", "", [=] {
        const bench::DibRef dib = bench::dibOf(pb::img(pb::W, pb::H, channels));
        const std::string path = pb::file(file);
        return pb::Op([=] { pb::need(codec(path.c_str(), dib.get(), nullptr, nullptr), "save"); });
    });
}

const bench::Registrar cases([] {
    load("load_png24", LoadPNG);
    load("load_jpeg", LoadJPEG);
    load("load_tiff24", LoadTIFF);
    load("load_tiff24_lzw", LoadTIFF);
    save("save_png24", "out_ours.png", 3, SavePNG);
    save("save_png32", "out_ours32.png", 4, SavePNG);
    save("save_jpeg", "out_ours.jpg", 3, SaveJPEG);
    save("save_jpeg32", "out_ours32.jpg", 4, SaveJPEG);
    save("save_tiff24", "out_ours.tif", 3, SaveTIFF);
    save("save_tiff32", "out_ours32.tif", 4, SaveTIFF);
});

}  // namespace
