// Opening through DibFile.h, beside the loader of the format: from a file and from memory.
#include <DibCodec.h>
#include <DibFile.h>

#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <vector>

#include "bench/Bench.h"

namespace {

using Path = std::function<std::string()>;
using Codec = bool (*)(const char*, DibStream*, DibProgressCallback, void*);

std::vector<char> bytesOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void open(const char* op, int depth, const Path& pathOf) {
    pb::add(op, pb::W, pb::H, depth, "ours.door", "", [=] {
        const std::string path = pathOf();
        return pb::Op([=] {
            const bench::DibRef fresh = bench::adopt(new DibStream);
            pb::need(DibLoadFile(path.c_str(), fresh.get()), "open");
        });
    });
    pb::add(op, pb::W, pb::H, depth, "ours.memory", "", [=] {
        const std::string path = pathOf();
        const auto bytes = std::make_shared<std::vector<char>>(bytesOf(path));
        return pb::Op([=] {
            DibLoadOptions options;
            options.name = path.c_str();
            const bench::DibRef fresh = bench::adopt(new DibStream);
            pb::need(DibLoadMemory(bytes->data(), bytes->size(), fresh.get(), &options), "open");
        });
    });
}

void open(const char* op, int depth) {
    open(op, depth, [=] { return pb::loadFile(op, pb::W); });
}

using Bytes = std::function<std::string()>;

// A file that the peers do not have, with the classic loader beside it.
void openOwn(const char* op, int depth, Codec codec, const Bytes& bytes) {
    const Path pathOf = [=] {
        const std::string path = pb::file(std::string("own_") + op);
        std::ofstream(path, std::ios::binary) << bytes();
        return path;
    };
    pb::add(op, pb::W, pb::H, depth, "ours", "", [=] {
        const std::string path = pathOf();
        return pb::Op([=] {
            const bench::DibRef fresh = bench::adopt(new DibStream);
            pb::need(codec(path.c_str(), fresh.get(), nullptr, nullptr), "load");
        });
    });
    open(op, depth, pathOf);
}

std::string pixelsOf(int fourth) {
    const pb::Image& image = pb::img(pb::W, pb::H, 4);
    std::string pixels(image.d.begin(), image.d.end());
    for (std::size_t i = 3; fourth >= 0 && i < pixels.size(); i += 4) pixels[i] = static_cast<char>(fourth);
    return pixels;
}

// With that many bits of alpha announced; `fourth` is that byte of all pixels, or negative for any.
Bytes tga(int alphaBits, int fourth) {
    return [=] {
        std::string header(18, '\0');
        header[2] = 2;  // true colour
        header[12] = static_cast<char>(pb::W & 255);
        header[13] = static_cast<char>(pb::W >> 8);
        header[14] = static_cast<char>(pb::H & 255);
        header[15] = static_cast<char>(pb::H >> 8);
        header[16] = 32;
        header[17] = static_cast<char>(alphaBits);
        return header + pixelsOf(fourth);
    };
}

std::string flatHdr() {
    return "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y " + std::to_string(pb::H) + " +X " +
           std::to_string(pb::W) + "\n" + pixelsOf(128);
}

std::string deflateTiff() {
    DibSaveOptions options;
    options.format = "tiff";
    DibBytes bytes;
    pb::need(DibSaveMemory(&bytes, bench::dibOf(pb::img(pb::W, pb::H, 3)).get(), &options), "save");
    return {reinterpret_cast<const char*>(bytes.data), bytes.size};
}

const bench::Registrar cases([] {
    for (const char* op : {"load_bmp24", "load_tga24_raw", "load_tga24_rle", "load_ppm_p6", "load_hdr_rle",
                           "load_ilbm24", "load_png24", "load_jpeg", "load_tiff24", "load_psd_rle"}) {
        open(op, 24);
    }
    open("load_bmp32", 32);
    open("load_bmp_rle8", 8);
    open("load_pgm_p5", 8);
    open("load_ilbm8", 8);
    open("load_tim16", 16);
    openOwn("load_tga32_alpha", 32, LoadTGA, tga(8, -1));
    openOwn("load_tga32_opaque", 32, LoadTGA, tga(0, 255));
    openOwn("load_tga32_blank", 32, LoadTGA, tga(0, 0));
    openOwn("load_tga32_unused", 32, LoadTGA, tga(0, -1));
    openOwn("load_hdr_flat", 32, LoadHDR, flatHdr);
    openOwn("load_tiff24_deflate", 24, LoadTIFF, deflateTiff);
});

}  // namespace
