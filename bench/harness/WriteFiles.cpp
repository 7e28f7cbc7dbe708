// Writes the files that the benches load into the folder of PEER_TMP.
#include <tiff.h>

#include <cstdio>
#include <exception>

#include "bench/harness/FileWriters.h"

namespace pb {
namespace {

void writeAll() {
    const Image& photograph = img(W, H, 3);
    const Image& large = img(W4, H4, 3);
    const Image panels = mixed(W, H), indices = mixedIndexed(W, H);
    const Bytes palette = palette332();
    writeBmp("photo24.bmp", photograph);
    writeBmp("photo24_4k.bmp", large);
    writeBmp("photo32.bmp", img(W, H, 4));
    writeBmp("pal8.bmp", indices, palette);
    writeBmpRuns("pal8_rle.bmp", indices, palette);
    writeTga("photo24.tga", photograph, false);
    writeTga("photo24_4k.tga", large, false);
    writeTga("mixed24_rle.tga", panels, true);
    writePnm("photo.ppm", photograph);
    writePnm("photo_4k.ppm", large);
    writePnm("photo.pgm", img(W, H, 1));
    writePnm("mixed.ppm", panels);
    writePnm("photo2.ppm", img2(W, H, 3));
    writeRadiance("photo.hdr", photograph);
    writePsd("mixed.psd", panels);
    writeIlbm("mixed24.lbm", panels, 24);
    writeIlbm("pal8.lbm", indices, 8, palette);
    writeTim16("photo16.tim", photograph);
    writePng("photo24.png", photograph);
    writeJpeg("photo.jpg", photograph);
    writeTiff("photo24.tif", photograph, COMPRESSION_NONE);
    writeTiff("photo24_lzw.tif", photograph, COMPRESSION_LZW);
}

}  // namespace
}  // namespace pb

int main() {
    try {
        pb::writeAll();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench_files: %s\n", error.what());
        return 1;
    }
    return 0;
}
