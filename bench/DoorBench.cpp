// Opening through DibFile.h, beside the loader of the format: from a file and from memory.
#include <DibFile.h>

#include <fstream>
#include <iterator>
#include <memory>
#include <vector>

#include "bench/Bench.h"

namespace {

struct Case {
    const char* op;
    int width;
    int height;
    int depth;
};

std::vector<char> bytesOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void open(const Case& c) {
    pb::add(c.op, c.width, c.height, c.depth, "ours.door", "", [=] {
        const std::string path = pb::loadFile(c.op, c.width);
        return pb::Op([=] {
            const bench::DibRef fresh = bench::adopt(new DibStream);
            pb::need(DibLoadFile(path.c_str(), fresh.get()), "open");
        });
    });
    pb::add(c.op, c.width, c.height, c.depth, "ours.memory", "", [=] {
        const std::string path = pb::loadFile(c.op, c.width);
        const auto bytes = std::make_shared<std::vector<char>>(bytesOf(path));
        return pb::Op([=] {
            DibLoadOptions options;
            options.name = path.c_str();
            const bench::DibRef fresh = bench::adopt(new DibStream);
            pb::need(DibLoadMemory(bytes->data(), bytes->size(), fresh.get(), &options), "open");
        });
    });
}

const bench::Registrar cases([] {
    for (const char* op : {"load_bmp24", "load_tga24_raw", "load_tga24_rle", "load_ppm_p6", "load_hdr_rle",
                           "load_ilbm24", "load_png24", "load_jpeg", "load_tiff24", "load_psd_rle"}) {
        open({op, pb::W, pb::H, 24});
    }
    open({"load_bmp32", pb::W, pb::H, 32});
    open({"load_bmp_rle8", pb::W, pb::H, 8});
    open({"load_pgm_p5", pb::W, pb::H, 8});
    open({"load_ilbm8", pb::W, pb::H, 8});
    open({"load_tim16", pb::W, pb::H, 16});
});

}  // namespace
