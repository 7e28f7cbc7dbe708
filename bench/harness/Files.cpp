#include "bench/harness/Files.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string_view>

#include "bench/harness/Pictures.h"

namespace pb {

std::string file(const std::string& name) {
    static const std::string folder = [] {
        const char* const chosen = std::getenv("PEER_TMP");
        const std::string path = chosen != nullptr ? chosen : "/dev/shm/peerbench";
        std::filesystem::create_directories(path);
        return path + "/";
    }();
    return folder + name;
}

std::vector<std::uint8_t> slurp(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) throw std::runtime_error("cannot open " + path);
    return {std::istreambuf_iterator<char>(in), {}};
}

const std::vector<InputFile>& loadFiles() {
    static const std::vector<InputFile> files = {
        {"load_bmp24", "photo24.bmp", W, H, 24},
        {"load_bmp24", "photo24_4k.bmp", W4, H4, 24},
        {"load_bmp32", "photo32.bmp", W, H, 32},
        {"load_bmp8", "pal8.bmp", W, H, 8},
        {"load_bmp_rle8", "pal8_rle.bmp", W, H, 8},
        {"load_tga24_raw", "photo24.tga", W, H, 24},
        {"load_tga24_raw", "photo24_4k.tga", W4, H4, 24},
        {"load_tga24_rle", "mixed24_rle.tga", W, H, 24},
        {"load_ppm_p6", "photo.ppm", W, H, 24},
        {"load_ppm_p6", "photo_4k.ppm", W4, H4, 24},
        {"load_pgm_p5", "photo.pgm", W, H, 8},
        {"load_hdr_rle", "photo.hdr", W, H, 24},
        {"load_psd_rle", "mixed.psd", W, H, 24},
        {"load_ilbm24", "mixed24.lbm", W, H, 24},
        {"load_ilbm8", "pal8.lbm", W, H, 8},
        {"load_tim16", "photo16.tim", W, H, 16},
        {"load_png24", "photo24.png", W, H, 24},
        {"load_jpeg", "photo.jpg", W, H, 24},
        {"load_tiff24", "photo24.tif", W, H, 24},
        {"load_tiff24_lzw", "photo24_lzw.tif", W, H, 24},
    };
    return files;
}

std::string loadFile(const char* op, int width) {
    for (const InputFile& input : loadFiles()) {
        if (std::string_view(input.op) == op && input.w == width) return file(input.name);
    }
    throw std::runtime_error(std::string("no file for ") + op);
}

std::string loadFile(const char* op) { return loadFile(op, W); }

}  // namespace pb
