#include <DibCodec.h>

#include <cstdio>
#include <vector>

#include "bench/Bench.h"

namespace {

void load(const char* op, int width, int height, int depth, const char* peer, const std::string& path,
          DibProgressCallback callback = nullptr) {
    pb::add(op, width, height, depth, peer, "", [=] {
        const bench::DibRef dib = bench::adopt(new DibStream);
        return pb::Op(
            [=] {
                const bench::DibRef fresh = bench::adopt(new DibStream);
                pb::need(LoadPSD(path.c_str(), fresh.get(), callback, nullptr), "load");
            },
            [=] {
                pb::need(LoadPSD(path.c_str(), dib.get(), callback, nullptr), "load");
                return bench::outOf(*dib);
            });
    });
}

void put(std::vector<unsigned char>& bytes, std::uint32_t value, int count) {
    while (count-- > 0) bytes.push_back(static_cast<unsigned char>(value >> (8 * count)));
}

// A raw document of a benchmark picture, with a layer section of `layerBytes` that nobody reads.
std::string rawDocument(const char* name, const pb::Image& image, std::size_t layerBytes) {
    std::vector<unsigned char> bytes = {'8', 'B', 'P', 'S', 0, 1, 0, 0, 0, 0, 0, 0};
    put(bytes, static_cast<std::uint32_t>(image.ch), 2);
    put(bytes, static_cast<std::uint32_t>(image.h), 4);
    put(bytes, static_cast<std::uint32_t>(image.w), 4);
    put(bytes, 8, 2);
    put(bytes, image.ch == 1 ? 1 : 3, 2);
    put(bytes, 0, 8);
    put(bytes, static_cast<std::uint32_t>(layerBytes), 4);
    bytes.resize(bytes.size() + layerBytes);
    put(bytes, 0, 2);
    for (int channel = 0; channel < image.ch; ++channel) {
        const int byte = image.ch == 1 || channel == 3 ? channel : 2 - channel;
        for (int y = 0; y < image.h; ++y) {
            for (int x = 0; x < image.w; ++x) bytes.push_back(image.row(y)[x * image.ch + byte]);
        }
    }
    const std::string path = pb::file(name);
    std::FILE* file = std::fopen(path.c_str(), "wb");
    pb::need(file != nullptr && std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size(), "a file");
    std::fclose(file);
    return path;
}

// What a raw document costs at least: its bytes read into a block that is there.
void readWhole(const char* op, int width, int height, int depth, const std::string& path) {
    pb::add(op, width, height, depth, "ours.fread", "", [=] {
        auto block = std::make_shared<std::vector<unsigned char>>(pb::slurp(path));
        return pb::Op([=] {
            std::FILE* file = std::fopen(path.c_str(), "rb");
            pb::need(std::fread(block->data(), 1, block->size(), file) == block->size(), "read");
            std::fclose(file);
        });
    });
}

bool goOn(float, void*) { return true; }

const bench::Registrar cases([] {
    load("load_psd_rle", pb::W, pb::H, 24, "ours", pb::loadFile("load_psd_rle"));
    load("load_psd_rle", pb::W, pb::H, 24, "ours.cb", pb::loadFile("load_psd_rle"), goOn);
    for (const int channels : {1, 3, 4}) {
        const std::string name = "ours_raw" + std::to_string(channels) + ".psd";
        const std::string path = rawDocument(name.c_str(), pb::img(pb::W, pb::H, channels), 0);
        load("load_psd_raw", pb::W, pb::H, channels * 8, "ours", path);
        load("load_psd_raw", pb::W, pb::H, channels * 8, "ours.cb", path, goOn);
        readWhole("load_psd_raw", pb::W, pb::H, channels * 8, path);
    }
    const std::string layered =
        rawDocument("ours_layers.psd", pb::img(pb::W, pb::H, 3), std::size_t{32} << 20);
    load("load_psd_layers_skipped", pb::W, pb::H, 24, "ours", layered);
});

}  // namespace
